#include "strokes/strokesview.h"
#include "tests/app/routing_fixture.h"

#include <QtTest>
#include <limits>

/// Which widget a contact belongs to, and what its emitter is told.
class TestEventRouting : public RoutingFixture {
    Q_OBJECT

private slots:
    void initTestCase_data() { add_kinds(); }

    void a_contact_in_the_dialog_is_bound_and_claimed();
    void the_claim_leaves_the_other_bits_data();
    void the_claim_leaves_the_other_bits();
    void the_emitters_record_is_only_claimed();
    void id_and_buttons_are_delivered_unchanged();

    void only_points_in_the_dialog_bind_data();
    void only_points_in_the_dialog_bind();
    void nothing_binds_while_another_window_is_active_data();
    void nothing_binds_while_another_window_is_active();
    void nothing_binds_where_no_child_is();
    void a_contact_binds_when_it_comes_into_the_dialog();
    void a_contact_binds_to_the_deepest_child();
    void a_contact_on_another_widget_is_claimed_and_not_delivered();
    void the_kinds_are_bound_apart();

    void a_bound_contact_is_delivered_outside_of_the_dialog();
    void a_bound_contact_stays_bound_when_another_window_becomes_active();
    void a_bound_contact_stays_bound_over_another_widget();

    void the_up_record_is_delivered_and_then_unbinds();
    void the_next_contact_of_an_id_is_bound_anew();
    void a_hovering_contact_is_bound_for_one_report();
    void a_contact_that_was_never_bound_leaves_an_empty_entry();
    void any_id_is_routed_data();
    void any_id_is_routed();
};

void TestEventRouting::a_contact_in_the_dialog_is_bound_and_claimed() {
    QVERIFY(bindings().empty());
    QCOMPARE(send(contact_at(1, kInside)).accepted, 1);
    const KestruneDialog::WidgetMap expected = {{1, m_dialog->m_strokes_view}};
    QCOMPARE(bindings(), expected);
    QCOMPARE(m_delivered.size(), std::size_t{1});
    QCOMPARE(m_delivered[0].kind, m_kind);

    QCOMPARE(send(contact_at(1, kInside)).accepted, 1); // each report of it
    QCOMPARE(m_delivered.size(), std::size_t{2});
}

void TestEventRouting::the_claim_leaves_the_other_bits_data() {
    QTest::addColumn<int>("emitted");
    QTest::addColumn<int>("claimed");
    QTest::newRow("no bits") << 0 << 1;
    QTest::newRow("other bits") << 6 << 7;
    QTest::newRow("claimed before") << 1 << 1;
}

void TestEventRouting::the_claim_leaves_the_other_bits() {
    QFETCH(const int, emitted);
    QFETCH(const int, claimed);
    Controls record = contact_at(1, kInside);
    record.accepted = emitted;
    QCOMPARE(send(record).accepted, claimed);
    // A pen is copied before it is claimed, the others after.
    QCOMPARE(last().accepted, m_kind == Pen ? emitted : claimed);
}

void TestEventRouting::the_emitters_record_is_only_claimed() {
    Controls record = contact_at(1, kInside);
    record.radius_x = 0.25;
    record.radius_y = 0.5;
    const Controls after = send(record);
    QVERIFY(after == record);
    QCOMPARE(after.hoop_x, record.hoop_x);
    QCOMPARE(after.hoop_y, record.hoop_y);
}

void TestEventRouting::id_and_buttons_are_delivered_unchanged() {
    for (const int buttons : {1, 2, 3, 0x12345678, -1, 0}) {
        send(contact_at(321, kInside, buttons));
        QCOMPARE(last().id, 321);
        QCOMPARE(last().buttons, buttons);
    }
    QCOMPARE(m_delivered.size(), std::size_t{6});
}

void TestEventRouting::only_points_in_the_dialog_bind_data() {
    QTest::addColumn<QPoint>("global");
    QTest::addColumn<bool>("binds");
    QTest::newRow("first pixel") << QPoint(100, 50) << true;
    QTest::newRow("last pixel") << QPoint(499, 349) << true;
    QTest::newRow("left of it") << QPoint(99, 50) << false;
    QTest::newRow("above it") << QPoint(100, 49) << false;
    QTest::newRow("right of it") << QPoint(500, 349) << false;
    QTest::newRow("below it") << QPoint(499, 350) << false;
    QTest::newRow("far from it") << QPoint(kOutside) << false;
    QTest::newRow("off the screen") << QPoint(-5000, 5000) << false;
}

