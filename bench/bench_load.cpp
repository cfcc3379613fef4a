// A busy board: four pens, ten fingers and two erasers with 200 reports a second each kind, played
// by the simulated driver to the program's own dialog on a screen of 3840x2160 pixels. How many
// reports are lost, and how many ticks are late. Each repetition is a process of its own, since a
// driver plays once.

#include "app/kestrunedialog.h"
#include "bench/offscreen.h"
#include "bench/ratio.h"
#include "bench/rawreports.h"
#include "strokes/strokesview.h"
#include "tests/app/given_screen.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kPens = 4;
constexpr int kTouches = 10;
constexpr int kErasers = 2;
constexpr double kSecond_ns = 1e9;
constexpr double kInterval_ns = kSecond_ns / 200;
constexpr double kStart_ns = kSecond_ns / 2; // when the program is ready
constexpr double kFrame_s = 0.016;
constexpr QSize kScreen(3840, 2160);

raw::Point position(int contact, int n) {
    return {2000 + 2000 * contact + n * 37 % 1500, 4000 + n * (20 + contact) % 24000};
}

std::vector<raw::Point> positions(int count, int first, int n) {
    std::vector<raw::Point> all;
    for (int i = 0; i < count; ++i)
        all.push_back(position(first + i, n));
    return all;
}

class Capture {
public:
    explicit Capture(const std::string& name) : m_file(name) {
        m_file << "kestrune-capture 1\n"
               << "0 plug 1 1 \"hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<0>\"\n";
    }

    void add(double time_ns, const QByteArray& report) {
        m_file << static_cast<long long>(time_ns) << " report 1 " << report.toHex().constData()
               << '\n';
        ++m_reports;
    }
    int reports() const { return m_reports; }

private:
    std::ofstream m_file;
    int m_reports = 0;
};

/// \return the number of reports
int write_capture(const std::string& name, int reports_a_kind) {
    Capture capture(name);
    for (int n = 0; n < reports_a_kind; ++n) {
        const double time_ns = kStart_ns + n * kInterval_ns;
        for (int pen = 0; pen < kPens; ++pen)
            capture.add(time_ns, raw::pen(pen, position(pen, n)));
        capture.add(time_ns, raw::touches(positions(kTouches, kPens, n), 100));
        capture.add(time_ns, raw::erasers(positions(kErasers, kPens + kTouches, n), 200, 300));
    }
    return capture.reports();
}

/// Takes the time of each of a dialog's ticks, with the paint that it asks for.
class TickTimer : public QObject {
public:
    explicit TickTimer(KestruneDialog& dialog) : m_timer(dialog.m_timer), m_dialog(&dialog) {
        m_timer->installEventFilter(this);
        m_dialog->installEventFilter(this);
    }

    int ticks() const { return m_ticks; }
    int late() const { return m_late + (m_work_s > kFrame_s ? 1 : 0); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        const bool is_tick = watched == m_timer && event->type() == QEvent::Timer;
        const bool is_paint = watched == m_dialog && event->type() == QEvent::UpdateRequest;
        if (m_is_inside || !(is_tick || is_paint))
            return false;
        if (is_tick) {
            m_late = late();
            m_work_s = 0.0;
            ++m_ticks;
        }
        m_is_inside = true;
        m_work_s +=
            ratio::time(ratio::Clock::Wall, [&] { QCoreApplication::sendEvent(watched, event); });
        m_is_inside = false;
        return true;
    }

private:
    QTimer* m_timer;
    KestruneDialog* m_dialog;
    bool m_is_inside = false;
    double m_work_s = 0.0; ///< of the last tick
    int m_ticks = 0;
    int m_late = 0; ///< without the last one
};

struct Counts {
    int delivered = 0;
    int ticks = 0;
    int late = 0;
};

Counts play(int reports, double seconds) {
    const OffscreenApplication application;
    const GivenScreen screen(QRect(QPoint(0, 0), kScreen));
    KestruneDialog dialog(nullptr);
    dialog.showNormal(); // full screen it would be as small as the platform's screen
    dialog.setGeometry(QRect(QPoint(0, 0), kScreen));
    QApplication::setActiveWindow(&dialog);
    Counts counts;
    const auto count = [&counts] { ++counts.delivered; };
    const TavelHardware* const hardware = dialog.m_osterly->hardware;
    QObject::connect(hardware, &TavelHardware::penEvent, &dialog, count);
    QObject::connect(hardware, &TavelHardware::touchEvent, &dialog, count);
    QObject::connect(hardware, &TavelHardware::eraseEvent, &dialog, count);
    const TickTimer ticks(dialog);
    const double end = ratio::seconds(ratio::Clock::Wall) + seconds;
    while (counts.delivered < reports && ratio::seconds(ratio::Clock::Wall) < end)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (dialog.m_strokes_view->items().size() != kPens + kTouches + kErasers)
        counts.delivered = 0; // it was not what the board's contacts ought to do
    counts.ticks = ticks.ticks();
    counts.late = ticks.late();
    return counts;
}

/// `play` in a process that finds the simulated driver.
Counts play_anew(const std::string& capture, int reports, double seconds) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        std::abort();
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        setenv("LD_LIBRARY_PATH", KESTRUNE_SIMULATED_FOLDER, 1);
        setenv("KESTRUNE_CAPTURE", capture.c_str(), 1);
        execl("/proc/self/exe", "bench_load", "play", std::to_string(reports).c_str(),
              std::to_string(seconds).c_str(), nullptr);
        _exit(1);
    }
    close(ends[1]);
    std::string output;
    char part[256];
    for (ssize_t size = 0; (size = read(ends[0], part, sizeof part)) > 0;)
        output.append(part, static_cast<std::size_t>(size));
    close(ends[0]);
    waitpid(child, nullptr, 0);
    Counts counts;
    const std::size_t at = output.rfind("counts ");
    if (at == std::string::npos || std::sscanf(output.c_str() + at, "counts %d %d %d",
                                               &counts.delivered, &counts.ticks, &counts.late) != 3)
        std::abort();
    return counts;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string(argv[1]) == "play") {
        const Counts counts = play(std::atoi(argv[2]), std::atof(argv[3]));
        std::printf("counts %d %d %d\n", counts.delivered, counts.ticks, counts.late);
        return 0;
    }

    const ratio::Report report(argc, argv);
    const std::string capture =
        (std::filesystem::temp_directory_path() / ("bench_load." + std::to_string(getpid())))
            .string();
    const int reports_a_kind = report.count(600, 20);
    const int reports = write_capture(capture, reports_a_kind);
    const double enough_s = 10.0 + (kStart_ns + reports_a_kind * kInterval_ns) / kSecond_ns;
    std::vector<double> lost;
    std::vector<double> late;
    std::vector<double> ticks;
    for (int i = 0; i < report.count(7); ++i) {
        const Counts counts = play_anew(capture, reports, enough_s);
        lost.push_back(reports - counts.delivered);
        late.push_back(counts.late);
        ticks.push_back(counts.ticks);
    }
    std::filesystem::remove(capture);
    const auto text = [](const std::vector<double>& counts) {
        return std::to_string(static_cast<int>(ratio::median(counts)));
    };
    report.row("10", "a busy board's reports that are lost", text(lost) + " lost",
               std::to_string(reports) + " sent", ratio::median(lost) / reports,
               ratio::at_most(0.0));
    report.row("10", "ticks whose work takes more than 16 ms", text(late) + " late",
               text(ticks) + " ticks", ratio::median(late) / ratio::median(ticks),
               ratio::at_most(0.0));
}
