#include "tests/support/x_session.h"

#include <QDeadlineTimer>
#include <QStandardPaths>
#include <QThread>
#include <csignal>
#include <sys/prctl.h>

namespace {

constexpr int kPatience_ms = 30000; // for each tool, on a machine that is busy

} // namespace

BoundProcess::~BoundProcess() {
    end();
}

void BoundProcess::end() {
    if (state() == NotRunning)
        return;
    kill();
    waitForFinished();
}

void BoundProcess::setupChildProcess() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

bool XSession::fail(const QString& error) {
    m_error = error;
    return false;
}

bool XSession::start(QSize screen, WindowManager manager) {
    for (const char* const tool : {"Xvfb", "openbox", "xdotool", "scrot"}) {
        const QString name = QLatin1String(tool);
        if (QStandardPaths::findExecutable(name).isEmpty())
            return fail(
                QStringLiteral("This test needs the tool %1, which is not installed. "
                               "Debian has it in the package xvfb, openbox, xdotool or scrot.")
                    .arg(name));
    }
    if (!m_directory.isValid())
        return fail(m_directory.errorString());

    m_environment = QProcessEnvironment::systemEnvironment();
    for (const QString& key : m_environment.keys()) {
        if (key.startsWith(QLatin1String("QT_")) || key.startsWith(QLatin1String("XDG_")) ||
            key.startsWith(QLatin1String("KDE_")))
            m_environment.remove(key);
    }
    for (const char* const key :
         {"DESKTOP_SESSION", "GNOME_DESKTOP_SESSION_ID", "LD_LIBRARY_PATH", "WAYLAND_DISPLAY"})
        m_environment.remove(QLatin1String(key));
    // Not the person's desktop, nor a message bus that would be started for this and outlive it.
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("disabled:"));
    // Nothing is painted with OpenGL: leave the machine's driver out, and the memory it leaks.
    m_environment.insert(QStringLiteral("QT_XCB_GL_INTEGRATION"), QStringLiteral("none"));
    m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_directory.path());
    m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_directory.path());

    return start_server(screen) && (manager == NoManager || start_manager());
}

bool XSession::start_server(QSize screen) {
    m_server.setProcessEnvironment(m_environment);
    m_server.setStandardErrorFile(m_directory.filePath(QStringLiteral("server.log")));
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                    QStringLiteral("0"),
                    QStringLiteral("%1x%2x24").arg(screen.width()).arg(screen.height()),
                    QStringLiteral("-noreset"), QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                    QStringLiteral("-r")}); // no key repeats, however late its release comes
    // The server writes its display's number when it is ready.
    const QDeadlineTimer deadline(kPatience_ms);
    while (!m_server.canReadLine() && m_server.state() != QProcess::NotRunning &&
           !deadline.hasExpired())
        m_server.waitForReadyRead(100);
    if (!m_server.canReadLine())
        return fail(QStringLiteral("Xvfb does not start: ") + m_server.errorString());
    m_environment.insert(QStringLiteral("DISPLAY"),
                         QLatin1Char(':') + QString::fromLatin1(m_server.readLine().trimmed()));
    return true;
}

bool XSession::start_manager() {
    m_manager.setProcessEnvironment(m_environment);
    m_manager.setStandardOutputFile(QProcess::nullDevice());
    m_manager.setStandardErrorFile(m_directory.filePath(QStringLiteral("manager.log")));
    m_manager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    // Only a window manager tells the number of desktops.
    const QDeadlineTimer deadline(kPatience_ms);
    while (!run(QStringLiteral("xdotool"), {QStringLiteral("get_num_desktops")}, nullptr)) {
        if (deadline.hasExpired())
            return fail(QStringLiteral("openbox does not start"));
        QThread::msleep(10);
    }
    return true;
}

bool XSession::run(const QString& tool, const QStringList& arguments, QByteArray* output) {
    BoundProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(tool, arguments);
    const bool is_finished = process.waitForFinished(kPatience_ms);
    if (!is_finished || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return fail(QStringLiteral("%1 %2: %3 %4")
                        .arg(tool, arguments.join(QLatin1Char(' ')), process.errorString(),
                             QString::fromLocal8Bit(process.readAllStandardError())));
    if (output != nullptr)
        *output = process.readAllStandardOutput();
    return true;
}

bool XSession::drive(const QString& commands) {
    return run(QStringLiteral("xdotool"), commands.split(QLatin1Char(' ')), nullptr);
}

qint64 XSession::process_with_keyboard() {
    QByteArray id;
    // Not the active window: the manager names that before it has given it the keyboard.
    const QStringList commands = {QStringLiteral("getwindowfocus"), QStringLiteral("getwindowpid")};
    return run(QStringLiteral("xdotool"), commands, &id) ? id.trimmed().toLongLong() : 0;
}

QImage XSession::shot() {
    const QString path = m_directory.filePath(QStringLiteral("shot.ppm"));
    if (!run(QStringLiteral("scrot"), {QStringLiteral("--overwrite"), path}, nullptr))
        return {};
    const QImage image(path);
    if (image.isNull())
        fail(QStringLiteral("The screen shot cannot be read"));
    return image.convertToFormat(QImage::Format_RGB32);
}
