#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <limits>

using Controls = Osterly::Controls;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kFarthest = std::numeric_limits<int>::max();

using Field = double Controls::*;
constexpr Field kFields[] = {&Controls::x, &Controls::y, &Controls::radius_x, &Controls::radius_y};
const char* const kFieldNames[] = {"x", "y", "radius_x", "radius_y"};

Controls with(Controls record, Field field, double value) {
    record.*field = value;
    return record;
}

/// Values that no pixel has, in each field that is drawn by.
void add_bad_rows() {
    QTest::addColumn<int>("field");
    QTest::addColumn<double>("value");
    const double values[] = {kNan,   kInfinite,    -kInfinite,    1e300,
                             -1e300, 2147483648.0, -2147483648.0, kFarthest + 0.5};
    for (int field = 0; field < 4; ++field) {
        for (double value : values)
            QTest::addRow("%s %.11g", kFieldNames[field], value) << field << value;
    }
}

void run_frame(StrokesView& view) {
    for (auto const& item : view.m_items)
        item->update_begin();
    for (auto const& item : view.m_items)
        item->update_end();
    view.get_dirty_region();
    shot_of(view);
}

} // namespace

class TestBadInput : public QuietTest {
    Q_OBJECT

private slots:
    void a_bad_first_report_starts_nothing_data() { add_bad_rows(); }
    void a_bad_first_report_starts_nothing();
    void a_bad_report_while_drawing_is_passed_over_data() { add_bad_rows(); }
    void a_bad_report_while_drawing_is_passed_over();
    void a_bad_lift_ends_the_stroke_data() { add_bad_rows(); }
    void a_bad_lift_ends_the_stroke();
    void a_bad_hoop_takes_no_part();
    void a_place_far_away_is_drawn_data();
    void a_place_far_away_is_drawn();
    void a_size_below_zero_is_taken_as_it_is();
    void any_id_has_a_stroke_data();
    void any_id_has_a_stroke();
    void the_kind_is_that_of_the_report_not_of_the_id();
    void an_empty_report_changes_nothing();
};

void TestBadInput::a_bad_first_report_starts_nothing() {
    QFETCH(const int, field);
    QFETCH(const double, value);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_test_mode = WhiteCard; // the quickest
        give_size(view, {100, 80});
        k.report(view, with(down(k.id, 10.0, 20.0), kFields[field], value));
        QVERIFY(view.m_items.empty());
        QVERIFY(view.m_id_to_item_map.empty());
        QVERIFY(view.get_dirty_region().isEmpty());
        QCOMPARE(view.m_id_to_draw_state_map.at(k.id).state, 0);
        k.report(view, with(up(k.id, 10.0, 20.0), kFields[field], value));
        QVERIFY(view.m_strokes.empty());

        // The contact starts with the first report that can be drawn.
        k.report(view, with(down(k.id, 10.0, 20.0), kFields[field], value));
        k.report(view, down(k.id, 30.0, 40.0));
        QCOMPARE(view.m_id_to_item_map.at(k.id)->m_pos, QPointF(30.0, 40.0));
        k.report(view, up(k.id, 30.0, 40.0));
        QCOMPARE(view.m_strokes.size(), 1U);
        QCOMPARE(view.m_strokes[0].segments.size(), 1U);
        QCOMPARE(view.m_strokes[0].segments[0].line, QLineF(30.0, 40.0, 30.0, 40.0));
        run_frame(view);
    }
}

void TestBadInput::a_bad_report_while_drawing_is_passed_over() {
    QFETCH(const int, field);
    QFETCH(const double, value);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_test_mode = WhiteCard; // the quickest
        give_size(view, {100, 80});
        k.report(view, down(k.id, 10.0, 20.0));
        const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(k.id);
        marker->m_flags = 0;
        view.get_dirty_region();
        k.report(view, with(down(k.id, 30.0, 20.0), kFields[field], value));
        QCOMPARE(view.m_id_to_draw_state_map.at(k.id).state, 1);
        QCOMPARE(view.m_id_to_draw_state_map.at(k.id).last, QPointF(10.0, 20.0));
        QVERIFY(view.get_dirty_region().isEmpty());
        QCOMPARE(marker->m_pos, QPointF(10.0, 20.0));
        QCOMPARE(marker->m_flags, 0);
        run_frame(view);

        k.report(view, down(k.id, 40.0, 50.0));
        k.report(view, up(k.id, 40.0, 51.0));
        QCOMPARE(view.m_strokes.size(), 1U);
        QCOMPARE(view.m_strokes[0].segments.size(), 3U);
        QCOMPARE(view.m_strokes[0].segments[1].line, QLineF(10.0, 20.0, 40.0, 50.0));
        QVERIFY(view.m_items.empty());
    }
}

