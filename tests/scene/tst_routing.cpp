#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_routing.h"

#include <QtTest>
#include <functional>
#include <memory>
#include <utility>

namespace {

/// The names by which touch and erase contacts go; their routing is the same.
struct Kind {
    void (ItemView::*in)(Contacts const&);
    const char* operation;
    ItemView::GrabMap ItemView::*grabs;
    ItemView::BatchMap ItemView::*batches;
};

const Kind kTouch{&ItemView::in_touch_event, "touch", &ItemView::m_touch_grab_map,
                  &ItemView::m_touch_batch_map};
const Kind kErase{&ItemView::in_erase_event, "erase", &ItemView::m_erase_grab_map,
                  &ItemView::m_erase_batch_map};

Kind const& kind(bool erase) {
    return erase ? kErase : kTouch;
}

QString line(const char* receiver, Kind const& k, Contacts const& contacts) {
    return line((QByteArray(receiver) + '.' + k.operation).constData(), contacts);
}

void add_kinds() {
    QTest::addColumn<bool>("erase");
    QTest::newRow("touch") << false;
    QTest::newRow("erase") << true;
}

} // namespace

class TestRouting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void the_topmost_hittable_item_is_hit();
    void an_item_is_hit_where_it_stands_data();
    void an_item_is_hit_where_it_stands();

    void contacts_of_a_report_are_given_by_item_data() { add_kinds(); }
    void contacts_of_a_report_are_given_by_item();
    void items_are_served_by_address_data();
    void items_are_served_by_address();
    void a_contact_stays_with_its_item_data() { add_kinds(); }
    void a_contact_stays_with_its_item();
    void a_contact_stays_out_when_it_began_on_nothing_data() { add_kinds(); }
    void a_contact_stays_out_when_it_began_on_nothing();
    void a_released_id_begins_anew_data() { add_kinds(); }
    void a_released_id_begins_anew();
    void batches_are_emptied_and_stay_data() { add_kinds(); }
    void batches_are_emptied_and_stay();
    void a_report_of_nothing_is_told_to_nobody_data() { add_kinds(); }
    void a_report_of_nothing_is_told_to_nobody();
    void an_id_that_comes_twice_is_told_twice_data() { add_kinds(); }
    void an_id_that_comes_twice_is_told_twice();
    void an_item_removed_under_a_contact_keeps_it_until_it_lifts_data() { add_kinds(); }
    void an_item_removed_under_a_contact_keeps_it_until_it_lifts();
    void an_item_may_remove_itself_under_a_contact_data() { add_kinds(); }
    void an_item_may_remove_itself_under_a_contact();
    void pens_touches_and_erasers_do_not_share_captures();
    void a_view_may_hit_in_its_own_way();
    void the_slots_and_signals_have_their_names_data();
    void the_slots_and_signals_have_their_names();
    void any_number_is_routed_data();
    void any_number_is_routed();
};

void TestRouting::the_topmost_hittable_item_is_hit() {
    Scene scene;
    const auto a = scene.add("a", {0, 0});
    const auto b = scene.add("b", {10, 0});
    QVERIFY(scene.m_view.hit_item(contact(1, 5, 5)) == a);
    QVERIFY(scene.m_view.hit_item(contact(1, 15, 5)) == b);
    QVERIFY(scene.m_view.hit_item(contact(1, 25, 5)) == b);
    QVERIFY(scene.m_view.hit_item(contact(1, 35, 5)) == nullptr);
    b->m_hittable = false;
    QVERIFY(scene.m_view.hit_item(contact(1, 15, 5)) == a);
    QVERIFY(scene.m_view.hit_item(contact(1, 25, 5)) == nullptr);
    a->m_hittable = false;
    QVERIFY(scene.m_view.hit_item(contact(1, 15, 5)) == nullptr);
    b->m_hittable = true;
    scene.m_view.to_back(b.get());
    a->m_hittable = true;
    QVERIFY(scene.m_view.hit_item(contact(1, 15, 5)) == a);
}

