#include "tests/support/board_reports.h"
#include "tests/tools/trace_program.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <csignal>

using Result = TraceProgram::Result;

namespace {

const BoardReports kBoard(QSize(32768, 32768));

const QByteArray kBoardAtStart = "kestrune-capture 1\n"
                                 "0 plug 1 1 \"hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<2>\"\n";
/// One pen of it writes.
const QByteArray kThreeReports = kBoardAtStart + "10 report 1 0821000010001001\n"
                                                 "20 report 1 0821000810081001\n"
                                                 "30 report 1 0821001010101000\n";

QByteArray line(int time_ms, int device, const std::string& report) {
    return QByteArray::number(qint64{time_ms} * 1000000) + " report " + QByteArray::number(device) +
           ' ' + QByteArray::fromStdString(BoardReports::hexadecimal(report)) + '\n';
}

QByteArray data(const char* name) {
    QFile file(QStringLiteral(KESTRUNE_DATA_FOLDER "/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The figures of a kind (0 pens, 1 touches, 2 erasers) in what --json prints.
QJsonObject kind(const Result& result, int index) {
    return QJsonDocument::fromJson(result.output)[QStringLiteral("kinds")][index].toObject();
}

QStringList names(const QJsonObject& kind) {
    QStringList names;
    for (const QJsonValue& contact : kind.value(QStringLiteral("contacts")).toArray())
        names << contact[QStringLiteral("name")].toString();
    return names;
}

QJsonValue figure(const QJsonObject& kind, const char* name) {
    return kind.value(QLatin1String(name));
}

/// The names of the signals of a VCD file, in their order.
QByteArrayList signals_of(const QByteArray& vcd) {
    QByteArrayList found;
    for (const QByteArray& text : vcd.split('\n')) {
        if (text.startsWith("$var "))
            found << text.split(' ').at(4);
    }
    return found;
}

bool is_one_line(const QByteArray& text) {
    return text.endsWith('\n') && text.count('\n') == 1;
}

} // namespace

class TestMain : public QObject {
    Q_OBJECT

private slots:
    void help_and_version_need_neither_driver_nor_display_data();
    void help_and_version_need_neither_driver_nor_display();
    void a_wrong_usage_ends_with_status_2_data();
    void a_wrong_usage_ends_with_status_2();
    void without_a_driver_it_ends_with_status_1_data();
    void without_a_driver_it_ends_with_status_1();
    void without_a_board_it_ends_with_status_1_data();
    void without_a_board_it_ends_with_status_1();
    void boards_are_listed();
    void listed_boards_are_not_switched_on();
    void it_records_as_long_as_it_is_told();
    void a_signal_ends_it_and_everything_is_written_data();
    void a_signal_ends_it_and_everything_is_written();
    void reports_are_switched_on_and_off();
    void a_file_that_exists_is_not_written_over();
    void a_file_that_exists_is_written_over_if_forced();
    void a_file_that_cannot_be_written_is_told_before_it_starts();
    void a_folder_that_goes_away_loses_nothing();
    void a_summary_that_cannot_be_printed_loses_no_file();
    void the_status_line_is_for_terminals_and_goes_away();
    void without_a_report_everything_is_empty();
    void every_contact_is_recorded();
    void boards_that_come_while_it_records_are_recorded();
    void a_dropout_is_told();
    void a_stuck_finger_is_told();
    void a_jittering_finger_covers_little();
    void the_demonstration_is_recorded();
};

void TestMain::help_and_version_need_neither_driver_nor_display_data() {
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("--help") << QByteArray("--duration <SECONDS>");
    QTest::newRow("--version") << QByteArray("kestrune-trace " KESTRUNE_VERSION "\n");
}

void TestMain::help_and_version_need_neither_driver_nor_display() {
    QFETCH(const QByteArray, expected);
    TraceProgram program;
    program.without_driver();
    const Result result = program.run(arguments(QTest::currentDataTag()));
    QCOMPARE(result.status, 0);
    QVERIFY2(result.output.contains(expected), result.output.constData());
    QCOMPARE(result.errors, QByteArray());
}

void TestMain::a_wrong_usage_ends_with_status_2_data() {
    QTest::addColumn<QStringList>("usage");
    for (const char* const usage : {"--faster", "-q", "--duration soon", "--duration -3",
                                    "--duration", "--output", "board.vcd", "--list --force"})
        QTest::newRow(usage) << arguments(usage);
}

void TestMain::a_wrong_usage_ends_with_status_2() {
    QFETCH(const QStringList, usage);
    TraceProgram program;
    const Result result = program.run(usage);
    QCOMPARE(result.status, 2);
    QVERIFY2(is_one_line(result.errors), result.errors.constData());
    QVERIFY(result.errors.startsWith("kestrune-trace: "));
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(program.contents("driver.log"), QByteArray()); // it has not got that far
}

void TestMain::without_a_driver_it_ends_with_status_1_data() {
    QTest::addColumn<QStringList>("usage");
    QTest::newRow("to record") << arguments("--output new.vcd");
    QTest::newRow("to list") << arguments("--list");
}

void TestMain::without_a_driver_it_ends_with_status_1() {
    QFETCH(const QStringList, usage);
    TraceProgram program;
    program.without_driver();
    const Result result = program.run(usage);
    QCOMPARE(result.status, 1);
    QCOMPARE(result.errors, QByteArray("libtavelboardex.so.1: cannot open shared object file: No "
                                       "such file or directory\n"
                                       "kestrune-trace: there is no driver library\n"));
    QCOMPARE(result.output, QByteArray());
    QVERIFY(!QFile::exists(program.path("new.vcd")));
}

void TestMain::without_a_board_it_ends_with_status_1_data() {
    QTest::addColumn<QByteArray>("capture");
    QTest::addColumn<QByteArray>("usage");
    const QByteArray none = "kestrune-capture 1\n";
    const QByteArray asleep = none + "0 plug 1 0 \"hid<H1>\"\n";
    QTest::newRow("none, to record") << none << QByteArray("--output new.vcd");
    QTest::newRow("none, to list") << none << QByteArray("--list");
    QTest::newRow("none that can be used") << asleep << QByteArray("--output new.vcd");
}

void TestMain::without_a_board_it_ends_with_status_1() {
    QFETCH(const QByteArray, capture);
    QFETCH(const QByteArray, usage);
    TraceProgram program;
    program.play(capture);
    const Result result = program.run(arguments(usage.constData()));
    QCOMPARE(result.status, 1);
    QCOMPARE(result.errors, QByteArray("kestrune-trace: there is no board that can be used\n"));
    QCOMPARE(result.output, QByteArray());
    QVERIFY(!QFile::exists(program.path("new.vcd")));
}

void TestMain::boards_are_listed() {
    TraceProgram program;
    program.play(kBoardAtStart + "0 plug 2 1 \"hid<H2>vid<1>pid<2>xp<1>xt<40>\"\n");
    const Result text = program.run(arguments("--list"));
    QCOMPARE(text.status, 0);
    QCOMPARE(text.output, QByteArray("board 0: H1 (abcd:0004), pens: 4, touches: 10\n"
                                     "board 1: H2 (0001:0002), pens: 1, touches: 40\n"));
    QCOMPARE(text.errors, QByteArray());
    const Result json = program.run(arguments("--list --json"));
    QCOMPARE(json.status, 0);
    const QJsonDocument parsed = QJsonDocument::fromJson(json.output);
    QCOMPARE(parsed[QStringLiteral("boards")][1][QStringLiteral("touches")].toInt(), 40);
    QVERIFY(!QFile::exists(program.path("board.vcd")));
}

void TestMain::listed_boards_are_not_switched_on() {
    TraceProgram program;
    program.play(kThreeReports);
    QCOMPARE(program.run(arguments("--list")).status, 0);
    const QByteArray log = program.contents("driver.log");
    QVERIFY(log.contains("tavelDetach"));
    QVERIFY2(!log.contains("Destination"), log.constData());
}

void TestMain::it_records_as_long_as_it_is_told() {
    TraceProgram program;
    program.play(kThreeReports);
    QElapsedTimer since;
    since.start();
    const Result result = program.run(arguments("--duration 1.5 --json"));
    QVERIFY(since.elapsed() >= 1500);
    QCOMPARE(result.status, 0);
    QCOMPARE(result.errors, QByteArray());
    const QJsonDocument printed = QJsonDocument::fromJson(result.output);
    QVERIFY(printed[QStringLiteral("recorded_s")].toDouble() >= 1.499);
    QVERIFY(program.contents("board.vcd").contains("$enddefinitions $end\n"));
}

void TestMain::a_signal_ends_it_and_everything_is_written_data() {
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void TestMain::a_signal_ends_it_and_everything_is_written() {
    QFETCH(const int, number);
    TraceProgram program;
    program.play(kThreeReports);
    program.start_on_terminal(arguments("--output a.vcd"));
    QVERIFY(program.has_recorded(3));
    program.send(number);
    const Result result = program.finish();
    QCOMPARE(result.status, 0);
    QVERIFY2(result.output.startsWith("Recorded "), result.output.constData());
    QVERIFY2(result.output.contains("\n  pen0 "), result.output.constData());
    const QByteArray vcd = program.contents("a.vcd");
    QCOMPARE(signals_of(vcd), (QByteArrayList{"pen0_x", "pen0_y", "pen0_buttons"}));
    QCOMPARE(vcd.count("\nr"), 3 + 3 + 2);
    QVERIFY(vcd.contains("\nr4112 !\n")); // 0x1010, the last x
    QVERIFY(!QFile::exists(program.path("board.vcd")));
}

void TestMain::reports_are_switched_on_and_off() {
    TraceProgram program;
    program.play(kThreeReports);
    QCOMPARE(program.record(arguments("--json"), 3).status, 0);
    const QByteArray log = program.contents("driver.log");
    const int on = log.indexOf("tavelSetTouchDestination device=1 destination=1\n");
    const int off = log.lastIndexOf("tavelSetTouchDestination device=1 destination=0\n");
    QVERIFY2(on > 0 && off > on, log.constData());
    QVERIFY(log.indexOf("tavelSetTouchDestination device=1 destination=1\n", off) < 0);
    QVERIFY(log.indexOf("data=3a504c310d") > on); // :PL1
    QVERIFY(log.indexOf("data=3a504c300d") > off);
    for (const char* const pen : {"1", "2", "3", "4"})
        QVERIFY(log.contains(QByteArray("tavelSetPointingDeviceDestination device=1 pen=") + pen +
                             " flag=0 destination=0\n"));
    QVERIFY(log.lastIndexOf("tavelDetach") > off);
}

void TestMain::a_file_that_exists_is_not_written_over() {
    TraceProgram program;
    program.play(kThreeReports);
    program.write("board.vcd", "of yesterday");
    const Result result = program.run({});
    QCOMPARE(result.status, 1);
    QVERIFY2(is_one_line(result.errors) && result.errors.contains("board.vcd"),
             result.errors.constData());
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(program.contents("board.vcd"), QByteArray("of yesterday"));
    QCOMPARE(program.contents("driver.log"), QByteArray()); // it has not got that far
}

void TestMain::a_file_that_exists_is_written_over_if_forced() {
    TraceProgram program;
    program.play(kThreeReports);
    program.write("board.vcd", "of yesterday");
    QCOMPARE(program.record(arguments("--force"), 3).status, 0);
    QCOMPARE(signals_of(program.contents("board.vcd")).size(), 3);
    QVERIFY(!program.contents("board.vcd").contains("yesterday"));
}

void TestMain::a_file_that_cannot_be_written_is_told_before_it_starts() {
    TraceProgram program;
    program.play(kThreeReports);
    const Result result = program.run(arguments("--output missing/board.vcd"));
    QCOMPARE(result.status, 1);
    QVERIFY2(is_one_line(result.errors) && result.errors.contains("missing/board.vcd"),
             result.errors.constData());
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(program.contents("driver.log"), QByteArray());
}

void TestMain::a_folder_that_goes_away_loses_nothing() {
    TraceProgram program;
    program.play(kThreeReports);
    QVERIFY(QDir(program.path("")).mkdir(QStringLiteral("stick")));
    program.set_variable("TMPDIR", program.path(""));
    program.start_on_terminal(arguments("--output stick/board.vcd --json"));
    QVERIFY(program.has_recorded(3));
    QVERIFY(QDir(program.path("stick")).removeRecursively());
    program.send(SIGINT);
    const Result result = program.finish();
    QCOMPARE(result.status, 1);
    QCOMPARE(figure(kind(result, 0), "reports").toInt(), 3);
    const QByteArray told = program.terminal_text().trimmed();
    QVERIFY2(told.contains("kestrune-trace: stick/board.vcd could not be written"),
             told.constData());
    QFile kept(QString::fromUtf8(told.split(' ').last()));
    QVERIFY2(kept.open(QIODevice::ReadOnly), told.constData());
    QCOMPARE(signals_of(kept.readAll()).size(), 3);
}

void TestMain::a_summary_that_cannot_be_printed_loses_no_file() {
    TraceProgram program;
    program.play(kThreeReports);
    BoundProcess shell;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_LIBRARY_PATH"),
                       QStringLiteral(KESTRUNE_SIMULATED_FOLDER));
    shell.setProcessEnvironment(environment);
    shell.setStandardOutputFile(QStringLiteral("/dev/full"));
    shell.start(QStringLiteral(KESTRUNE_TRACE),
                {QStringLiteral("--duration"), QStringLiteral("0.2"), QStringLiteral("--output"),
                 program.path("a.vcd")});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.exitCode(), 1);
    QCOMPARE(shell.readAllStandardError(),
             QByteArray("kestrune-trace: the standard output cannot be written\n"));
    QVERIFY(program.contents("a.vcd").contains("$enddefinitions $end\n"));
}

void TestMain::the_status_line_is_for_terminals_and_goes_away() {
    TraceProgram program;
    program.play(kThreeReports);
    const Result result = program.record(arguments("--json"), 3);
    QCOMPARE(result.status, 0);
    QVERIFY(!QJsonDocument::fromJson(result.output).isNull()); // nothing but JSON
    const QByteArray text = program.terminal_text();
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^(\r\\d+\\.\\d s  \\d+ reports  \\d+ reports/s  \\d down\x1b\\[K)+"
                                "\r\x1b\\[K$"))
                 .match(QString::fromLatin1(text))
                 .hasMatch(),
             text.constData());
}

