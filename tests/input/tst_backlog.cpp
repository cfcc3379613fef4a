#include "input/osterly.h"
#include "tests/support/board_reports.h"
#include "tests/support/fake_driver.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

const BoardReports& board() {
    static const BoardReports reports(QSize(1000, 1000));
    return reports;
}

/// Report n is of another kind than n - 1 and tells something new.
std::string report(int n) {
    const QPoint at(100 + n, 100);
    switch (n % 3) {
    case 0:
        return board().pen(0, at, true);
    case 1:
        return board().touch(0, at, true, 100);
    default:
        return board().erase(0, at, true, 100, 100);
    }
}

/// The driver sends reports while this thread stands still, so all of them are queued to it.
void send(int first, int count) {
    std::thread([=] {
        for (int n = first; n < first + count; ++n)
            driver().report(report(n));
    }).join();
}

} // namespace

/// Reports that are queued, to a receiver that takes all of a turn's share for each.
class TestBacklog : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void reports_beyond_a_turns_share_wait_for_the_next_turns();
    void other_work_comes_in_between();
    void fast_reports_come_in_one_turn();
    void a_direct_call_does_not_wait();
    void a_direct_call_within_a_report_does_not_wait();
    void all_are_taken_where_no_loop_runs();
    void a_new_report_does_not_overtake();
    void what_is_left_when_the_loop_ends_is_taken_without_one();
    void it_ends_with_a_backlog();
    void it_can_be_deleted_by_an_event();

private:
    void take(int n);
    /// Runs an event loop that begins with `count` reports in its queue, until all are taken.
    void run_with_queued(int count);
    /// As that; how many the first turn came to.
    std::size_t taken_in_first_turn(int count);

    std::unique_ptr<Osterly> m_osterly;
    std::vector<int> m_taken; ///< the numbers of the reports
    std::function<void()> m_on_report;
    int m_sent = 0; ///< in all tests: what a contact was told last is not news to the next
    bool m_is_slow = true;
    QEventLoop m_loop;
};

void TestBacklog::init() {
    driver().reset();
    driver().set_boards({{7}});
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^QObject::connect")));
    m_osterly = std::make_unique<Osterly>(nullptr);
    m_taken.clear();
    m_on_report = nullptr;
    m_is_slow = true;
    const auto number = [](double x) { return qRound(x * 1000) - 100; };
    const auto take_all = [this, number](std::vector<Osterly::Controls>& records) {
        records[0].accepted = Osterly::kClaimed;
        take(number(records[0].x));
    };
    connect(m_osterly.get(), &Osterly::out_osterly_pen_event, this,
            [this, number](Osterly::Controls& record) {
                record.accepted = Osterly::kClaimed;
                take(number(record.x));
            });
    connect(m_osterly.get(), &Osterly::out_osterly_touch_event, this, take_all);
    connect(m_osterly.get(), &Osterly::out_osterly_erase_event, this, take_all);
}

void TestBacklog::cleanup() {
    m_osterly.reset();
}

void TestBacklog::take(int n) {
    m_taken.push_back(n);
    if (m_is_slow)
        std::this_thread::sleep_for(ReportFlow::kShare);
    if (m_on_report)
        m_on_report();
}

void TestBacklog::run_with_queued(int count) {
    const int first = m_sent;
    send(first, count);
    m_sent += count;
    QTimer look;
    connect(&look, &QTimer::timeout, &m_loop, [this, count] {
        if (static_cast<int>(m_taken.size()) >= count)
            m_loop.quit();
    });
    look.start(1);
    m_loop.exec();
    QCOMPARE(static_cast<int>(m_taken.size()), count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(m_taken[i], first + i);
    // Nothing goes on where nothing is left.
    const auto* const dispatcher = QAbstractEventDispatcher::instance();
    QVERIFY(dispatcher->registeredTimers(m_osterly.get()).isEmpty());
}

std::size_t TestBacklog::taken_in_first_turn(int count) {
    std::size_t taken = 0;
    m_on_report = [&] {
        if (m_taken.size() == 1) // what is queued now comes after all reports
            QMetaObject::invokeMethod(
                this, [&] { taken = m_taken.size(); }, Qt::QueuedConnection);
    };
    run_with_queued(count);
    return taken;
}

void TestBacklog::reports_beyond_a_turns_share_wait_for_the_next_turns() {
    QCOMPARE(taken_in_first_turn(7), std::size_t(1));
}

void TestBacklog::other_work_comes_in_between() {
    std::vector<std::size_t> taken{0}; // at each tick
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&] { taken.push_back(m_taken.size()); });
    ticks.start(1);
    run_with_queued(7);
    for (std::size_t i = 1; i < taken.size(); ++i)
        QVERIFY(taken[i] - taken[i - 1] <= 2); // ticks and reports may change places in a turn
    QVERIFY(taken.back() >= 5);
}

