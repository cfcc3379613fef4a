#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_routing.h"

#include <QtTest>
#include <memory>

namespace {

constexpr int kPen = -3;

Controls left(Controls c) {
    c.accepted |= 2;
    return c;
}

} // namespace

class TestPenRouting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_pen_stays_with_the_item_on_which_it_went_down();
    void a_pen_stays_out_when_it_went_down_on_nothing();
    void a_lifted_pen_ends_its_capture();
    void a_hovering_pen_is_told_twice_to_the_item_it_reaches();
    void a_hovering_pen_that_moves_on_is_told_in_the_new_items_coordinates();
    void a_hovering_pen_that_leaves_for_nothing_is_told_where_it_is();
    void a_pen_lifted_off_its_item_is_told_in_that_items_coordinates();
    void a_pen_lifted_on_another_item_is_told_to_both();
    void a_pen_lifted_on_nothing_is_told_to_the_item_it_hovered_on();
    void pens_are_told_apart();
    void a_claim_is_passed_on();
    void the_record_given_to_a_pen_is_left_alone();
    void an_item_removed_under_a_pen_keeps_it_until_it_lifts();
    void an_item_may_remove_itself_under_a_pen();
    void a_hover_keeps_its_item_alive();
};

void TestPenRouting::a_pen_stays_with_the_item_on_which_it_went_down() {
    Scene scene;
    const auto a = scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.add("b", {200, 50});
    scene.m_view.in_pen_event(contact(kPen, 110, 60));
    QVERIFY(scene.m_view.m_pen_grab_map.at(kPen) == a);
    scene.m_view.in_pen_event(contact(kPen, 210, 60, 2)); // another button holds it too
    scene.m_view.in_pen_event(contact(kPen, 90, -10, 0));
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {at(contact(kPen, 110, 60), 5, 5)}),
                                         line("a.pen", {at(contact(kPen, 210, 60, 2), 55, 5)}),
                                         line("a.pen", {at(contact(kPen, 90, -10, 0), -5, -30)})}));
    QVERIFY(scene.m_view.m_pen_grab_map.empty());
    QCOMPARE(scene.m_view.m_pen_hover_map.size(), std::size_t{1});
    QVERIFY(scene.m_view.m_pen_hover_map.at(kPen) == nullptr);
}

void TestPenRouting::a_pen_stays_out_when_it_went_down_on_nothing() {
    Scene scene;
    const auto a = scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.m_view.in_pen_event(contact(kPen, 10, 10));
    QCOMPARE(scene.m_view.m_pen_grab_map.size(), std::size_t{1});
    QVERIFY(scene.m_view.m_pen_grab_map.at(kPen) == nullptr);
    scene.m_view.in_pen_event(contact(kPen, 110, 60));
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {contact(kPen, 10, 10)}),
                                         line("out.pen", {contact(kPen, 110, 60)})}));
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {contact(kPen, 110, 60, 0)}),
                                         line("a.pen", {at(contact(kPen, 110, 60, 0), 5, 5)})}));
    QVERIFY(scene.m_view.m_pen_hover_map.at(kPen) == a);
}

void TestPenRouting::a_lifted_pen_ends_its_capture() {
    Scene scene;
    scene.add("a", {0, 0});
    scene.m_view.in_pen_event(contact(kPen, 5, 5));
    scene.m_view.in_pen_event(contact(kPen, 50, 50, 0));
    scene.taken();
    scene.m_view.in_pen_event(contact(kPen, 60, 50));
    QCOMPARE(scene.taken(), QStringList(line("out.pen", {contact(kPen, 60, 50)})));
}

void TestPenRouting::a_hovering_pen_is_told_twice_to_the_item_it_reaches() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.m_view.in_pen_event(contact(kPen, 10, 10, 0));
    QCOMPARE(scene.taken(), QStringList(line("out.pen", {contact(kPen, 10, 10, 0)})));
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    const QString reached = line("a.pen", {at(contact(kPen, 110, 60, 0), 5, 5)});
    QCOMPARE(scene.taken(), (QStringList{reached, reached}));
    scene.m_view.in_pen_event(contact(kPen, 120, 60, 0));
    QCOMPARE(scene.taken(), QStringList(line("a.pen", {at(contact(kPen, 120, 60, 0), 10, 5)})));
    QVERIFY(scene.m_view.m_pen_grab_map.empty());
}

void TestPenRouting::a_hovering_pen_that_moves_on_is_told_in_the_new_items_coordinates() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    const auto b = scene.add("b", {200, 50}, 0.0F, 4.0F);
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    scene.taken();
    scene.m_view.in_pen_event(contact(kPen, 240, 70, 0));
    const Controls in_b = at(contact(kPen, 240, 70, 0), 10, 5);
    QCOMPARE(scene.taken(), (QStringList{line("b.pen", {in_b}), line("b.pen", {in_b}),
                                         line("a.pen", {left(in_b)})}));
    QVERIFY(scene.m_view.m_pen_hover_map.at(kPen) == b);
}

void TestPenRouting::a_hovering_pen_that_leaves_for_nothing_is_told_where_it_is() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    scene.taken();
    const Controls off = contact(kPen, 10, 20, 0);
    scene.m_view.in_pen_event(off);
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {off}), line("a.pen", {left(off)})}));
    QVERIFY(scene.m_view.m_pen_hover_map.at(kPen) == nullptr);
    scene.m_view.in_pen_event(off);
    QCOMPARE(scene.taken(), QStringList(line("out.pen", {off})));
}

