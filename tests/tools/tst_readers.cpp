#include "tests/support/board_reports.h"
#include "tests/support/waveform_reader.h"
#include "tests/tools/trace_program.h"

#include <QtTest>

namespace {

const BoardReports kBoard(QSize(32768, 32768));

/// A contact's numbers without the times, and each but once in a row.
QList<double> values(const Waveforms& waveforms, const QByteArray& signal) {
    QList<double> values;
    for (const auto& change : waveforms.value(signal))
        values << change.second;
    return values;
}

/// What the boards send, one report a millisecond.
class Capture {
public:
    Capture& add(const std::string& report) {
        m_text += QByteArray::number(qint64{m_time_ms++} * 1000000) + " report 1 " +
                  QByteArray::fromStdString(BoardReports::hexadecimal(report)) + '\n';
        return *this;
    }
    const QByteArray& text() const { return m_text; }
    int reports() const { return m_time_ms - 1; }

private:
    QByteArray m_text = "kestrune-capture 1\n0 plug 1 1 \"hid<H1>xp<4>xt<10>\"\n";
    int m_time_ms = 1;
};

/// The viewer's last value of each signal, and its name ahead of it.
const char kLastValues[] = R"(
    gtkwave::setMarker [gtkwave::getMaxTime]
    for {set i 0} {$i < [gtkwave::getNumFacs]} {incr i} {
        set name [gtkwave::getFacName $i]
        gtkwave::addSignalsFromList [list $name]
        puts "$name [gtkwave::getTraceValueAtMarkerFromName $name]"
    })";

} // namespace

class TestReaders : public QObject {
    Q_OBJECT

private slots:
    void what_the_boards_send_is_read_back();
    void the_demonstration_is_read_back_change_by_change();
    void the_viewer_shows_every_signal();
    void a_recording_without_a_report_has_nothing_to_view();

private:
    WaveformReader m_reader;
};

void TestReaders::what_the_boards_send_is_read_back() {
    Capture capture;
    QList<double> x;
    QList<double> size;
    QList<double> height;
    for (int i = 0; i < 500; ++i) {
        x << (i * 131) % 32768;
        size << 1000 - i;
        height << i;
        const QPoint at(static_cast<int>(x.last()), 700);
        capture.add(kBoard.pen(2, at, true))
            .add(kBoard.touch(9, at, true, 1000 - i))
            .add(kBoard.erase(1, at, true, 50, i));
    }
    capture.add(kBoard.pen(2, {0, 32767}, false));
    x << 0;
    TraceProgram program;
    program.play(capture.text());
    const auto result = program.record({}, capture.reports());
    QVERIFY2(result.status == 0, result.errors.constData());
    const QByteArray vcd = m_reader.converted(program.path("board.vcd"));
    QVERIFY2(!vcd.isNull(), m_reader.why());
    const Waveforms read = waveforms_of(vcd);
    QCOMPARE(read.keys(),
             (QByteArrayList{"eraser1_buttons", "eraser1_height", "eraser1_width", "eraser1_x",
                             "eraser1_y", "pen2_buttons", "pen2_x", "pen2_y", "touch9_buttons",
                             "touch9_size", "touch9_x", "touch9_y"}));
    QCOMPARE(values(read, "pen2_x"), x);
    QCOMPARE(values(read, "pen2_y"), (QList<double>{700, 32767}));
    QCOMPARE(values(read, "pen2_buttons"), (QList<double>{1, 0}));
    QCOMPARE(values(read, "touch9_size"), size);
    QCOMPARE(values(read, "touch9_buttons"), QList<double>{1});
    QCOMPARE(values(read, "eraser1_x"), x.mid(0, 500));
    QCOMPARE(values(read, "eraser1_width"), QList<double>{50});
    QCOMPARE(values(read, "eraser1_height"), height);
}

void TestReaders::the_demonstration_is_read_back_change_by_change() {
    TraceProgram program;
    program.set_variable("KESTRUNE_CAPTURE_SPEED", QStringLiteral("10"));
    const auto result = program.record({}, 3000);
    QVERIFY2(result.status == 0, result.errors.constData());
    const QByteArray vcd = m_reader.converted(program.path("board.vcd"));
    QVERIFY2(!vcd.isNull(), m_reader.why());
    const Waveforms read = waveforms_of(vcd);
    const Waveforms written = waveforms_of(program.contents("board.vcd"));
    QVERIFY(written.value("touch9_x").size() > 100);
    QCOMPARE(read.keys(), written.keys());
    for (const QByteArray& signal : written.keys())
        QVERIFY2(read.value(signal) == written.value(signal), signal.constData());
}

void TestReaders::the_viewer_shows_every_signal() {
    Capture capture;
    capture.add(kBoard.pen(3, {1, 2}, true))
        .add(kBoard.pen(3, {3, 4}, false))
        .add(kBoard.touch(127, {5, 6}, true, 7))
        .add(kBoard.erase(0, {8, 9}, true, 10, 11));
    TraceProgram program;
    program.play(capture.text());
    const auto result = program.record({}, capture.reports());
    QVERIFY2(result.status == 0, result.errors.constData());
    XSession session;
    QVERIFY2(session.start(QSize(800, 600), XSession::Openbox), qPrintable(session.error()));
    const QByteArray shown = m_reader.viewed(session, program.path("board.vcd"), kLastValues);
    QVERIFY2(!shown.isNull(), m_reader.why());
    QCOMPARE(m_reader.refusal(), QByteArray());
    QCOMPARE(shown, QByteArray("logic.eraser0_buttons 1\n"
                               "logic.eraser0_height 11\n"
                               "logic.eraser0_width 10\n"
                               "logic.eraser0_x 8\n"
                               "logic.eraser0_y 9\n"
                               "logic.pen3_buttons 0\n"
                               "logic.pen3_x 3\n"
                               "logic.pen3_y 4\n"
                               "logic.touch127_buttons 1\n"
                               "logic.touch127_size 7\n"
                               "logic.touch127_x 5\n"
                               "logic.touch127_y 6\n"));
}

void TestReaders::a_recording_without_a_report_has_nothing_to_view() {
    TraceProgram program;
    program.play(Capture().text());
    QCOMPARE(program.run(arguments("--duration 0.1")).status, 0);
    XSession session;
    QVERIFY2(session.start(QSize(800, 600), XSession::Openbox), qPrintable(session.error()));
    const QByteArray shown = m_reader.viewed(session, program.path("board.vcd"), kLastValues);
    QVERIFY2(!shown.isNull(), m_reader.why());
    QCOMPARE(shown, QByteArray(""));
    QVERIFY2(m_reader.refusal().contains("No symbols"), m_reader.refusal().constData());
}

QTEST_GUILESS_MAIN(TestReaders)
#include "tst_readers.moc"
