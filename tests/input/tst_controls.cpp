#include "input/osterly.h"

#include <QtTest>
#include <limits>
#include <type_traits>

using Controls = Osterly::Controls;
using Hoop = Osterly::Hoop;

static_assert(std::is_aggregate_v<Controls> && std::is_trivially_copyable_v<Controls> &&
              std::is_standard_layout_v<Controls>);
static_assert(sizeof(Controls) == 3 * sizeof(std::int32_t) + 4 /* padding */ + 6 * sizeof(double));
static_assert(std::is_aggregate_v<Hoop> && std::is_trivially_copyable_v<Hoop>);

namespace {

const Controls kRecord{7, 0, 1, 0.25, 0.5, 0.125, 0.75, 0.125, 0.75};

Controls changed(double Controls::*field, double by) {
    Controls record = kRecord;
    record.*field += by;
    return record;
}

} // namespace

class TestControls : public QObject {
    Q_OBJECT

private slots:
    void the_fields_stand_in_their_order();
    void the_id_tells_the_kind();
    void records_compare_by_what_they_tell_of_the_contact();
    void coordinates_compare_within_an_absolute_tolerance_data();
    void coordinates_compare_within_an_absolute_tolerance();
    void a_record_that_is_not_a_number_equals_nothing();
    void the_first_report_sets_the_hoop();
    void a_board_hoop_lands_on_each_new_point();
    void a_hoop_that_was_up_jumps();
    void a_ring_trails_the_point_by_its_radius();
    void a_point_within_the_ring_leaves_the_centre();
    void a_point_that_is_not_a_number_leaves_a_dragged_hoop();
    void a_point_out_of_single_precision_takes_the_hoop_with_it();
    void the_receiver_of_a_signal_marks_the_emitters_record();
};

void TestControls::the_fields_stand_in_their_order() {
    const Controls record{1, 2, 3, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0};
    QCOMPARE(record.id, 1);
    QCOMPARE(record.accepted, 2);
    QCOMPARE(record.buttons, 3);
    QCOMPARE(record.radius_x, 4.0);
    QCOMPARE(record.radius_y, 5.0);
    QCOMPARE(record.x, 6.0);
    QCOMPARE(record.y, 7.0);
    QCOMPARE(record.hoop_x, 8.0);
    QCOMPARE(record.hoop_y, 9.0);

    const Hoop hoop{1.0, 2.0, true};
    QCOMPARE(hoop.x, 1.0);
    QCOMPARE(hoop.y, 2.0);
    QVERIFY(hoop.down);
}

void TestControls::the_id_tells_the_kind() {
    QCOMPARE(Osterly::pen_id(0), -1);
    QCOMPARE(Osterly::pen_id(15), -16);
    QCOMPARE(Osterly::pen_id(0), Osterly::kMouseId);
    QCOMPARE(Osterly::touch_id(0), 256);
    QCOMPARE(Osterly::touch_id(127), 383);
    QCOMPARE(Osterly::erase_id(0), 512);
    QCOMPARE(Osterly::erase_id(127), 639);
}

void TestControls::records_compare_by_what_they_tell_of_the_contact() {
    Controls other = kRecord;
    QVERIFY(other == kRecord);
    other.accepted = 1;
    QVERIFY(other == kRecord);
    QVERIFY(changed(&Controls::hoop_x, 1.0) == kRecord);
    QVERIFY(changed(&Controls::hoop_y, 1.0) == kRecord);

    other = kRecord;
    other.id = 8;
    QVERIFY(other != kRecord);
    other = kRecord;
    other.buttons = 3;
    QVERIFY(other != kRecord);
}

void TestControls::coordinates_compare_within_an_absolute_tolerance_data() {
    QTest::addColumn<int>("field");
    QTest::addColumn<double>("by");
    QTest::addColumn<bool>("same");
    const char* const fields[] = {"radius_x", "radius_y", "x", "y"};
    for (int field = 0; field < 4; ++field) {
        QTest::addRow("%s by 5e-13", fields[field]) << field << 5e-13 << true;
        QTest::addRow("%s by -5e-13", fields[field]) << field << -5e-13 << true;
        QTest::addRow("%s by 2e-12", fields[field]) << field << 2e-12 << false;
        QTest::addRow("%s by -2e-12", fields[field]) << field << -2e-12 << false;
    }
}