void TestRouting::an_item_is_hit_where_it_stands_data() {
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<bool>("hit");
    // 40x40 pixels, to the left of and below (100, 50).
    QTest::newRow("near its origin") << QPointF(99, 51) << true;
    QTest::newRow("near its far corner") << QPointF(61, 89) << true;
    QTest::newRow("where it would be unturned") << QPointF(101, 51) << false;
    QTest::newRow("beyond its far corner") << QPointF(59, 91) << false;
}

void TestRouting::an_item_is_hit_where_it_stands() {
    QFETCH(const QPointF, point);
    Scene scene;
    scene.add("a", {100, 50}, 90.0F, 2.0F);
    QTEST(scene.m_view.hit_item(contact(1, point.x(), point.y())) != nullptr, "hit");
}

void TestRouting::contacts_of_a_report_are_given_by_item() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    scene.add("a", {100, 50}, 0.0F, 2.0F);
    const Contacts report{contact(300, 110, 60), contact(301, 10, 10), contact(302, 130, 80, 0)};
    (scene.m_view.*k.in)(report);
    QCOMPARE(scene.taken(),
             (QStringList{line("out", k, {report[1]}),
                          line("a", k, {at(report[0], 5, 5), at(report[2], 15, 15)})}));
}

void TestRouting::items_are_served_by_address_data() {
    QTest::addColumn<bool>("erase");
    QTest::addColumn<bool>("lower_on_top");
    for (bool erase : {false, true}) {
        for (bool lower_on_top : {false, true})
            QTest::addRow("%s, %s", kind(erase).operation,
                          lower_on_top ? "against the stack" : "up")
                << erase << lower_on_top;
    }
}

void TestRouting::items_are_served_by_address() {
    QFETCH(const bool, erase);
    QFETCH(const bool, lower_on_top);
    Kind const& k = kind(erase);
    Scene scene;
    auto lower = scene.add("", {0, 0});
    auto upper = scene.add("", {0, 0});
    if (std::less<Item*>()(upper.get(), lower.get()))
        std::swap(lower, upper);
    lower->m_name = "lower";
    upper->m_name = "upper";
    upper->m_pos = QPointF(100, 0);
    upper->set_transforms();
    scene.m_view.to_front(lower_on_top ? lower.get() : upper.get());
    const Contacts report{contact(300, 105, 5), contact(301, 50, 50), contact(302, 5, 5)};
    (scene.m_view.*k.in)(report);
    QCOMPARE(scene.taken(), (QStringList{line("out", k, {report[1]}), line("lower", k, {report[2]}),
                                         line("upper", k, {at(report[0], 5, 5)})}));
}

void TestRouting::a_contact_stays_with_its_item() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    const auto a = scene.add("a", {100, 50}, 0.0F, 2.0F);
    scene.add("b", {200, 50});
    (scene.m_view.*k.in)({contact(300, 110, 60)});
    QVERIFY((scene.m_view.*k.grabs).at(300) == a);
    a->m_hittable = false;
    (scene.m_view.*k.in)({contact(300, 210, 60)});
    (scene.m_view.*k.in)({contact(300, 0, 0, 0)});
    QCOMPARE(scene.taken(), (QStringList{line("a", k, {at(contact(300, 110, 60), 5, 5)}),
                                         line("a", k, {at(contact(300, 210, 60), 55, 5)}),
                                         line("a", k, {at(contact(300, 0, 0, 0), -50, -25)})}));
    QVERIFY((scene.m_view.*k.grabs).empty());
}

