#include "tools/trace/outputfile.h"

#include "tests/support/trace_registry.h"

#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <sys/resource.h>

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void write(const QString& path, const char* text) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) < 0)
        qFatal("cannot be written");
}

void record(int count, int changes) {
    for (int i = 0; i < count; ++i) {
        Vcd signal("signal" + std::to_string(i), 0);
        for (int value = 1; value <= changes; ++value)
            signal.update(value);
    }
}

/// What the trace comes to in a file.
QByteArray trace() {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("expected.vcd"));
    Vcd::write_vcd(path.toStdString());
    return contents(path);
}

/// Files of this process end at so many bytes while this is there.
class ShortFiles {
public:
    explicit ShortFiles(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~ShortFiles() { setrlimit(RLIMIT_FSIZE, &m_before); }
    ShortFiles(const ShortFiles&) = delete;
    ShortFiles& operator=(const ShortFiles&) = delete;

private:
    rlimit m_before = {};
};

} // namespace

class TestOutputFile : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void a_new_file_gets_the_trace_data();
    void a_new_file_gets_the_trace();
    void what_is_claimed_and_not_written_is_gone();
    void a_file_that_exists_is_left_alone();
    void a_file_that_exists_is_replaced_if_that_is_wanted();
    void a_file_to_replace_stays_until_it_is_written();
    void what_cannot_be_written_is_told_at_once_data();
    void what_cannot_be_written_is_told_at_once();
    void a_folder_that_goes_leaves_the_trace_among_the_temporary_files();
    void a_file_that_is_cut_short_is_told_data();
    void a_file_that_is_cut_short_is_told();

private:
    QString path(const char* name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestOutputFile::init() {
    forget_trace();
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("temporary")));
    qputenv("TMPDIR", path("temporary").toUtf8());
}

void TestOutputFile::cleanup() {
    qunsetenv("TMPDIR");
    m_folder.reset();
}

void TestOutputFile::a_new_file_gets_the_trace_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("changes");
    QTest::newRow("no signal") << 0 << 0;
    QTest::newRow("one change") << 1 << 0;
    QTest::newRow("many changes") << 3 << 50000;
    QTest::newRow("many signals") << 2000 << 1;
}

void TestOutputFile::a_new_file_gets_the_trace() {
    QFETCH(const int, count);
    QFETCH(const int, changes);
    OutputFile output(path("board.vcd"));
    QCOMPARE(output.claim(false), QString());
    QCOMPARE(contents(path("board.vcd")), QByteArray()); // it is there from then on
    record(count, changes);
    QCOMPARE(output.write(), QString());
    QCOMPARE(contents(path("board.vcd")), trace());
}

void TestOutputFile::what_is_claimed_and_not_written_is_gone() {
    {
        OutputFile output(path("board.vcd"));
        QCOMPARE(output.claim(false), QString());
        QVERIFY(QFile::exists(path("board.vcd")));
    }
    QVERIFY(!QFile::exists(path("board.vcd")));
    {
        OutputFile output(path("board.vcd"));
        QCOMPARE(output.claim(false), QString());
        QCOMPARE(output.write(), QString());
    }
    QVERIFY(QFile::exists(path("board.vcd")));
}

void TestOutputFile::a_file_that_exists_is_left_alone() {
    write(path("board.vcd"), "of yesterday");
    {
        OutputFile output(path("board.vcd"));
        const QString error = output.claim(false);
        QVERIFY2(error.contains(QLatin1String("exists")) && error.contains(path("board.vcd")),
                 qPrintable(error));
    }
    QCOMPARE(contents(path("board.vcd")), QByteArray("of yesterday"));
}

void TestOutputFile::a_file_that_exists_is_replaced_if_that_is_wanted() {
    write(path("board.vcd"), QByteArray(100000, 'x').constData());
    record(1, 3);
    OutputFile output(path("board.vcd"));
    QCOMPARE(output.claim(true), QString());
    QCOMPARE(output.write(), QString());
    QCOMPARE(contents(path("board.vcd")), trace());
}

void TestOutputFile::a_file_to_replace_stays_until_it_is_written() {
    write(path("board.vcd"), "of yesterday");
    {
        OutputFile output(path("board.vcd"));
        QCOMPARE(output.claim(true), QString());
    }
    QCOMPARE(contents(path("board.vcd")), QByteArray("of yesterday"));
}

void TestOutputFile::what_cannot_be_written_is_told_at_once_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("may_replace");
    QTest::newRow("no folder") << QStringLiteral("missing/board.vcd") << false;
    QTest::newRow("no folder, to replace") << QStringLiteral("missing/board.vcd") << true;
    QTest::newRow("a file for a folder") << QStringLiteral("file/board.vcd") << false;
    QTest::newRow("a folder") << QStringLiteral("temporary") << true;
    QTest::newRow("a device") << QStringLiteral("/dev/null") << true;
}

void TestOutputFile::what_cannot_be_written_is_told_at_once() {
    QFETCH(const QString, name);
    QFETCH(const bool, may_replace);
    write(path("file"), "");
    const QString where = QDir(m_folder->path()).filePath(name);
    OutputFile output(where);
    const QString error = output.claim(may_replace);
    QVERIFY2(error.startsWith(where + QLatin1String(" cannot be written: ")), qPrintable(error));
    QVERIFY(!error.contains(QLatin1Char('\n')));
}

void TestOutputFile::a_folder_that_goes_leaves_the_trace_among_the_temporary_files() {
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("stick")));
    OutputFile output(path("stick/board.vcd"));
    QCOMPARE(output.claim(false), QString());
    record(2, 10);
    QVERIFY(QDir(path("stick")).removeRecursively());
    const QString error = output.write();
    QVERIFY2(error.startsWith(path("stick/board.vcd")), qPrintable(error));
    const QString other = error.section(QLatin1Char(' '), -1);
    QVERIFY2(other.startsWith(path("temporary/")), qPrintable(other));
    QCOMPARE(contents(other), trace());
}

void TestOutputFile::a_file_that_is_cut_short_is_told_data() {
    QTest::addColumn<int>("missing");
    QTest::newRow("the last byte") << 1;
    QTest::newRow("the last line") << 10;
    QTest::newRow("most of it") << 200000;
    QTest::newRow("nothing") << 0;
}

void TestOutputFile::a_file_that_is_cut_short_is_told() {
    QFETCH(const int, missing);
    record(3, 10000);
    const QByteArray whole = trace();
    OutputFile output(path("board.vcd"));
    QCOMPARE(output.claim(false), QString());
    QString error;
    {
        const ShortFiles limit(static_cast<rlim_t>(whole.size() - missing));
        error = output.write();
    }
    QCOMPARE(error.isEmpty(), missing == 0);
    QCOMPARE(contents(path("board.vcd")), whole.left(whole.size() - missing));
    QVERIFY(QDir(path("temporary")).isEmpty());
    if (missing != 0)
        QVERIFY2(error.contains(path("temporary")), qPrintable(error));
}

QTEST_GUILESS_MAIN(TestOutputFile)
#include "tst_outputfile.moc"