void TestBadInput::a_bad_lift_ends_the_stroke() {
    QFETCH(const int, field);
    QFETCH(const double, value);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_test_mode = WhiteCard; // the quickest
        give_size(view, {100, 80});
        k.report(view, down(k.id, 10.0, 20.0));
        k.report(view, down(k.id, 30.0, 20.0));
        run_frame(view);
        k.report(view, with(up(k.id, 35.0, 20.0), kFields[field], value));
        QCOMPARE(view.m_id_to_draw_state_map.at(k.id).state, 0);
        QVERIFY(view.m_id_to_draw_state_map.at(k.id).segments.empty());
        QVERIFY(view.m_items.empty());
        QVERIFY(view.m_id_to_item_map.empty());
        QCOMPARE(view.m_strokes.size(), 1U);
        QCOMPARE(view.m_strokes[0].segments.size(), 2U);
        QCOMPARE(view.m_strokes[0].color, k.stroke);
        run_frame(view);

        k.report(view, down(k.id, 60.0, 20.0));
        QCOMPARE(view.m_id_to_draw_state_map.at(k.id).segments.size(), 1U);
    }
}

void TestBadInput::a_bad_hoop_takes_no_part() {
    StrokesView view;
    Controls contact = down(-1, 10.0, 20.0);
    contact.hoop_x = kNan;
    contact.hoop_y = kInfinite;
    view.in_pen_event(contact);
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).segments.size(), 1U);
}

void TestBadInput::a_place_far_away_is_drawn_data() {
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("radius");
    for (double place : {40000.0, 1e7, 2e9, kFarthest, -kFarthest}) {
        for (double radius : {0.0, 7.0, 1e6, kFarthest}) {
            QTest::addRow("x %.10g, radius %.10g", place, radius) << place << 20.0 << radius;
            QTest::addRow("y %.10g, radius %.10g", place, radius) << 20.0 << place << radius;
            QTest::addRow("both %.10g, radius %.10g", place, radius) << place << place << radius;
        }
    }
    QTest::newRow("here, as large as can be") << 20.0 << 20.0 << kFarthest;
}

void TestBadInput::a_place_far_away_is_drawn() {
    QFETCH(const double, x);
    QFETCH(const double, y);
    QFETCH(const double, radius);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_test_mode = WhiteCard; // the quickest
        give_size(view, {100, 80});
        k.report(view, down(k.id, x, y, radius, radius)); // a dot there
        k.report(view, down(k.id, 50.0, 40.0, radius, radius));
        k.report(view, down(k.id, -x, y / 3.0, 0.0, radius));
        run_frame(view);
        k.report(view, up(k.id, x, -y, radius, 0.0));
        QCOMPARE(view.m_strokes.size(), 1U);
        QVERIFY(view.m_strokes[0].segments.size() >= 3);
        QVERIFY(view.m_items.empty());
        QVERIFY(!view.get_dirty_region().isEmpty());
        view.redraw_strokes();
        run_frame(view);
    }
}

void TestBadInput::a_size_below_zero_is_taken_as_it_is() {
    StrokesView view;
    give_size(view, {100, 80});
    view.in_touch_event({down(256, 50.0, 40.0, -6.0, -5.0)});
    view.in_touch_event({down(256, 60.0, 40.0, -6.0, -5.0)});
    view.in_touch_event({up(256, 70.0, 40.0, -kFarthest, -kFarthest)});
    QCOMPARE(view.m_strokes.at(0).segments.size(), 3U);
    QCOMPARE(view.m_strokes[0].segments[0].width, -5.0F);
    view.redraw_strokes();
    run_frame(view);
}

void TestBadInput::any_id_has_a_stroke_data() {
    QTest::addColumn<int>("id");
    for (int id : {0, 1, 255, 384, 640, -17, -9999, std::numeric_limits<int>::max(),
                   std::numeric_limits<int>::min()})
        QTest::addRow("%d", id) << id;
}

void TestBadInput::any_id_has_a_stroke() {
    QFETCH(const int, id);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_test_mode = WhiteCard; // the quickest
        give_size(view, {100, 80});
        k.report(view, down(id, 10.0, 20.0));
        QCOMPARE(view.m_id_to_item_map.at(id)->m_color, k.marker);
        k.report(view, up(id, 20.0, 20.0));
        QVERIFY(view.m_items.empty());
        QCOMPARE(view.m_strokes.at(0).color, k.stroke);
    }
}

/// A contact of one kind under another's id: the id alone finds its stroke and its marker.
void TestBadInput::the_kind_is_that_of_the_report_not_of_the_id() {
    StrokesView view;
    view.in_pen_event(down(300, 10.0, 20.0));
    view.in_touch_event({down(300, 20.0, 20.0)});
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_id_to_item_map.at(300)->m_color, QColor(255, 0, 0, 32));
    view.in_erase_event({up(300, 30.0, 20.0)});
    QVERIFY(view.m_items.empty());
    QCOMPARE(view.m_strokes.at(0).segments.size(), 3U);
    QCOMPARE(view.m_strokes[0].color, QColor(Qt::red));
}

void TestBadInput::an_empty_report_changes_nothing() {
    StrokesView view;
    view.my_touch_event({});
    view.my_erase_event({});
    view.in_touch_event({});
    view.in_erase_event({});
    QVERIFY(view.m_strokes.empty());
    QVERIFY(view.m_id_to_draw_state_map.empty());
    QVERIFY(view.m_dirty_region.isEmpty());
}

QTEST_MAIN(TestBadInput)
#include "tst_badinput.moc"