void TestMain::without_a_report_everything_is_empty() {
    TraceProgram program;
    program.play(kBoardAtStart);
    const Result result = program.run(arguments("--duration 0.1"));
    QCOMPARE(result.status, 0);
    QVERIFY2(result.output.contains("\npens           0        0"), result.output.constData());
    const QByteArray vcd = program.contents("board.vcd");
    QVERIFY(vcd.endsWith("$upscope $end\n$enddefinitions $end\n"));
    QVERIFY(!vcd.contains("$var"));
    const Result json = program.run(arguments("--duration 0.1 --force --json"));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(figure(kind(json, i), "reports").toInt(-1), 0);
        QVERIFY(names(kind(json, i)).isEmpty());
    }
}

void TestMain::every_contact_is_recorded() {
    QByteArray capture = kBoardAtStart;
    int time = 1;
    for (const bool is_down : {true, false}) {
        for (int id = 0; id < 128; ++id, ++time) {
            if (id < 4) // as many as are switched on
                capture += line(time, 1, kBoard.pen(id, {id, id}, is_down));
            capture += line(time, 1, kBoard.touch(id, {id, id}, is_down, id));
            capture += line(time, 1, kBoard.erase(id, {id, id}, is_down, id, id));
        }
    }
    TraceProgram program;
    program.play(capture);
    const Result result = program.record(arguments("--json"), 2 * (4 + 128 + 128));
    QCOMPARE(result.status, 0);
    const QList<int> expected = {4, 128, 128};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(figure(kind(result, i), "reports").toInt(), 2 * expected.at(i));
        QCOMPARE(figure(kind(result, i), "most_down_at_once").toInt(), expected.at(i));
        QCOMPARE(names(kind(result, i)).size(), expected.at(i));
    }
    const QByteArrayList recorded = signals_of(program.contents("board.vcd"));
    QCOMPARE(recorded.size(), 4 * 3 + 128 * 4 + 128 * 5);
    QCOMPARE(QSet<QByteArray>(recorded.begin(), recorded.end()).size(), recorded.size());
}

