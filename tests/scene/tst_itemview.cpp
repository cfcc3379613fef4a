#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"
#include "tests/support/scene_pictures.h"

#include <QPaintEvent>
#include <QtTest>
#include <array>
#include <limits>
#include <memory>
#include <type_traits>

static_assert(std::is_base_of_v<QWidget, ItemView> && std::has_virtual_destructor_v<ItemView>);
static_assert(!std::is_convertible_v<int, ItemView>);

namespace {

using Items = std::vector<std::shared_ptr<Item>>;

std::shared_ptr<ProbeItem> probe(int id = 0, QPointF pos = {0, 0}) {
    return std::make_shared<ProbeItem>(box(0, 0, 10, 10), pos, 0.0F, 1.0F, id);
}

std::shared_ptr<ProbeItem> square(QColor color, QPointF pos) {
    const auto item = probe(0, pos);
    item->m_color = color;
    return item;
}

/// A view that tells what it was asked to paint.
class PaintedView : public ItemView {
public:
    using ItemView::ItemView;
    int m_paintings = 0;
    QRegion m_painted;

protected:
    void paintEvent(QPaintEvent* e) override {
        ++m_paintings;
        m_painted += e->region();
        ItemView::paintEvent(e);
    }
};

} // namespace

class TestItemView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_new_view_is_empty_data();
    void a_new_view_is_empty();

    void items_are_stacked_as_they_come();
    void an_empty_pointer_is_not_added();
    void adding_makes_nothing_dirty_and_starts_no_update();
    void an_item_may_be_added_twice();
    void the_view_owns_its_items();

    void a_removed_item_is_updated_once_more();
    void a_removed_item_leaves_where_it_was_dirty();
    void a_removed_item_leaves_the_others_in_order_data();
    void a_removed_item_leaves_the_others_in_order();
    void of_an_item_added_twice_the_lower_entry_is_removed();
    void an_item_of_no_view_or_another_is_not_removed();
    void all_are_removed_without_an_update();
    void an_empty_view_is_made_dirty_too();

    void an_id_finds_the_topmost();
    void an_address_finds_its_item();
    void an_item_goes_to_the_front_or_the_back_data();
    void an_item_goes_to_the_front_or_the_back();

    void the_dirty_region_is_taken_once();
    void the_dirty_region_takes_any_rectangle();
    void nothing_but_the_frame_repaints();

    void items_are_painted_from_the_bottom_to_the_top();
    void the_background_is_white_or_that_of_the_widget_below_data();
    void the_background_is_white_or_that_of_the_widget_below();
    void what_is_taken_apart_goes_in_order();
};

void TestItemView::a_new_view_is_empty_data() {
    QTest::addColumn<int>("argument");
    QTest::addColumn<bool>("transparent");
    QTest::newRow("opaque") << 0 << false;
    QTest::newRow("transparent") << 1 << true;
    QTest::newRow("anything but 0") << -256 << true;
}

void TestItemView::a_new_view_is_empty() {
    QFETCH(const int, argument);
    QFETCH(const bool, transparent);
    ItemView view(argument);
    QCOMPARE(view.m_transparent, transparent);
    QVERIFY(view.parent() == nullptr);
    QCOMPARE(view.windowFlags(), QWidget().windowFlags());
    QVERIFY(view.testAttribute(Qt::WA_MouseTracking));
    QVERIFY(view.testAttribute(Qt::WA_AcceptTouchEvents));
    QCOMPARE(view.autoFillBackground(), !transparent);
    QCOMPARE(view.testAttribute(Qt::WA_TranslucentBackground), transparent);
    QCOMPARE(view.styleSheet(), transparent ? QStringLiteral("background-color: transparent;")
                                            : QStringLiteral("background-color: white;"));
    QVERIFY(view.m_dirty_region.isEmpty());
    QVERIFY(view.m_pen_grab_map.empty() && view.m_pen_hover_map.empty());
    QVERIFY(view.m_touch_grab_map.empty() && view.m_erase_grab_map.empty());
    QVERIFY(view.m_touch_batch_map.empty() && view.m_erase_batch_map.empty());
    QVERIFY(view.items().empty());
}

void TestItemView::items_are_stacked_as_they_come() {
    ItemView view(0);
    const auto a = probe();
    const auto b = probe();
    view.add_item(a);
    view.add_item(b);
    QCOMPARE(view.m_items, (Items{a, b}));
    QCOMPARE(view.items(), (Items{a, b}));
    QVERIFY(a->m_view == &view && b->m_view == &view);
}

void TestItemView::an_empty_pointer_is_not_added() {
    ItemView view(0);
    view.add_item(nullptr);
    QVERIFY(view.items().empty());
}

