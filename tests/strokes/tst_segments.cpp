#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/records.h"

class TestSegments : public QuietTest {
    Q_OBJECT

private slots:
    void a_segment_is_as_wide_as_its_contact_data();
    void a_segment_is_as_wide_as_its_contact();
    void the_width_may_change_within_a_stroke();

    void a_repeated_record_adds_nothing_data();
    void a_repeated_record_adds_nothing();
    void a_dropped_point_is_not_the_last_one();
    void only_the_last_segment_can_be_repeated();
    void a_repeated_lift_adds_nothing();
};

void TestSegments::a_segment_is_as_wide_as_its_contact_data() {
    QTest::addColumn<double>("radius_x");
    QTest::addColumn<double>("radius_y");
    QTest::addColumn<float>("stroke_width");
    QTest::addColumn<float>("width");
    QTest::newRow("no size") << 0.0 << 0.0 << 3.0F << 3.0F;
    QTest::newRow("no size, key 0") << 0.0 << 0.0 << 0.0F << 0.0F;
    QTest::newRow("no size, key 9") << 0.0 << 0.0 << 9.0F << 9.0F;
    QTest::newRow("higher than wide") << 4.0 << 7.0 << 3.0F << 7.0F;
    QTest::newRow("wider than high") << 7.0 << 4.0 << 9.0F << 7.0F;
    QTest::newRow("only wide") << 0.5 << 0.0 << 3.0F << 0.5F;
    QTest::newRow("only high") << 0.0 << 0.5 << 3.0F << 0.5F;
    QTest::newRow("a size, key 0") << 4.0 << 7.0 << 0.0F << 7.0F;
    QTest::newRow("hardly any size") << 1e-9 << 0.0 << 3.0F << 1e-9F;
    QTest::newRow("below zero and none") << -4.0 << 0.0 << 3.0F << 3.0F;
}

void TestSegments::a_segment_is_as_wide_as_its_contact() {
    QFETCH(const double, radius_x);
    QFETCH(const double, radius_y);
    QFETCH(const float, stroke_width);
    QFETCH(const float, width);
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_stroke_width = stroke_width;
        k.report(view, down(k.id, 10.0, 10.0, radius_x, radius_y));
        k.report(view, down(k.id, 20.0, 10.0, radius_x, radius_y));
        k.report(view, up(k.id, 30.0, 10.0, radius_x, radius_y));
        QCOMPARE(view.m_strokes.at(0).segments.size(), 3U);
        for (StrokesView::segment const& piece : view.m_strokes[0].segments)
            QVERIFY(piece.width == width);
    }
}

void TestSegments::the_width_may_change_within_a_stroke() {
    StrokesView view;
    view.in_touch_event({down(256, 10.0, 10.0, 2.0, 1.0)});
    view.in_touch_event({down(256, 20.0, 10.0, 3.0, 8.0)});
    view.in_touch_event({down(256, 30.0, 10.0)});
    view.m_stroke_width = 5.0F;
    view.in_touch_event({down(256, 40.0, 10.0)});
    view.in_touch_event({up(256, 50.0, 10.0, 1.0, 1.0)});
    std::vector<float> widths;
    for (StrokesView::segment const& piece : view.m_strokes.at(0).segments)
        widths.push_back(piece.width);
    QCOMPARE(widths, (std::vector<float>{2.0F, 8.0F, 3.0F, 5.0F, 1.0F}));
}

// The tolerance is absolute: a relative one would call points at 1000 pixels the same that differ
// by 1e-9, and points at 1e6 that differ by 1e-7.
void TestSegments::a_repeated_record_adds_nothing_data() {
    QTest::addColumn<double>("at");
    QTest::addColumn<double>("by");
    QTest::addColumn<bool>("repeated");
    QTest::newRow("exactly") << 0.5 << 0.0 << true;
    QTest::newRow("by 5e-13") << 0.5 << 5e-13 << true;
    QTest::newRow("by -5e-13") << 0.5 << -5e-13 << true;
    QTest::newRow("by 2e-12") << 0.5 << 2e-12 << false;
    QTest::newRow("by -2e-12") << 0.5 << -2e-12 << false;
    QTest::newRow("at 0, by 5e-13") << 0.0 << 5e-13 << true;
    QTest::newRow("at 0, by 2e-12") << 0.0 << 2e-12 << false;
    QTest::newRow("at 1000, by 5e-13") << 1000.0 << 5e-13 << true;
    QTest::newRow("at 1000, by 1e-11") << 1000.0 << 1e-11 << false;
    QTest::newRow("at 1000, by 1e-9") << 1000.0 << 1e-9 << false;
    QTest::newRow("at -1000, by 1e-9") << -1000.0 << 1e-9 << false;
    QTest::newRow("at 1e6, exactly") << 1e6 << 0.0 << true;
    QTest::newRow("at 1e6, by 1e-7") << 1e6 << 1e-7 << false;
    QTest::newRow("by a pixel") << 100.0 << 1.0 << false;
}

