#include "strokes/strokesview.h"
#include "tests/app/routing_fixture.h"

#include <QtTest>
#include <cmath>
#include <limits>

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

} // namespace

/// From a board's normalised coordinates to the pixels of the view.
class TestScreenMapping : public RoutingFixture {
    Q_OBJECT

private slots:
    void initTestCase_data() { add_kinds(); }

    void points_map_to_the_views_pixels_data();
    void points_map_to_the_views_pixels();
    void the_screen_is_looked_up_at_every_report();
    void points_are_mapped_into_the_bound_widget();
    void radii_scale_with_their_side_of_the_screen();

    void a_contact_that_is_on_no_screen_is_dropped_data();
    void a_contact_that_is_on_no_screen_is_dropped();
    void a_bound_contact_may_report_anything_data();
    void a_bound_contact_may_report_anything();
    void a_far_point_stays_on_its_side_data();
    void a_far_point_stays_on_its_side();
};

void TestScreenMapping::points_map_to_the_views_pixels_data() {
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QRect>("dialog");
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<QPointF>("pen");
    QTest::addColumn<QPointF>("touch_or_eraser");

    const QRect first(0, 0, 800, 600);
    QTest::newRow("full screen") << first << first << QPointF(0.5, 0.25) << QPointF(400, 150)
                                 << QPointF(400, 150);
    QTest::newRow("its first pixel")
        << first << first << QPointF(0.0, 0.0) << QPointF(0, 0) << QPointF(0, 0);
    QTest::newRow("its last pixel")
        << first << first << QPointF(0.9999, 0.9999) << QPointF(799, 599) << QPointF(799, 599);
    QTest::newRow("the last unit of a board")
        << first << first << QPointF(32767.0 / 32768.0, 1.0 / 32768.0) << QPointF(799, 0)
        << QPointF(799, 0);
    QTest::newRow("a fraction is cut off")
        << first << first << QPointF(0.49999, 0.49999) << QPointF(399, 299) << QPointF(399, 299);
    QTest::newRow("a negative fraction is cut off toward zero")
        << first << QRect(-10, -10, 100, 100) << QPointF(-0.00374, -0.001) << QPointF(8, 10)
        << QPointF(8, 10);
    QTest::newRow("a window") << first << QRect(100, 50, 400, 300) << QPointF(0.5, 0.25)
                              << QPointF(300, 100) << QPointF(300, 100);

    // The screen's origin is added for a pen and subtracted for the others.
    const QRect second(300, 200, 800, 600);
    QTest::newRow("a screen to the right and below")
        << second << QRect(0, 0, 1000, 900) << QPointF(0.5, 0.5) << QPointF(700, 500)
        << QPointF(100, 100);
    const QRect third(-300, -200, 800, 600);
    QTest::newRow("a screen to the left and above")
        << third << QRect(-400, -300, 1500, 1200) << QPointF(0.5, 0.5) << QPointF(500, 400)
        << QPointF(1100, 800);
    QTest::newRow("a fraction is cut off before the origin is added")
        << second << QRect(-500, -500, 1200, 1200) << QPointF(-0.001, -0.001) << QPointF(800, 700)
        << QPointF(200, 300);
    QTest::newRow("a fraction is cut off before the origin is subtracted")
        << third << QRect(-500, -500, 1200, 1200) << QPointF(-0.001, -0.001) << QPointF(200, 300)
        << QPointF(800, 700);
}

void TestScreenMapping::points_map_to_the_views_pixels() {
    QFETCH(const QRect, screen);
    QFETCH(const QRect, dialog);
    QFETCH(const QPointF, point);
    QFETCH(const QPointF, pen);
    QFETCH(const QPointF, touch_or_eraser);
    m_screen->move(screen);
    place_dialog(dialog);

    Controls record = contact_at(1, {});
    record.x = point.x();
    record.y = point.y();
    record.hoop_x = record.hoop_y = 0.125; // takes no part
    send(record);
    QCOMPARE(m_delivered.size(), std::size_t{1});
    const QPointF expected = m_kind == Pen ? pen : touch_or_eraser;
    QCOMPARE(QPointF(last().x, last().y), expected);
    QCOMPARE(QPointF(last().hoop_x, last().hoop_y), expected);
}