void TestItemView::adding_makes_nothing_dirty_and_starts_no_update() {
    ItemView view(0);
    const auto a = probe();
    view.add_item(a);
    QVERIFY(view.get_dirty_region().isEmpty());
    QVERIFY(!a->m_update.valid());
    QCOMPARE(a->m_flags, 15);
    QVERIFY(a->m_steps.isEmpty());
}

void TestItemView::an_item_may_be_added_twice() {
    ItemView view(0);
    const auto a = probe();
    const auto b = probe();
    view.add_item(a);
    view.add_item(b);
    view.add_item(a);
    QCOMPARE(view.items(), (Items{a, b, a}));
}

void TestItemView::the_view_owns_its_items() {
    ItemView view(0);
    std::weak_ptr<ProbeItem> watched;
    {
        const auto a = probe();
        watched = a;
        view.add_item(a);
    }
    QVERIFY(!watched.expired());
    view.sub_item(watched.lock().get());
    QVERIFY(watched.expired());

    const auto b = probe();
    watched = b;
    view.add_item(b);
    QCOMPARE(b.use_count(), 2L);
    view.sub_all();
    QCOMPARE(b.use_count(), 1L);
}

void TestItemView::a_removed_item_is_updated_once_more() {
    ItemView view(0);
    const auto a = probe(0, {100, 50});
    view.add_item(a);
    update(*a);
    a->m_steps.clear();
    view.get_dirty_region();
    view.sub_item(a.get());
    QVERIFY(a->m_steps.isEmpty()); // a mere move
    QCOMPARE(view.get_dirty_region(), QRegion(98, 48, 15, 15));
    QCOMPARE(a->m_flags, 0);
    QVERIFY(a->m_view == nullptr);

    const auto b = probe(0, {100, 50});
    view.add_item(b);
    b->m_flags = 14;
    view.sub_item(b.get());
    QCOMPARE(b->m_steps, QByteArray("rebuild rebuffer redraw"));
    QCOMPARE(view.get_dirty_region(), QRegion(98, 48, 15, 15));
    QCOMPARE(b->m_flags, 0);
}

void TestItemView::a_removed_item_leaves_where_it_was_dirty() {
    ItemView view(0);
    const auto a = probe(0, {100, 50});
    view.add_item(probe());
    view.add_item(a);
    update(*a);
    view.get_dirty_region();
    a->m_pos = QPointF(300, 50);
    view.sub_item(a.get());
    QVERIFY(view.get_dirty_region().contains(QRect(98, 48, 15, 15)));
}

void TestItemView::a_removed_item_leaves_the_others_in_order_data() {
    QTest::addColumn<int>("removed");
    QTest::newRow("the bottom") << 0;
    QTest::newRow("the middle") << 1;
    QTest::newRow("the top") << 2;
}

void TestItemView::a_removed_item_leaves_the_others_in_order() {
    QFETCH(const int, removed);
    ItemView view(0);
    Items expected{probe(), probe(), probe()};
    for (auto const& item : expected)
        view.add_item(item);
    view.sub_item(expected.at(removed).get());
    expected.erase(expected.begin() + removed);
    QCOMPARE(view.items(), expected);
    QVERIFY(expected[0]->m_view == &view && expected[1]->m_view == &view);
}

void TestItemView::of_an_item_added_twice_the_lower_entry_is_removed() {
    ItemView view(0);
    const auto a = probe();
    const auto b = probe();
    for (auto const& item : {a, b, a})
        view.add_item(item);
    view.sub_item(a.get());
    QCOMPARE(view.items(), (Items{b, a}));
    QVERIFY(a->m_view == nullptr);
    view.sub_item(a.get());
    QCOMPARE(view.items(), (Items{b}));
}

void TestItemView::an_item_of_no_view_or_another_is_not_removed() {
    ItemView view(0);
    ItemView other(0);
    const auto a = probe();
    const auto b = probe();
    other.add_item(a);
    a->m_flags = 0;
    b->m_flags = 0;
    for (ProbeItem* item : {a.get(), b.get(), static_cast<ProbeItem*>(nullptr)}) {
        view.sub_item(item);
        view.to_front(item);
        view.to_back(item);
    }
    QCOMPARE(other.items(), (Items{a}));
    QVERIFY(a->m_view == &other);
    QVERIFY(a->m_flags == 0 && b->m_flags == 0);
    QVERIFY(view.items().empty());
    QVERIFY(view.get_dirty_region().isEmpty() && other.get_dirty_region().isEmpty());
}

