#include "tests/gui/board_capture.h"
#include "tests/gui/desktop.h"
#include "tests/gui/driver_counts.h"
#include "tests/gui/expected_pictures.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString operator""_s(const char* text, std::size_t size) {
    return QString::fromLatin1(text, static_cast<int>(size));
}

constexpr int kDevice = 1;
constexpr int kFaults_ms = 600; // longer than the program takes to start on an idle machine

/// The lines that a storm of notices leads to. A pipe that nobody reads has room for some 2000.
const QRegularExpression kStorm("(PnP event\\.\n|Enumerated -?\\d+ devices\\.\n)+"_s);

const QString kFoundAtOnce = "Enumerated 1 devices.\n"_s;
const QString kFoundLater = "PnP event.\nEnumerated 1 devices.\n"_s;

/// The drawing, which is wiped away, over and over.
Capture drawing_board() {
    Capture capture;
    drawing::add_to(capture.plug(kDevice), kDevice);
    drawing::add_wiping_to(capture.pause(250), kDevice);
    return capture;
}

/// The drawing, when the program has had its time to start.
Capture patient_board() {
    Capture capture;
    drawing::add_to(capture.plug(kDevice).pause(3000), kDevice);
    return capture.pause(20000).report(kDevice, ""); // which is no report and ends the round
}

} // namespace

Q_DECLARE_METATYPE(QRegularExpression)
Q_DECLARE_METATYPE(drawing::Seen)

/// The program with drivers that misbehave, in one session: it survives each, says nothing of it,
/// and draws again when the driver does right.
class TestFaults : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void an_entry_point_may_be_missing_data();
    void an_entry_point_may_be_missing();
    void a_fault_passes_data();
    void a_fault_passes();
    void boards_report_while_they_are_unplugged();
    void contacts_never_lift_and_ids_come_twice();
    void callbacks_come_after_the_end();

private:
    bool start(const Capture& capture, const QString& driver_folder = {});
    QString counts() const { return m_folder.filePath(QStringLiteral("counts")); }

    QTemporaryDir m_folder;
    Desktop m_desktop;
};

void TestFaults::initTestCase() {
    QVERIFY2(m_folder.isValid(), qPrintable(m_folder.errorString()));
    QVERIFY2(m_desktop.start_session(drawing::kScreen), m_desktop.why());
}

void TestFaults::init() {
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS", QString());
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS_MS", QString());
}

bool TestFaults::start(const Capture& capture, const QString& driver_folder) {
    const QString path = m_folder.filePath("capture"_s);
    m_desktop.set_variable("LD_LIBRARY_PATH", driver_folder.isEmpty()
                                                  ? QStringLiteral(KESTRUNE_SIMULATED_FOLDER)
                                                  : driver_folder);
    m_desktop.set_variable("KESTRUNE_CAPTURE", path);
    m_desktop.set_variable("KESTRUNE_CAPTURE_LOOP", "1"_s);
    m_desktop.set_variable("KESTRUNE_DRIVER_COUNTS", counts());
    QFile::remove(counts()); // of the program before
    return capture.write(path) && m_desktop.start_in_session();
}

