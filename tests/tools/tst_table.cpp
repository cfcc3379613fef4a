#include "tests/tools/example_summary.h"

#include <QtTest>

class TestTable : public QObject {
    Q_OBJECT

private slots:
    void a_table_tells_every_figure();
    void a_recording_without_reports_has_a_row_for_each_kind();
    void no_line_is_longer_than_a_wide_terminal();
};

void TestTable::a_table_tells_every_figure() {
    QCOMPARE(QByteArray::fromStdString(tableText(example_summary())), QByteArray(R"(Recorded 3.1 s.

                       down  reports/s         ms, down                           ms, hover                 at rest           board
contact    reports  at once     median  least    median  99 %  longest  dropouts     median  99 %  longest        s   spread      %
pens           303        1        100     96      10.0  10.0     50.0         1       10.0  10.0     10.0      2.0  30 x 10    1.6
  pen0         303                 100     96      10.0  10.0     50.0         1       10.0  10.0     10.0      2.0  30 x 10    1.6
touches          3        1          -      -       5.0   7.0      7.0         0          -     -        -        -        -    0.8
  touch12        3                   -      -       5.0   7.0      7.0         0          -     -        -        -        -    0.8
erasers          0        0          -      -         -     -        -         0          -     -        -        -        -    0.0

touch12 never lifted: down since 1.0 s, last reported at 1.0 s

pens                touches
................    ................
................    ................
.......#........    ................
................    ................
................    ................
................    ................
................    ................
.........#......    #...............
)"));
}

void TestTable::a_recording_without_reports_has_a_row_for_each_kind() {
    Summary summary;
    for (const ContactKind kind : kContactKinds)
        summary.kinds.push_back({kind, Figures(), 0, {}});
    summary.elapsed_ns = 1949999999;
    QCOMPARE(QByteArray::fromStdString(tableText(summary)), QByteArray(R"(Recorded 1.9 s.

                     down  reports/s         ms, down                           ms, hover                 at rest          board
contact  reports  at once     median  least    median  99 %  longest  dropouts     median  99 %  longest        s  spread      %
pens           0        0          -      -         -     -        -         0          -     -        -        -       -    0.0
touches        0        0          -      -         -     -        -         0          -     -        -        -       -    0.0
erasers        0        0          -      -         -     -        -         0          -     -        -        -       -    0.0
)"));
}

void TestTable::no_line_is_longer_than_a_wide_terminal() {
    Summary summary = example_summary();
    for (int i = 0; i < 1000000; ++i)
        summary.kinds[1].figures.down_us.add(99999 + i % 2);
    for (KindSummary& kind : summary.kinds) {
        kind.figures.reports = 720000000;
        kind.figures.rest.blocks = 9999;
    }
    for (const QByteArray& line : QByteArray::fromStdString(tableText(summary)).split('\n'))
        QVERIFY2(line.size() <= 140, line.constData());
}

QTEST_GUILESS_MAIN(TestTable)
#include "tst_table.moc"
