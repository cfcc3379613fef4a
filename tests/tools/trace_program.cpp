#include "tests/tools/trace_program.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QRegularExpression>
#include <QThread>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kPatience_ms = 60000; // under sanitizers on a machine that is busy

} // namespace

Terminal::Terminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
    if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
        qFatal("there is no terminal");
}

Terminal::~Terminal() {
    ::close(m_master);
}

QString Terminal::path() const {
    return QString::fromLatin1(::ptsname(m_master));
}

QByteArray Terminal::text() {
    char part[4096];
    for (;;) {
        const auto size = ::read(m_master, part, sizeof part);
        if (size <= 0)
            return m_text;
        m_text.append(part, static_cast<int>(size));
    }
}

TraceProgram::TraceProgram() : m_environment(QProcessEnvironment::systemEnvironment()) {
    for (const char* const variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        m_environment.remove(QLatin1String(variable));
    set_variable("LD_LIBRARY_PATH", QStringLiteral(KESTRUNE_SIMULATED_FOLDER));
    set_variable("KESTRUNE_DRIVER_LOG", path("driver.log"));
}

QString TraceProgram::path(const char* name) const {
    return m_folder.filePath(QLatin1String(name));
}

QByteArray TraceProgram::contents(const char* name) const {
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TraceProgram::write(const char* name, const QByteArray& contents) {
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        qFatal("%s cannot be written", name);
}

void TraceProgram::set_variable(const char* name, const QString& value) {
    m_environment.insert(QLatin1String(name), value);
}

void TraceProgram::play(const QByteArray& capture) {
    write("played.capture", capture);
    set_variable("KESTRUNE_CAPTURE", path("played.capture"));
    set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("max"));
}

void TraceProgram::without_driver() {
    m_environment.remove(QStringLiteral("LD_LIBRARY_PATH"));
}

void TraceProgram::start(const QStringList& arguments) {
    m_process = std::make_unique<BoundProcess>();
    m_process->setProcessEnvironment(m_environment);
    m_process->setWorkingDirectory(m_folder.path());
    if (m_terminal)
        m_process->setStandardErrorFile(m_terminal->path());
    m_process->start(QStringLiteral(KESTRUNE_TRACE), arguments);
    m_process->waitForStarted(kPatience_ms);
}

void TraceProgram::start_on_terminal(const QStringList& arguments) {
    m_terminal = std::make_unique<Terminal>();
    start(arguments);
}

bool TraceProgram::has_recorded(int reports) {
    static const QRegularExpression count(QStringLiteral(" (\\d+) reports  "));
    const QDeadlineTimer deadline(kPatience_ms);
    while (!deadline.hasExpired() && m_process->state() != QProcess::NotRunning) {
        const QString lines = QString::fromLatin1(m_terminal->text());
        const int last = lines.lastIndexOf(count);
        if (last >= 0 && count.match(lines, last).captured(1).toInt() >= reports)
            return true;
        m_process->waitForFinished(10);
    }
    return false;
}

void TraceProgram::send(int signal) {
    ::kill(static_cast<pid_t>(m_process->processId()), signal);
}

TraceProgram::Result TraceProgram::finish() {
    Result result;
    const bool is_over =
        m_process->state() == QProcess::NotRunning || m_process->waitForFinished(kPatience_ms);
    if (is_over && m_process->exitStatus() == QProcess::NormalExit)
        result.status = m_process->exitCode();
    result.output = m_process->readAllStandardOutput();
    result.errors = m_process->readAllStandardError();
    return result;
}

TraceProgram::Result TraceProgram::run(const QStringList& arguments) {
    start(arguments);
    return finish();
}

TraceProgram::Result TraceProgram::record(const QStringList& arguments, int reports) {
    start_on_terminal(arguments);
    if (!has_recorded(reports))
        return {-2, {}, terminal_text()};
    send(SIGINT);
    return finish();
}

QStringList arguments(const char* line) {
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
