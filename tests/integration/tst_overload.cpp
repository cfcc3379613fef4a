#include "app/kestrunedialog.h"
#include "hardware/reportflow.h"
#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/board_reports.h"
#include "tests/support/fake_driver.h"
#include "tests/support/no_warnings.h"

#include <QApplication>
#include <QScreen>
#include <QTimer>
#include <QtTest>
#include <atomic>
#include <future>
#include <memory>
#include <thread>

namespace {

constexpr int kDevice = 7;
constexpr int kContacts = 3;
constexpr int kWiderThanTheScreen = 40000; // board units

FakeDriver& driver() {
    return FakeDriver::instance();
}

/// Report n of contacts that go over the board, each as wide as the whole screen.
std::string huge_report(const BoardReports& board, int n) {
    std::string report;
    for (int contact = 0; contact < kContacts; ++contact) {
        const QPoint at(10 + n % 700, 10 + 50 * contact);
        const std::string one = board.touch(contact, at, true, kWiderThanTheScreen);
        report += contact == 0 ? one : one.substr(2); // the header is of the first
    }
    return report;
}

} // namespace

/// Reports of which each takes longer to paint than the driver takes to send the next.
class TestOverload : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void init();
    void cleanup();

    void the_window_goes_on_and_no_report_is_lost_data();
    void the_window_goes_on_and_no_report_is_lost();
    void what_has_come_before_the_loop_leaves_it_its_turns();
    void a_driver_that_waits_for_its_callback_is_not_waited_for();
    void the_end_waits_for_no_report();

private:
    /// Sends huge reports as fast as they are taken, till it is told to stop.
    void start_load();
    void stop_load();
    /// Reports that have come to be painted.
    int taken() const;

    std::unique_ptr<KestruneDialog> m_dialog;
    std::unique_ptr<BoardReports> m_board;
    std::atomic<bool> m_is_over{false};
    std::atomic<int> m_sent{0};
    std::thread m_load;
};

void TestOverload::init() {
    driver().reset();
    driver().set_boards({{kDevice}});
    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    m_board = std::make_unique<BoardReports>(QGuiApplication::primaryScreen()->size());
    m_is_over = false;
    m_sent = 0;
}

void TestOverload::cleanup() {
    stop_load();
    m_dialog.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

void TestOverload::start_load() {
    m_load = std::thread([this] {
        while (!m_is_over) {
            driver().report(huge_report(*m_board, m_sent));
            ++m_sent;
        }
    });
}

void TestOverload::stop_load() {
    m_is_over = true;
    QCoreApplication::processEvents(); // which shows that no loop runs that would be waited for
    if (m_load.joinable())
        m_load.join();
}

int TestOverload::taken() const {
    const auto& state = m_dialog->m_strokes_view->m_id_to_draw_state_map[256];
    return static_cast<int>(state.segments.size());
}

void TestOverload::the_window_goes_on_and_no_report_is_lost_data() {
    QTest::addColumn<bool>("early");
    QTest::newRow("from within the event loop") << false;
    QTest::newRow("from before it") << true;
}

void TestOverload::the_window_goes_on_and_no_report_is_lost() {
    QFETCH(const bool, early);
    constexpr int enough = 5;
    int ticks = 0;
    int timeouts = 0;
    int most_under_way = 0;
    const QObject here; // whose connections end with what they refer to
    connect(m_dialog->m_timer, &QTimer::timeout, &here, [&ticks] { ++ticks; });
    QTimer look;
    connect(&look, &QTimer::timeout, &here, [&] {
        most_under_way = std::max(most_under_way, m_sent - taken());
        if (++timeouts >= enough && ticks >= enough && taken() > 2 * ReportFlow::kMostUnderWay)
            m_dialog->close();
    });
    if (early) {
        start_load();
        QVERIFY(QTest::qWaitFor([this] { return m_sent > 0; }));
    } else {
        QTimer::singleShot(0, m_dialog.get(), [this] { start_load(); });
    }
    look.start(1);
    m_dialog->exec(); // endless where reports are all that it comes to
    stop_load();
    QVERIFY(early || most_under_way <= ReportFlow::kMostUnderWay);

    // Each report has its segment, in its order.
    QTRY_COMPARE(taken(), m_sent.load());
    const auto& segments = m_dialog->m_strokes_view->m_id_to_draw_state_map[256].segments;
    for (std::size_t n = 1; n < segments.size(); ++n)
        QCOMPARE(segments[n].line.p2().x() - segments[n - 1].line.p2().x(),
                 n % 700 == 0 ? -699.0 : 1.0);
}

void TestOverload::what_has_come_before_the_loop_leaves_it_its_turns() {
    constexpr int reports = 200;
    std::thread([this] {
        for (int n = 0; n < reports; ++n)
            driver().report(huge_report(*m_board, n));
    }).join();
    int taken_at_first_tick = -1;
    const QObject here;
    connect(m_dialog->m_timer, &QTimer::timeout, &here, [&] {
        if (taken_at_first_tick < 0)
            taken_at_first_tick = taken();
        if (taken() == reports)
            m_dialog->close();
    });
    m_dialog->exec();
    QVERIFY(taken_at_first_tick < reports);
}

void TestOverload::a_driver_that_waits_for_its_callback_is_not_waited_for() {
    std::atomic<bool> is_in_callback{false};
    driver().on_call = [&is_in_callback](const std::string& name) {
        if (name == "tavelSetTouchDestination") {
            while (is_in_callback)
                std::this_thread::yield();
        }
    };
    bool has_returned = false;
    QTimer::singleShot(0, m_dialog.get(), [&] {
        // More than are let in while this thread is busy, so that the callback waits for it.
        auto sender = std::async(std::launch::async, [&] {
            is_in_callback = true;
            for (int n = 0; n < 2 * ReportFlow::kMostUnderWay; ++n) {
                driver().report(huge_report(*m_board, n));
                ++m_sent;
            }
            is_in_callback = false;
        });
        while (m_sent < ReportFlow::kMostUnderWay)
            std::this_thread::yield();
        m_dialog->m_osterly->configureHardware(false);
        has_returned = true;
        m_dialog->close();
    });
    m_dialog->exec();
    QVERIFY(has_returned);
    driver().on_call = nullptr;
}

void TestOverload::the_end_waits_for_no_report() {
    start_load();
    QTimer look;
    connect(&look, &QTimer::timeout, m_dialog.get(), [this] {
        if (m_sent > 0)
            m_dialog->close();
    });
    look.start(50);
    m_dialog->exec();
    m_dialog.reset();
    stop_load();
    QVERIFY(m_sent > 0);
}

QTEST_MAIN(TestOverload)
#include "tst_overload.moc"
