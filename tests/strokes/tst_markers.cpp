#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/records.h"

class TestMarkers : public QuietTest {
    Q_OBJECT

private slots:
    void a_contact_gets_the_marker_of_its_kind_data() { add_kind_rows(); }
    void a_contact_gets_the_marker_of_its_kind();
    void a_marker_follows_its_contact_data() { add_kind_rows(); }
    void a_marker_follows_its_contact();
    void a_marker_goes_when_its_contact_lifts_data() { add_kind_rows(); }
    void a_marker_goes_when_its_contact_lifts();
    void a_lifted_contact_gets_no_marker_data() { add_kind_rows(); }
    void a_lifted_contact_gets_no_marker();
    void a_new_marker_is_on_top();
    void contacts_have_markers_of_their_own();
    void without_info_tags_there_is_no_marker_data() { add_kind_rows(); }
    void without_info_tags_there_is_no_marker();
    void a_marker_comes_with_the_next_down_record_data() { add_kind_rows(); }
    void a_marker_comes_with_the_next_down_record();
    void a_marker_stays_until_the_lift_when_the_tags_go_off_data() { add_kind_rows(); }
    void a_marker_stays_until_the_lift_when_the_tags_go_off();
    void a_marker_leaves_the_view_that_holds_it_data() { add_kind_rows(); }
    void a_marker_leaves_the_view_that_holds_it();
    void a_marker_that_no_view_holds_is_forgotten_data() { add_kind_rows(); }
    void a_marker_that_no_view_holds_is_forgotten();
    void a_contact_draws_through_markers();
    void clearing_leaves_the_markers();
};

void TestMarkers::a_contact_gets_the_marker_of_its_kind() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, record(k.id, 3, 20.25, 30.5, 4.0, 7.0));

    QCOMPARE(view.m_id_to_item_map.size(), 1U);
    const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(k.id);
    QCOMPARE(QByteArray(marker->metaObject()->className()), QByteArray(k.item_class));
    QCOMPARE(marker->m_color, k.marker);
    QCOMPARE(marker->m_pos, QPointF(20.25, 30.5));
    QCOMPARE(marker->map_from({0.0, 0.0}), QPointF(20.25, 30.5));
    QCOMPARE(marker->m_contact_id, k.id);
    QCOMPARE(marker->m_buttons, 3);
    QCOMPARE(marker->m_radius_x, 4.0);
    QCOMPARE(marker->m_radius_y, 7.0);
    QCOMPARE(marker->m_flags, 15);
    QCOMPARE(marker->m_view, static_cast<ItemView*>(&view));
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_items[0].get(), static_cast<Item*>(marker.get()));
}

void TestMarkers::a_marker_follows_its_contact() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.0, 30.0));
    const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(k.id);
    marker->m_flags = 0;
    k.report(view, record(k.id, 2, 40.0, -50.0, 8.0, 9.0));

    QCOMPARE(view.m_id_to_item_map.at(k.id), marker);
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(marker->m_pos, QPointF(40.0, -50.0));
    QCOMPARE(marker->map_from({0.0, 0.0}), QPointF(40.0, -50.0));
    QCOMPARE(marker->m_buttons, 2);
    QCOMPARE(marker->m_radius_x, 8.0);
    QCOMPARE(marker->m_radius_y, 9.0);
    QCOMPARE(marker->m_flags, 15);
}

void TestMarkers::a_marker_goes_when_its_contact_lifts() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 200.0, 300.0));
    const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(k.id);
    marker->update_begin();
    marker->update_end();
    const QRect shown = marker->m_painted_rect;
    QVERIFY(shown.contains(QRect(25, 150, 200, 175))); // the tag and the circle
    view.get_dirty_region();
    k.report(view, up(k.id, 200.0, 300.0));

    QVERIFY(view.m_id_to_item_map.empty());
    QVERIFY(view.m_items.empty());
    QVERIFY(marker->m_view == nullptr);
    QCOMPARE(view.get_dirty_region().intersected(shown), QRegion(shown));
    QCOMPARE(marker->m_pos, QPointF(200.0, 300.0));
    QCOMPARE(marker->m_buttons, 1); // is not told of the lift
    QCOMPARE(marker.use_count(), 1L);
}

void TestMarkers::a_lifted_contact_gets_no_marker() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, up(k.id, 20.0, 30.0));
    QVERIFY(view.m_id_to_item_map.empty());
    QVERIFY(view.m_items.empty());
}

void TestMarkers::a_new_marker_is_on_top() {
    StrokesView view;
    for (Kind const& k : kinds()) {
        k.report(view, down(k.id, 20.0, 30.0));
        QCOMPARE(view.m_items.back().get(),
                 static_cast<Item*>(view.m_id_to_item_map.at(k.id).get()));
    }
    // Moving does not raise one.
    view.in_pen_event(down(kinds()[0].id, 21.0, 30.0));
    QCOMPARE(view.m_items.front().get(),
             static_cast<Item*>(view.m_id_to_item_map.at(kinds()[0].id).get()));
}

