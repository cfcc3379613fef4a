// The program's start to its first painted frame, against a full-screen dialog of the same toolkit
// that only draws the help card's text. Each start is a process of its own.

#include "app/kestrunedialog.h"
#include "bench/ratio.h"
#include "strokes/strokesview.h"
#include "tests/strokes/cards.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Shows the help and nothing else.
class HelpDialog : public QDialog {
public:
    HelpDialog() { showFullScreen(); }

protected:
    void paintEvent(QPaintEvent*) override {
        const QFont font = serif_font();
        const int line_height = QFontMetrics(font).height();
        QPainterPath text;
        int k = 0;
        for (const char* const line : kHelp)
            text.addText(0.0, ++k * line_height, font, QString::fromLatin1(line));
        QPainter painter(this);
        painter.fillRect(rect(), Qt::white);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(text, Qt::black);
    }
};

/// Ends the process as soon as a widget has been painted, without what comes at an end.
class EndOfStart : public QObject {
public:
    explicit EndOfStart(QWidget* widget) { widget->installEventFilter(this); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Paint)
            return false;
        watched->removeEventFilter(this);
        QCoreApplication::sendEvent(watched, event);
        std::_Exit(0);
    }
};

[[noreturn]] void start(bool ours) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::array<char*, 2> argv{};
    char name[] = "start";
    argv[0] = name;
    int argc = 1;
    const QApplication application(argc, argv.data());
    if (ours) {
        KestruneDialog dialog(nullptr);
        const EndOfStart end(dialog.m_strokes_view);
        dialog.exec();
    } else {
        HelpDialog dialog;
        const EndOfStart end(&dialog);
        dialog.exec();
    }
    std::_Exit(1);
}

struct Cost {
    double wall_s = 0.0;
    double processor_s = 0.0;
};

double seconds_of(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

/// Of a process that is started anew, loading and all.
Cost cost_of_start(const char* side) {
    const double begin = ratio::seconds(ratio::Clock::Wall);
    const pid_t child = fork();
    if (child == 0) {
        // For what the program says of missing boards.
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        execl("/proc/self/exe", "bench_start", side, nullptr);
        _exit(1);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0)
        std::abort();
    return {ratio::seconds(ratio::Clock::Wall) - begin,
            seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime)};
}

} // namespace

int main(int argc, char** argv) {
    const std::string side = argc == 2 ? argv[1] : "";
    if (side == "ours" || side == "other")
        start(side == "ours");

    const ratio::Report report(argc, argv);
    ratio::Sides wall;
    ratio::Sides processor;
    for (int i = 0; i < report.count(31); ++i) {
        const Cost ours = cost_of_start("ours");
        const Cost other = cost_of_start("other");
        wall.ours.push_back(ours.wall_s);
        wall.other.push_back(other.wall_s);
        processor.ours.push_back(ours.processor_s);
        processor.other.push_back(other.processor_s);
    }
    const ratio::Target target = ratio::at_most(1.15);
    report.times("11", "start to the first frame, wall time", wall, target);
    report.times("11", "start to the first frame, processor time", processor, target);
}
