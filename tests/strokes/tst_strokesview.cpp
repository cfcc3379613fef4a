#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/records.h"

#include <QImage>
#include <type_traits>

using Controls = Osterly::Controls;

Q_DECLARE_METATYPE(Osterly::Controls)

static_assert(std::is_base_of_v<ItemView, StrokesView>);
static_assert(std::is_aggregate_v<StrokesView::segment> &&
              std::is_aggregate_v<StrokesView::stroke>);
static_assert(std::is_same_v<decltype(StrokesView::segment::width), float>);
static_assert(std::is_same_v<decltype(StrokesView::m_stroke_width), float>);
static_assert(std::is_same_v<decltype(&target), void (*)(QPainter&, float, float, float)>);

namespace {

struct Figures {
    int strokes = -7;
    int segments = -7;
    int minimum = -7;
    int maximum = -7;
    int mean = -7;
};

Figures figures_of(StrokesView const& view) {
    Figures f;
    view.statistics(f.strokes, f.segments, f.minimum, f.maximum, f.mean);
    return f;
}

} // namespace

class TestStrokesView : public QuietTest {
    Q_OBJECT

private slots:
    void a_new_view_is_empty_and_shows_the_help();
    void the_members_stand_in_their_order();
    void the_class_has_three_slots_and_no_signals();
    void what_leaves_the_item_view_is_drawn();
    void a_mouse_draws_as_the_first_pen();

    void a_down_record_starts_a_stroke_with_a_dot_data() { add_kind_rows(); }
    void a_down_record_starts_a_stroke_with_a_dot();
    void a_moving_contact_adds_lines_data() { add_kind_rows(); }
    void a_moving_contact_adds_lines();
    void a_lift_ends_the_stroke_and_keeps_it_data() { add_kind_rows(); }
    void a_lift_ends_the_stroke_and_keeps_it();
    void a_contact_that_was_never_down_changes_nothing_data() { add_kind_rows(); }
    void a_contact_that_was_never_down_changes_nothing();
    void a_tap_is_one_segment_or_two_data();
    void a_tap_is_one_segment_or_two();
    void the_next_stroke_of_a_contact_begins_anew();
    void a_stroke_starts_without_old_segments();
    void a_contact_in_an_unknown_state_does_nothing_data();
    void a_contact_in_an_unknown_state_does_nothing();
    void contacts_draw_strokes_of_their_own();
    void strokes_are_kept_in_the_order_in_which_they_end();
    void the_contacts_of_one_report_are_served_in_order_data();
    void the_contacts_of_one_report_are_served_in_order();
    void a_stroke_keeps_the_colour_of_its_first_point();
    void any_button_is_down_data();
    void any_button_is_down();
    void a_finished_stroke_holds_no_spare_memory();

    void clearing_forgets_the_finished_strokes();
    void clearing_leaves_the_strokes_in_progress();
    void statistics_tell_of_the_finished_strokes_data();
    void statistics_tell_of_the_finished_strokes();
};

void TestStrokesView::a_new_view_is_empty_and_shows_the_help() {
    StrokesView view;
    QVERIFY(view.m_strokes.empty());
    QVERIFY(view.m_id_to_item_map.empty());
    QVERIFY(!view.m_strokes_image);
    QVERIFY(view.m_id_to_draw_state_map.empty());
    QCOMPARE(view.m_stroke_width, 3.0F);
    QVERIFY(view.m_info_tags);
    QCOMPARE(view.m_test_mode, 7);
    QVERIFY(!view.m_test_image);
    QVERIFY(!view.m_transparent);
    QVERIFY(view.m_items.empty());
    QVERIFY(view.m_dirty_region.isEmpty());
}

/// So that they are released in the reverse order.
void TestStrokesView::the_members_stand_in_their_order() {
    StrokesView view;
    const void* const members[] = {&view.m_strokes,       &view.m_id_to_item_map,
                                   &view.m_strokes_image, &view.m_id_to_draw_state_map,
                                   &view.m_stroke_width,  &view.m_info_tags,
                                   &view.m_test_mode,     &view.m_test_image};
    QVERIFY(std::is_sorted(std::begin(members), std::end(members)));
}