void TestRouting::a_contact_stays_out_when_it_began_on_nothing() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    scene.add("a", {0, 0});
    (scene.m_view.*k.in)({contact(300, 50, 50)});
    QCOMPARE((scene.m_view.*k.grabs).size(), std::size_t{1});
    QVERIFY((scene.m_view.*k.grabs).at(300) == nullptr);
    (scene.m_view.*k.in)({contact(300, 5, 5)});
    (scene.m_view.*k.in)({contact(300, 5, 5, 0)});
    QCOMPARE(scene.taken(), (QStringList{line("out", k, {contact(300, 50, 50)}),
                                         line("out", k, {contact(300, 5, 5)}),
                                         line("out", k, {contact(300, 5, 5, 0)})}));
    QVERIFY((scene.m_view.*k.grabs).empty());
}

void TestRouting::a_released_id_begins_anew() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    scene.add("a", {0, 0});
    (scene.m_view.*k.in)({contact(300, 5, 5), contact(301, 5, 5)});
    (scene.m_view.*k.in)({contact(300, 5, 5, 0), contact(301, 50, 50)});
    scene.taken();
    const Contacts report{contact(300, 50, 50), contact(301, 50, 50)};
    (scene.m_view.*k.in)(report);
    QCOMPARE(scene.taken(), (QStringList{line("out", k, {report[0]}), line("a", k, {report[1]})}));
}

void TestRouting::batches_are_emptied_and_stay() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    const auto a = scene.add("a", {0, 0});
    auto const& batches = scene.m_view.*k.batches;
    (scene.m_view.*k.in)({contact(300, 5, 5, 0)});
    QCOMPARE(batches.size(), std::size_t{1}); // none yet for contacts on nothing
    (scene.m_view.*k.in)({contact(300, 50, 50, 0)});
    QCOMPARE(batches.size(), std::size_t{2});
    QVERIFY(batches.at(nullptr).empty() && batches.at(a.get()).empty());
    scene.taken();
    (scene.m_view.*k.in)({contact(301, 50, 50, 0)});
    QCOMPARE(scene.taken(), QStringList(line("out", k, {contact(301, 50, 50, 0)})));
}

void TestRouting::a_report_of_nothing_is_told_to_nobody() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    scene.add("a", {0, 0});
    (scene.m_view.*k.in)({contact(300, 5, 5), contact(301, 50, 50)});
    scene.taken();
    (scene.m_view.*k.in)({});
    QCOMPARE(scene.taken(), QStringList());
    QCOMPARE((scene.m_view.*k.grabs).size(), std::size_t{2});
}

void TestRouting::an_id_that_comes_twice_is_told_twice() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    scene.add("a", {0, 0});
    const Contacts report{contact(300, 5, 5, 0), contact(300, 50, 50, 1)};
    (scene.m_view.*k.in)(report);
    QCOMPARE(scene.taken(), QStringList(line("a", k, report)));
    QVERIFY((scene.m_view.*k.grabs).empty());
}

void TestRouting::an_item_removed_under_a_contact_keeps_it_until_it_lifts() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    std::weak_ptr<Item> a = scene.add("a", {0, 0});
    (scene.m_view.*k.in)({contact(300, 5, 5)});
    scene.m_view.sub_all();
    scene.taken();
    QVERIFY(!a.expired());
    (scene.m_view.*k.in)({contact(300, 50, 50, 0)});
    QCOMPARE(scene.taken(), QStringList(line("a", k, {contact(300, 50, 50, 0)})));
    QVERIFY(a.expired());
}

void TestRouting::an_item_may_remove_itself_under_a_contact() {
    QFETCH(const bool, erase);
    Kind const& k = kind(erase);
    Scene scene;
    std::weak_ptr<Item> watched;
    {
        const auto a = scene.add("a", {0, 0});
        a->m_on_input = [&scene, item = a.get()] { scene.m_view.sub_item(item); };
        watched = a;
    }
    (scene.m_view.*k.in)({contact(300, 5, 5, 0), contact(301, 6, 6, 0)});
    QCOMPARE(scene.taken(),
             QStringList(line("a", k, {contact(300, 5, 5, 0), contact(301, 6, 6, 0)})));
    QVERIFY(watched.expired());
}