void TestMain::boards_that_come_while_it_records_are_recorded() {
    TraceProgram program;
    program.play(kThreeReports + "1000 unplug 1\n2000 plug 2 1 \"hid<H2>xp<4>xt<10>\"\n" +
                 line(10, 2, kBoard.touch(6, {5, 5}, true, 9)) +
                 line(11, 2, kBoard.pen(0, {32000, 5}, true)));
    const Result result = program.record(arguments("--json"), 5);
    QVERIFY2(result.status == 0, result.errors.constData());
    QCOMPARE(names(kind(result, 0)), QStringList{QStringLiteral("pen0")}); // of both boards
    QCOMPARE(figure(kind(result, 0), "reports").toInt(), 4);
    QCOMPARE(names(kind(result, 1)), QStringList{QStringLiteral("touch6")});
    QVERIFY(program.contents("driver.log")
                .contains("tavelSetTouchDestination device=2 destination=0\n"));
}

void TestMain::a_dropout_is_told() {
    // Slower than it was, so that a machine that is busy does not blur it.
    TraceProgram program;
    program.play(data("dropout.capture"));
    program.set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("0.25"));
    const Result result = program.record(arguments("--json"), 59);
    QCOMPARE(result.status, 0);
    const QJsonObject pens = kind(result, 0);
    QCOMPARE(figure(pens, "reports").toInt(), 59);
    QVERIFY(figure(pens, "dropouts").toInt() >= 1);
    QVERIFY(figure(pens, "interval_down_ms")[QStringLiteral("longest")].toDouble() > 160.0);
    QCOMPARE(figure(pens, "board_percent").toDouble(), 200.0 / 128);
}