void TestPenRouting::a_pen_lifted_off_its_item_is_told_in_that_items_coordinates() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    scene.m_view.in_pen_event(contact(kPen, 110, 60));
    scene.taken();
    scene.m_view.in_pen_event(contact(kPen, 10, 20, 0));
    const Controls in_a = at(contact(kPen, 10, 20, 0), -45, -15);
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {in_a}), line("a.pen", {left(in_a)})}));
}

void TestPenRouting::a_pen_lifted_on_another_item_is_told_to_both() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.add("b", {200, 50}, 0.0F, 4.0F);
    scene.m_view.in_pen_event(contact(kPen, 110, 60, 0));
    scene.m_view.in_pen_event(contact(kPen, 110, 60));
    scene.taken();
    scene.m_view.in_pen_event(contact(kPen, 240, 70, 0));
    const Controls in_a = at(contact(kPen, 240, 70, 0), 70, 10);
    const Controls in_b = at(contact(kPen, 240, 70, 0), 10, 5);
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {in_a}), line("b.pen", {in_b}),
                                         line("a.pen", {left(in_b)})}));
}

void TestPenRouting::a_pen_lifted_on_nothing_is_told_to_the_item_it_hovered_on() {
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.add("c", {300, 50});
    scene.m_view.in_pen_event(contact(kPen, 310, 60, 0));
    scene.m_view.in_pen_event(contact(kPen, 110, 60)); // went down elsewhere than it hovered
    scene.taken();
    scene.m_view.in_pen_event(contact(kPen, 10, 20, 0));
    const Controls in_a = at(contact(kPen, 10, 20, 0), -45, -15);
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {in_a}), line("c.pen", {left(in_a)})}));
}

void TestPenRouting::pens_are_told_apart() {
    Scene scene;
    scene.add("a", {0, 0});
    scene.m_view.in_pen_event(contact(-1, 5, 5));
    scene.m_view.in_pen_event(contact(-2, 50, 50));
    scene.taken();
    scene.m_view.in_pen_event(contact(-1, 50, 50));
    scene.m_view.in_pen_event(contact(-2, 5, 5));
    scene.m_view.in_pen_event(contact(-2, 5, 5, 0));
    scene.m_view.in_pen_event(contact(-1, 50, 50, 0)); // was never hovering on the item
    QCOMPARE(
        scene.taken(),
        (QStringList{line("a.pen", {contact(-1, 50, 50)}), line("out.pen", {contact(-2, 5, 5)}),
                     line("out.pen", {contact(-2, 5, 5, 0)}), line("a.pen", {contact(-2, 5, 5, 0)}),
                     line("a.pen", {contact(-1, 50, 50, 0)})}));
}

void TestPenRouting::a_claim_is_passed_on() {
    Scene scene;
    scene.add("a", {0, 0});
    Controls c = contact(kPen, 5, 5, 0);
    c.accepted = 1;
    scene.m_view.in_pen_event(c);
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {c}), line("a.pen", {c})}));
    c.x = 50;
    scene.m_view.in_pen_event(c);
    Controls both = c;
    both.accepted = 3;
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {c}), line("a.pen", {both})}));
}

void TestPenRouting::the_record_given_to_a_pen_is_left_alone() {
    Scene scene;
    scene.add("a", {0, 0}, 0.0F, 2.0F);
    Controls const* emitted = nullptr;
    QObject::connect(&scene.m_view, &ItemView::out_pen_event,
                     [&emitted](Controls const& c) { emitted = &c; });
    Controls c = contact(kPen, 5, 5, 0);
    scene.m_view.in_pen_event(c);
    QCOMPARE(text(c), text(contact(kPen, 5, 5, 0)));
    c = contact(kPen, 50, 50, 0);
    scene.m_view.in_pen_event(c);
    QCOMPARE(text(c), text(contact(kPen, 50, 50, 0)));
    QVERIFY(emitted == &c); // as it was received
}

void TestPenRouting::an_item_removed_under_a_pen_keeps_it_until_it_lifts() {
    Scene scene;
    std::weak_ptr<Item> a = scene.add("a", {0, 0});
    scene.m_view.in_pen_event(contact(kPen, 5, 5));
    scene.m_view.sub_all();
    scene.taken();
    QVERIFY(!a.expired());
    scene.m_view.in_pen_event(contact(kPen, 50, 50));
    scene.m_view.in_pen_event(contact(kPen, 5, 5, 0));
    QCOMPARE(scene.taken(), (QStringList{line("a.pen", {contact(kPen, 50, 50)}),
                                         line("a.pen", {contact(kPen, 5, 5, 0)})}));
    QVERIFY(a.expired());
}

void TestPenRouting::an_item_may_remove_itself_under_a_pen() {
    Scene scene;
    std::weak_ptr<Item> watched;
    {
        const auto a = scene.add("a", {0, 0});
        a->m_on_input = [&scene, item = a.get()] { scene.m_view.sub_item(item); };
        watched = a;
    }
    scene.m_view.in_pen_event(contact(kPen, 5, 5, 0));
    QCOMPARE(scene.taken(), QStringList(line("a.pen", {contact(kPen, 5, 5, 0)})));
    QVERIFY(watched.expired());
}

void TestPenRouting::a_hover_keeps_its_item_alive() {
    Scene scene;
    std::weak_ptr<Item> a = scene.add("a", {0, 0});
    scene.m_view.in_pen_event(contact(kPen, 5, 5, 0));
    scene.taken();
    scene.m_view.sub_all();
    QVERIFY(!a.expired());
    const Controls off = contact(kPen, 5, 5, 0);
    scene.m_view.in_pen_event(off);
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {off}), line("a.pen", {left(off)})}));
    QVERIFY(a.expired());
}

QTEST_MAIN(TestPenRouting)
#include "tst_pen_routing.moc"
