#include "scene/geometry.h"
#include "tests/support/no_warnings.h"

#include <QtTest>
#include <cmath>
#include <limits>

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// An open square: bottom, right, top.
const QPolygonF kBracket(QVector<QPointF>{{0, 0}, {10, 0}, {10, 10}, {0, 10}});

} // namespace

class TestGeometry : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void the_nearest_point_lies_on_the_segment_data();
    void the_nearest_point_lies_on_the_segment();
    void the_nearest_segment_is_found_data();
    void the_nearest_segment_is_found();
    void a_polygon_without_a_segment_gives_what_point_there_is();
    void coordinates_are_taken_in_single_precision();
    void what_is_not_a_number_ends_on_the_first_segment();
};

void TestGeometry::the_nearest_point_lies_on_the_segment_data() {
    QTest::addColumn<QVector2D>("p");
    QTest::addColumn<QVector2D>("a");
    QTest::addColumn<QVector2D>("b");
    QTest::addColumn<QVector2D>("nearest");
    QTest::addColumn<float>("squared");
    const QVector2D a(2, 3);
    const QVector2D b(10, 3);
    QTest::newRow("beside it") << QVector2D(4, 8) << a << b << QVector2D(4, 3) << 25.0F;
    QTest::newRow("on it") << QVector2D(7, 3) << a << b << QVector2D(7, 3) << 0.0F;
    QTest::newRow("before it") << QVector2D(-1, 7) << a << b << a << 25.0F;
    QTest::newRow("behind it") << QVector2D(13, -1) << a << b << b << 25.0F;
    QTest::newRow("level with its start") << QVector2D(2, 9) << a << b << a << 36.0F;
    QTest::newRow("level with its end") << QVector2D(10, 9) << a << b << b << 36.0F;
    QTest::newRow("aslant") << QVector2D(4, 0) << QVector2D(0, 0) << QVector2D(8, 8)
                            << QVector2D(2, 2) << 8.0F;
    QTest::newRow("backward") << QVector2D(4, 8) << b << a << QVector2D(4, 3) << 25.0F;
    QTest::newRow("a segment of no length") << QVector2D(5, 7) << a << a << a << 25.0F;
}

void TestGeometry::the_nearest_point_lies_on_the_segment() {
    QFETCH(const QVector2D, p);
    QFETCH(const QVector2D, a);
    QFETCH(const QVector2D, b);
    QTEST(nearest_point_on_line(p, a, b), "nearest");
    QTEST(distance_squared_to_line(p, a, b), "squared");
}

void TestGeometry::the_nearest_segment_is_found_data() {
    QTest::addColumn<QPolygonF>("polygon");
    QTest::addColumn<int>("skip");
    QTest::addColumn<QVector2D>("p");
    QTest::addColumn<QVector2D>("nearest");
    QTest::addColumn<int>("index");
    const auto row = [](const char* name, int skip, QVector2D p, QVector2D nearest, int index) {
        QTest::newRow(name) << kBracket << skip << p << nearest << index;
    };
    row("the first", 0, {4, -2}, {4, 0}, 0);
    row("in between", 0, {12, 4}, {10, 4}, 1);
    row("the last", 0, {4, 13}, {4, 10}, 2);
    row("open: nothing closes it", 0, {-3, 8}, {0, 10}, 2);
    row("of a corner, the later one", 0, {13, -4}, {10, 0}, 1);
    row("of equally near ones, the last", 0, {5, 5}, {5, 10}, 2);
    row("the last is left out", 1, {4, 13}, {10, 10}, 1);
    row("the last two are left out", 2, {4, 13}, {4, 0}, 0);
    row("the first is never left out", 3, {4, 13}, {4, 0}, 0);
    row("however many are left out", std::numeric_limits<int>::max(), {4, 13}, {4, 0}, 0);
    row("none is left out for less than none", -1, {4, 13}, {4, 10}, 2);
    row("nor for far less", std::numeric_limits<int>::min(), {4, 13}, {4, 10}, 2);
    QTest::newRow("of only one") << QPolygonF(QVector<QPointF>{{0, 0}, {0, 8}}) << 0
                                 << QVector2D(3, 5) << QVector2D(0, 5) << 0;
}

void TestGeometry::the_nearest_segment_is_found() {
    QFETCH(const QPolygonF, polygon);
    QFETCH(const int, skip);
    QFETCH(const QVector2D, p);
    int found = -5;
    QTEST(nearest_point_on_polygon(polygon, skip, p, found), "nearest");
    QTEST(found, "index");
}

void TestGeometry::a_polygon_without_a_segment_gives_what_point_there_is() {
    int index = -5;
    QCOMPARE(nearest_point_on_polygon(QPolygonF(), 0, {3, 4}, index), QVector2D(3, 4));
    QCOMPARE(index, 0);
    index = -5;
    QCOMPARE(nearest_point_on_polygon(QVector<QPointF>{{7, 8}}, 0, {3, 4}, index), QVector2D(7, 8));
    QCOMPARE(index, 0);
}

void TestGeometry::coordinates_are_taken_in_single_precision() {
    // 2^24 + 1 is the first whole number that single precision has not.
    int index = -5;
    const QVector2D end =
        nearest_point_on_polygon(QVector<QPointF>{{0, 0}, {16777217, 0}}, 0, {20000000, 0}, index);
    QCOMPARE(static_cast<double>(end.x()), 16777216.0);
}

void TestGeometry::what_is_not_a_number_ends_on_the_first_segment() {
    int index = -5;
    QVERIFY(std::isnan(nearest_point_on_polygon(kBracket, 0, {kNan, 0}, index).x()));
    QCOMPARE(index, 0);
    QVERIFY(std::isnan(distance_squared_to_line({0, 0}, {kNan, 0}, {1, 1})));
}

QTEST_GUILESS_MAIN(TestGeometry)
#include "tst_geometry.moc"
