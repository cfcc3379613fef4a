#include "scene/item.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"

#include <QtTest>
#include <memory>
#include <type_traits>

static_assert(std::is_abstract_v<Item> && std::has_virtual_destructor_v<Item>);
static_assert(std::is_base_of_v<QObject, Item>);

Q_DECLARE_METATYPE(QPainterPath)

class TestItem : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_new_item_has_all_to_do();
    void the_transform_turns_scales_and_moves_data();
    void the_transform_turns_scales_and_moves();
    void mapping_there_and_back_gives_the_point();
    void the_transforms_follow_when_they_are_set();
    void an_item_of_no_scale_maps_by_identity();
    void the_outline_keeps_its_bounds_and_asks_for_nothing();
    void a_hit_lies_within_the_outline_data();
    void a_hit_lies_within_the_outline();
    void the_bounds_of_the_outline_reject_first();
    void an_item_in_no_view_has_no_front_or_back();
    void front_and_back_are_those_of_the_view();
    void locks_are_counted();

    void an_item_takes_any_number_data();
    void an_item_takes_any_number();
};

void TestItem::a_new_item_has_all_to_do() {
    const ProbeItem item(QPainterPath(), {12.5, -3.0}, 30.0F, 1.5F, 42);
    QVERIFY(!item.m_update.valid());
    QVERIFY(item.m_pos.x() == 12.5 && item.m_pos.y() == -3.0);
    QVERIFY(item.m_angle == 30.0F && item.m_scale == 1.5F && item.m_factor == 1.0F);
    QCOMPARE(item.m_id, 42);
    QVERIFY(item.m_image == nullptr);
    QVERIFY(item.m_image_origin.isNull());
    QVERIFY(item.m_bounds == QRectF());
    QVERIFY(item.m_shown_pos.isNull() && item.m_shown_angle == 0.0F && item.m_shown_scale == 0.0F);
    QVERIFY(item.m_outline.isEmpty());
    QVERIFY(item.m_outline_bounds == QRectF());
    QCOMPARE(item.m_painted_rect.left(), 0);
    QCOMPARE(item.m_painted_rect.top(), 0);
    QCOMPARE(item.m_painted_rect.right(), -1);
    QCOMPARE(item.m_painted_rect.bottom(), -1);
    QVERIFY(item.m_view == nullptr);
    QCOMPARE(item.m_flags, 15);
    QVERIFY(item.m_hittable);
    QCOMPARE(item.m_lock_count, 0);
    QVERIFY(!item.m_transform.isIdentity() && !item.m_inverse.isIdentity());
}

void TestItem::the_transform_turns_scales_and_moves_data() {
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<float>("angle");
    QTest::addColumn<float>("scale");
    QTest::addColumn<QPointF>("local");
    QTest::addColumn<QPointF>("in_view");
    const QPointF pos(100.0, 50.0);
    QTest::newRow("moved") << pos << 0.0F << 1.0F << QPointF(3, 4) << QPointF(103, 54);
    QTest::newRow("scaled") << pos << 0.0F << 2.5F << QPointF(2, 4) << QPointF(105, 60);
    QTest::newRow("mirrored") << pos << 0.0F << -1.0F << QPointF(3, 4) << QPointF(97, 46);
    // On the screen, where y points down, x turns to y: clockwise.
    QTest::newRow("turned by 90") << pos << 90.0F << 1.0F << QPointF(3, 4) << QPointF(96, 53);
    QTest::newRow("turned by -90") << pos << -90.0F << 1.0F << QPointF(3, 4) << QPointF(104, 47);
    QTest::newRow("all of it") << pos << 90.0F << 2.0F << QPointF(3, 4) << QPointF(92, 56);
    const double half = std::sqrt(0.5);
    QTest::newRow("turned by 45") << QPointF(0, 0) << 45.0F << 1.0F << QPointF(1, 0)
                                  << QPointF(half, half);
}

