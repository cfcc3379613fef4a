#include "tools/trace/recording.h"

#include "tests/support/board_reports.h"
#include "tests/support/trace_registry.h"

#include <QtTest>
#include <set>

using Strings = std::vector<std::string>;
using Values = std::vector<double>;

namespace {

/// Reports whose points are board units.
const BoardReports kBoard(QSize(32768, 32768));

constexpr std::int64_t kMillisecond = 1000000;

/// A recording whose time is what the test says.
class Recorded {
public:
    void at(int time_ms) { m_now_ns = kStart_ns + time_ms * kMillisecond; }
    void report(const std::string& bytes) {
        TavelHardware::processPacketCallback(1,
                                             reinterpret_cast<const unsigned char*>(bytes.data()),
                                             static_cast<unsigned int>(bytes.size()), &m_hardware);
    }
    Recording& operator*() { return m_recording; }
    Recording* operator->() { return &m_recording; }

private:
    static constexpr std::int64_t kStart_ns = 123456789012345;

    std::int64_t m_now_ns = kStart_ns;
    TavelHardware m_hardware{nullptr};
    Recording m_recording{m_hardware, [this] { return m_now_ns; }};
};

/// A report of two fingers, of those of one each.
std::string together(const std::string& one, const std::string& other) {
    return one + other.substr(2);
}

} // namespace

class TestRecording : public QObject {
    Q_OBJECT

private slots:
    void init();
    void a_pen_is_three_signals();
    void the_buttons_of_a_pen_are_bits_data();
    void the_buttons_of_a_pen_are_bits();
    void a_finger_is_four_signals();
    void an_eraser_is_five_signals();
    void every_signal_is_a_number();
    void every_name_is_made_of_what_readers_accept();
    void a_value_that_stays_is_recorded_once();
    void every_contact_of_a_report_is_recorded();
    void pens_of_two_boards_with_one_number_are_one_contact();
    void what_is_no_report_of_a_contact_is_left_out();
    void progress_tells_the_reports_and_what_is_down();
    void the_summary_has_every_kind_and_contact();
    void times_are_counted_from_the_start();
    void without_reports_there_is_an_empty_summary();
    void the_clock_goes_on();
};

void TestRecording::init() {
    forget_trace();
}

void TestRecording::a_pen_is_three_signals() {
    Recorded recorded;
    recorded.report(kBoard.pen(5, {100, 200}, true));
    recorded.report(kBoard.pen(5, {101, 199}, false));
    QCOMPARE(traced_names(), (Strings{"pen5_x", "pen5_y", "pen5_buttons"}));
    QCOMPARE(traced_values("pen5_x"), (Values{100, 101}));
    QCOMPARE(traced_values("pen5_y"), (Values{200, 199}));
    QCOMPARE(traced_values("pen5_buttons"), (Values{1, 0}));
}

void TestRecording::the_buttons_of_a_pen_are_bits_data() {
    QTest::addColumn<int>("buttons");
    for (int buttons = 0; buttons < 8; ++buttons)
        QTest::addRow("%d", buttons) << buttons;
}

void TestRecording::the_buttons_of_a_pen_are_bits() {
    QFETCH(const int, buttons);
    Recorded recorded;
    std::string report = kBoard.pen(15, {0, 0}, false);
    report.back() = static_cast<char>(report.back() | buttons);
    recorded.report(report);
    QCOMPARE(traced_values("pen15_buttons"), (Values{double(buttons)}));
    QCOMPARE(recorded->progress().down, buttons & 1); // the tip alone is it
}

void TestRecording::a_finger_is_four_signals() {
    Recorded recorded;
    recorded.report(kBoard.touch(127, {32000, 7}, true, 300));
    recorded.report(kBoard.touch(127, {32001, 8}, false, 0));
    QCOMPARE(traced_names(),
             (Strings{"touch127_x", "touch127_y", "touch127_buttons", "touch127_size"}));
    QCOMPARE(traced_values("touch127_x"), (Values{32000, 32001}));
    QCOMPARE(traced_values("touch127_y"), (Values{7, 8}));
    QCOMPARE(traced_values("touch127_buttons"), (Values{1, 0}));
    QCOMPARE(traced_values("touch127_size"), (Values{300, 0}));
}

