#include "tests/gui/board_capture.h"
#include "tests/gui/desktop.h"
#include "tests/gui/expected_pictures.h"
#include "tests/support/board_reports.h"

#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr QSize kScreen(1280, 720);

constexpr int kDevice = 1;
constexpr int kContacts = 4;
constexpr int kWiderThanTheScreen = 40000; // board units
constexpr int kReports = 10000;
constexpr int kReportsOfARound = 6;
constexpr int kPause_ms = 1000; // in which the program shows that it is there
constexpr int kInterval_ms = 1;
constexpr int kPatience_ms = 30000;

/// Report n of erasers that go over the board, each as wide as the whole screen. They lift at the
/// end of a round.
std::string huge_report(int n) {
    const BoardReports board(kScreen);
    const bool is_down = n % kReportsOfARound != kReportsOfARound - 1;
    std::string report;
    for (int contact = 0; contact < kContacts; ++contact) {
        const QPoint at(10 + n % 1000, 10 + 50 * contact);
        const std::string one =
            board.erase(contact, at, is_down, kWiderThanTheScreen, kWiderThanTheScreen);
        report += contact == 0 ? one : one.substr(2); // the header is of the first
    }
    return report;
}

/// More than any machine paints in the time of this test.
Capture load() {
    Capture capture;
    capture.plug(kDevice).pause(kPause_ms);
    for (int n = 0; n < kReports; ++n)
        capture.report(kDevice, huge_report(n), kInterval_ms);
    return capture;
}

} // namespace

/// The program under reports that it cannot paint as fast as they come.
class TestOverload : public QObject {
    Q_OBJECT

private slots:
    void keys_act_all_the_same();
};

void TestOverload::keys_act_all_the_same() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("load"));
    QVERIFY(load().write(path));
    Desktop desktop;
    desktop.set_variable("LD_LIBRARY_PATH", QStringLiteral(KESTRUNE_SIMULATED_FOLDER));
    desktop.set_variable("KESTRUNE_CAPTURE", path);
    QVERIFY2(desktop.start(kScreen), desktop.why());

    // The markers, which begin with the load, cover the screen.
    const QImage help = expected::help(kScreen);
    QVERIFY(QTest::qWaitFor([&] { return desktop.shot() != help; }, kPatience_ms));
    QVERIFY2(desktop.drive(QStringLiteral("key space key b")), desktop.why());
    QVERIFY2(desktop.shows(expected::black(kScreen)), desktop.why());
    QVERIFY2(desktop.escape_ends_after_writing(QStringLiteral("Enumerated 1 devices.\n")),
             desktop.why());
}

QTEST_MAIN(TestOverload)
#include "tst_overload.moc"