void TestItem::the_transform_turns_scales_and_moves() {
    QFETCH(const QPointF, pos);
    QFETCH(const float, angle);
    QFETCH(const float, scale);
    QFETCH(const QPointF, local);
    QFETCH(const QPointF, in_view);
    const ProbeItem item(QPainterPath(), pos, angle, scale);
    QCOMPARE(item.map_from(local), in_view);
    QCOMPARE(item.map_to(in_view), local);
    QCOMPARE(item.m_transform.map(local), in_view);
    QCOMPARE(item.m_inverse.map(in_view), local);
}

void TestItem::mapping_there_and_back_gives_the_point() {
    const ProbeItem item(QPainterPath(), {-31.25, 1917.5}, 33.0F, 0.3F);
    const QPointF back = item.map_to(item.map_from({17.0, -23.0}));
    QVERIFY(std::abs(back.x() - 17.0) < 1e-9 && std::abs(back.y() + 23.0) < 1e-9);
}

void TestItem::the_transforms_follow_when_they_are_set() {
    ProbeItem item;
    item.m_flags = 0;
    item.m_pos = QPointF(7.0, 8.0);
    QCOMPARE(item.map_from({1.0, 1.0}), QPointF(1.0, 1.0));
    item.set_transforms();
    QCOMPARE(item.map_from({1.0, 1.0}), QPointF(8.0, 9.0));
    QCOMPARE(item.map_to({8.0, 9.0}), QPointF(1.0, 1.0));
    item.m_scale = 3.0F;
    item.set_transforms();
    QCOMPARE(item.map_from({1.0, 1.0}), QPointF(10.0, 11.0));
    QCOMPARE(item.m_flags, 0);
}

void TestItem::an_item_of_no_scale_maps_by_identity() {
    const ProbeItem item(QPainterPath(), {100.0, 50.0}, 0.0F, 0.0F);
    QCOMPARE(item.map_from({3.0, 4.0}), QPointF(100.0, 50.0));
    QVERIFY(item.m_inverse.isIdentity());
    QCOMPARE(item.map_to({3.0, 4.0}), QPointF(3.0, 4.0));
}

void TestItem::the_outline_keeps_its_bounds_and_asks_for_nothing() {
    ProbeItem item;
    item.m_flags = 0;
    QPainterPath path;
    path.addEllipse(QRectF(-5.0, 2.0, 20.0, 30.0));
    item.set_outline(path);
    QVERIFY(item.m_outline == path);
    QCOMPARE(item.m_outline_bounds, QRectF(-5.0, 2.0, 20.0, 30.0));
    QCOMPARE(item.m_flags, 0);
}

void TestItem::a_hit_lies_within_the_outline_data() {
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<bool>("hit");
    QTest::newRow("the middle") << QPointF(10.0, 10.0) << true;
    QTest::newRow("near the rim") << QPointF(0.5, 10.0) << true;
    QTest::newRow("within the bounds, outside the ellipse") << QPointF(1.0, 1.0) << false;
    QTest::newRow("outside the bounds") << QPointF(-1.0, 10.0) << false;
    QTest::newRow("not a number") << QPointF(kNan, 10.0) << false;
    QTest::newRow("infinitely far") << QPointF(10.0, kInfinity) << false;
}

void TestItem::a_hit_lies_within_the_outline() {
    QFETCH(const QPointF, point);
    // Where the item stands plays no part: the point is local.
    ProbeItem item(QPainterPath(), {500.0, 500.0}, 45.0F, 3.0F);
    QPainterPath path;
    path.addEllipse(QRectF(0.0, 0.0, 20.0, 20.0));
    item.set_outline(path);
    QTEST(item.hit(point), "hit");
}

void TestItem::the_bounds_of_the_outline_reject_first() {
    ProbeItem item;
    item.set_outline(box(0, 0, 10, 10));
    item.m_outline_bounds = QRectF(0, 0, 5, 5);
    QVERIFY(item.hit({4, 4}));
    QVERIFY(!item.hit({6, 6}));
}

