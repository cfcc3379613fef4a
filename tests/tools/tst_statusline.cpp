#include "tools/trace/statusline.h"

#include <QTemporaryFile>
#include <QtTest>
#include <cstdio>
#include <unistd.h>

class TestStatusLine : public QObject {
    Q_OBJECT

private slots:
    void the_text_tells_how_it_goes_data();
    void the_text_tells_how_it_goes();
    void on_no_terminal_there_is_no_line();
};

Q_DECLARE_METATYPE(Progress)

void TestStatusLine::the_text_tells_how_it_goes_data() {
    QTest::addColumn<Progress>("last");
    QTest::addColumn<Progress>("now");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char* name, const Progress& last, const Progress& now,
                        const char* text) {
        QTest::newRow(name) << last << now << QByteArray(text);
    };
    row("start", {}, {}, "0.0 s  0 reports  0 reports/s  0 down");
    row("half a second", {1000000000, 10, 1}, {1500000000, 110, 3},
        "1.5 s  110 reports  200 reports/s  3 down");
    row("late", {0, 0, 0}, {3000000000, 1000, 0}, "3.0 s  1000 reports  333 reports/s  0 down");
    row("an hour", {3600000000000, 720000, 0}, {3600549999999, 720000, 0},
        "3600.5 s  720000 reports  0 reports/s  0 down");
}

void TestStatusLine::the_text_tells_how_it_goes() {
    QFETCH(const Progress, last);
    QFETCH(const Progress, now);
    QFETCH(const QByteArray, text);
    QCOMPARE(QByteArray::fromStdString(statusText(last, now)), text);
}

void TestStatusLine::on_no_terminal_there_is_no_line() {
    QTemporaryFile file;
    QVERIFY(file.open());
    std::fflush(stderr);
    const int kept = dup(STDERR_FILENO);
    dup2(file.handle(), STDERR_FILENO);
    {
        const StatusLine line([] { return Progress(); });
        QVERIFY(!line.findChild<QTimer*>()->isActive());
    }
    std::fflush(stderr);
    dup2(kept, STDERR_FILENO);
    close(kept);
    QCOMPARE(file.size(), qint64{0});
}

QTEST_GUILESS_MAIN(TestStatusLine)
#include "tst_statusline.moc"
