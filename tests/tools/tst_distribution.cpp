#include "tools/trace/distribution.h"

#include <QtTest>
#include <initializer_list>
#include <vector>

Q_DECLARE_METATYPE(std::vector<int>)

namespace {

Distribution of(const std::vector<int>& numbers) {
    Distribution distribution;
    for (const int number : numbers)
        distribution.add(number);
    return distribution;
}

} // namespace

class TestDistribution : public QObject {
    Q_OBJECT

private slots:
    void a_percentile_is_the_nearest_rank_data();
    void a_percentile_is_the_nearest_rank();
    void the_ends_are_the_least_and_the_greatest();
    void what_lies_above_is_counted();
    void two_make_one();
};

void TestDistribution::a_percentile_is_the_nearest_rank_data() {
    QTest::addColumn<std::vector<int>>("numbers");
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<int>("expected");
    std::vector<int> hundred_and_one;
    for (int i = 101; i >= 1; --i)
        hundred_and_one.push_back(i);
    const std::vector<int> hundred(hundred_and_one.begin() + 1, hundred_and_one.end());
    QTest::newRow("one") << std::vector<int>{7} << 50U << 7;
    QTest::newRow("the 99th of one") << std::vector<int>{7} << 99U << 7;
    QTest::newRow("the lower of two") << std::vector<int>{9, 4} << 50U << 4;
    QTest::newRow("the middle of three") << std::vector<int>{9, 4, 6} << 50U << 6;
    QTest::newRow("as often as it comes") << std::vector<int>{4, 9, 9, 9} << 50U << 9;
    QTest::newRow("half of a hundred") << hundred << 50U << 50;
    QTest::newRow("99 of a hundred") << hundred << 99U << 99;
    QTest::newRow("99 of a hundred and one") << hundred_and_one << 99U << 100;
    QTest::newRow("all") << hundred << 100U << 100;
    QTest::newRow("negative") << std::vector<int>{-5, -9, 0} << 50U << -5;
}

void TestDistribution::a_percentile_is_the_nearest_rank() {
    QFETCH(const std::vector<int>, numbers);
    QFETCH(const unsigned int, percent);
    QFETCH(const int, expected);
    QCOMPARE(of(numbers).percentile(percent), std::int64_t{expected});
}

void TestDistribution::the_ends_are_the_least_and_the_greatest() {
    const Distribution distribution = of({5, 3, 8, 3});
    QCOMPARE(distribution.least(), std::int64_t{3});
    QCOMPARE(distribution.greatest(), std::int64_t{8});
    QCOMPARE(distribution.size(), std::uint64_t{4});
    QVERIFY(!distribution.empty());
    QVERIFY(Distribution().empty());
}

void TestDistribution::what_lies_above_is_counted() {
    const Distribution distribution = of({40, 40, 41, 100, 100, 7});
    QCOMPARE(distribution.countAbove(40), std::uint64_t{3});
    QCOMPARE(distribution.countAbove(100), std::uint64_t{0});
    QCOMPARE(distribution.countAbove(0), std::uint64_t{6});
}

void TestDistribution::two_make_one() {
    Distribution both = of({1, 2, 2});
    both.add(of({2, 3, 3, 3, 3}));
    QCOMPARE(both.size(), std::uint64_t{8});
    QCOMPARE(both.median(), std::int64_t{2});
    QCOMPARE(both.countAbove(2), std::uint64_t{4});
    QCOMPARE(both.greatest(), std::int64_t{3});
}

QTEST_GUILESS_MAIN(TestDistribution)
#include "tst_distribution.moc"