void TestStrokesView::the_class_has_three_slots_and_no_signals() {
    QMetaObject const& meta = StrokesView::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 3);
    const char* const names[] = {"my_pen_event", "my_touch_event", "my_erase_event"};
    for (int i = 0; i < 3; ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        QCOMPARE(method.name(), QByteArray(names[i]));
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.access(), QMetaMethod::Public);
    }
}

void TestStrokesView::what_leaves_the_item_view_is_drawn() {
    StrokesView view;
    emit view.out_pen_event(down(-1, 1.0, 2.0));
    QCOMPARE(view.m_id_to_draw_state_map[-1].color, QColor(Qt::red));
    emit view.out_touch_event({down(256, 1.0, 2.0)});
    QCOMPARE(view.m_id_to_draw_state_map[256].color, QColor(Qt::green));
    emit view.out_erase_event({down(512, 1.0, 2.0)});
    QCOMPARE(view.m_id_to_draw_state_map[512].color, QColor(Qt::white));
    for (auto const& [id, state] : view.m_id_to_draw_state_map)
        QCOMPARE(state.segments.size(), 1U);
}

void TestStrokesView::a_mouse_draws_as_the_first_pen() {
    StrokesView view;
    give_size(view, {300, 200});
    QTest::mousePress(&view, Qt::LeftButton, Qt::NoModifier, {20, 30});
    QCOMPARE(view.m_items.size(), 1U);
    QTest::mouseRelease(&view, Qt::LeftButton, Qt::NoModifier, {50, 30});
    QVERIFY(view.m_items.empty());
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).state, 0);
    QCOMPARE(view.m_strokes.size(), 1U);
    QCOMPARE(view.m_strokes[0].color, QColor(Qt::red));
    QCOMPARE(view.m_strokes[0].segments.back().line, QLineF(20.0, 30.0, 50.0, 30.0));
}

void TestStrokesView::a_down_record_starts_a_stroke_with_a_dot() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.25, 30.5));

    QCOMPARE(view.m_id_to_draw_state_map.size(), 1U);
    StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(k.id);
    QCOMPARE(state.state, 1);
    QCOMPARE(state.last, QPointF(20.25, 30.5));
    QCOMPARE(state.color, k.stroke);
    QCOMPARE(state.segments.size(), 1U);
    QVERIFY(is_segment(state.segments[0], {20.25, 30.5, 20.25, 30.5}, 3.0F));
    QVERIFY(view.m_strokes.empty());
}

void TestStrokesView::a_moving_contact_adds_lines() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.0, 30.0));
    k.report(view, down(k.id, 25.5, -3.0));
    k.report(view, down(k.id, 900.0, 7.0));

    StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(k.id);
    QCOMPARE(state.state, 1);
    QCOMPARE(state.last, QPointF(900.0, 7.0));
    QCOMPARE(state.segments.size(), 3U);
    QVERIFY(is_segment(state.segments[1], {20.0, 30.0, 25.5, -3.0}, 3.0F));
    QVERIFY(is_segment(state.segments[2], {25.5, -3.0, 900.0, 7.0}, 3.0F));
    QVERIFY(view.m_strokes.empty());
}

void TestStrokesView::a_lift_ends_the_stroke_and_keeps_it() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.0, 30.0));
    k.report(view, down(k.id, 25.0, 35.0));
    k.report(view, up(k.id, 26.0, 36.0));

    QCOMPARE(view.m_strokes.size(), 1U);
    StrokesView::stroke const& kept = view.m_strokes[0];
    QCOMPARE(kept.color, k.stroke);
    QCOMPARE(kept.segments.size(), 3U);
    QVERIFY(is_segment(kept.segments[0], {20.0, 30.0, 20.0, 30.0}, 3.0F));
    QVERIFY(is_segment(kept.segments[1], {20.0, 30.0, 25.0, 35.0}, 3.0F));
    QVERIFY(is_segment(kept.segments[2], {25.0, 35.0, 26.0, 36.0}, 3.0F));

    QCOMPARE(view.m_id_to_draw_state_map.size(), 1U);
    StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(k.id);
    QCOMPARE(state.state, 0);
    QVERIFY(state.segments.empty());
}

