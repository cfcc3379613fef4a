#include "tools/trace/recording.h"

#include "tests/support/board_reports.h"
#include "tests/support/trace_registry.h"

#include <QtTest>
#include <atomic>
#include <thread>

namespace {

const BoardReports kBoard(QSize(32768, 32768));
constexpr int kReports = 2000;
constexpr int kThreads = 4;

void send(TavelHardware& hardware, const std::string& bytes) {
    TavelHardware::processPacketCallback(1, reinterpret_cast<const unsigned char*>(bytes.data()),
                                         static_cast<unsigned int>(bytes.size()), &hardware);
}

} // namespace

class TestRecordingThreads : public QObject {
    Q_OBJECT

private slots:
    void reports_of_several_threads_are_recorded_while_another_asks();
    void a_report_is_recorded_before_its_callback_returns();
};

void TestRecordingThreads::reports_of_several_threads_are_recorded_while_another_asks() {
    forget_trace();
    TavelHardware hardware(nullptr);
    const Recording recording(hardware);
    std::atomic<bool> ends{false};
    std::uint64_t asked = 0;
    std::thread asking([&] {
        while (!ends) {
            const std::uint64_t reports = recording.progress().reports;
            if (reports < asked || recording.summary().kinds.size() != 3)
                qFatal("reports have got lost");
            asked = reports;
        }
    });
    std::vector<std::thread> drivers;
    for (int thread = 0; thread < kThreads; ++thread) {
        drivers.emplace_back([&hardware, thread] {
            for (int i = 1; i <= kReports; ++i) {
                send(hardware, kBoard.pen(thread, {i, i}, i < kReports));
                send(hardware, kBoard.touch(3, {i, thread}, true, i));
                send(hardware, kBoard.erase(thread, {i, i}, true, i, i));
            }
        });
    }
    for (std::thread& driver : drivers)
        driver.join();
    ends = true;
    asking.join();

    const Summary summary = recording.summary();
    for (const KindSummary& kind : summary.kinds)
        QCOMPARE(kind.figures.reports, std::uint64_t{kThreads * kReports});
    QCOMPARE(summary.kinds[1].contacts.size(), std::size_t{1});
    for (int thread = 0; thread < kThreads; ++thread) {
        const auto x = traced_values(contactName(ContactKind::Pen, thread) + "_x");
        QCOMPARE(x.size(), std::size_t{kReports});
        for (int i = 1; i <= kReports; ++i)
            QCOMPARE(x[static_cast<std::size_t>(i - 1)], double(i));
    }
}

void TestRecordingThreads::a_report_is_recorded_before_its_callback_returns() {
    forget_trace();
    TavelHardware hardware(nullptr);
    const Recording recording(hardware);
    std::uint64_t reports = 0;
    std::thread([&] {
        send(hardware, kBoard.pen(0, {1, 2}, true));
        reports = recording.progress().reports;
    }).join();
    QCOMPARE(reports, std::uint64_t{1});
}

QTEST_APPLESS_MAIN(TestRecordingThreads)
#include "tst_recording_threads.moc"
