// One raw report of a board: its decoding, its way to an emitted record, and its way from the
// driver's thread across the queue to a painted segment.

#include "app/kestrunedialog.h"
#include "bench/allocations.h"
#include "hardware/tavelhardware.h"
#include "input/osterly.h"
#include "strokes/strokesview.h"

#include <QApplication>
#include <atomic>
#include <benchmark/benchmark.h>
#include <thread>

namespace {

enum Kind { ByPen, ByTouch, ByEraser };

void append_number(QByteArray& report, int value) {
    report.append(static_cast<char>(value & 0xFF));
    report.append(static_cast<char>(value >> 8));
}

/// Report n of a kind, of `contacts` that are down and go over the board.
QByteArray raw_report(Kind kind, int contacts, int n) {
    const auto position = [n](int contact) { return 4000 + (n * 37 + contact * 2500) % 24000; };
    QByteArray report;
    if (kind == ByPen) {
        report.append("\x08\x21\x00", 3);
        append_number(report, position(0));
        append_number(report, position(0));
        report.append('\x01');
        return report;
    }
    report.append('\x00');
    report.append(kind == ByTouch ? '\x45' : '\x46');
    for (int i = 0; i < contacts; ++i) {
        report.append(static_cast<char>(0x80 | i));
        append_number(report, position(i));
        append_number(report, position(i));
        append_number(report, 60);
        if (kind == ByEraser)
            append_number(report, 90);
    }
    return report;
}

/// Enough different reports that none repeats the one before, nor do they all look alike.
std::vector<QByteArray> raw_reports(const benchmark::State& state) {
    std::vector<QByteArray> reports;
    for (int n = 0; n < 512; ++n)
        reports.push_back(
            raw_report(static_cast<Kind>(state.range(0)), static_cast<int>(state.range(1)), n));
    return reports;
}

const QByteArray& next(const std::vector<QByteArray>& reports, std::size_t& n) {
    return reports[n++ % reports.size()];
}

void send(const QByteArray& report, TavelHardware* hardware) {
    TavelHardware::processPacketCallback(1, reinterpret_cast<const uchar*>(report.constData()),
                                         static_cast<unsigned>(report.size()), hardware);
}

void count_bytes(benchmark::State& state, std::size_t before) {
    state.counters["bytes_allocated"] = benchmark::Counter(
        static_cast<double>(allocated_bytes() - before), benchmark::Counter::kAvgIterations);
}

void decode(benchmark::State& state) {
    const std::vector<QByteArray> reports = raw_reports(state);
    std::size_t n = 0;
    const std::size_t before = allocated_bytes();
    for (auto _ : state) {
        const QByteArray& report = next(reports, n);
        TavelHardware::PenEvent pen;
        TavelHardware::TouchEvent touch;
        TavelHardware::EraseEvent erase;
        if (TavelHardware::isPenPacket(report))
            TavelHardware::getPenData(report, pen);
        else if (TavelHardware::isTouchPacket(report))
            TavelHardware::getTouchData(report, touch);
        else
            TavelHardware::getEraseData(report, erase);
        benchmark::DoNotOptimize(pen);
        benchmark::DoNotOptimize(touch);
        benchmark::DoNotOptimize(erase);
    }
    count_bytes(state, before);
}

void claim(Osterly::Controls& record) {
    record.accepted |= Osterly::kClaimed;
}

void claim_all(std::vector<Osterly::Controls>& contacts) {
    for (Osterly::Controls& record : contacts)
        claim(record);
}

/// In one thread, so that nothing is queued.
void callback_to_record(benchmark::State& state) {
    const std::vector<QByteArray> reports = raw_reports(state);
    Osterly osterly(nullptr);
    QObject::connect(&osterly, &Osterly::out_osterly_pen_event, &osterly, claim);
    QObject::connect(&osterly, &Osterly::out_osterly_touch_event, &osterly, claim_all);
    QObject::connect(&osterly, &Osterly::out_osterly_erase_event, &osterly, claim_all);
    std::size_t n = 0;
    const std::size_t before = allocated_bytes();
    for (auto _ : state)
        send(next(reports, n), osterly.hardware);
    count_bytes(state, before);
}

/// A driver's thread sends as fast as the GUI thread takes: what it sustains are the items a
/// second.
void callback_to_painted(benchmark::State& state) {
    constexpr int burst = 256;
    const std::vector<QByteArray> reports = raw_reports(state);
    KestruneDialog dialog(nullptr);
    dialog.m_strokes_view->m_info_tags = false;
    QApplication::setActiveWindow(&dialog);
    QApplication::processEvents();
    int received = 0;
    const auto count = [&received] { ++received; };
    QObject::connect(dialog.m_osterly.get(), &Osterly::out_osterly_pen_event, &dialog, count);
    QObject::connect(dialog.m_osterly.get(), &Osterly::out_osterly_touch_event, &dialog, count);
    QObject::connect(dialog.m_osterly.get(), &Osterly::out_osterly_erase_event, &dialog, count);

    std::atomic<int> wanted{0};
    std::thread driver([&] {
        std::size_t n = 0;
        int sent = 0;
        while (wanted >= 0) {
            if (sent < wanted) {
                send(next(reports, n), dialog.m_osterly->hardware);
                ++sent;
            } else {
                std::this_thread::yield();
            }
        }
    });
    const std::size_t before = allocated_bytes();
    for (auto _ : state) {
        received = 0;
        wanted += burst;
        while (received < burst)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    state.SetItemsProcessed(state.iterations() * burst);
    state.counters["bytes_allocated"] = static_cast<double>(allocated_bytes() - before) /
                                        (static_cast<double>(state.iterations()) * burst);
    wanted = -1;
    driver.join();
}

void kinds(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"kind", "contacts"})
        ->Args({ByPen, 1})
        ->Args({ByTouch, 1})
        ->Args({ByTouch, 10})
        ->Args({ByEraser, 2});
}

} // namespace

BENCHMARK(decode)->Apply(kinds);
BENCHMARK(callback_to_record)->Apply(kinds);
BENCHMARK(callback_to_painted)->Apply(kinds)->UseRealTime()->Unit(benchmark::kMicrosecond);
