#include "hardware/reportflow.h"

#include <QtTest>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Clock = ReportFlow::Clock;

/// Far longer than anything here takes, where it is right.
constexpr auto kLong = 60s;

constexpr bool kLoopRuns = true;
constexpr bool kNoLoop = false;

/// What reports take goes by this clock, so that a machine that is busy with others slows none.
Clock::time_point g_now;
Clock::time_point now() {
    return g_now;
}

/// Sends `count` reports on a thread of the driver's.
class Driver {
public:
    Driver(ReportFlow& flow, int count)
        : m_end(std::async(std::launch::async, [this, &flow, count] {
              for (int i = 0; i < count; ++i) {
                  flow.admit();
                  ++m_sent;
              }
          })) {}

    int sent() const { return m_sent; }
    bool is_done() const { return m_end.wait_for(0s) == std::future_status::ready; }
    /// Whether it neither goes on nor ends for a while.
    bool waits_after(int count) const {
        return QTest::qWaitFor([this, count] { return m_sent >= count; }, 60000) &&
               m_end.wait_for(20ms) == std::future_status::timeout && m_sent == count;
    }

private:
    std::atomic<int> m_sent{0};
    std::future<void> m_end;
};

/// Takes one report in, which takes `duration`.
void take(ReportFlow& flow, ReportFlow::Duration duration = 0s, bool loop_runs = kLoopRuns) {
    const ReportFlow::Delivery delivery(flow, loop_runs);
    g_now += duration;
}

void start(ReportFlow& flow) {
    flow.start();
    flow.turn(kLoopRuns);
}

} // namespace

class TestReportFlow : public QObject {
    Q_OBJECT

private slots:
    void nobody_waits_before_the_start();
    void nobody_waits_where_no_loop_runs();
    void the_receivers_own_thread_does_not_wait();
    void only_so_many_are_under_way();
    void a_delivery_makes_room_for_another();
    void slow_reports_come_one_by_one();
    void a_turn_has_its_share_of_reports();
    void a_flow_that_has_ended_has_time();
    void fast_reports_are_many_again_after_slow_ones();
    void nobody_waits_while_the_receiver_is_in_the_driver();
    void a_call_of_the_driver_by_another_thread_lets_nobody_pass();
    void the_stop_lets_all_pass();
    void the_end_of_the_loop_lets_all_pass();
    void a_receiver_that_is_gone_is_waited_for_once();
    void a_receiver_that_comes_back_is_waited_for_again_data();
    void a_receiver_that_comes_back_is_waited_for_again();
    void a_receiver_that_takes_reports_is_not_gone();
    void a_report_taken_tells_that_the_loop_runs();
    void a_report_taken_tells_that_no_loop_runs();
    void reports_from_before_the_start_are_not_counted();
    void none_is_lost_between_many_threads();
};

void TestReportFlow::nobody_waits_before_the_start() {
    ReportFlow flow(kLong, now);
    flow.turn(kLoopRuns);
    const Driver driver(flow, 1000);
    QTRY_VERIFY(driver.is_done());
}

void TestReportFlow::nobody_waits_where_no_loop_runs() {
    ReportFlow flow(kLong, now);
    flow.start();
    const Driver before_any_turn(flow, 1000);
    QTRY_VERIFY(before_any_turn.is_done());
    flow.turn(kNoLoop);
    const Driver in_a_turn(flow, 1000);
    QTRY_VERIFY(in_a_turn.is_done());
}

void TestReportFlow::the_receivers_own_thread_does_not_wait() {
    ReportFlow flow(kLong, now);
    start(flow);
    for (int i = 0; i < 1000; ++i)
        flow.admit();
    QVERIFY(true); // it is here
}

void TestReportFlow::only_so_many_are_under_way() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 100);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.turn(kLoopRuns); // makes no room: none has been taken
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.stop();
}

void TestReportFlow::a_delivery_makes_room_for_another() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 100);
    for (int taken = 0; taken < 3; ++taken) {
        QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay + taken));
        take(flow);
    }
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay + 3));
    flow.stop();
}

void TestReportFlow::slow_reports_come_one_by_one() {
    ReportFlow flow(kLong, now);
    start(flow);
    flow.admit();
    take(flow, ReportFlow::kShare);
    flow.turn(kLoopRuns);
    const Driver driver(flow, 100);
    QVERIFY(driver.waits_after(1));
    flow.stop();
}

void TestReportFlow::a_turn_has_its_share_of_reports() {
    ReportFlow flow(kLong, now);
    start(flow);
    flow.admit();
    take(flow, ReportFlow::kShare - 1ns);
    QVERIFY(flow.has_time());
    take(flow, 1ns);
    QVERIFY(!flow.has_time());
    const Driver driver(flow, 10);
    QVERIFY(driver.waits_after(0)); // though none is under way
    flow.turn(kLoopRuns);
    QVERIFY(flow.has_time());
    QVERIFY(driver.waits_after(1));
    for (int i = 0; i < 100; ++i)
        take(flow); // which are fast, so that this turn's share suffices
    QTRY_VERIFY(driver.is_done());
}

void TestReportFlow::a_flow_that_has_ended_has_time() {
    ReportFlow flow(kLong, now);
    start(flow);
    take(flow, ReportFlow::kShare);
    QVERIFY(!flow.has_time());
    flow.stop();
    QVERIFY(flow.has_time());
}