void TestEventRouting::only_points_in_the_dialog_bind() {
    QFETCH(const QPoint, global);
    QFETCH(const bool, binds);
    // The view reaches beyond the dialog.
    m_dialog->m_strokes_view->setGeometry(-50, -50, 500, 400);
    QCOMPARE(send(contact_at(1, global)).accepted, binds ? 1 : 0);
    QCOMPARE(is_bound(1), binds);
    QCOMPARE(m_delivered.size(), std::size_t{binds ? 1U : 0U});
}

void TestEventRouting::nothing_binds_while_another_window_is_active_data() {
    QTest::addColumn<bool>("is_any_active");
    QTest::newRow("another is active") << true;
    QTest::newRow("none is active") << false;
}

void TestEventRouting::nothing_binds_while_another_window_is_active() {
    QFETCH(const bool, is_any_active);
    QWidget other(m_dialog.get(), Qt::Window);
    QApplication::setActiveWindow(is_any_active ? &other : nullptr);
    QCOMPARE(send(contact_at(1, kInside)).accepted, 0);
    QVERIFY(!is_bound(1));
    QVERIFY(m_delivered.empty());
    QVERIFY(m_dialog->m_strokes_view->m_id_to_draw_state_map.empty());

    QApplication::setActiveWindow(m_dialog.get());
    QCOMPARE(send(contact_at(1, kInside)).accepted, 1);
}

void TestEventRouting::nothing_binds_where_no_child_is() {
    m_dialog->m_strokes_view->setGeometry(0, 0, 100, 50); // kInside is just beyond its corner
    QCOMPARE(send(contact_at(1, kInside)).accepted, 0);
    QVERIFY(!is_bound(1));
    QVERIFY(m_delivered.empty());
    QCOMPARE(send(contact_at(2, kInside - QPoint(1, 1))).accepted, 1);
}

void TestEventRouting::a_contact_binds_when_it_comes_into_the_dialog() {
    QCOMPARE(send(contact_at(1, kOutside)).accepted, 0);
    QCOMPARE(send(contact_at(1, kInside)).accepted, 1);
    QVERIFY(is_bound(1));
    QCOMPARE(m_delivered.size(), std::size_t{1});
}

void TestEventRouting::a_contact_binds_to_the_deepest_child() {
    QWidget child(m_dialog->m_strokes_view);
    child.setGeometry(50, 0, 100, 100);
    QWidget grandchild(&child);
    grandchild.setGeometry(40, 40, 20, 20);
    child.show();
    QCOMPARE(send(contact_at(1, kInside)).accepted, 1);
    QCOMPARE(bindings().at(1), &grandchild);
    QVERIFY(m_delivered.empty());
}

void TestEventRouting::a_contact_on_another_widget_is_claimed_and_not_delivered() {
    const auto other = other_widget();
    QCOMPARE(send(contact_at(1, kOnOtherWidget)).accepted, 1);
    QCOMPARE(bindings().at(1), other.get());
    QCOMPARE(send(contact_at(1, kOnOtherWidget, 0)).accepted, 1);
    QVERIFY(!is_bound(1));
    QVERIFY(m_delivered.empty());
}

void TestEventRouting::the_kinds_are_bound_apart() {
    for (const Kind kind : {Pen, Touch, Erase})
        send_as(kind, contact_at(7, kInside));
    send(contact_at(7, kInside, 0));
    for (const Kind kind : {Pen, Touch, Erase})
        QCOMPARE(bindings(kind).at(7) == nullptr, kind == m_kind);
}

