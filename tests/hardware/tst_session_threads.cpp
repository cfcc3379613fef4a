#include "hardware/tavelhardware.h"
#include "tests/support/fake_driver.h"

#include <QtTest>
#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

const std::string kPen("\x08\x21\x00\x01\x02\x03\x04\x09", 8);
const std::string kTouch("\x09\x45\x81\x01\x02\x03\x04\x05\x06", 9);
const std::string kErase("\x0b\x46\x81\x01\x02\x03\x04\x05\x06\x07\x08", 11);

/// Counts signals on the threads that emit them.
struct Counts {
    std::atomic<int> notices{0};
    std::atomic<int> enumerations{0};
    std::atomic<int> reports{0};

    explicit Counts(TavelHardware& hardware) {
        const auto direct = Qt::DirectConnection;
        QObject::connect(
            &hardware, &TavelHardware::pnpEvent, &hardware, [this] { ++notices; }, direct);
        QObject::connect(
            &hardware, &TavelHardware::deviceEnumCount, &hardware, [this](int) { ++enumerations; },
            direct);
        QObject::connect(
            &hardware, &TavelHardware::penEvent, &hardware,
            [this](const TavelHardware::PenEvent&) { ++reports; }, direct);
        QObject::connect(
            &hardware, &TavelHardware::touchEvent, &hardware,
            [this](const TavelHardware::TouchEvent&) { ++reports; }, direct);
        QObject::connect(
            &hardware, &TavelHardware::eraseEvent, &hardware,
            [this](const TavelHardware::EraseEvent&) { ++reports; }, direct);
    }
};

/// Threads that do something over and over until they are told to stop.
class Storm {
public:
    ~Storm() { stop(); }

    template <typename Function>
    void add(int threads, Function function) {
        for (int i = 0; i < threads; ++i) {
            m_threads.emplace_back([this, function] {
                while (!m_stop)
                    function();
            });
        }
    }

    void stop() {
        m_stop = true;
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
    }

private:
    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

void set_everything(TavelHardware& hardware) {
    hardware.setPenHardwareMode(0, TavelHardware::PenHardwareMode::Standard);
    hardware.setPenReportMode(1, TavelHardware::PenReportMode::On);
    hardware.setTouchReportMode(TavelHardware::TouchReportMode::On);
    hardware.setEraseReportMode(TavelHardware::EraseReportMode::On);
    hardware.getTouchStatus(7);
    hardware.redirectPenEvent({1, 2, 3, true, false, false});
    hardware.redirectTouchEvent({{1, 2, 3, 4, true}});
}

} // namespace

class TestSessionThreads : public QObject {
    Q_OBJECT

private slots:
    void init();
    void notices_on_several_threads_get_a_pass_each();
    void passes_do_not_overlap();
    void a_notice_during_the_first_enumeration_gets_its_pass();
    void boards_are_published_when_the_pass_has_found_them_all();
    void a_pass_runs_beside_settings_hand_backs_and_reports();
    void no_lock_is_held_while_a_receiver_runs();
    void ten_threads_report_at_once();
    void callbacks_come_while_the_session_ends();
};

void TestSessionThreads::init() {
    driver().reset();
    driver().set_boards({{7}, {8}});
    driver().keeps_log = false;
}

void TestSessionThreads::notices_on_several_threads_get_a_pass_each() {
    constexpr int threads = 6;
    constexpr int notices = 25;
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    const Counts counts(hardware);
    std::vector<std::thread> storm;
    for (int i = 0; i < threads; ++i) {
        storm.emplace_back([] {
            for (int n = 0; n < notices; ++n)
                driver().notice();
        });
    }
    for (std::thread& thread : storm)
        thread.join();
    // The thread that ran the last pass has joined, so all have run.
    QCOMPARE(counts.notices.load(), threads * notices);
    QCOMPARE(counts.enumerations.load(), threads * notices);
    QCOMPARE(driver().subscriptions().size(), std::size_t(2));
}

void TestSessionThreads::passes_do_not_overlap() {
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::atomic<int> passes{0};
    QObject::connect(
        &hardware, &TavelHardware::pnpEvent, &hardware,
        [&] {
            most = std::max(most.load(), ++inside);
            std::this_thread::yield();
        },
        Qt::DirectConnection);
    QObject::connect(
        &hardware, &TavelHardware::deviceEnumCount, &hardware,
        [&](int) {
            --inside;
            ++passes;
        },
        Qt::DirectConnection);
    std::vector<std::thread> storm;
    for (int i = 0; i < 4; ++i) {
        storm.emplace_back([] {
            for (int n = 0; n < 25; ++n)
                driver().notice();
        });
    }
    for (std::thread& thread : storm)
        thread.join();
    QCOMPARE(passes.load(), 100);
    QCOMPARE(most.load(), 1);
}

