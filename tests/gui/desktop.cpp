#include "tests/gui/desktop.h"

#include "tests/gui/expected_pictures.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QThread>
#include <QtTest>

namespace {

constexpr int kPatience_ms = 30000;
constexpr int kBetweenLooks_ms = 10;

/// What the program writes to the standard error of a connection that the toolkit refuses, in debug
/// builds with its place.
const QString kRefusedConnection =
    QStringLiteral("QObject::connect: No such signal TavelHardware::deviceEnumerated\\(int,int\\)"
                   "( in [^\n]*:[0-9]+)?\n");

/// And where there is no driver of boards, the loader's message.
const QString kNoDriver =
    QStringLiteral("libtavelboardex\\.so\\.1: cannot open shared object file: "
                   "No such file or directory");

QRegularExpression exactly(const QString& pattern) {
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

/// White where the pictures are the same.
QImage difference(const QImage& shown, const QImage& expected) {
    QImage result(expected.size(), QImage::Format_RGB32);
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            const bool is_same = shown.valid(x, y) && shown.pixel(x, y) == expected.pixel(x, y);
            result.setPixel(x, y, is_same ? qRgb(255, 255, 255) : qRgb(255, 0, 0));
        }
    }
    return result;
}

/// Where the pictures of the running test go: its name, and the end of the name of a picture.
QString picture_path(const char* picture) {
    const QString row =
        QString::fromUtf8(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('_'));
    return QStringLiteral(KESTRUNE_SHOT_FOLDER "/%1-%2-%3.png")
        .arg(QLatin1String(QTest::currentTestFunction()), row, QLatin1String(picture));
}

} // namespace

bool Desktop::fail(const QString& why) {
    m_why = why.toLocal8Bit();
    return false;
}

bool Desktop::start(QSize screen, XSession::WindowManager manager) {
    if (!start_session(screen, manager))
        return false;
    start_with_variables();
    return shows(expected::help(screen)) && (manager == XSession::NoManager || has_keyboard());
}

bool Desktop::start_session(QSize screen, XSession::WindowManager manager) {
    m_screen = screen;
    return m_session.start(screen, manager) || fail(m_session.error());
}

bool Desktop::start_in_session() {
    start_with_variables();
    return has_keyboard();
}

void Desktop::start_with_variables() {
    QProcessEnvironment environment = m_session.environment();
    for (auto variable = m_variables.cbegin(); variable != m_variables.cend(); ++variable)
        environment.insert(variable.key(), variable.value());
    m_program = start_program(environment);
}

void Desktop::set_variable(const char* name, const QString& value) {
    m_variables.insert(QLatin1String(name), value);
}

std::unique_ptr<BoundProcess> Desktop::start_another() {
    return start_program(m_session.environment());
}

std::unique_ptr<BoundProcess> Desktop::start_program(const QProcessEnvironment& environment) {
    auto program = std::make_unique<BoundProcess>();
    program->setProcessEnvironment(environment);
    program->start(QStringLiteral(KESTRUNE_PROGRAM), QStringList());
    return program;
}

bool Desktop::drive(const QString& commands) {
    return m_session.drive(commands) || fail(m_session.error());
}

bool Desktop::shows(const QImage& picture, QRect part) {
    const QDeadlineTimer deadline(kPatience_ms);
    for (;;) {
        const QImage shot = m_session.shot();
        if (shot.isNull())
            return fail(m_session.error());
        const QImage shown = shot.copy(part);
        if (shown == picture)
            return true;
        if (deadline.hasExpired()) {
            shown.save(picture_path("shown"));
            picture.save(picture_path("expected"));
            difference(shown, picture).save(picture_path("difference"));
            return fail(QStringLiteral("Not what is expected; see ") + picture_path("difference"));
        }
        QThread::msleep(kBetweenLooks_ms);
    }
}

bool Desktop::has_keyboard(const BoundProcess& program) {
    const QDeadlineTimer deadline(kPatience_ms);
    while (m_session.process_with_keyboard() != program.processId()) {
        if (deadline.hasExpired())
            return fail(QStringLiteral("The program's window has not got the keyboard"));
        QThread::msleep(kBetweenLooks_ms);
    }
    return true;
}

bool Desktop::escape_ends(BoundProcess& program) {
    return escape_ends(program, exactly(QString()), exactly(kRefusedConnection + kNoDriver));
}

bool Desktop::escape_ends_after_writing(const QString& output) {
    return escape_ends_after_writing(QRegularExpression(QRegularExpression::escape(output)));
}

bool Desktop::escape_ends_after_writing(const QRegularExpression& output) {
    return escape_ends(*m_program, exactly(output.pattern()), exactly(kRefusedConnection));
}

bool Desktop::escape_ends(BoundProcess& program, const QRegularExpression& expected_output,
                          const QRegularExpression& expected_errors) {
    if (!drive(QStringLiteral("key Escape")))
        return false;
    program.waitForFinished(kPatience_ms);
    if (program.state() != QProcess::NotRunning)
        return fail(QStringLiteral("The program goes on after Escape"));
    const QString output = QString::fromLocal8Bit(program.readAllStandardOutput());
    const QString errors = QString::fromLocal8Bit(program.readAllStandardError());
    if (program.exitStatus() != QProcess::NormalExit || program.exitCode() != 0)
        return fail(QStringLiteral("The program ends with status %1: %2")
                        .arg(program.exitCode())
                        .arg(errors));
    if (!expected_output.match(output).hasMatch() || !expected_errors.match(errors).hasMatch())
        return fail(QStringLiteral("The program writes \"%1\" and to the standard error \"%2\"")
                        .arg(output, errors));
    return true;
}