void TestStrokesView::a_contact_that_was_never_down_changes_nothing() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, up(k.id, 20.0, 30.0));
    k.report(view, up(k.id, 21.0, 30.0, 5.0, 5.0));

    QVERIFY(view.m_strokes.empty());
    QVERIFY(view.m_items.empty());
    QVERIFY(view.m_id_to_item_map.empty());
    QVERIFY(view.m_dirty_region.isEmpty());
    QCOMPARE(view.m_id_to_draw_state_map.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(k.id).state, 0);
    QVERIFY(view.m_id_to_draw_state_map.at(k.id).segments.empty());
}

void TestStrokesView::a_tap_is_one_segment_or_two_data() {
    QTest::addColumn<Controls>("lift");
    QTest::addColumn<int>("segments");
    QTest::addColumn<QLineF>("line");
    QTest::addColumn<float>("width");
    const QLineF dot(10.0, 20.0, 10.0, 20.0);
    QTest::newRow("at the same point") << up(257, 10.0, 20.0, 4.0, 4.0) << 1 << dot << 4.0F;
    QTest::newRow("at another x") << up(257, 11.0, 20.0, 4.0, 4.0) << 2
                                  << QLineF(10.0, 20.0, 11.0, 20.0) << 4.0F;
    QTest::newRow("at another y") << up(257, 10.0, 19.0, 4.0, 4.0) << 2
                                  << QLineF(10.0, 20.0, 10.0, 19.0) << 4.0F;
    QTest::newRow("narrower") << up(257, 10.0, 20.0, 3.5, 3.0) << 2 << dot << 3.5F;
    QTest::newRow("without a size") << up(257, 10.0, 20.0) << 2 << dot << 3.0F;
}

void TestStrokesView::a_tap_is_one_segment_or_two() {
    QFETCH(const Controls, lift);
    QFETCH(const int, segments);
    QFETCH(const QLineF, line);
    QFETCH(const float, width);
    StrokesView view;
    view.in_touch_event({down(257, 10.0, 20.0, 4.0, 4.0)});
    view.in_touch_event({lift});
    QCOMPARE(view.m_strokes.size(), 1U);
    QCOMPARE(static_cast<int>(view.m_strokes[0].segments.size()), segments);
    QVERIFY(is_segment(view.m_strokes[0].segments[0], {10.0, 20.0, 10.0, 20.0}, 4.0F));
    QVERIFY(is_segment(view.m_strokes[0].segments.back(), line, width));
}

void TestStrokesView::the_next_stroke_of_a_contact_begins_anew() {
    StrokesView view;
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(up(-1, 15.0, 15.0));
    view.in_pen_event(up(-1, 40.0, 40.0)); // hovers on
    view.in_pen_event(down(-1, 80.0, 80.0));
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).state, 1);
    view.in_pen_event(up(-1, 81.0, 81.0));

    QCOMPARE(view.m_strokes.size(), 2U);
    QCOMPARE(view.m_strokes[0].segments.size(), 2U);
    QCOMPARE(view.m_strokes[1].segments.size(), 2U);
    QVERIFY(is_segment(view.m_strokes[1].segments[0], {80.0, 80.0, 80.0, 80.0}, 3.0F));
    QVERIFY(is_segment(view.m_strokes[1].segments[1], {80.0, 80.0, 81.0, 81.0}, 3.0F));
}

void TestStrokesView::a_stroke_starts_without_old_segments() {
    StrokesView view;
    view.m_id_to_draw_state_map[-1].segments = {{QLineF(1.0, 1.0, 2.0, 2.0), 3.0F}};
    view.m_id_to_draw_state_map[-1].color = Qt::blue;
    view.in_pen_event(down(-1, 10.0, 10.0));
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).segments.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).color, QColor(Qt::red));
}

void TestStrokesView::a_contact_in_an_unknown_state_does_nothing_data() {
    QTest::addColumn<int>("unknown");
    QTest::addColumn<int>("buttons");
    QTest::newRow("2, down") << 2 << 1;
    QTest::newRow("2, up") << 2 << 0;
    QTest::newRow("-1, down") << -1 << 1;
    QTest::newRow("-1, up") << -1 << 0;
}

void TestStrokesView::a_contact_in_an_unknown_state_does_nothing() {
    QFETCH(const int, unknown);
    QFETCH(const int, buttons);
    StrokesView view;
    view.m_id_to_draw_state_map[-1].state = unknown;
    view.m_id_to_draw_state_map[-1].segments = {{QLineF(1.0, 1.0, 2.0, 2.0), 3.0F}};
    view.draw_stroke(record(-1, buttons, 10.0, 10.0), Qt::red);

    QCOMPARE(view.m_id_to_draw_state_map.at(-1).state, unknown);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).segments.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).last, QPointF());
    QVERIFY(view.m_strokes.empty());
    QVERIFY(view.m_dirty_region.isEmpty());
}

