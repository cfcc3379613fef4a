#include "tests/gui/desktop.h"
#include "tests/gui/driver_counts.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kPatience_ms = 60000;

} // namespace

/// All that the program does in one run, from its start to its end. Under the address sanitizer it
/// ends with another status, and tells why, where it has left memory behind.
class TestWholeRun : public QObject {
    Q_OBJECT

private slots:
    void nothing_is_left_behind();

private:
    QTemporaryDir m_folder;
    Desktop m_desktop;
};

void TestWholeRun::nothing_is_left_behind() {
    QVERIFY2(m_folder.isValid(), qPrintable(m_folder.errorString()));
    m_desktop.set_variable("LD_LIBRARY_PATH", QStringLiteral(KESTRUNE_SIMULATED_FOLDER));
    m_desktop.set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("6")); // the demonstration's
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS", QStringLiteral("notices=20"));
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS_MS", QStringLiteral("4000"));
    const QString counts = m_folder.filePath(QStringLiteral("counts"));
    m_desktop.set_variable("KESTRUNE_DRIVER_COUNTS", counts);
    QVERIFY2(m_desktop.start_session(), m_desktop.why());
    QVERIFY2(m_desktop.start_in_session(), m_desktop.why());

    for (const char* const commands :
         {"key g key s key c key b key Left key Right key h key h key h",
          "key space mousemove 300 300 mousedown 1 mousemove 400 350 mouseup 1 key 0 key 5 key 9",
          "key space mousemove 500 300 mousedown 1 mousemove 600 350", "mouseup 1 key Return",
          "key Return key BackSpace"})
        QVERIFY2(m_desktop.drive(QLatin1String(commands)), m_desktop.why());

    // A round of the demonstration ends with the erasers.
    constexpr quint64 most = 200;
    const auto is_shown = [&counts] {
        const DriverCounts seen(counts);
        return seen.of[DriverCounts::Pens] > most && seen.of[DriverCounts::Touches] > most &&
               seen.of[DriverCounts::Erasers] > most && seen.of[DriverCounts::Notices] > 3;
    };
    QTRY_VERIFY_WITH_TIMEOUT(is_shown(), kPatience_ms);

    // And one that begins: it ends with contacts down.
    const auto pens = [&counts] { return DriverCounts(counts).of[DriverCounts::Pens]; };
    const quint64 before = pens();
    QTRY_VERIFY_WITH_TIMEOUT(pens() > before + most, kPatience_ms);
    QVERIFY2(m_desktop.escape_ends_after_writing(
                 QRegularExpression(QStringLiteral("(PnP event\\.\n|Enumerated 1 devices\\.\n)+"))),
             m_desktop.why());
}

QTEST_MAIN(TestWholeRun)
#include "tst_whole_run.moc"