void TestItemView::all_are_removed_without_an_update() {
    ItemView view(0);
    view.resize(640, 480);
    const auto a = probe(0, {600, 470});
    const auto b = probe();
    view.add_item(a);
    view.add_item(b);
    update(*a);
    a->m_steps.clear();
    a->m_flags = 1;
    view.get_dirty_region();
    view.sub_all();
    QCOMPARE(view.get_dirty_region(), QRegion(0, 0, 640, 480));
    QVERIFY(view.items().empty());
    QVERIFY(a->m_view == nullptr && b->m_view == nullptr);
    QVERIFY(a->m_steps.isEmpty() && b->m_steps.isEmpty());
    QVERIFY(a->m_flags == 1 && b->m_flags == 15);
}

void TestItemView::an_empty_view_is_made_dirty_too() {
    ItemView view(0);
    view.resize(320, 200);
    view.sub_all();
    QCOMPARE(view.get_dirty_region(), QRegion(0, 0, 320, 200));
}

void TestItemView::an_id_finds_the_topmost() {
    ItemView view(0);
    QVERIFY(view.find_item(7) == nullptr);
    const auto lower = probe(7);
    const auto upper = probe(7);
    view.add_item(probe(8));
    view.add_item(lower);
    view.add_item(upper);
    view.add_item(probe(-9));
    QVERIFY(view.find_item(7) == upper);
    view.to_front(lower.get());
    QVERIFY(view.find_item(7) == lower);
    QCOMPARE(view.find_item(-9)->m_id, -9);
    QVERIFY(view.find_item(0) == nullptr);
}

void TestItemView::an_address_finds_its_item() {
    ItemView view(0);
    const auto a = probe(7);
    const auto b = probe(7);
    const auto c = probe(7);
    view.add_item(a);
    view.add_item(b);
    QVERIFY(view.find_item(a.get()) == a);
    QVERIFY(view.find_item(static_cast<Item const*>(b.get())) == b);
    QVERIFY(view.find_item(c.get()) == nullptr);
    QVERIFY(view.find_item(nullptr) == nullptr);
    view.sub_item(a.get());
    QVERIFY(view.find_item(a.get()) == nullptr);
}

void TestItemView::an_item_goes_to_the_front_or_the_back_data() {
    QTest::addColumn<bool>("front");
    QTest::addColumn<int>("moved");
    QTest::addColumn<QVector<int>>("order");
    QTest::newRow("the bottom to the front") << true << 0 << QVector<int>{1, 2, 3, 0};
    QTest::newRow("from between to the front") << true << 1 << QVector<int>{0, 2, 3, 1};
    QTest::newRow("the top to the front") << true << 3 << QVector<int>{0, 1, 2, 3};
    QTest::newRow("the bottom to the back") << false << 0 << QVector<int>{0, 1, 2, 3};
    QTest::newRow("from between to the back") << false << 2 << QVector<int>{2, 0, 1, 3};
    QTest::newRow("the top to the back") << false << 3 << QVector<int>{3, 0, 1, 2};
}

void TestItemView::an_item_goes_to_the_front_or_the_back() {
    QFETCH(const bool, front);
    QFETCH(const int, moved);
    ItemView view(0);
    for (int id = 0; id < 4; ++id) {
        view.add_item(probe(id));
        view.items().back()->m_flags = 0;
    }
    const auto item = view.find_item(moved);
    if (front)
        view.to_front(item.get());
    else
        view.to_back(item.get());
    QVector<int> order;
    for (auto const& entry : view.items())
        order << entry->m_id;
    QTEST(order, "order");
    QVERIFY(view.get_dirty_region().isEmpty());
    QCOMPARE(item->m_flags, 0);
}

void TestItemView::the_dirty_region_is_taken_once() {
    ItemView view(0);
    view.add_dirty_region(QRect(1, 2, 30, 40));
    view.add_dirty_region(QRect(100, 2, 30, 40));
    view.add_dirty_region(QRect(110, 12, 30, 40));
    const QRegion expected =
        QRegion(1, 2, 30, 40) + QRegion(100, 2, 30, 40) + QRegion(110, 12, 30, 40);
    QCOMPARE(view.m_dirty_region, expected);
    QCOMPARE(view.get_dirty_region(), expected);
    QVERIFY(view.get_dirty_region().isEmpty());
    view.add_dirty_region(QRect(5, 5, 5, 5));
    QCOMPARE(view.get_dirty_region(), QRegion(5, 5, 5, 5));
}