void TestSessionThreads::a_notice_during_the_first_enumeration_gets_its_pass() {
    TavelHardware hardware(nullptr);
    const Counts counts(hardware);
    std::atomic<bool> first{true};
    driver().on_call = [&first](const std::string& name) {
        // The driver does not go on before its notice has been taken.
        if (name == "tavelEnumDeviceInfo" && first.exchange(false))
            std::thread([] { driver().notice(); }).join();
    };
    QVERIFY(hardware.init());
    QCOMPARE(counts.notices.load(), 1);
    QCOMPARE(counts.enumerations.load(), 2);
    QCOMPARE(driver().subscriptions().size(), std::size_t(2));
    driver().on_call = nullptr;
}

void TestSessionThreads::boards_are_published_when_the_pass_has_found_them_all() {
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    std::promise<void> half;
    std::promise<void> go_on;
    int boards = 0;
    std::atomic<int> reached{0};
    driver().on_call = [&](const std::string& name) {
        if (name == "tavelSetTouchDestination")
            ++reached;
        if (name == "tavelEnumDeviceInfo" && ++boards == 2) {
            half.set_value();
            go_on.get_future().wait();
        }
    };
    std::thread pass([] { driver().notice(); });
    half.get_future().wait();
    hardware.setTouchReportMode(TavelHardware::TouchReportMode::On);
    QCOMPARE(reached.load(), 0);
    go_on.set_value();
    pass.join();
    hardware.setTouchReportMode(TavelHardware::TouchReportMode::On);
    QCOMPARE(reached.load(), 2);
    driver().on_call = nullptr;
}

void TestSessionThreads::a_pass_runs_beside_settings_hand_backs_and_reports() {
    constexpr int rounds = 100;
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    const Counts counts(hardware);
    Storm storm;
    storm.add(2, [] { driver().notice(); });
    storm.add(1, [] {
        driver().report(kPen);
        driver().report(kTouch);
        driver().report(kErase);
    });
    for (int i = 0; i < rounds || counts.notices < 20 || counts.reports < 20; ++i)
        set_everything(hardware);
    storm.stop();
    QCOMPARE(counts.notices.load(), counts.enumerations.load());
}

void TestSessionThreads::no_lock_is_held_while_a_receiver_runs() {
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    std::atomic<int> calls{0};
    QObject::connect(
        &hardware, &TavelHardware::pnpEvent, &hardware,
        [&] {
            std::thread([&] {
                set_everything(hardware);
                driver().notice();
                driver().report(kPen);
                ++calls;
            }).join();
        },
        Qt::DirectConnection);
    int notices = 0;
    driver().on_call = [&](const std::string& name) {
        if (name == "tavelAttach" && notices++ == 0) {
            std::thread([&] {
                set_everything(hardware);
                ++calls;
            }).join();
        }
    };
    // Each pass begets another by its receiver, until the session ends.
    std::thread pass([] { driver().notice(); });
    while (calls < 5)
        std::this_thread::yield();
    hardware.uninit();
    pass.join();
    driver().on_call = nullptr;
}

void TestSessionThreads::ten_threads_report_at_once() {
    constexpr int threads = 10;
    constexpr int reports = 200;
    TavelHardware hardware(nullptr);
    QVERIFY(hardware.init());
    const Counts counts(hardware);
    std::vector<std::thread> all;
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([] {
            for (int n = 0; n < reports; ++n)
                driver().report(n % 2 == 0 ? kTouch : kErase);
        });
    }
    for (std::thread& thread : all)
        thread.join();
    QCOMPARE(counts.reports.load(), threads * reports * 2); // two boards
}

void TestSessionThreads::callbacks_come_while_the_session_ends() {
    TavelHardware keeps_the_library(nullptr);
    QVERIFY(keeps_the_library.initialiseTavelWrapper());
    for (int round = 0; round < 20; ++round) {
        auto hardware = std::make_unique<TavelHardware>(nullptr);
        QVERIFY(hardware->init());
        auto counts = std::make_unique<Counts>(*hardware);
        Storm storm;
        storm.add(2, [] {
            driver().notice();
            driver().notice(true);
        });
        storm.add(3, [] {
            driver().report(kPen);
            driver().report(kTouch, true);
        });
        while (counts->reports < 10 || counts->notices < 3)
            std::this_thread::yield();
        if (round % 2 == 0)
            hardware->uninit();
        hardware.reset();
        counts.reset(); // nothing counts any more
        storm.stop();
        driver().reset();
        driver().set_boards({{7}, {8}});
        driver().keeps_log = false;
    }
}

QTEST_GUILESS_MAIN(TestSessionThreads)
#include "tst_session_threads.moc"