void TestScreenMapping::the_screen_is_looked_up_at_every_report() {
    Controls record = contact_at(1, {});
    record.x = record.y = 0.25;
    record.radius_x = record.radius_y = 0.5;
    send(record);
    QCOMPARE(QPointF(last().x, last().y), QPointF(150, 200));
    QCOMPARE(QPointF(last().radius_x, last().radius_y), QPointF(500, 500));
    m_screen->move(QRect(0, 0, 1600, 1200));
    send(record);
    QCOMPARE(QPointF(last().x, last().y), QPointF(300, 250));
    QCOMPARE(QPointF(last().radius_x, last().radius_y), QPointF(800, 600));
}

void TestScreenMapping::points_are_mapped_into_the_bound_widget() {
    m_dialog->m_strokes_view->setGeometry(30, 20, 200, 200);
    send(contact_at(1, kInside));
    QCOMPARE(QPointF(last().x, last().y), QPointF(70, 30));
    QCOMPARE(QPointF(last().hoop_x, last().hoop_y), QPointF(70, 30));
}

void TestScreenMapping::radii_scale_with_their_side_of_the_screen() {
    m_screen->move(QRect(0, 0, 800, 600));
    Controls record = contact_at(1, kInside);
    record.radius_x = 0.125;
    record.radius_y = 1.0 / 1024.0; // no whole pixels: radii are not cut off
    send(record);
    QCOMPARE(last().radius_x, 100.0);
    QCOMPARE(last().radius_y, 0.5859375);
}

void TestScreenMapping::a_contact_that_is_on_no_screen_is_dropped_data() {
    QTest::addColumn<double>("coordinate");
    for (const double number : {kNotANumber, kInfinity, -kInfinity, 1e300, -1e300, 1e10, -1e10})
        QTest::addRow("%g", number) << number;
}

void TestScreenMapping::a_contact_that_is_on_no_screen_is_dropped() {
    QFETCH(const double, coordinate);
    place_dialog(QRect(-50, -50, 400, 300)); // around the origin of the screen
    for (double Controls::*const field : {&Controls::x, &Controls::y}) {
        Controls record = contact_at(1, kInside);
        record.*field = coordinate;
        QCOMPARE(send(record).accepted, 0);
        QVERIFY(!is_bound(1));
    }
    QVERIFY(m_delivered.empty());
}

void TestScreenMapping::a_bound_contact_may_report_anything_data() {
    QTest::addColumn<double>("number");
    for (const double number :
         {kNotANumber, kInfinity, -kInfinity, 1e300, -1e300, 1e10, -1e10, 3e6, -3e6, 5e-324, -0.0})
        QTest::addRow("%g", number) << number;
}

void TestScreenMapping::a_bound_contact_may_report_anything() {
    QFETCH(const double, number);
    // Neither a frame nor the painting may stumble over what has been delivered.
    const auto show_frame = [this] {
        m_dialog->in_timer_update();
        m_dialog->grab();
    };
    for (double Controls::*const field :
         {&Controls::x, &Controls::y, &Controls::radius_x, &Controls::radius_y}) {
        m_delivered.clear();
        send(contact_at(1, kInside));
        Controls odd = contact_at(1, kInside);
        odd.*field = number;
        QCOMPARE(send(odd).accepted, 1);
        show_frame();
        odd.buttons = 0;
        QCOMPARE(send(odd).accepted, 1);
        QVERIFY(!is_bound(1));
        show_frame();
        QCOMPARE(m_delivered.size(), std::size_t{3});
        QCOMPARE(std::isnan(last().*field), std::isnan(number));
    }
}

void TestScreenMapping::a_far_point_stays_on_its_side_data() {
    QTest::addColumn<double>("coordinate");
    for (const double number : {kInfinity, 1e300, 3e6})
        QTest::addRow("%g", number) << number;
}

void TestScreenMapping::a_far_point_stays_on_its_side() {
    QFETCH(const double, coordinate);
    m_screen->move(QRect(200, 100, 1000, 1000));
    const QPoint origin = m_kind == Pen ? QPoint(200, 100) : QPoint(-200, -100);
    Controls record = contact_at(1, kInside - origin);
    QCOMPARE(send(record).accepted, 1);
    record.x = coordinate;
    record.y = -coordinate;
    send(record);
    QVERIFY(last().x > 1e9);
    QVERIFY(last().y < -1e9);
}

QTEST_MAIN(TestScreenMapping)
#include "tst_screen_mapping.moc"
