#include "tools/trace/options.h"

#include <QtTest>

Q_DECLARE_METATYPE(Options::Task)
using Task = Options::Task;

namespace {

Options parsed(const char* arguments) {
    QStringList all{QStringLiteral("kestrune-trace")};
    all += QString::fromUtf8(arguments).split(QLatin1Char('|'), Qt::SkipEmptyParts);
    return parseOptions(all);
}

} // namespace

class TestOptions : public QObject {
    Q_OBJECT

private slots:
    void without_options_it_records_until_it_is_told_to_end();
    void every_option_is_taken();
    void a_duration_is_a_number_of_seconds_data();
    void a_duration_is_a_number_of_seconds();
    void the_task_is_told_data();
    void the_task_is_told();
    void a_wrong_usage_is_told_in_one_line_data();
    void a_wrong_usage_is_told_in_one_line();
    void the_help_names_every_option();
};

void TestOptions::without_options_it_records_until_it_is_told_to_end() {
    const Options options = parsed("");
    QVERIFY(options.task == Task::Record);
    QVERIFY(!options.duration);
    QCOMPARE(options.output, QStringLiteral("board.vcd"));
    QVERIFY(!options.replaces && !options.json);
}

void TestOptions::every_option_is_taken() {
    const Options options = parsed("--duration|2.5|--output|a file.vcd|--force|--json");
    QVERIFY(options.task == Task::Record);
    QCOMPARE(options.duration->count(), 2500);
    QCOMPARE(options.output, QStringLiteral("a file.vcd"));
    QVERIFY(options.replaces && options.json);
}

void TestOptions::a_duration_is_a_number_of_seconds_data() {
    QTest::addColumn<QByteArray>("seconds");
    QTest::addColumn<int>("expected_ms");
    QTest::newRow("whole") << QByteArray("60") << 60000;
    QTest::newRow("part") << QByteArray("0.25") << 250;
    QTest::newRow("next to nothing") << QByteArray("0.0001") << 1;
    QTest::newRow("exponent") << QByteArray("1e3") << 1000000;
    QTest::newRow("longest") << QByteArray("2000000") << 2000000000;
}

void TestOptions::a_duration_is_a_number_of_seconds() {
    QFETCH(const QByteArray, seconds);
    QFETCH(const int, expected_ms);
    const Options options = parsed("--duration=" + seconds);
    QVERIFY2(options.task == Task::Record, qPrintable(options.text));
    QCOMPARE(options.duration->count(), expected_ms);
}

void TestOptions::the_task_is_told_data() {
    QTest::addColumn<Task>("task");
    QTest::newRow("--list") << Task::List;
    QTest::newRow("--list|--json") << Task::List;
    QTest::newRow("--help") << Task::ShowHelp;
    QTest::newRow("-h") << Task::ShowHelp;
    QTest::newRow("--version") << Task::ShowVersion;
    QTest::newRow("-v") << Task::ShowVersion;
    QTest::newRow("--json|--force") << Task::Record;
}

void TestOptions::the_task_is_told() {
    QFETCH(const Task, task);
    const Options options = parsed(QTest::currentDataTag());
    QVERIFY2(options.task == task, qPrintable(options.text));
}

void TestOptions::a_wrong_usage_is_told_in_one_line_data() {
    QTest::addColumn<QByteArray>("word");
    const auto row = [](const char* arguments, const char* word) {
        QTest::newRow(arguments) << QByteArray(word);
    };
    row("--speed", "speed");
    row("-x", "x");
    row("board.vcd", "board.vcd");
    row("--json|stray", "stray");
    row("--duration", "duration");
    row("--output", "output");
    row("--output=", "--output");
    row("--duration|soon", "soon");
    row("--duration|10s", "10s");
    row("--duration|0", "0");
    row("--duration|-1", "-1");
    row("--duration=-1", "-1");
    row("--duration|nan", "nan");
    row("--duration|inf", "inf");
    row("--duration|2000000.1", "2000000.1");
    row("--duration=", "''");
    row("--json=yes", "json");
    row("--list|--duration|5", "--list");
    row("--list|--output|a.vcd", "--list");
    row("--list|--force", "--list");
    row("--list|stray", "stray");
}

void TestOptions::a_wrong_usage_is_told_in_one_line() {
    QFETCH(const QByteArray, word);
    const Options options = parsed(QTest::currentDataTag());
    QVERIFY(options.task == Task::Complain);
    QVERIFY2(options.text.contains(QString::fromLatin1(word)), qPrintable(options.text));
    QVERIFY2(!options.text.contains(QLatin1Char('\n')), qPrintable(options.text));
}

void TestOptions::the_help_names_every_option() {
    const QString help = parsed("--help").text;
    for (const char* const option : {"--duration <SECONDS>", "--output <FILE>", "--force", "--json",
                                     "--list", "--help", "--version", "board.vcd", "Ctrl-C"})
        QVERIFY2(help.contains(QLatin1String(option)), option);
}

QTEST_GUILESS_MAIN(TestOptions)
#include "tst_options.moc"