void TestControls::coordinates_compare_within_an_absolute_tolerance() {
    QFETCH(const int, field);
    QFETCH(const double, by);
    QFETCH(const bool, same);
    double Controls::*const fields[] = {&Controls::radius_x, &Controls::radius_y, &Controls::x,
                                        &Controls::y};
    QCOMPARE(changed(fields[field], by) == kRecord, same);

    // A relative comparison would call these two the same: 1e-9 next to 1000 pixels.
    Controls far = kRecord;
    far.*fields[field] = 1000.0;
    Controls farther = far;
    farther.*fields[field] += 1e-9;
    QVERIFY(far != farther);
}

void TestControls::a_record_that_is_not_a_number_equals_nothing() {
    const Controls record = changed(&Controls::x, std::numeric_limits<double>::quiet_NaN());
    QVERIFY(record != record);
}

void TestControls::the_first_report_sets_the_hoop() {
    Hoop hoop;
    QCOMPARE(hoop.track({0.25, 0.5}, 1, Osterly::kBoardHoopRadius), QPointF(0.25, 0.5));
    QVERIFY(hoop.down);
}

void TestControls::a_board_hoop_lands_on_each_new_point() {
    Hoop hoop;
    for (int unit : {0, 1, 32767, 12345, 12345, 65535, 54321, 2}) {
        const QPointF point(unit / 32768.0, (65535 - unit) / 32768.0);
        const QPointF centre = hoop.track(point, 1, Osterly::kBoardHoopRadius);
        QVERIFY(centre.x() == point.x() && centre.y() == point.y());
    }
}

void TestControls::a_hoop_that_was_up_jumps() {
    Hoop hoop;
    hoop.track({10.0, 10.0}, 1, 3.0);
    hoop.track({12.0, 10.0}, 0, 3.0);
    QVERIFY(!hoop.down);
    QCOMPARE(hoop.track({12.0, 11.0}, 1, 3.0), QPointF(12.0, 11.0));
}

void TestControls::a_ring_trails_the_point_by_its_radius() {
    Hoop hoop;
    hoop.track({10.0, 20.0}, 1, 3.0);
    QCOMPARE(hoop.track({15.0, 20.0}, 1, 3.0), QPointF(12.0, 20.0));
    QCOMPARE(hoop.track({12.0, 10.0}, 1, 3.0), QPointF(12.0, 13.0));
}

void TestControls::a_point_within_the_ring_leaves_the_centre() {
    Hoop hoop;
    hoop.track({10.0, 20.0}, 1, 3.0);
    QCOMPARE(hoop.track({12.0, 20.0}, 1, 3.0), QPointF(10.0, 20.0));
    QCOMPARE(hoop.track({13.0, 20.0}, 1, 3.0), QPointF(10.0, 20.0));
    QCOMPARE(hoop.track({10.0, 20.0}, 1, 0.0), QPointF(10.0, 20.0));
}

void TestControls::a_point_that_is_not_a_number_leaves_a_dragged_hoop() {
    Hoop hoop;
    hoop.track({0.25, 0.5}, 1, 0.0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QCOMPARE(hoop.track({nan, 0.5}, 1, 0.0), QPointF(0.25, 0.5));
    QCOMPARE(hoop.track({0.75, 0.5}, 1, 0.0), QPointF(0.75, 0.5));
}

void TestControls::a_point_out_of_single_precision_takes_the_hoop_with_it() {
    Hoop hoop;
    hoop.track({0.0, 0.0}, 1, 3.0);
    QCOMPARE(hoop.track({1e300, 0.0}, 1, 3.0), QPointF(1e300, 0.0));
    QCOMPARE(hoop.track({8.0, 0.0}, 1, 3.0), QPointF(8.0, 0.0));
}

void TestControls::the_receiver_of_a_signal_marks_the_emitters_record() {
    Osterly osterly(nullptr);
    connect(&osterly, &Osterly::out_osterly_pen_event,
            [](Controls& event) { event.accepted |= Osterly::kClaimed; });
    connect(&osterly, &Osterly::out_osterly_touch_event,
            [](std::vector<Controls>& event) { event.at(1).accepted |= Osterly::kClaimed; });
    connect(&osterly, &Osterly::out_osterly_erase_event,
            [](std::vector<Controls>& event) { event.at(0).accepted |= Osterly::kClaimed; });

    Controls pen;
    emit osterly.out_osterly_pen_event(pen);
    QCOMPARE(pen.accepted, 1);
    std::vector<Controls> contacts(2);
    emit osterly.out_osterly_touch_event(contacts);
    QCOMPARE(contacts[0].accepted, 0);
    QCOMPARE(contacts[1].accepted, 1);
    emit osterly.out_osterly_erase_event(contacts);
    QCOMPARE(contacts[0].accepted, 1);
}

QTEST_GUILESS_MAIN(TestControls)
#include "tst_controls.moc"