void TestMain::a_stuck_finger_is_told() {
    TraceProgram program;
    program.play(data("stuck.capture"));
    const Result result = program.record({}, 82);
    QCOMPARE(result.status, 0);
    QVERIFY2(result.output.contains("\ntouch3 never lifted: down since "),
             result.output.constData());
    QVERIFY(!result.output.contains("touch0 never lifted"));
    for (const char* const row : {"\ntouches +82 +2 ", "\n  touch0 +72 ", "\n  touch3 +31 "})
        QVERIFY2(QRegularExpression(QLatin1String(row))
                     .match(QString::fromLatin1(result.output))
                     .hasMatch(),
                 row);
}

void TestMain::a_jittering_finger_covers_little() {
    TraceProgram program;
    program.play(data("jitter.capture"));
    program.set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("1"));
    const Result result = program.record(arguments("--json"), 177);
    QCOMPARE(result.status, 0);
    const QJsonObject touches = kind(result, 1);
    QCOMPARE(figure(touches, "reports").toInt(), 177);
    const QJsonValue rest = figure(touches, "at_rest");
    QCOMPARE(rest[QStringLiteral("spread_x")].toInt(), 12);
    QCOMPARE(rest[QStringLiteral("spread_y")].toInt(), 7);
    QVERIFY(!result.output.contains("since_s"));
}

void TestMain::the_demonstration_is_recorded() {
    TraceProgram program;
    program.set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("10"));
    const Result result = program.record(arguments("--json"), 6000); // more than a round
    QCOMPARE(result.status, 0);
    QCOMPARE(names(kind(result, 0)).size(), 4);
    QCOMPARE(names(kind(result, 1)).size(), 10);
    QCOMPARE(names(kind(result, 2)).size(), 2);
    QCOMPARE(names(kind(result, 0)).last(), QStringLiteral("pen3"));
    QCOMPARE(figure(kind(result, 1), "most_down_at_once").toInt(), 10);
    QVERIFY(figure(kind(result, 1), "board_percent").toDouble() > 90.0);
    QVERIFY(!figure(kind(result, 0), "interval_hovering_ms").isNull());
    QVERIFY(figure(kind(result, 1), "interval_hovering_ms").isNull());
    QCOMPARE(signals_of(program.contents("board.vcd")).size(), 4 * 3 + 10 * 4 + 2 * 5);
}

QTEST_GUILESS_MAIN(TestMain)
#include "tst_main.moc"
