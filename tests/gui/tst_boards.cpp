#include "tests/gui/board_capture.h"
#include "tests/gui/desktop.h"
#include "tests/gui/expected_pictures.h"
#include "tests/support/board_reports.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kPatience_ms = 20000;

const QString operator""_s(const char* text, std::size_t size) {
    return QString::fromLatin1(text, static_cast<int>(size));
}

// The drawing, which another eraser then wipes away. Each is to be seen for a while, so that it
// does not matter when the program is ready or is looked at.

constexpr int kHold_ms = 700;
const BoardReports kBoard = drawing::reports();

void add_round(Capture& capture, int device) {
    drawing::add_to(capture, device);
    drawing::add_wiping_to(capture.pause(kHold_ms), device);
    capture.pause(kHold_ms).report(device, ""); // which is no report and ends the round
}

/// What the driver sees of a round that is handed back to it.
QStringList handed_back_round() {
    QStringList calls;
    for (const std::string& report : {kBoard.handed_back_pen(0, drawing::kPenFrom, true),
                                      kBoard.handed_back_pen(0, drawing::kPenTo, true),
                                      kBoard.handed_back_pen(0, drawing::kPenTo, false),
                                      kBoard.handed_back_touch(0, drawing::kTouchFrom, true),
                                      kBoard.handed_back_touch(0, drawing::kTouchTo, true),
                                      kBoard.handed_back_touch(0, drawing::kTouchTo, false)})
        calls << "tavelSendTouchPacketToSystem device=1 length=9 data="_s +
                     QString::fromStdString(BoardReports::hexadecimal(report));
    return calls;
}

/// The calls that switch the reports of a board on (1) or off (0).
QStringList configuration(int device, int mode) {
    QStringList calls;
    const auto command = [&calls, device](const QByteArray& text) {
        calls << "tavelWritePacket device=%1 data=%2 length=%3"_s.arg(device)
                     .arg(QString::fromLatin1((text + '\r').toHex()))
                     .arg(text.size() + 1);
    };
    for (int pen = 0; pen < 4; ++pen) {
        command(":PN" + QByteArray::number(pen) + '2');
        calls << "tavelSetPointingDeviceDestination device=%1 pen=%2 flag=0 destination=%3"_s
                     .arg(device)
                     .arg(pen + 1)
                     .arg(mode);
    }
    calls << "tavelSetTouchDestination device=%1 destination=%2"_s.arg(device).arg(mode);
    command(":PL" + QByteArray::number(mode));
    return calls;
}

} // namespace

/// The program with boards, which the simulated driver plays.
class TestBoards : public QObject {
    Q_OBJECT

private slots:
    void init();
    void contacts_draw_and_erase();
    void contacts_are_handed_back_while_another_window_has_the_keyboard();
    void a_board_that_is_plugged_in_again_is_configured();
    void a_recording_of_a_board_draws_the_same();

private:
    /// Starts the program on a capture.
    bool start(const Capture& capture, bool loops);
    bool start(const QString& capture, bool loops, const QString& driver_folder);
    /// The driver's calls up to now, without the addresses of their callbacks.
    QStringList calls() const;
    /// Those from the first one that is this.
    QStringList calls_from(const QString& call) const;
    /// How often the calls have these in a row.
    int count_of(const QStringList& in_a_row) const;
    /// Whether the last thing that the driver saw is a session's end with this board.
    bool has_ended_with(int device) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Desktop> m_desktop;
};

void TestBoards::init() {
    m_desktop = std::make_unique<Desktop>(); // ends the program of the test before
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY2(m_folder->isValid(), qPrintable(m_folder->errorString()));
}

bool TestBoards::start(const Capture& capture, bool loops) {
    const QString path = m_folder->filePath("capture"_s);
    return capture.write(path) && start(path, loops, QStringLiteral(KESTRUNE_SIMULATED_FOLDER));
}

