#include "tools/trace/ratewindows.h"

#include <QtTest>

namespace {

constexpr std::int64_t kMillisecond = 1000000;

/// A report every `step` milliseconds, the first one at `from`, the last one not after `to`.
void add(RateWindows& windows, int from, int to, int step) {
    for (int time = from; time <= to; time += step)
        windows.add(time * kMillisecond);
}

} // namespace

class TestRateWindows : public QObject {
    Q_OBJECT

private slots:
    void a_steady_rate_is_the_same_in_every_window();
    void less_than_a_second_has_no_window();
    void exactly_a_second_has_one_window();
    void the_least_is_that_of_the_window_with_the_gap();
    void no_window_reaches_over_an_absence();
    void a_report_on_the_edge_belongs_to_the_window_that_it_ends();
    void the_report_before_a_long_gap_begins_an_empty_window();
};

void TestRateWindows::a_steady_rate_is_the_same_in_every_window() {
    RateWindows windows;
    add(windows, 0, 3000, 5);
    QCOMPARE(windows.rates().least(), std::int64_t{200});
    QCOMPARE(windows.rates().greatest(), std::int64_t{200});
    QCOMPARE(windows.rates().size(), std::uint64_t{401}); // from 0 to 2000
}

void TestRateWindows::less_than_a_second_has_no_window() {
    RateWindows windows;
    add(windows, 0, 999, 3);
    QVERIFY(windows.rates().empty());
}

void TestRateWindows::exactly_a_second_has_one_window() {
    RateWindows windows;
    add(windows, 70, 1070, 100);
    QCOMPARE(windows.rates().size(), std::uint64_t{1});
    QCOMPARE(windows.rates().median(), std::int64_t{10});
}

void TestRateWindows::the_least_is_that_of_the_window_with_the_gap() {
    RateWindows windows;
    add(windows, 0, 3000, 10);
    add(windows, 3210, 6000, 10); // 20 are missing
    QCOMPARE(windows.rates().median(), std::int64_t{100});
    QCOMPARE(windows.rates().least(), std::int64_t{80});
}

void TestRateWindows::no_window_reaches_over_an_absence() {
    RateWindows windows;
    add(windows, 0, 1500, 10);
    windows.breakOff();
    add(windows, 1900, 3400, 10);
    QCOMPARE(windows.rates().least(), std::int64_t{100});
    QCOMPARE(windows.rates().size(), std::uint64_t{51 + 51});
}

void TestRateWindows::a_report_on_the_edge_belongs_to_the_window_that_it_ends() {
    RateWindows windows;
    windows.add(0);
    windows.add(500 * kMillisecond);
    windows.add(1000 * kMillisecond);
    QCOMPARE(windows.rates().median(), std::int64_t{2});
    RateWindows beyond;
    beyond.add(0);
    beyond.add(500 * kMillisecond);
    beyond.add(1000 * kMillisecond + 1);
    QCOMPARE(beyond.rates().size(), std::uint64_t{1});
    QCOMPARE(beyond.rates().median(), std::int64_t{1});
}

void TestRateWindows::the_report_before_a_long_gap_begins_an_empty_window() {
    RateWindows windows;
    windows.add(0);
    windows.add(5000 * kMillisecond);
    QCOMPARE(windows.rates().size(), std::uint64_t{1});
    QCOMPARE(windows.rates().least(), std::int64_t{0});
}

QTEST_GUILESS_MAIN(TestRateWindows)
#include "tst_ratewindows.moc"