void TestBacklog::fast_reports_come_in_one_turn() {
    m_is_slow = false;
    std::size_t taken = 0;
    while (taken < 7) { // again where the machine was busy with others
        m_taken.clear();
        taken = taken_in_first_turn(7);
    }
}

void TestBacklog::a_direct_call_does_not_wait() {
    std::vector<std::size_t> taken;
    QTimer::singleShot(0, this, [&] {
        for (int i = 0; i < 3; ++i) {
            driver().report(report(m_sent++));
            taken.push_back(m_taken.size());
            // A queued call of another kind comes in between.
            std::thread([] { driver().notice(); }).join();
            QCoreApplication::sendPostedEvents();
        }
        m_loop.quit();
    });
    m_loop.exec();
    QCOMPARE(taken, (std::vector<std::size_t>{1, 2, 3}));
}

void TestBacklog::a_direct_call_within_a_report_does_not_wait() {
    constexpr int queued = 4;
    constexpr int nested = 2; // within each
    bool is_nested = false;
    std::vector<std::size_t> taken; // after each of a queued report's nested ones
    m_on_report = [&] {
        if (std::exchange(is_nested, true))
            return;
        const std::size_t before = m_taken.size();
        for (int i = 0; i < nested; ++i) {
            driver().report(report(m_sent + queued + static_cast<int>(taken.size())));
            taken.push_back(m_taken.size() - before);
        }
        is_nested = false;
        if (taken.size() == queued * nested)
            m_loop.quit();
    };
    send(m_sent, queued);
    m_loop.exec();
    m_sent += queued * (1 + nested);
    QCOMPARE(taken, (std::vector<std::size_t>{1, 2, 1, 2, 1, 2, 1, 2}));
}

void TestBacklog::all_are_taken_where_no_loop_runs() {
    send(m_sent, 7);
    m_sent += 7;
    QCoreApplication::sendPostedEvents();
    QCOMPARE(static_cast<int>(m_taken.size()), 7);
}

void TestBacklog::a_new_report_does_not_overtake() {
    // The driver is let in while this thread is in it: at the second report, in a later turn than
    // that which has put the others off, whose next will begin with the new one.
    bool has_sent = false;
    driver().on_call = [&](const std::string&) {
        if (m_taken.size() == 2 && !has_sent) {
            has_sent = true;
            send(m_sent + 4, 1);
        }
    };
    m_on_report = [this] {
        if (m_taken.size() == 2)
            m_osterly->configureHardware(false);
        if (m_taken.size() == 5)
            m_loop.quit();
    };
    send(m_sent, 4);
    m_loop.exec();
    driver().on_call = nullptr;
    for (const int n : m_taken)
        QCOMPARE(n, m_sent++);
}

void TestBacklog::what_is_left_when_the_loop_ends_is_taken_without_one() {
    m_on_report = [this] { m_loop.quit(); };
    send(m_sent, 4);
    m_loop.exec();
    QCOMPARE(static_cast<int>(m_taken.size()), 1);
    QTRY_COMPARE(static_cast<int>(m_taken.size()), 4);
    for (const int n : m_taken)
        QCOMPARE(n, m_sent++);
}

void TestBacklog::it_ends_with_a_backlog() {
    send(m_sent, 4);
    m_sent += 4;
    m_on_report = [this] { m_loop.quit(); };
    m_loop.exec();
    m_osterly.reset();
    QTest::qWait(20);
    QCOMPARE(static_cast<int>(m_taken.size()), 1);
}

void TestBacklog::it_can_be_deleted_by_an_event() {
    QSignalSpy is_gone(m_osterly.get(), &QObject::destroyed);
    m_osterly.release()->deleteLater();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(is_gone.size(), 1); // the address sanitizer watches what comes after
}

QTEST_MAIN(TestBacklog)
#include "tst_backlog.moc"