bool TestBoards::start(const QString& capture, bool loops, const QString& driver_folder) {
    m_desktop->set_variable("LD_LIBRARY_PATH", driver_folder);
    m_desktop->set_variable("KESTRUNE_CAPTURE", capture);
    m_desktop->set_variable("KESTRUNE_CAPTURE_LOOP", loops ? "1"_s : "0"_s);
    m_desktop->set_variable("KESTRUNE_CAPTURE_SPEED", "1"_s);
    m_desktop->set_variable("KESTRUNE_DRIVER_LOG", m_folder->filePath("log"_s));
    return m_desktop->start(drawing::kScreen);
}

QStringList TestBoards::calls() const {
    QFile file(m_folder->filePath("log"_s));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString text = QString::fromLatin1(file.readAll());
    text.truncate(text.lastIndexOf(QLatin1Char('\n')) + 1);
    text.remove(QRegularExpression(" (callback|context|info)=0x[0-9a-f]+"_s));
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList TestBoards::calls_from(const QString& call) const {
    const QStringList all = calls();
    const int first = all.indexOf(call);
    return first < 0 ? QStringList() : all.mid(first);
}

int TestBoards::count_of(const QStringList& in_a_row) const {
    return calls().join(QLatin1Char('\n')).count(in_a_row.join(QLatin1Char('\n')));
}

bool TestBoards::has_ended_with(int device) const {
    const QStringList end =
        configuration(device, 0) +
        QStringList{"tavelClearCallback device=0"_s, "tavelDetach"_s, "tavelDetach"_s};
    const QStringList all = calls();
    return all.mid(all.size() - end.size()) == end;
}

void TestBoards::contacts_draw_and_erase() {
    Capture capture;
    add_round(capture.plug(1), 1);
    QVERIFY2(start(capture, true), m_desktop->why());
    const QImage drawn = drawing::picture();
    QCOMPARE(drawn.pixelColor(200, 20), QColor(Qt::red));
    QCOMPARE(drawn.pixelColor(200, 40), QColor(Qt::green));
    QVERIFY2(m_desktop->shows(drawn), m_desktop->why());
    QVERIFY2(m_desktop->shows(expected::help(drawing::kScreen)), m_desktop->why());
    QVERIFY2(m_desktop->escape_ends_after_writing("Enumerated 1 devices.\n"_s), m_desktop->why());
    QVERIFY(has_ended_with(1));
}

void TestBoards::contacts_are_handed_back_while_another_window_has_the_keyboard() {
    Capture capture;
    add_round(capture.plug(1), 1);
    QVERIFY2(start(capture, true), m_desktop->why());
    QVERIFY2(m_desktop->shows(drawing::picture()), m_desktop->why());

    // A smaller window, which leaves the strokes' place in sight.
    const auto other = m_desktop->start_another();
    QVERIFY2(m_desktop->has_keyboard(*other), m_desktop->why());
    QVERIFY2(m_desktop->drive("key Return"_s), m_desktop->why());
    const QRect window(160, 90, 960, 540);
    QVERIFY2(m_desktop->shows(expected::help(window.size()), window), m_desktop->why());

    // From the second round on no contact is left that was the program's before.
    const QStringList round = handed_back_round();
    const int before = count_of(round);
    QTRY_VERIFY_WITH_TIMEOUT(count_of(round) >= before + 2, kPatience_ms);
    const QRect place(0, 0, drawing::kScreen.width(), 55);
    const QImage shown = m_desktop->shot().copy(place);
    QTRY_VERIFY_WITH_TIMEOUT(
        m_desktop->shot().copy(place) != shown || count_of(round) >= before + 4, kPatience_ms);
    QVERIFY(m_desktop->shot().copy(place) == shown);

    QVERIFY2(m_desktop->escape_ends(*other), m_desktop->why());
    QVERIFY2(m_desktop->has_keyboard(), m_desktop->why());
    QVERIFY2(m_desktop->shows(expected::help(drawing::kScreen)), m_desktop->why());
    QVERIFY2(m_desktop->shows(drawing::picture()), m_desktop->why());
    QVERIFY2(m_desktop->escape_ends_after_writing("Enumerated 1 devices.\n"_s), m_desktop->why());
    QVERIFY(has_ended_with(1));
}

void TestBoards::a_board_that_is_plugged_in_again_is_configured() {
    Capture capture;
    capture.plug(1).pause(1500).unplug(1).pause(300).plug(2).pause(2200);
    for (int i = 0; i < 10; ++i)
        add_round(capture, 2);
    QElapsedTimer since_it_was_not_there;
    since_it_was_not_there.start();
    QVERIFY2(start(capture, false), m_desktop->why());

    const QStringList found = {
        "tavelClearCallback device=1"_s, "tavelAttach"_s,
        "tavelGetDeviceCount"_s,         "tavelAttach"_s,
        "tavelGetDeviceCount"_s,         "tavelEnumDeviceInfo index=0"_s,
        "tavelSetCallback device=2"_s,   "tavelSetXferMask device=2 mask=255"_s};
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            QElapsedTimer look;
            look.start();
            const bool is_there = calls_from(found.front()).size() >= found.size();
            if (!is_there)
                since_it_was_not_there = look;
            return is_there;
        }(),
        kPatience_ms);
    QTRY_VERIFY_WITH_TIMEOUT(calls_from(found.front()).size() > found.size(), kPatience_ms);
    QVERIFY2(since_it_was_not_there.elapsed() >= 2000,
             qPrintable("After %1 ms"_s.arg(since_it_was_not_there.elapsed())));
    const QStringList expected = found + configuration(2, 1);
    QTRY_COMPARE(calls_from(found.front()).mid(0, expected.size()), expected);

    QVERIFY2(m_desktop->shows(drawing::picture()), m_desktop->why());
    QVERIFY2(m_desktop->escape_ends_after_writing("Enumerated 1 devices.\n"
                                                  "PnP event.\nEnumerated 0 devices.\n"
                                                  "PnP event.\nEnumerated 1 devices.\n"_s),
             m_desktop->why());
    QVERIFY(has_ended_with(2));
}