void TestEventRouting::a_bound_contact_is_delivered_outside_of_the_dialog() {
    send(contact_at(1, kInside));
    QCOMPARE(send(contact_at(1, kOutside)).accepted, 1);
    QCOMPARE(QPointF(last().x, last().y), QPointF(800, 850));
    QCOMPARE(send(contact_at(1, {-100, -200})).accepted, 1);
    QCOMPARE(QPointF(last().x, last().y), QPointF(-199, -249)); // -99.5 is cut off to -99
    QCOMPARE(send(contact_at(1, kOutside, 0)).accepted, 1);
    QCOMPARE(last().buttons, 0);
    QCOMPARE(m_delivered.size(), std::size_t{4});

    QCOMPARE(send(contact_at(1, kOutside)).accepted, 0);
    QCOMPARE(m_delivered.size(), std::size_t{4});
}

void TestEventRouting::a_bound_contact_stays_bound_when_another_window_becomes_active() {
    send(contact_at(1, kInside));
    QWidget other(m_dialog.get(), Qt::Window);
    QApplication::setActiveWindow(&other);
    QCOMPARE(send(contact_at(1, kInside)).accepted, 1);
    QCOMPARE(send(contact_at(1, kOutside)).accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{3});
}

void TestEventRouting::a_bound_contact_stays_bound_over_another_widget() {
    const auto other = other_widget();
    send(contact_at(1, kInside));
    send(contact_at(1, kOnOtherWidget));
    QCOMPARE(bindings().at(1), m_dialog->m_strokes_view);
    QCOMPARE(m_delivered.size(), std::size_t{2});

    send(contact_at(2, kOnOtherWidget));
    send(contact_at(2, kInside));
    QCOMPARE(bindings().at(2), other.get());
    QCOMPARE(m_delivered.size(), std::size_t{2});
}

void TestEventRouting::the_up_record_is_delivered_and_then_unbinds() {
    send(contact_at(1, kInside));

    bool was_bound = false;
    const auto look = [&] { was_bound = is_bound(1); };
    StrokesView const* const view = m_dialog->m_strokes_view;
    connect(view, &ItemView::out_pen_event, this, look);
    connect(view, &ItemView::out_touch_event, this, look);
    connect(view, &ItemView::out_erase_event, this, look);
    QCOMPARE(send(contact_at(1, kInside, 0)).accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{2});
    QCOMPARE(last().buttons, 0);
    QVERIFY(was_bound);
    const KestruneDialog::WidgetMap expected = {{1, nullptr}};
    QCOMPARE(bindings(), expected);
}

void TestEventRouting::the_next_contact_of_an_id_is_bound_anew() {
    const auto other = other_widget();
    send(contact_at(1, kInside));
    send(contact_at(1, kInside, 0));
    send(contact_at(1, kOnOtherWidget));
    QCOMPARE(bindings().at(1), other.get());
    send(contact_at(1, kOnOtherWidget, 0));
    send(contact_at(1, kInside));
    QCOMPARE(bindings().at(1), m_dialog->m_strokes_view);
    QCOMPARE(m_delivered.size(), std::size_t{3});
}

void TestEventRouting::a_hovering_contact_is_bound_for_one_report() {
    QCOMPARE(send(contact_at(1, kInside, 0)).accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{1});
    QVERIFY(!is_bound(1));
}

void TestEventRouting::a_contact_that_was_never_bound_leaves_an_empty_entry() {
    QCOMPARE(send(contact_at(1, kOutside)).accepted, 0);
    QCOMPARE(send(contact_at(2, kOutside, 0)).accepted, 0);
    const KestruneDialog::WidgetMap expected = {{1, nullptr}, {2, nullptr}};
    QCOMPARE(bindings(), expected);
}

void TestEventRouting::any_id_is_routed_data() {
    QTest::addColumn<int>("id");
    QTest::newRow("lowest") << std::numeric_limits<int>::min();
    QTest::newRow("highest") << std::numeric_limits<int>::max();
    QTest::newRow("unassigned") << int(Osterly::kUnassignedId);
    QTest::newRow("mouse") << int(Osterly::kMouseId);
    QTest::newRow("0") << 0;
}

void TestEventRouting::any_id_is_routed() {
    QFETCH(const int, id);
    QCOMPARE(send(contact_at(id, kInside)).accepted, 1);
    m_dialog->in_timer_update();
    QCOMPARE(send(contact_at(id, kInside, 0)).accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{2});
    QCOMPARE(last().id, id);
}

QTEST_MAIN(TestEventRouting)
#include "tst_event_routing.moc"
