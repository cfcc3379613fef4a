#include "trace/vcd.h"

#include <QtTest>
#include <atomic>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr int kThreads = 8;

// All threads at once, as near as a gate can make it.
template <typename Work>
void run_in_threads(Work work) {
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&waiting, &work, thread] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            work(thread);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

class TestVcdThreads : public QObject {
    Q_OBJECT

private slots:
    void threads_that_name_the_same_signals_get_the_same_numbers();
    void no_update_of_a_shared_signal_is_lost();
    void signals_of_different_threads_do_not_mix();
    void recording_waits_for_the_mutex_data();
    void recording_waits_for_the_mutex();
    void writing_does_not_take_the_mutex();
};

void TestVcdThreads::threads_that_name_the_same_signals_get_the_same_numbers() {
    constexpr int kSignals = 500;
    const std::uint32_t first = Vcd::m_next_id;
    std::vector<std::vector<std::uint32_t>> ids(kThreads);
    run_in_threads([&ids](int thread) {
        for (int i = 0; i < kSignals; ++i)
            ids[thread].push_back(Vcd("named " + std::to_string(i), i).id);
    });
    QCOMPARE(Vcd::m_next_id, first + kSignals);
    QCOMPARE(std::set<std::uint32_t>(ids[0].begin(), ids[0].end()).size(), std::size_t(kSignals));
    for (int i = 0; i < kSignals; ++i) {
        const std::uint32_t id = ids[0][i];
        for (const std::vector<std::uint32_t>& others : ids)
            QCOMPARE(others[i], id);
        const std::string name = "named " + std::to_string(i);
        QCOMPARE(Vcd::m_id_to_name_map[id], name);
        QCOMPARE(Vcd::m_name_to_id_map[name], id);
        QCOMPARE(Vcd::m_id_to_changes_map[id].size(), std::size_t(1));
    }
}

void TestVcdThreads::no_update_of_a_shared_signal_is_lost() {
    constexpr int kUpdates = 5000;
    run_in_threads([](int thread) {
        Vcd signal("shared", -1);
        for (int i = 0; i < kUpdates; ++i)
            signal.update(i * kThreads + thread); // no two of them alike
    });
    const auto& changes = Vcd::m_id_to_changes_map[Vcd("shared", -2).id];
    std::vector<int> next(kThreads, 0);
    std::size_t starts = 0;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (i > 0)
            QVERIFY(changes[i].time > changes[i - 1].time);
        if (changes[i].value < 0) {
            ++starts;
            continue;
        }
        const int value = int(changes[i].value);
        QCOMPARE(value / kThreads, next[value % kThreads]++);
    }
    for (int count : next)
        QCOMPARE(count, kUpdates);
    QCOMPARE(changes.size(), kThreads * kUpdates + starts);
}

void TestVcdThreads::signals_of_different_threads_do_not_mix() {
    constexpr int kUpdates = 3000;
    std::vector<std::uint32_t> ids(kThreads);
    run_in_threads([&ids](int thread) {
        Vcd signal("own " + std::to_string(thread), thread);
        ids[thread] = signal.id;
        for (int i = 1; i <= kUpdates; ++i) {
            signal.update(i * kThreads + thread);
            signal.update(i * kThreads + thread);
        }
    });
    for (int thread = 0; thread < kThreads; ++thread) {
        const auto& changes = Vcd::m_id_to_changes_map[ids[thread]];
        QCOMPARE(changes.size(), std::size_t(kUpdates + 1));
        for (int i = 0; i <= kUpdates; ++i) {
            QCOMPARE(changes[i].value, double(i * kThreads + thread));
            QCOMPARE(changes[i].id, ids[thread]);
        }
    }
}

void TestVcdThreads::recording_waits_for_the_mutex_data() {
    QTest::addColumn<QByteArray>("what");
    QTest::newRow("a changed value") << QByteArray("changed");
    QTest::newRow("an unchanged value") << QByteArray("unchanged");
    QTest::newRow("a new signal") << QByteArray("new");
}

void TestVcdThreads::recording_waits_for_the_mutex() {
    QFETCH(const QByteArray, what);
    Vcd signal("waiting", 0);
    signal.update(1);
    std::unique_lock lock(Vcd::m_mutex);
    auto done = std::async(std::launch::async, [&signal, &what] {
        if (what == "new")
            Vcd("waiting, new", 1);
        else
            signal.update(what == "changed" ? 2 : 1);
    });
    // That something does not happen can only be seen for a while.
    QVERIFY(done.wait_for(50ms) == std::future_status::timeout);
    lock.unlock();
    QVERIFY(done.wait_for(60s) == std::future_status::ready);
}

void TestVcdThreads::writing_does_not_take_the_mutex() {
    const Vcd signal("written", 1);
    std::unique_lock lock(Vcd::m_mutex);
    auto done = std::async(std::launch::async, [] { Vcd::write_vcd("/dev/null"); });
    const std::future_status status = done.wait_for(60s);
    lock.unlock();
    QVERIFY(status == std::future_status::ready);
}

QTEST_GUILESS_MAIN(TestVcdThreads)
#include "tst_vcd_threads.moc"