void TestRecording::an_eraser_is_five_signals() {
    Recorded recorded;
    recorded.report(kBoard.erase(1, {5, 6}, true, 700, 800));
    recorded.report(kBoard.erase(1, {7, 8}, false, 701, 802));
    QCOMPARE(traced_names(), (Strings{"eraser1_x", "eraser1_y", "eraser1_buttons", "eraser1_width",
                                      "eraser1_height"}));
    QCOMPARE(traced_values("eraser1_x"), (Values{5, 7}));
    QCOMPARE(traced_values("eraser1_y"), (Values{6, 8}));
    QCOMPARE(traced_values("eraser1_buttons"), (Values{1, 0}));
    QCOMPARE(traced_values("eraser1_width"), (Values{700, 701}));
    QCOMPARE(traced_values("eraser1_height"), (Values{800, 802}));
}

void TestRecording::every_signal_is_a_number() {
    Recorded recorded;
    recorded.report(kBoard.pen(0, {1, 1}, true));
    recorded.report(kBoard.touch(0, {1, 1}, true, 1));
    recorded.report(kBoard.erase(0, {1, 1}, true, 1, 1));
    QCOMPARE(Vcd::m_id_to_changes_map.size(), std::size_t{3 + 4 + 5});
    for (const auto& [id, changes] : Vcd::m_id_to_changes_map)
        QVERIFY(changes.front().type != Vcd::kChar);
}

