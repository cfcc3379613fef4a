#include "tests/support/trace_registry.h"
#include "tests/support/waveform_reader.h"
#include "tests/support/x_session.h"

#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <string>
#include <vector>

namespace {

/// What a reader is to find: every change but those of characters, with the six digits that are
/// written.
Waveforms recorded() {
    Waveforms waveforms;
    for (const auto& [id, name] : Vcd::m_id_to_name_map) {
        auto& waveform = waveforms[QByteArray::fromStdString(name)];
        for (const Vcd::change& change : Vcd::m_id_to_changes_map[id]) {
            if (change.type != Vcd::kChar)
                waveform.append({change.time, QByteArray::number(change.value, 'g', 6).toDouble()});
        }
    }
    return waveforms;
}

void compare(const Waveforms& actual, const Waveforms& expected) {
    QCOMPARE(actual.keys(), expected.keys());
    for (const QByteArray& name : expected.keys())
        QVERIFY2(actual.value(name) == expected.value(name), name.constData());
}

void set_times(const Vcd& signal, const std::vector<std::int64_t>& times) {
    auto time = times.begin();
    for (Vcd::change& change : Vcd::m_id_to_changes_map[signal.id])
        change.time = *time++;
}

} // namespace

class TestReaders : public QObject {
    Q_OBJECT

private slots:
    void init();
    void numbers_of_every_kind_come_back_from_the_converters();
    void the_codes_of_many_signals_are_told_apart();
    void changes_at_one_time_and_at_close_ones_keep_their_times();
    void the_viewer_reads_characters_and_numbers();
    void the_converters_drop_characters();
    void the_viewer_refuses_a_name_data();
    void the_viewer_refuses_a_name();

private:
    QString written() const {
        const QString path = m_folder->filePath(QStringLiteral("trace.vcd"));
        Vcd::write_vcd(path.toStdString());
        return path;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    WaveformReader m_reader;
};

void TestReaders::init() {
    forget_trace();
    m_folder = std::make_unique<QTemporaryDir>();
}

void TestReaders::numbers_of_every_kind_come_back_from_the_converters() {
    Vcd whole("whole", 3);
    Vcd natural("natural", 7U);
    Vcd real("real", 0.1);
    for (const double value : {-1.0, 0.0, 32767.0, 65535.0, 2147483647.0, -2147483648.0})
        whole.update(value);
    for (const double value : {0.0, 4294967295.0, 99999.0, 100000.0, 999999.0, 1000000.0})
        natural.update(value);
    for (const double value : {1e-5, 123.456, -1e300, 1e-300, 1234567.0, 0.5})
        real.update(value);
    const QByteArray vcd = m_reader.converted(written());
    QVERIFY2(!vcd.isNull(), m_reader.why());
    compare(waveforms_of(vcd), recorded());
    QCOMPARE(waveforms_of(vcd).value("whole").size(), 7);
}

void TestReaders::the_codes_of_many_signals_are_told_apart() {
    constexpr int count = 93 * 94; // codes of one character, of two, and of three
    for (int i = 0; i < count; ++i)
        Vcd("signal_" + std::to_string(i), i);
    const QByteArray vcd = m_reader.converted(written());
    QVERIFY2(!vcd.isNull(), m_reader.why());
    QCOMPARE(waveforms_of(vcd).size(), count);
    compare(waveforms_of(vcd), recorded());
}

void TestReaders::changes_at_one_time_and_at_close_ones_keep_their_times() {
    Vcd one("one", 1);
    Vcd other("other", 10);
    one.update(2);
    one.update(3);
    other.update(20);
    other.update(30);
    set_times(one, {0, 6, 4000000000000000}); // of which 0 is not written
    set_times(other, {5, 7, 4000000000000000});
    const QByteArray vcd = m_reader.converted(written());
    QVERIFY2(!vcd.isNull(), m_reader.why());
    compare(waveforms_of(vcd), recorded());
    QCOMPARE(waveforms_of(vcd).value("one").last().first, qint64{4000000000000000});
}

void TestReaders::the_viewer_reads_characters_and_numbers() {
    Vcd letter("letter", 'A');
    Vcd number("number", 1.5);
    letter.update('z');
    number.update(-32768);
    letter.update('!');
    set_times(letter, {110, 120, 130});
    set_times(number, {140, 150});
    XSession session;
    QVERIFY2(session.start(QSize(800, 600), XSession::Openbox), qPrintable(session.error()));
    const QByteArray printed = m_reader.viewed(session, written(), R"(
        for {set i 0} {$i < [gtkwave::getNumFacs]} {incr i} {
            puts [gtkwave::getFacName $i]
            gtkwave::addSignalsFromList [list [gtkwave::getFacName $i]]
        }
        foreach time {110 119 120 130 140 150} {
            gtkwave::setMarker $time
            puts "$time [gtkwave::getTraceValueAtMarkerFromIndex 0]\
                        [gtkwave::getTraceValueAtMarkerFromIndex 1]"
        })");
    QVERIFY2(!printed.isNull(), m_reader.why());
    QCOMPARE(m_reader.refusal(), QByteArray());
    QCOMPARE(printed, QByteArray("logic.letter\n"
                                 "logic.number\n"
                                 "110 A nan\n"
                                 "119 A nan\n"
                                 "120 z nan\n"
                                 "130 ! nan\n"
                                 "140 ! 1.5\n"
                                 "150 ! -32768\n"));
}

void TestReaders::the_converters_drop_characters() {
    Vcd letter("letter", 'A');
    const Vcd number("number", 5);
    letter.update('B');
    const QByteArray vcd = m_reader.converted(written());
    QVERIFY2(!vcd.isNull(), m_reader.why());
    compare(waveforms_of(vcd), recorded());
    QVERIFY(waveforms_of(vcd).contains("letter")); // without a value
    QVERIFY2(!vcd.contains("\ns") && !vcd.contains("\nb"), vcd.constData());
}

void TestReaders::the_viewer_refuses_a_name_data() {
    QTest::addColumn<bool>("is_refused");
    QTest::newRow("pen 0") << true;
    QTest::newRow("pen:0") << true;
    QTest::newRow("pen0_x") << false;
    QTest::newRow("Pen_10_Y") << false;
}

void TestReaders::the_viewer_refuses_a_name() {
    QFETCH(const bool, is_refused);
    const Vcd signal(QTest::currentDataTag(), 5);
    XSession session;
    QVERIFY2(session.start(QSize(800, 600), XSession::Openbox), qPrintable(session.error()));
    const QByteArray printed = m_reader.viewed(session, written(), "puts [gtkwave::getFacName 0]");
    QVERIFY2(!printed.isNull(), m_reader.why());
    if (is_refused) {
        QVERIFY2(m_reader.refusal().contains("parse error"), m_reader.refusal().constData());
        QCOMPARE(printed, QByteArray(""));
    } else {
        QCOMPARE(printed, "logic." + QByteArray(QTest::currentDataTag()) + '\n');
    }
}

QTEST_GUILESS_MAIN(TestReaders)
#include "tst_readers.moc"