void TestReportFlow::fast_reports_are_many_again_after_slow_ones() {
    ReportFlow flow(kLong, now);
    start(flow);
    flow.admit();
    take(flow, ReportFlow::kShare);
    for (int i = 0; i < 100; ++i)
        take(flow);
    flow.turn(kLoopRuns);
    const Driver driver(flow, 100);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.stop();
}

void TestReportFlow::nobody_waits_while_the_receiver_is_in_the_driver() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 1000);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    {
        const ReportFlow::DriverCall call(flow);
        { const ReportFlow::DriverCall inner(flow); }
        QTRY_VERIFY(driver.is_done());
    }
    const Driver after(flow, 1000);
    QVERIFY(after.waits_after(0));
    flow.stop();
}

void TestReportFlow::a_call_of_the_driver_by_another_thread_lets_nobody_pass() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 1000);
    std::async(std::launch::async, [&] {
        const ReportFlow::DriverCall call(flow);
        QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    }).get();
    flow.stop();
}

void TestReportFlow::the_stop_lets_all_pass() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 1000);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.stop();
    QTRY_VERIFY(driver.is_done());
}

void TestReportFlow::the_end_of_the_loop_lets_all_pass() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 1000);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.turn(kNoLoop);
    QTRY_VERIFY(driver.is_done());
}

void TestReportFlow::a_receiver_that_is_gone_is_waited_for_once() {
    constexpr auto patience = 200ms;
    ReportFlow flow(patience, now);
    start(flow);
    const auto begin = Clock::now();
    const Driver driver(flow, 1000);
    QTRY_VERIFY(driver.is_done());
    QVERIFY(Clock::now() - begin >= patience);
}

void TestReportFlow::a_receiver_that_comes_back_is_waited_for_again_data() {
    QTest::addColumn<bool>("turns");
    QTest::newRow("it turns") << true;
    QTest::newRow("it takes a report") << false;
}

void TestReportFlow::a_receiver_that_comes_back_is_waited_for_again() {
    QFETCH(const bool, turns);
    constexpr auto patience = 200ms;
    ReportFlow flow(patience, now);
    start(flow);
    const Driver without(flow, 2 * ReportFlow::kMostUnderWay);
    QTRY_VERIFY(without.is_done());

    if (turns)
        flow.turn(kLoopRuns);
    else
        take(flow);
    const auto begin = Clock::now();
    const Driver with(flow, 1);
    QTRY_VERIFY(with.is_done());
    QVERIFY(Clock::now() - begin >= patience);
}

void TestReportFlow::a_receiver_that_takes_reports_is_not_gone() {
    constexpr auto patience = 500ms;
    auto longest = ReportFlow::Duration::max();
    while (longest >= patience / 2) { // as when the machine stood still
        ReportFlow flow(patience, now);
        flow.start();
        for (int i = 0; i < 200; ++i)
            flow.admit(); // no loop runs yet
        flow.turn(kLoopRuns);
        const Driver driver(flow, 1);
        longest = 0s;
        const auto begin = Clock::now();
        auto taken = begin;
        bool waits = true;
        while (waits && taken < begin + 3 * patience) {
            take(flow); // of those from before
            waits = driver.waits_after(0);
            const auto now_taken = Clock::now();
            longest = std::max(longest, now_taken - taken);
            taken = now_taken;
        }
        QVERIFY(waits || longest >= patience / 2);
        QTRY_VERIFY(driver.is_done()); // it takes no more
    }
}

void TestReportFlow::a_report_taken_tells_that_the_loop_runs() {
    ReportFlow flow(kLong, now);
    flow.start();
    const Driver before(flow, 1000);
    QTRY_VERIFY(before.is_done());
    take(flow); // in a first turn that has only begun
    const Driver after(flow, 1);
    QVERIFY(after.waits_after(0));
    flow.stop();
}

void TestReportFlow::a_report_taken_tells_that_no_loop_runs() {
    ReportFlow flow(kLong, now);
    start(flow);
    const Driver driver(flow, 1000);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    take(flow, 0s, kNoLoop);
    QTRY_VERIFY(driver.is_done());
}

void TestReportFlow::reports_from_before_the_start_are_not_counted() {
    ReportFlow flow(kLong, now);
    for (int i = 0; i < 100; ++i)
        flow.admit();
    start(flow);
    for (int i = 0; i < 100; ++i)
        take(flow);
    const Driver driver(flow, 100);
    QVERIFY(driver.waits_after(ReportFlow::kMostUnderWay));
    flow.stop();
}

void TestReportFlow::none_is_lost_between_many_threads() {
    constexpr int threads = 6;
    constexpr int each = 2000;
    ReportFlow flow(kLong, now);
    start(flow);
    std::vector<std::unique_ptr<Driver>> drivers;
    for (int i = 0; i < threads; ++i)
        drivers.push_back(std::make_unique<Driver>(flow, each));
    const auto sent = [&drivers] {
        int sum = 0;
        for (const auto& driver : drivers)
            sum += driver->sent();
        return sum;
    };
    int taken = 0;
    QDeadlineTimer deadline(60000);
    while (taken < threads * each && !deadline.hasExpired()) {
        if (sent() > taken) {
            take(flow, taken % 100 == 0 ? ReportFlow::kShare : 0ms);
            ++taken;
        }
        flow.turn(kLoopRuns);
        QVERIFY(sent() - taken <= ReportFlow::kMostUnderWay + threads);
    }
    QCOMPARE(taken, threads * each);
}

QTEST_GUILESS_MAIN(TestReportFlow)
#include "tst_reportflow.moc"