void TestBoards::a_recording_of_a_board_draws_the_same() {
    Capture capture;
    capture.plug(1).pause(kHold_ms);
    for (int i = 0; i < 3; ++i)
        add_round(capture, 1);
    const QPoint by(600, 500); // where nothing is wiped away
    drawing::add_to(capture, 1, by);
    const QString path = m_folder->filePath("capture"_s);
    const QString recording = m_folder->filePath("recording"_s);
    QVERIFY(capture.write(path));

    m_desktop->set_variable("KESTRUNE_TAP_DRIVER", QStringLiteral(KESTRUNE_SIMULATED_DRIVER));
    m_desktop->set_variable("KESTRUNE_TAP_CAPTURE", recording);
    QVERIFY2(start(path, false, QStringLiteral(KESTRUNE_TAP_FOLDER)), m_desktop->why());
    QVERIFY2(m_desktop->shows(drawing::picture(by)), m_desktop->why());
    const QImage recorded = m_desktop->shot();
    QVERIFY2(m_desktop->escape_ends_after_writing("Enumerated 1 devices.\n"_s), m_desktop->why());
    QVERIFY(has_ended_with(1));
    QFile file(recording);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(Capture::events(QString::fromLatin1(file.readAll())), capture.events());

    m_desktop = std::make_unique<Desktop>();
    QVERIFY2(start(recording, false, QStringLiteral(KESTRUNE_SIMULATED_FOLDER)), m_desktop->why());
    QVERIFY2(m_desktop->shows(recorded), m_desktop->why());
    QVERIFY2(m_desktop->escape_ends_after_writing("Enumerated 1 devices.\n"_s), m_desktop->why());
}

QTEST_MAIN(TestBoards)
#include "tst_boards.moc"