void TestStrokesView::contacts_draw_strokes_of_their_own() {
    StrokesView view;
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(down(-2, 50.0, 50.0));
    view.in_touch_event({down(256, 70.0, 70.0)});
    view.in_erase_event({down(512, 90.0, 90.0)});
    view.in_pen_event(down(-1, 11.0, 10.0));
    view.in_pen_event(up(-2, 51.0, 50.0));

    QCOMPARE(view.m_id_to_draw_state_map.size(), 4U);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).state, 1);
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).segments.size(), 2U);
    QVERIFY(
        is_segment(view.m_id_to_draw_state_map.at(-1).segments[1], {10.0, 10.0, 11.0, 10.0}, 3.0F));
    QCOMPARE(view.m_id_to_draw_state_map.at(-2).state, 0);
    QCOMPARE(view.m_id_to_draw_state_map.at(256).segments.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(512).segments.size(), 1U);
    QCOMPARE(view.m_strokes.size(), 1U);
    QVERIFY(is_segment(view.m_strokes[0].segments[1], {50.0, 50.0, 51.0, 50.0}, 3.0F));
}

void TestStrokesView::strokes_are_kept_in_the_order_in_which_they_end() {
    StrokesView view;
    for (int id : {-1, -2, -3})
        view.in_pen_event(down(id, 10.0 * id, 0.0));
    for (int id : {-2, -3, -1})
        view.in_pen_event(up(id, 10.0 * id, 0.0));
    QCOMPARE(view.m_strokes.size(), 3U);
    QCOMPARE(view.m_strokes[0].segments[0].line.x1(), -20.0);
    QCOMPARE(view.m_strokes[1].segments[0].line.x1(), -30.0);
    QCOMPARE(view.m_strokes[2].segments[0].line.x1(), -10.0);
}

void TestStrokesView::the_contacts_of_one_report_are_served_in_order_data() {
    QTest::addColumn<int>("first_id");
    QTest::addColumn<bool>("erases");
    QTest::newRow("touch") << 256 << false;
    QTest::newRow("eraser") << 512 << true;
}

void TestStrokesView::the_contacts_of_one_report_are_served_in_order() {
    QFETCH(const int, first_id);
    QFETCH(const bool, erases);
    StrokesView view;
    const auto report = [&](std::vector<Controls> const& records) {
        if (erases)
            view.in_erase_event(records);
        else
            view.in_touch_event(records);
    };
    const int a = first_id;
    const int b = first_id + 1;
    report({down(b, 10.0, 10.0), down(a, 20.0, 20.0)});
    QCOMPARE(view.m_items.size(), 2U);
    QCOMPARE(view.m_items[0].get(), view.m_id_to_item_map.at(b).get());
    QCOMPARE(view.m_items[1].get(), view.m_id_to_item_map.at(a).get());
    // A contact may be told of twice in one report.
    report({down(a, 21.0, 20.0), up(b, 11.0, 10.0), down(a, 22.0, 20.0), up(a, 23.0, 20.0)});
    QCOMPARE(view.m_strokes.size(), 2U);
    QCOMPARE(view.m_strokes[0].segments.size(), 2U);
    QCOMPARE(view.m_strokes[0].segments.back().line, QLineF(10.0, 10.0, 11.0, 10.0));
    QCOMPARE(view.m_strokes[1].segments.size(), 4U);
    QCOMPARE(view.m_strokes[1].segments.back().line, QLineF(22.0, 20.0, 23.0, 20.0));
    QVERIFY(view.m_items.empty());
}

void TestStrokesView::a_stroke_keeps_the_colour_of_its_first_point() {
    StrokesView view;
    view.draw_stroke(down(5, 10.0, 10.0), Qt::magenta);
    view.draw_stroke(down(5, 20.0, 10.0), Qt::cyan);
    QCOMPARE(view.m_id_to_draw_state_map.at(5).color, QColor(Qt::magenta));
    view.draw_stroke(up(5, 30.0, 10.0), Qt::yellow);
    QCOMPARE(view.m_strokes.at(0).color, QColor(Qt::magenta));
}

