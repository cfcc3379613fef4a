#include "strokes/strokesview.h"
#include "tests/app/routing_fixture.h"

#include <QtTest>
#include <utility>

namespace {

/// Counts the calls that it gets.
class CountingView : public StrokesView {
public:
    void in_touch_event(std::vector<Osterly::Controls> const&) override { ++m_calls; }
    void in_erase_event(std::vector<Osterly::Controls> const&) override { ++m_calls; }
    int m_calls = 0;
};

} // namespace

/// Reports of many contacts, which the views get in one call.
class TestEventBatches : public RoutingFixture {
    Q_OBJECT

private slots:
    void initTestCase_data() { add_batch_kinds(); }

    void one_report_is_one_call_in_its_order();
    void only_the_bound_contacts_of_a_report_are_delivered();
    void a_report_without_bound_contacts_causes_no_call();
    void the_batches_are_empty_between_reports();
    void the_kinds_are_batched_apart();
    void all_contacts_are_delivered_before_any_is_released();
    void each_contact_of_a_report_that_is_up_is_released();
};

void TestEventBatches::one_report_is_one_call_in_its_order() {
    const Contacts report = {contact_at(3, kInside), contact_at(1, kInside + QPoint(10, 0)),
                             contact_at(2, kInside + QPoint(20, 0))};
    for (Controls const& record : send(report))
        QCOMPARE(record.accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{1});
    QCOMPARE(m_delivered[0].kind, m_kind);
    Contacts const& delivered = m_delivered[0].contacts;
    QCOMPARE(delivered.size(), std::size_t{3});
    for (std::size_t i = 0; i < 3; ++i) {
        QCOMPARE(delivered[i].id, report[i].id);
        QCOMPARE(QPointF(delivered[i].x, delivered[i].y), QPointF(100 + 10 * double(i), 50));
    }
}

void TestEventBatches::only_the_bound_contacts_of_a_report_are_delivered() {
    const auto other = other_widget();
    const Contacts after = send({contact_at(1, kInside), contact_at(2, kOutside),
                                 contact_at(3, kOnOtherWidget), contact_at(4, kInside)});
    QCOMPARE(after[0].accepted, 1);
    QCOMPARE(after[1].accepted, 0);
    QCOMPARE(after[2].accepted, 1);
    QCOMPARE(after[3].accepted, 1);
    QCOMPARE(m_delivered.size(), std::size_t{1});
    QCOMPARE(m_delivered[0].contacts.size(), std::size_t{2});
    QCOMPARE(m_delivered[0].contacts[0].id, 1);
    QCOMPARE(m_delivered[0].contacts[1].id, 4);
}

void TestEventBatches::a_report_without_bound_contacts_causes_no_call() {
    CountingView view;
    view.setParent(m_dialog.get());
    view.setGeometry(m_dialog->rect());
    view.show();
    StrokesView* const own_view = std::exchange(m_dialog->m_strokes_view, &view);
    send(contact_at(1, kInside)); // its batch stays as an entry
    QCOMPARE(view.m_calls, 1);
    send({contact_at(2, kOutside), contact_at(3, kOutside, 0)});
    send(Contacts());
    QCOMPARE(view.m_calls, 1);
    m_dialog->m_strokes_view = own_view;
}

void TestEventBatches::the_batches_are_empty_between_reports() {
    const auto other = other_widget();
    for (int report = 0; report < 2; ++report) {
        send({contact_at(1, kInside), contact_at(2, kOnOtherWidget)});
        QCOMPARE(m_delivered.back().contacts.size(), std::size_t{1});
        QCOMPARE(batches().size(), std::size_t{2});
        for (auto const& [widget, batch] : batches())
            QVERIFY(batch.empty());
    }
}

void TestEventBatches::the_kinds_are_batched_apart() {
    send(contact_at(1, kInside));
    for (const Kind kind : {Touch, Erase})
        QCOMPARE(batches(kind).count(m_dialog->m_strokes_view), std::size_t{kind == m_kind});
}

void TestEventBatches::all_contacts_are_delivered_before_any_is_released() {
    // The contact lifts and is outside within one report.
    send({contact_at(1, kInside, 0), contact_at(1, kOutside)});
    QCOMPARE(m_delivered.size(), std::size_t{1});
    QCOMPARE(m_delivered[0].contacts.size(), std::size_t{2});
    QVERIFY(!is_bound(1));
}

void TestEventBatches::each_contact_of_a_report_that_is_up_is_released() {
    send({contact_at(1, kInside), contact_at(2, kInside), contact_at(3, kInside)});
    send({contact_at(1, kInside, 0), contact_at(2, kInside), contact_at(3, kInside, 0),
          contact_at(4, kOutside, 0)});
    const KestruneDialog::WidgetMap expected = {
        {1, nullptr}, {2, m_dialog->m_strokes_view}, {3, nullptr}, {4, nullptr}};
    QCOMPARE(bindings(), expected);
    QCOMPARE(m_delivered.back().contacts.size(), std::size_t{3});
}

QTEST_MAIN(TestEventBatches)
#include "tst_event_batches.moc"