void TestItem::an_item_in_no_view_has_no_front_or_back() {
    ProbeItem item;
    item.to_front();
    item.to_back();
    QVERIFY(item.m_view == nullptr);
}

void TestItem::front_and_back_are_those_of_the_view() {
    ItemView view(0);
    const auto a = std::make_shared<ProbeItem>();
    const auto b = std::make_shared<ProbeItem>();
    view.add_item(a);
    view.add_item(b);
    std::as_const(*a).to_front();
    QVERIFY(view.items().back() == a);
    std::as_const(*a).to_back();
    QVERIFY(view.items().back() == b);
}

void TestItem::locks_are_counted() {
    ProbeItem item;
    item.lock(7);
    item.lock(-100);
    QCOMPARE(item.m_lock_count, 2);
    item.unlock(50);
    QCOMPARE(item.m_lock_count, 1);
    item.unlock(0);
    item.unlock(0);
    QCOMPARE(item.m_lock_count, -1);
}

void TestItem::an_item_takes_any_number_data() {
    QTest::addColumn<QPainterPath>("shape");
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<double>("angle");
    QTest::addColumn<double>("scale");
    const QPainterPath shape = box(-5, -5, 10, 10);
    const double numbers[] = {0.0,    -0.0,         1e-300, 1e-30,         -1.0,
                              1e6,    2147483648.0, 1e100,  -2147483649.0, 1e300,
                              -1e300, 1e38,         kNan,   kInfinity,     -kInfinity};
    for (double number : numbers) {
        QTest::addRow("x %g", number) << shape << QPointF(number, 5) << 0.0 << 1.0;
        QTest::addRow("x and y %g, turned", number)
            << shape << QPointF(number, number) << 30.0 << 1.0;
        QTest::addRow("angle %g", number) << shape << QPointF(5, 5) << number << 1.0;
        QTest::addRow("scale %g", number) << shape << QPointF(5, 5) << 0.0 << number;
        QTest::addRow("scale %g, turned", number) << shape << QPointF(5, 5) << 30.0 << number;
        QTest::addRow("shape %g wide", number)
            << box(0, 0, number, 10) << QPointF(5, 5) << 30.0 << 1.0;
        QTest::addRow("shape at %g", number)
            << box(number, number, 10, 10) << QPointF(5, 5) << 0.0 << 1.0;
        QPainterPath ellipse;
        ellipse.addEllipse(QRectF(-number, -5, 2 * number, 10));
        QTest::addRow("ellipse %g wide", number) << ellipse << QPointF(5, 5) << 30.0 << 1.0;
    }
    QTest::newRow("nothing at all") << QPainterPath() << QPointF() << 0.0 << 0.0;
    QPainterPath point;
    point.moveTo(3, 4);
    QTest::newRow("only a point") << point << QPointF(5, 5) << 30.0 << 1.0;
}

/// The test's time limit ends what goes on for ever.
void TestItem::an_item_takes_any_number() {
    QFETCH(const QPainterPath, shape);
    QFETCH(const QPointF, pos);
    QFETCH(const double, angle);
    QFETCH(const double, scale);

    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(shape, pos, static_cast<float>(angle),
                                                  static_cast<float>(scale));
    item->m_on_redraw = [&shape](QPainter& painter) { painter.drawPath(shape); };
    view.add_item(item);
    QImage screen(100, 100, QImage::Format_ARGB32_Premultiplied);
    for (int turn = 0; turn < 2; ++turn) { // the second time, the old rectangle is such a one too
        item->m_flags = 15;
        update(*item);
        QCOMPARE(item->m_flags, 0);
        QPainter painter(&screen);
        item->paint(painter);
        view.hit_item(contact(1, 5, 5));
        view.hit_item(contact(1, pos.x(), pos.y()));
    }
    view.sub_item(item.get());
    QVERIFY(view.items().empty());
}

QTEST_MAIN(TestItem)
#include "tst_item.moc"
