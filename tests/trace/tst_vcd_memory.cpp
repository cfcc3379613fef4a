#include "trace/vcd.h"

#include <QtTest>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <string>
#include <vector>

namespace {

std::atomic<std::size_t> g_used{0};
std::atomic<std::size_t> g_peak{0};

constexpr std::size_t kBookkeeping = sizeof(std::size_t); // of the allocator, for each piece

} // namespace

void* operator new(std::size_t size) {
    void* const piece = std::malloc(size);
    if (!piece)
        std::abort();
    g_used += malloc_usable_size(piece) + kBookkeeping;
    g_peak = std::max(g_peak.load(), g_used.load());
    return piece;
}

void operator delete(void* piece) noexcept {
    if (piece)
        g_used -= malloc_usable_size(piece) + kBookkeeping;
    std::free(piece);
}

void operator delete(void* piece, std::size_t) noexcept {
    operator delete(piece);
}

class TestVcdMemory : public QObject {
    Q_OBJECT

private slots:
    void recording_and_writing_need_little_more_than_the_changes_data();
    void recording_and_writing_need_little_more_than_the_changes();
    void unchanged_values_need_nothing();
};

void TestVcdMemory::recording_and_writing_need_little_more_than_the_changes_data() {
    QTest::addColumn<int>("signal_count");
    QTest::addColumn<int>("change_count");
    // On both sides of a power of two, where an array that doubles looks best and worst.
    for (int signal_count : {1, 100}) {
        for (int change_count : {2000000, 2200000})
            QTest::addRow("%d changes of %d signals", change_count, signal_count)
                << signal_count << change_count;
    }
    QTest::newRow("many short signals") << 10000 << 600000;
}

void TestVcdMemory::recording_and_writing_need_little_more_than_the_changes() {
    QFETCH(const int, signal_count);
    QFETCH(const int, change_count);
    Vcd::m_id_to_changes_map.clear();

    std::vector<Vcd> signals_;
    for (int i = 0; i < signal_count; ++i)
        signals_.emplace_back(std::to_string(i), -1);
    Vcd::m_id_to_changes_map.clear();

    const std::size_t before = g_used;
    g_peak = before;
    for (int i = 0; i < change_count; ++i)
        signals_[i % signal_count].update(i);
    Vcd::write_vcd("/dev/null");
    const double peak = double(g_peak - before) / change_count;
    qInfo("%.1f bytes a change", peak);
    QVERIFY2(peak <= 40.0, "the peak is too high");
    QVERIFY2(peak >= 24.0, "the changes themselves have not been counted");
    QCOMPARE(Vcd::m_id_to_changes_map[signals_[0].id].size(),
             std::size_t(change_count / signal_count));
}

void TestVcdMemory::unchanged_values_need_nothing() {
    Vcd signal("unchanged", 1);
    g_peak = g_used.load();
    const std::size_t before = g_peak;
    for (int i = 0; i < 100000; ++i)
        signal.update(1);
    QCOMPARE(std::size_t(g_peak), before);
}

QTEST_GUILESS_MAIN(TestVcdMemory)
#include "tst_vcd_memory.moc"