void TestMarkers::contacts_have_markers_of_their_own() {
    StrokesView view;
    view.in_pen_event(down(-1, 10.0, 10.0));
    view.in_pen_event(down(-2, 50.0, 50.0));
    view.in_touch_event({down(256, 70.0, 70.0), down(257, 90.0, 90.0)});
    QCOMPARE(view.m_items.size(), 4U);
    view.in_touch_event({down(257, 91.0, 90.0), up(256, 70.0, 70.0)});
    view.in_pen_event(up(-1, 10.0, 10.0));
    QCOMPARE(view.m_items.size(), 2U);
    QCOMPARE(view.m_id_to_item_map.size(), 2U);
    QCOMPARE(view.m_id_to_item_map.at(-2)->m_pos, QPointF(50.0, 50.0));
    QCOMPARE(view.m_id_to_item_map.at(257)->m_pos, QPointF(91.0, 90.0));
}

void TestMarkers::without_info_tags_there_is_no_marker() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    view.m_info_tags = false;
    k.report(view, down(k.id, 20.0, 30.0));
    k.report(view, down(k.id, 21.0, 30.0));
    QVERIFY(view.m_id_to_item_map.empty());
    QVERIFY(view.m_items.empty());
    k.report(view, up(k.id, 22.0, 30.0));
    QCOMPARE(view.m_strokes.at(0).segments.size(), 3U); // is drawn all the same
}

void TestMarkers::a_marker_comes_with_the_next_down_record() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    view.m_info_tags = false;
    k.report(view, down(k.id, 20.0, 30.0));
    view.m_info_tags = true;
    QVERIFY(view.m_items.empty());
    k.report(view, down(k.id, 21.0, 31.0));
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_id_to_item_map.at(k.id)->m_pos, QPointF(21.0, 31.0));

    // Not with the lift.
    const int other = k.id + 1;
    view.m_info_tags = false;
    k.report(view, down(other, 20.0, 30.0));
    view.m_info_tags = true;
    k.report(view, up(other, 20.0, 30.0));
    QCOMPARE(view.m_items.size(), 1U);
}

void TestMarkers::a_marker_stays_until_the_lift_when_the_tags_go_off() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.0, 30.0));
    view.m_info_tags = false;
    k.report(view, down(k.id, 21.0, 31.0));
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_id_to_item_map.at(k.id)->m_pos, QPointF(21.0, 31.0));
    k.report(view, up(k.id, 21.0, 31.0));
    QVERIFY(view.m_items.empty());
    k.report(view, down(k.id, 22.0, 31.0));
    QVERIFY(view.m_items.empty());
}

void TestMarkers::a_marker_leaves_the_view_that_holds_it() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    ItemView other(1);
    k.report(view, down(k.id, 20.0, 30.0));
    const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(k.id);
    view.sub_item(marker.get());
    other.add_item(marker);
    k.report(view, down(k.id, 25.0, 30.0));
    QCOMPARE(marker->m_pos, QPointF(25.0, 30.0));
    QCOMPARE(other.m_items.size(), 1U);
    QVERIFY(view.m_items.empty());
    k.report(view, up(k.id, 25.0, 30.0));
    QVERIFY(other.m_items.empty());
    QVERIFY(view.m_id_to_item_map.empty());
}

void TestMarkers::a_marker_that_no_view_holds_is_forgotten() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    StrokesView view;
    k.report(view, down(k.id, 20.0, 30.0));
    view.sub_all();
    k.report(view, up(k.id, 20.0, 30.0));
    QVERIFY(view.m_id_to_item_map.empty());
    QCOMPARE(view.m_strokes.size(), 1U);
}

void TestMarkers::a_contact_draws_through_markers() {
    StrokesView view;
    view.in_pen_event(down(-1, 200.0, 200.0));
    for (auto const& item : view.m_items) {
        item->update_begin();
        item->update_end();
    }
    view.in_touch_event({down(256, 200.0, 200.0)});
    view.in_touch_event({up(256, 205.0, 200.0)});
    QCOMPARE(view.m_strokes.at(0).segments.size(), 2U);
}

void TestMarkers::clearing_leaves_the_markers() {
    StrokesView view;
    view.in_pen_event(down(-1, 20.0, 30.0));
    const std::shared_ptr<EventItem> marker = view.m_id_to_item_map.at(-1);
    view.clear_strokes();
    QCOMPARE(view.m_id_to_item_map.at(-1), marker);
    QCOMPARE(view.m_items.size(), 1U);
}

QTEST_MAIN(TestMarkers)
#include "tst_markers.moc"