void TestSegments::a_repeated_record_adds_nothing() {
    QFETCH(const double, at);
    QFETCH(const double, by);
    QFETCH(const bool, repeated);
    const std::size_t segments = repeated ? 1 : 2;
    for (Kind const& k : kinds()) {
        for (QPointF offset : {QPointF(by, 0.0), QPointF(0.0, by)}) {
            StrokesView view;
            view.m_info_tags = false;
            k.report(view, down(k.id, at, at));
            view.get_dirty_region();
            k.report(view, down(k.id, at + offset.x(), at + offset.y()));
            StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(k.id);
            QCOMPARE(state.segments.size(), segments);
            QCOMPARE(view.get_dirty_region().isEmpty(), repeated);
            QVERIFY(state.last.x() == (repeated ? at : at + offset.x()));
            QVERIFY(state.last.y() == (repeated ? at : at + offset.y()));
        }
    }
}

void TestSegments::a_dropped_point_is_not_the_last_one() {
    StrokesView view;
    view.in_pen_event(down(-1, 0.5, 0.5));
    view.in_pen_event(down(-1, 0.5 + 8e-13, 0.5)); // dropped
    view.in_pen_event(down(-1, 0.5 + 16e-13, 0.5));
    StrokesView::draw_state const& state = view.m_id_to_draw_state_map.at(-1);
    QCOMPARE(state.segments.size(), 2U);
    QVERIFY(is_segment(state.segments[1], {0.5, 0.5, 0.5 + 16e-13, 0.5}, 3.0F));
}

void TestSegments::only_the_last_segment_can_be_repeated() {
    StrokesView view;
    StrokesView::draw_state const& state = view.m_id_to_draw_state_map[-1];
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(down(-1, 20.0, 10.0));
    QCOMPARE(state.segments.size(), 2U);
    // Ends where the last one ends, but starts there, too.
    view.in_pen_event(down(-1, 20.0, 10.0));
    QCOMPARE(state.segments.size(), 3U);
    QVERIFY(is_segment(state.segments[2], {20.0, 10.0, 20.0, 10.0}, 3.0F));
    view.in_pen_event(down(-1, 20.0, 10.0));
    QCOMPARE(state.segments.size(), 3U);
    view.m_stroke_width = 4.0F;
    view.in_pen_event(down(-1, 20.0, 10.0));
    QCOMPARE(state.segments.size(), 4U);
    QVERIFY(is_segment(state.segments[3], {20.0, 10.0, 20.0, 10.0}, 4.0F));
    // Back to the first one: not the last, so no repeat.
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.m_stroke_width = 3.0F;
    view.in_pen_event(down(-1, 10.0, 10.0));
    QCOMPARE(state.segments.size(), 6U);
    QVERIFY(is_segment(state.segments[5], {10.0, 10.0, 10.0, 10.0}, 3.0F));
}

void TestSegments::a_repeated_lift_adds_nothing() {
    for (Kind const& k : kinds()) {
        StrokesView view;
        view.m_info_tags = false;
        k.report(view, down(k.id, 1000.0, 10.0));
        view.get_dirty_region();
        k.report(view, up(k.id, 1000.0, 10.0 + 5e-13));
        QVERIFY(view.get_dirty_region().isEmpty());
        QCOMPARE(view.m_strokes.at(0).segments.size(), 1U);

        k.report(view, down(k.id, 1000.0, 10.0));
        view.get_dirty_region();
        k.report(view, up(k.id, 1000.0 + 1e-9, 10.0));
        QVERIFY(!view.get_dirty_region().isEmpty());
        QCOMPARE(view.m_strokes.at(1).segments.size(), 2U);
    }
}

QTEST_MAIN(TestSegments)
#include "tst_segments.moc"