void TestItemView::the_dirty_region_takes_any_rectangle() {
    ItemView view(0);
    view.add_dirty_region(QRect());
    view.add_dirty_region(QRect(5, 5, 0, 0));
    view.add_dirty_region(QRect(5, 5, -3, -4));
    QVERIFY(view.get_dirty_region().isEmpty());

    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    const QRect screen(0, 0, 1920, 1080);
    for (const auto& [left, top, right, bottom] :
         {std::array{lowest, lowest, highest, highest}, std::array{lowest, 10, 20, 20},
          std::array{10, 10, highest, highest}, std::array{highest, highest, highest, highest},
          std::array{lowest, lowest, lowest, lowest}}) {
        QRect rect;
        rect.setCoords(left, top, right, bottom);
        view.add_dirty_region(rect);
        view.update(view.get_dirty_region().intersected(screen));
    }
    QVERIFY(view.get_dirty_region().isEmpty());
}

void TestItemView::nothing_but_the_frame_repaints() {
    PaintedView view(0);
    view.resize(200, 200);
    view.show();
    QTRY_VERIFY(view.m_paintings > 0);
    QCoreApplication::processEvents();
    view.m_paintings = 0;
    view.m_painted = QRegion();

    const auto a = probe(0, {100, 50});
    const auto b = probe(0, {20, 30});
    view.add_item(a);
    view.add_item(b);
    update(*a);
    update(*b);
    a->to_front();
    a->to_back();
    view.sub_item(b.get());
    QCoreApplication::processEvents();
    QCOMPARE(view.m_paintings, 0);

    const QRegion dirty = view.get_dirty_region();
    view.update(dirty);
    QTRY_VERIFY(view.m_paintings > 0);
    QCOMPARE(view.m_painted, dirty);
    view.sub_all();
    QCoreApplication::processEvents();
    QCOMPARE(view.m_paintings, 1);
}

void TestItemView::items_are_painted_from_the_bottom_to_the_top() {
    ItemView view(0);
    view.resize(60, 50);
    const auto red = square(Qt::red, {10, 10});
    const auto green = square(Qt::green, {15, 14});
    const auto blue = square(Qt::blue, {12, 17});
    const auto unseen = square(Qt::black, {40, 40}); // no image yet
    for (auto const& item : {red, green, blue}) {
        view.add_item(item);
        update(*item);
    }
    view.add_item(unseen);
    view.to_back(blue.get());

    QImage expected = blank(view.size(), Qt::white);
    QPainter painter(&expected);
    painter.fillRect(12, 17, 10, 10, Qt::blue);
    painter.fillRect(10, 10, 10, 10, Qt::red);
    painter.fillRect(15, 14, 10, 10, Qt::green);
    painter.end();
    QCOMPARE(difference(view.grab().toImage(), expected), QString());
}

void TestItemView::the_background_is_white_or_that_of_the_widget_below_data() {
    QTest::addColumn<int>("transparent");
    QTest::addColumn<QColor>("background");
    QTest::newRow("opaque") << 0 << QColor(Qt::white);
    QTest::newRow("transparent") << 1 << QColor(10, 120, 200);
}

void TestItemView::the_background_is_white_or_that_of_the_widget_below() {
    QFETCH(const int, transparent);
    QFETCH(const QColor, background);
    QWidget below;
    below.resize(60, 50);
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(10, 120, 200));
    below.setPalette(palette);
    auto* const view = new ItemView(transparent);
    view->setParent(&below);
    view->setGeometry(5, 6, 40, 30);
    const auto item = square(Qt::red, {10, 10});
    view->add_item(item);
    update(*item);

    QImage expected = blank(below.size(), QColor(10, 120, 200));
    QPainter painter(&expected);
    painter.fillRect(5, 6, 40, 30, background);
    painter.fillRect(15, 16, 10, 10, Qt::red);
    painter.end();
    QCOMPARE(difference(below.grab().toImage(), expected), QString());
}

void TestItemView::what_is_taken_apart_goes_in_order() {
    QByteArray dead;
    auto view = std::make_unique<ItemView>(0);
    const auto mortal = [&dead](char name) {
        const auto item = probe();
        item->m_on_death = [&dead, name] { dead += name; };
        return item;
    };
    view->m_pen_grab_map[1] = mortal('g');
    view->m_pen_hover_map[1] = mortal('h');
    view->m_touch_grab_map[1] = mortal('t');
    view->m_erase_grab_map[1] = mortal('e');
    for (char name : {'1', '2', '3'})
        view->add_item(mortal(name));
    const auto kept = probe();
    view->add_item(kept);
    view.reset();
    QCOMPARE(dead, QByteArray("123ethg"));
    QCOMPARE(kept.use_count(), 1L);
    QVERIFY(kept->m_view != nullptr); // not cleared: whoever keeps items removes them before
}

QTEST_MAIN(TestItemView)
#include "tst_itemview.moc"