void TestRecording::every_name_is_made_of_what_readers_accept() {
    Recorded recorded;
    for (int id = 0; id < 128; ++id) {
        recorded.report(kBoard.pen(id % 16, {1, 1}, true));
        recorded.report(kBoard.touch(id, {1, 1}, true, 1));
        recorded.report(kBoard.erase(id, {1, 1}, true, 1, 1));
    }
    const Strings names = traced_names();
    QCOMPARE(names.size(), std::size_t{16 * 3 + 128 * 4 + 128 * 5});
    QCOMPARE(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    const QRegularExpression accepted(QStringLiteral("^[a-z][a-z0-9_]*$"));
    for (const std::string& name : names)
        QVERIFY2(accepted.match(QString::fromStdString(name)).hasMatch(), name.c_str());
}

void TestRecording::a_value_that_stays_is_recorded_once() {
    Recorded recorded;
    for (int i = 0; i < 5; ++i)
        recorded.report(kBoard.pen(0, {100, 200 + i}, true));
    QCOMPARE(traced_values("pen0_x"), (Values{100}));
    QCOMPARE(traced_values("pen0_y"), (Values{200, 201, 202, 203, 204}));
    QCOMPARE(recorded->summary().kinds[0].figures.reports, std::uint64_t{5});
}

void TestRecording::every_contact_of_a_report_is_recorded() {
    Recorded recorded;
    recorded.report(
        together(kBoard.touch(0, {10, 20}, true, 1), kBoard.touch(9, {30, 40}, true, 2)));
    QCOMPARE(traced_values("touch0_x"), (Values{10}));
    QCOMPARE(traced_values("touch9_x"), (Values{30}));
    const Summary summary = recorded->summary();
    QCOMPARE(summary.kinds[1].figures.reports, std::uint64_t{1});
    QCOMPARE(summary.kinds[1].contacts.size(), std::size_t{2});
    QCOMPARE(summary.kinds[1].mostDown, 2);
}

void TestRecording::pens_of_two_boards_with_one_number_are_one_contact() {
    Recorded recorded;
    const std::string first = kBoard.pen(0, {10, 20}, true);
    const std::string second = kBoard.pen(0, {30000, 20}, true);
    recorded.report(first); // whatever the device: it is not told on
    recorded.report(second);
    QCOMPARE(recorded->summary().kinds[0].contacts.size(), std::size_t{1});
    QCOMPARE(traced_values("pen0_x"), (Values{10, 30000}));
}

void TestRecording::what_is_no_report_of_a_contact_is_left_out() {
    Recorded recorded;
    recorded.report(std::string("\x08\xA5\x01\x02\x03\x04\x05\x06", 8));
    recorded.report("something else");
    QCOMPARE(recorded->progress().reports, std::uint64_t{0});
    recorded.report(std::string("\x02\x45", 2)); // of no finger, but of the kind
    QCOMPARE(recorded->progress().reports, std::uint64_t{1});
    QCOMPARE(traced_names(), Strings());
}

void TestRecording::progress_tells_the_reports_and_what_is_down() {
    Recorded recorded;
    recorded.report(kBoard.pen(0, {1, 1}, true));
    recorded.report(kBoard.pen(1, {1, 1}, false));
    recorded.report(kBoard.touch(0, {1, 1}, true, 1));
    recorded.report(kBoard.erase(0, {1, 1}, true, 1, 1));
    recorded.at(2500);
    const Progress progress = recorded->progress();
    QCOMPARE(progress.reports, std::uint64_t{4});
    QCOMPARE(progress.down, 3);
    QCOMPARE(progress.elapsed_ns, 2500 * kMillisecond);
}

void TestRecording::the_summary_has_every_kind_and_contact() {
    Recorded recorded;
    recorded.report(kBoard.pen(2, {1, 1}, true));
    recorded.report(kBoard.pen(1, {1, 1}, true));
    recorded.report(kBoard.erase(7, {1, 1}, true, 1, 1));
    const Summary summary = recorded->summary();
    QCOMPARE(summary.kinds.size(), std::size_t{3});
    QVERIFY(summary.kinds[0].kind == ContactKind::Pen);
    QVERIFY(summary.kinds[1].kind == ContactKind::Touch);
    QVERIFY(summary.kinds[2].kind == ContactKind::Eraser);
    QCOMPARE(summary.kinds[0].contacts.size(), std::size_t{2});
    QCOMPARE(summary.kinds[0].contacts[0].number, 1);
    QCOMPARE(summary.kinds[0].contacts[1].number, 2);
    QVERIFY(summary.kinds[1].contacts.empty());
    QCOMPARE(summary.kinds[2].contacts[0].number, 7);
    QCOMPARE(summary.kinds[0].mostDown, 2);
    QCOMPARE(summary.kinds[2].figures.reports, std::uint64_t{1});
}

void TestRecording::times_are_counted_from_the_start() {
    Recorded recorded;
    recorded.at(1000);
    recorded.report(kBoard.touch(4, {1, 1}, true, 1));
    recorded.report(kBoard.touch(5, {1, 1}, true, 1));
    recorded.at(1500);
    recorded.report(kBoard.touch(4, {1, 1}, true, 1));
    recorded.report(kBoard.touch(5, {1, 1}, false, 1));
    recorded.at(9000);
    const Summary summary = recorded->summary();
    QCOMPARE(summary.elapsed_ns, 9000 * kMillisecond);
    const auto& stuck = summary.kinds[1].contacts[0].neverLifted;
    QVERIFY(stuck.has_value());
    QCOMPARE(stuck->since_ns, 1000 * kMillisecond);
    QCOMPARE(stuck->lastReport_ns, 1500 * kMillisecond);
    QVERIFY(!summary.kinds[1].contacts[1].neverLifted.has_value());
    QCOMPARE(summary.kinds[1].figures.down_us.greatest(), std::int64_t{500000});
}

void TestRecording::without_reports_there_is_an_empty_summary() {
    Recorded recorded;
    recorded.at(10);
    const Summary summary = recorded->summary();
    QCOMPARE(summary.kinds.size(), std::size_t{3});
    for (const KindSummary& kind : summary.kinds) {
        QCOMPARE(kind.figures.reports, std::uint64_t{0});
        QCOMPARE(kind.mostDown, 0);
        QVERIFY(kind.contacts.empty());
    }
    QCOMPARE(traced_names(), Strings());
}

void TestRecording::the_clock_goes_on() {
    const std::int64_t before = Recording::steadyClock();
    QTRY_VERIFY(Recording::steadyClock() > before);
}

QTEST_GUILESS_MAIN(TestRecording)
#include "tst_recording.moc"