void TestFaults::an_entry_point_may_be_missing_data() {
    QTest::addColumn<drawing::Seen>("seen");
    QTest::addColumn<int>("boards");
    const drawing::Seen nothing = {false, false, false};
    const QMap<QString, QPair<drawing::Seen, int>> needed = {
        {"tavelAttach"_s, {nothing, 0}},
        {"tavelGetDeviceCount"_s, {nothing, 0}},
        {"tavelEnumDeviceInfo"_s, {nothing, 1}},
        {"tavelSetCallback"_s, {nothing, 1}},
        {"tavelSetXferMask"_s, {nothing, 1}},
        {"tavelSetPointingDeviceDestination"_s, {{false, true, true}, 1}},
        {"tavelSetTouchDestination"_s, {{true, false, true}, 1}},
        {"tavelWritePacket"_s, {{true, true, false}, 1}},
    };
    const QStringList all =
        QDir(QStringLiteral(KESTRUNE_DRIVERS_WITHOUT)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(all.size(), 47);
    for (const QString& name : all) {
        const auto [seen, boards] = needed.value(name, {drawing::Seen(), 1});
        QTest::newRow(qPrintable(name)) << seen << boards;
    }
}

void TestFaults::an_entry_point_may_be_missing() {
    QFETCH(const drawing::Seen, seen);
    QFETCH(const int, boards);
    const QString folder =
        QStringLiteral(KESTRUNE_DRIVERS_WITHOUT "/%1").arg(QLatin1String(QTest::currentDataTag()));
    QVERIFY2(start(seen.erase ? drawing_board() : patient_board(), folder), m_desktop.why());
    QVERIFY2(m_desktop.shows(drawing::picture({0, 0}, seen)), m_desktop.why());
    QVERIFY2(m_desktop.escape_ends_after_writing("Enumerated %1 devices.\n"_s.arg(boards)),
             m_desktop.why());
}

void TestFaults::a_fault_passes_data() {
    QTest::addColumn<QRegularExpression>("output");
    const auto row = [](const char* faults, const QString& output) {
        QTest::newRow(faults) << QRegularExpression(output);
    };
    row("attach", "Enumerated 0 devices.\n"_s + kFoundLater);
    row("count=0", "Enumerated 0 devices.\n"_s + kFoundLater);
    row("count=-3", "Enumerated -3 devices.\n"_s + kFoundLater);
    row("count=7", "Enumerated 7 devices.\n"_s + kFoundLater);
    row("count=2147483647", "Enumerated 2147483647 devices.\n"_s + kFoundLater);
    row("enumeration=fails", kFoundAtOnce + kFoundLater);
    row("enumeration=changes,notices=200", kStorm.pattern());
    row("notices=1000", kStorm.pattern());
    row("threads=10", kFoundAtOnce + kFoundLater);
    row("threads=10,notices=100", kStorm.pattern());
}

void TestFaults::a_fault_passes() {
    QFETCH(const QRegularExpression, output);
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS", QString::fromLatin1(QTest::currentDataTag()));
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS_MS", QString::number(kFaults_ms));
    QElapsedTimer since_the_start;
    since_the_start.start();
    QVERIFY2(start(drawing_board()), m_desktop.why());
    // Where notices are no fault, there is one when the fault has passed.
    QTRY_VERIFY(since_the_start.hasExpired(2 * kFaults_ms) &&
                DriverCounts(counts()).of[DriverCounts::Notices] > 0);

    // What is drawn from now on is wider.
    QVERIFY2(m_desktop.drive("key BackSpace key 9"_s), m_desktop.why());
    QVERIFY2(m_desktop.shows(drawing::picture({0, 0}, {true, true, true, 9.0})), m_desktop.why());
    QVERIFY2(m_desktop.escape_ends_after_writing(output), m_desktop.why());
}

void TestFaults::boards_report_while_they_are_unplugged() {
    Capture capture;
    capture.plug(kDevice).pause(300);
    drawing::add_to(capture, kDevice);
    capture.pause(100).unplug(kDevice).pause(200).plug(kDevice).pause(2300);
    drawing::add_to(capture, kDevice, {600, 500});
    capture.pause(1000).report(kDevice, "");
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS", "ghosts"_s);
    QVERIFY2(start(capture), m_desktop.why());
    const QRect place(600, 500, 600, 100); // the drawing's when it is back
    QVERIFY2(m_desktop.shows(drawing::picture({600, 500}).copy(place), place), m_desktop.why());
    QVERIFY2(
        m_desktop.escape_ends_after_writing(QRegularExpression(
            kFoundAtOnce + "("_s + "PnP event.\nEnumerated 0 devices.\n"_s + kFoundLater + ")+"_s)),
        m_desktop.why());
}

void TestFaults::contacts_never_lift_and_ids_come_twice() {
    const BoardReports board = drawing::reports();
    const QPoint here(900, 600);
    const QPoint there(1100, 600);
    Capture capture;
    capture.plug(kDevice).pause(300);
    for (const QPoint at : {here, there}) {
        capture.report(kDevice, board.pen(3, at, true))
            .report(kDevice, board.touch(5, at, true, 100))
            .report(kDevice, board.erase(1, at, true, 100, 100));
    }
    const auto twice = [](const std::string& first, const std::string& second) {
        constexpr std::size_t header = 2; // length and tag
        std::string report = first + second.substr(header);
        report[0] = static_cast<char>(report.size());
        return report;
    };
    capture
        .report(kDevice, twice(board.touch(6, here, true, 100), board.touch(6, there, true, 100)))
        .report(kDevice, twice(board.touch(6, here, false, 100), board.touch(6, there, true, 100)))
        .report(kDevice,
                twice(board.erase(2, here, true, 9, 9), board.erase(2, there, false, 9, 9)))
        .report(kDevice, twice(board.erase(2, here, true, 9, 9), board.erase(2, here, true, 9, 9)));
    drawing::add_to(capture, kDevice);
    capture.pause(300).unplug(kDevice).pause(10).plug(kDevice).pause(2300);
    drawing::add_to(capture, kDevice, {0, 100});
    capture.pause(1000).report(kDevice, "");

    QVERIFY2(start(capture), m_desktop.why());
    // Other contacts draw while those are down, and also when their board has come back.
    for (const int down : {0, 100}) {
        const QRect place(0, down, 600, 60);
        QVERIFY2(m_desktop.shows(drawing::picture({0, down}).copy(place), place), m_desktop.why());
    }
    QVERIFY2(
        m_desktop.escape_ends_after_writing(QRegularExpression(
            kFoundAtOnce + "("_s + "PnP event.\nEnumerated 0 devices.\n"_s + kFoundLater + ")+"_s)),
        m_desktop.why());
}

void TestFaults::callbacks_come_after_the_end() {
    m_desktop.set_variable("KESTRUNE_DRIVER_FAULTS", "late"_s);
    QVERIFY2(start(drawing_board()), m_desktop.why());
    QVERIFY2(m_desktop.shows(drawing::picture()), m_desktop.why());
    QVERIFY2(m_desktop.escape_ends_after_writing(kFoundAtOnce), m_desktop.why());
}

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
