#include "tools/trace/coverage.h"

#include <QtTest>

class TestCoverage : public QObject {
    Q_OBJECT

private slots:
    void a_point_covers_its_cell_data();
    void a_point_covers_its_cell();
    void what_lies_beyond_the_board_covers_nothing_data();
    void what_lies_beyond_the_board_covers_nothing();
    void the_whole_board_is_a_hundred_per_cent();
    void a_cell_counts_once();
    void two_make_one();
};

void TestCoverage::a_point_covers_its_cell_data() {
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<QPoint>("cell");
    QTest::newRow("top left") << QPoint(0, 0) << QPoint(0, 0);
    QTest::newRow("end of the first cell") << QPoint(2047, 4095) << QPoint(0, 0);
    QTest::newRow("right of it") << QPoint(2048, 4095) << QPoint(1, 0);
    QTest::newRow("below it") << QPoint(2047, 4096) << QPoint(0, 1);
    QTest::newRow("bottom right") << QPoint(32767, 32767) << QPoint(15, 7);
}

void TestCoverage::a_point_covers_its_cell() {
    QFETCH(const QPoint, point);
    QFETCH(const QPoint, cell);
    Coverage coverage;
    coverage.add(point.x(), point.y());
    QCOMPARE(coverage.cells(), 1);
    const auto map = coverage.map();
    QCOMPARE(map.size(), std::size_t{8});
    for (int row = 0; row < 8; ++row) {
        std::string expected(16, '.');
        if (row == cell.y())
            expected[static_cast<std::size_t>(cell.x())] = '#';
        QCOMPARE(map[static_cast<std::size_t>(row)], expected);
    }
}

void TestCoverage::what_lies_beyond_the_board_covers_nothing_data() {
    QTest::addColumn<QPoint>("point");
    QTest::newRow("right") << QPoint(32768, 5);
    QTest::newRow("below") << QPoint(5, 32768);
    QTest::newRow("far off") << QPoint(65535, 65535);
    QTest::newRow("left") << QPoint(-1, 5);
    QTest::newRow("above") << QPoint(5, -1);
}

void TestCoverage::what_lies_beyond_the_board_covers_nothing() {
    QFETCH(const QPoint, point);
    Coverage coverage;
    coverage.add(point.x(), point.y());
    QCOMPARE(coverage.cells(), 0);
}

void TestCoverage::the_whole_board_is_a_hundred_per_cent() {
    Coverage coverage;
    for (int y = 0; y < 32768; y += 4096) {
        for (int x = 0; x < 32768; x += 2048)
            coverage.add(x, y);
    }
    QCOMPARE(coverage.percent(), 100.0);
}

void TestCoverage::a_cell_counts_once() {
    Coverage coverage;
    coverage.add(100, 100);
    coverage.add(200, 300);
    QCOMPARE(coverage.percent(), 100.0 / 128);
}

void TestCoverage::two_make_one() {
    Coverage one;
    one.add(0, 0);
    one.add(3000, 0);
    Coverage other;
    other.add(3000, 0);
    other.add(0, 9000);
    one.add(other);
    QCOMPARE(one.cells(), 3);
}

QTEST_GUILESS_MAIN(TestCoverage)
#include "tst_coverage.moc"