void TestStrokesView::any_button_is_down_data() {
    QTest::addColumn<int>("buttons");
    for (int buttons : {1, 2, 3, 256, -1, std::numeric_limits<int>::min()})
        QTest::addRow("%d", buttons) << buttons;
}

void TestStrokesView::any_button_is_down() {
    QFETCH(const int, buttons);
    StrokesView view;
    view.in_pen_event(record(-1, buttons, 10.0, 10.0));
    view.in_pen_event(record(-1, buttons, 20.0, 10.0));
    QCOMPARE(view.m_id_to_draw_state_map.at(-1).segments.size(), 2U);
    QCOMPARE(view.m_id_to_item_map.at(-1)->m_buttons, buttons);
}

void TestStrokesView::a_finished_stroke_holds_no_spare_memory() {
    StrokesView view;
    for (int x = 0; x < 5; ++x)
        view.in_pen_event(down(-1, x, 0.0));
    QVERIFY(view.m_id_to_draw_state_map.at(-1).segments.capacity() > 5); // else this tells nothing
    view.in_pen_event(up(-1, 4.0, 0.0));
    view.in_pen_event(up(-1, 4.0, 0.0));
    QCOMPARE(view.m_strokes.at(0).segments.size(), 6U);
    QCOMPARE(view.m_strokes.at(0).segments.capacity(), 6U);
}

void TestStrokesView::clearing_forgets_the_finished_strokes() {
    StrokesView view;
    give_size(view, {300, 200});
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(up(-1, 20.0, 10.0));
    view.get_dirty_region();
    view.clear_strokes();
    QVERIFY(view.m_strokes.empty());
    QCOMPARE(view.get_dirty_region(), QRegion(0, 0, 300, 200));
    view.clear_strokes(); // of nothing
    QCOMPARE(view.get_dirty_region(), QRegion(0, 0, 300, 200));
    QCOMPARE(view.m_id_to_draw_state_map.size(), 1U);
}

void TestStrokesView::clearing_leaves_the_strokes_in_progress() {
    StrokesView view;
    give_size(view, {300, 200});
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(down(-1, 20.0, 10.0));
    view.in_touch_event({down(256, 90.0, 90.0)});
    view.clear_strokes();

    StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(-1);
    QCOMPARE(state.state, 1);
    QCOMPARE(state.segments.size(), 2U);
    QCOMPARE(state.last, QPointF(20.0, 10.0));
    QCOMPARE(view.m_items.size(), 2U);
    QCOMPARE(view.m_id_to_item_map.size(), 2U);

    view.in_pen_event(up(-1, 30.0, 10.0));
    QCOMPARE(view.m_strokes.size(), 1U);
    QCOMPARE(view.m_strokes[0].segments.size(), 3U);
    QVERIFY(is_segment(view.m_strokes[0].segments[2], {20.0, 10.0, 30.0, 10.0}, 3.0F));
}

void TestStrokesView::statistics_tell_of_the_finished_strokes_data() {
    QTest::addColumn<QVector<int>>("counts");
    QTest::addColumn<QVector<int>>("figures");
    QTest::newRow("none") << QVector<int>{} << QVector<int>{0, 0, 1000000, -1, 0};
    QTest::newRow("one") << QVector<int>{3} << QVector<int>{1, 3, 3, 3, 3};
    QTest::newRow("mean rounded down") << QVector<int>{2, 1, 5} << QVector<int>{3, 8, 1, 5, 2};
    QTest::newRow("one without segments") << QVector<int>{0} << QVector<int>{1, 0, 0, 0, 0};
}

void TestStrokesView::statistics_tell_of_the_finished_strokes() {
    QFETCH(const QVector<int>, counts);
    QFETCH(const QVector<int>, figures);
    StrokesView view;
    view.in_pen_event(down(-1, 10.0, 10.0)); // in progress, not counted
    for (int count : counts)
        view.m_strokes.push_back(
            {std::vector<StrokesView::segment>(static_cast<std::size_t>(count)), Qt::red});
    const Figures f = figures_of(view);
    QCOMPARE((QVector<int>{f.strokes, f.segments, f.minimum, f.maximum, f.mean}), figures);
}

QTEST_MAIN(TestStrokesView)
#include "tst_strokesview.moc"