void TestRouting::pens_touches_and_erasers_do_not_share_captures() {
    Scene scene;
    scene.add("a", {0, 0});
    scene.m_view.in_touch_event({contact(300, 5, 5)});
    scene.m_view.in_erase_event({contact(300, 50, 50)});
    scene.m_view.in_pen_event(contact(300, 50, 50));
    scene.taken();
    scene.m_view.in_pen_event(contact(300, 5, 5));
    scene.m_view.in_touch_event({contact(300, 50, 50)});
    scene.m_view.in_erase_event({contact(300, 5, 5)});
    QCOMPARE(scene.taken(), (QStringList{line("out.pen", {contact(300, 5, 5)}),
                                         line("a.touch", {contact(300, 50, 50)}),
                                         line("out.erase", {contact(300, 5, 5)})}));
}

void TestRouting::a_view_may_hit_in_its_own_way() {
    class OwnWay : public ItemView {
    public:
        using ItemView::ItemView;
        std::shared_ptr<Item> hit_item(Controls const& c) override {
            m_asked << c.id;
            return items().front();
        }
        QVector<int> m_asked;
    };
    OwnWay view(0);
    std::vector<Delivery> deliveries;
    const auto item = std::make_shared<ProbeItem>();
    item->m_deliveries = &deliveries;
    view.add_item(item);
    view.in_pen_event(contact(-1, 500, 500));
    view.in_touch_event({contact(300, 500, 500)});
    view.in_erase_event({contact(520, 500, 500)});
    QCOMPARE(deliveries.size(), std::size_t{3});
    view.in_pen_event(contact(-1, 500, 500, 0)); // and for the hover
    QCOMPARE(view.m_asked, (QVector<int>{-1, 300, 520, -1}));
}

void TestRouting::the_slots_and_signals_have_their_names_data() {
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QByteArray>("signal");
    const auto row = [](const char* name, QByteArray const& argument) {
        QTest::newRow(name) << QByteArray("in_") + name + argument
                            << QByteArray("out_") + name + argument;
    };
    row("pen_event", "(Osterly::Controls const&)");
    row("touch_event", "(std::vector<Osterly::Controls> const&)");
    row("erase_event", "(std::vector<Osterly::Controls> const&)");
}

void TestRouting::the_slots_and_signals_have_their_names() {
    QFETCH(const QByteArray, slot);
    QFETCH(const QByteArray, signal);
    QMetaObject const& meta = ItemView::staticMetaObject;
    QVERIFY(meta.indexOfSlot(QMetaObject::normalizedSignature(slot)) >= 0);
    QVERIFY(meta.indexOfSignal(QMetaObject::normalizedSignature(signal)) >= 0);
}

void TestRouting::any_number_is_routed_data() {
    QTest::addColumn<double>("number");
    QTest::addColumn<int>("id");
    for (double number : {1e300, -1e300, kNan, kInfinity, -kInfinity, 2147483648.0})
        QTest::addRow("%g", number) << number << 300;
    QTest::newRow("highest id") << 5.0 << std::numeric_limits<int>::max();
    QTest::newRow("lowest id") << 5.0 << std::numeric_limits<int>::min();
    QTest::newRow("unassigned id") << 5.0 << -9999;
}

void TestRouting::any_number_is_routed() {
    QFETCH(const double, number);
    QFETCH(const int, id);
    Scene scene;
    scene.add("a", {1000, 0}, 30.0F, 2.0F);
    scene.add("b", {kNan, kInfinity}, 30.0F, 2.0F);
    for (int buttons : {1, 0, 0, -1, 0}) {
        const Controls c{id, -1, buttons, number, number, number, number, number, number};
        scene.m_view.in_pen_event(c);
        scene.m_view.in_touch_event({c, c});
        scene.m_view.in_erase_event({c});
        QCOMPARE(scene.taken(), (QStringList{line("out.pen", {c}), line("out.touch", {c, c}),
                                             line("out.erase", {c})}));
    }
}

QTEST_MAIN(TestRouting)
#include "tst_routing.moc"
