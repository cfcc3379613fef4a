#include "trace/vcd.h"

#include <QtTest>
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <limits>
#include <locale>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <type_traits>
#include <vector>

static_assert(sizeof(Vcd::change) == 24);
static_assert(std::is_aggregate_v<Vcd::change> && std::is_trivially_copyable_v<Vcd::change>);
static_assert(offsetof(Vcd::change, id) == 0 && offsetof(Vcd::change, type) == 4 &&
              offsetof(Vcd::change, value) == 8 && offsetof(Vcd::change, time) == 16);
static_assert(std::is_same_v<decltype(Vcd::change::id), std::uint32_t> &&
              std::is_same_v<decltype(Vcd::change::type), int> &&
              std::is_same_v<decltype(Vcd::change::value), double> &&
              std::is_same_v<decltype(Vcd::change::time), std::int64_t>);
static_assert(std::is_same_v<decltype(Vcd::id), std::uint32_t> &&
              std::is_same_v<decltype(Vcd::type), int> && !std::is_polymorphic_v<Vcd>);

using namespace std::chrono_literals;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// Before main, and so before any code that could have set the trace up.
const auto kTestStart = std::chrono::system_clock::now();
const Vcd kStaticSignal("static", 3); // NOLINT(cert-err58-cpp)

const auto kProgramStart = Vcd::m_starttime;

// What every test function starts from; the trace itself is never emptied.
void start_afresh() {
    Vcd::m_id_to_name_map.clear();
    Vcd::m_name_to_id_map.clear();
    Vcd::m_id_to_changes_map.clear();
    Vcd::m_next_id = 33;
    Vcd::m_starttime = kProgramStart;
}

auto& changes_of(const Vcd& signal) {
    return Vcd::m_id_to_changes_map[signal.id];
}

std::vector<double> values_of(const Vcd& signal) {
    std::vector<double> values;
    for (const Vcd::change& change : changes_of(signal))
        values.push_back(change.value);
    return values;
}

// Gives the signal's changes these times.
void set_times(const Vcd& signal, const std::vector<std::int64_t>& times) {
    QCOMPARE(changes_of(signal).size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        changes_of(signal)[i].time = times[i];
}

std::int64_t nanoseconds_since_start() {
    return std::chrono::nanoseconds(std::chrono::system_clock::now() - Vcd::m_starttime).count();
}

QByteArray contents_of(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

const QByteArray kHeaderStart = "$date It's a new day. $end\n"
                                "$version VCD generator V1.0. $end\n"
                                "$comment VCD generator by Vexlin $end\n"
                                "$timescale 1 ns $end\n"
                                "$scope module logic $end\n";
const QByteArray kHeaderEnd = "$upscope $end\n"
                              "$enddefinitions $end\n";

// The code of a signal, counted up from the first one: the first digit turns over first.
std::string code_counted_up_to(std::uint32_t id) {
    std::string code = "!";
    for (std::uint32_t i = 33; i < id; ++i) {
        std::size_t digit = 0;
        while (digit < code.size() && code[digit] == '}')
            code[digit++] = '!';
        if (digit == code.size())
            code += '"'; // a further digit starts at one
        else
            ++code[digit];
    }
    return code;
}

// The lines of all changes, by the plainest way there is.
std::string plain_lines() {
    std::vector<Vcd::change> all;
    std::map<std::uint32_t, std::string> codes;
    for (const auto& [id, changes] : Vcd::m_id_to_changes_map) {
        codes[id] = code_counted_up_to(id);
        all.insert(all.end(), changes.begin(), changes.end());
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Vcd::change& a, const Vcd::change& b) { return a.time < b.time; });
    std::ostringstream lines;
    std::int64_t last_time = 0;
    for (const Vcd::change& change : all) {
        if (change.time != last_time)
            lines << '#' << change.time << '\n';
        last_time = change.time;
        if (change.type != 0)
            lines << 'r' << change.value;
        else
            lines << 's' << static_cast<char>(static_cast<int>(change.value));
        lines << ' ' << codes[change.id] << '\n';
    }
    return lines.str();
}

} // namespace

class TestVcd : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void a_signal_gets_the_kind_of_its_first_value();
    void numbers_are_given_in_order_from_33();
    void a_second_handle_joins_the_signal();
    void a_change_has_the_kind_of_the_handle_that_recorded_it();
    void a_signal_outlives_its_handles();

    void only_changed_values_are_recorded_data();
    void only_changed_values_are_recorded();
    void a_change_has_the_time_since_the_start();
    void updates_within_a_tick_are_a_nanosecond_apart();
    void a_tick_is_not_given_twice();
    void times_increase_when_the_clock_steps_back();

    void codes_count_in_base_93_data();
    void codes_count_in_base_93();
    void an_empty_trace_is_a_header();
    void signals_are_declared_by_number();
    void names_are_written_as_they_are();
    void a_file_holds_all_changes_in_order_of_time();
    void a_change_at_time_zero_has_no_time_line();
    void times_before_the_start_are_written();
    void equal_times_are_written_once_and_by_number();
    void a_value_is_written_as_a_stream_has_it_data();
    void a_value_is_written_as_a_stream_has_it();
    void the_decimal_point_is_no_matter_of_the_locale();
    void a_char_is_written_as_one_character_data();
    void a_char_is_written_as_one_character();
    void handles_of_different_kinds_write_their_own_lines();
    void many_signals_are_merged_as_if_sorted_data();
    void many_signals_are_merged_as_if_sorted();
    void a_file_starts_over_where_touched_times_turn_out_late();
    void times_may_lie_as_far_apart_as_there_are();

    void the_file_is_replaced();
    void a_later_file_holds_what_was_added();
    void a_file_that_cannot_be_opened_is_left_alone_data();
    void a_file_that_cannot_be_opened_is_left_alone();
    void a_full_disk_ends_the_writing();
    void a_disk_that_fills_up_keeps_what_fitted();

private:
    QByteArray written();

    QTemporaryDir m_dir;
    QString m_path = m_dir.filePath(QStringLiteral("trace.vcd"));
};

QByteArray TestVcd::written() {
    Vcd::write_vcd(m_path.toStdString());
    return contents_of(m_path);
}

void TestVcd::initTestCase() {
    // The only look at a trace that nobody has touched.
    QCOMPARE(kStaticSignal.id, 33U);
    QCOMPARE(Vcd::m_next_id, 34U);
    QCOMPARE(Vcd::m_id_to_name_map.size(), std::size_t(1));
    QCOMPARE(Vcd::m_id_to_name_map[33], std::string("static"));
    QCOMPARE(Vcd::m_name_to_id_map.size(), std::size_t(1));
    QCOMPARE(changes_of(kStaticSignal).size(), std::size_t(1));
    QVERIFY(changes_of(kStaticSignal)[0].time >= 0);
    QVERIFY(Vcd::m_starttime <= kTestStart);
    QVERIFY(Vcd::m_starttime > kTestStart - 10s);
    QVERIFY(m_dir.isValid());
}

void TestVcd::init() {
    start_afresh();
    QFile::remove(m_path);
}

void TestVcd::a_signal_gets_the_kind_of_its_first_value() {
    const auto check = [](const Vcd& signal, int type, double value) {
        QCOMPARE(signal.type, type);
        QCOMPARE(changes_of(signal).size(), std::size_t(1));
        QCOMPARE(changes_of(signal)[0].id, signal.id);
        QCOMPARE(changes_of(signal)[0].type, type);
        QCOMPARE(changes_of(signal)[0].value, value);
    };
    check(Vcd("char", 'A'), 0, 65.0);
    check(Vcd("double", 0.5), 1, 0.5);
    check(Vcd("int", -7), 2, -7.0);
    check(Vcd("unsigned int", 4294967295U), 3, 4294967295.0);
}

void TestVcd::numbers_are_given_in_order_from_33() {
    const Vcd z("z", 1);
    const Vcd a("a", 1);
    const Vcd m("m", 1);
    QCOMPARE(z.id, 33U);
    QCOMPARE(a.id, 34U);
    QCOMPARE(m.id, 35U);
    QCOMPARE(Vcd::m_next_id, 36U);
    QVERIFY((Vcd::m_id_to_name_map ==
             std::map<std::uint32_t, std::string>{{33, "z"}, {34, "a"}, {35, "m"}}));
    QVERIFY((Vcd::m_name_to_id_map ==
             std::map<std::string, std::uint32_t>{{"a", 34}, {"m", 35}, {"z", 33}}));
}

void TestVcd::a_second_handle_joins_the_signal() {
    const Vcd first("a", 1);
    const Vcd second("a", 1.0);
    QCOMPARE(second.id, first.id);
    QCOMPARE(first.type, 2);
    QCOMPARE(second.type, 1);
    QCOMPARE(Vcd::m_next_id, 34U);
    QCOMPARE(changes_of(first).size(), std::size_t(1));
    QCOMPARE(changes_of(first)[0].type, 2);

    const Vcd third("a", 2U);
    QCOMPARE(third.id, first.id);
    QVERIFY((values_of(first) == std::vector<double>{1.0, 2.0}));
}

void TestVcd::a_change_has_the_kind_of_the_handle_that_recorded_it() {
    Vcd number("a", 1);
    Vcd letter("a", 'b');
    number.update(3.5);
    letter.update(99.0);
    const auto& changes = changes_of(number);
    QCOMPARE(changes.size(), std::size_t(4));
    QCOMPARE(changes[0].type, 2);
    QCOMPARE(changes[1].type, 0);
    QCOMPARE(changes[2].type, 2);
    QCOMPARE(changes[3].type, 0);
    QCOMPARE(changes[2].value, 3.5); // whatever the kind
}

void TestVcd::a_signal_outlives_its_handles() {
    std::uint32_t id = 0;
    {
        Vcd handle("a", 1);
        handle.update(2);
        id = handle.id;
    }
    QCOMPARE(Vcd::m_id_to_changes_map[id].size(), std::size_t(2));
    const Vcd again("a", 3);
    QCOMPARE(again.id, id);
    QVERIFY((values_of(again) == std::vector<double>{1.0, 2.0, 3.0}));
}

void TestVcd::only_changed_values_are_recorded_data() {
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<int>("recorded");
    const double next_to_one = std::nextafter(1.0, 2.0);
    QTest::newRow("the same twice") << QVector<double>{1.0, 1.0} << 1;
    QTest::newRow("back again") << QVector<double>{1.0, 2.0, 1.0} << 3;
    QTest::newRow("the same at last") << QVector<double>{1.0, 2.0, 2.0, 2.0} << 2;
    QTest::newRow("no tolerance") << QVector<double>{1.0, next_to_one, 1.0} << 3;
    QTest::newRow("both zeros") << QVector<double>{0.0, -0.0, 0.0} << 1;
    QTest::newRow("infinities") << QVector<double>{kInfinity, kInfinity, -kInfinity} << 2;
    QTest::newRow("not a number") << QVector<double>{kNan, kNan, 1.0, kNan} << 4;
}

void TestVcd::only_changed_values_are_recorded() {
    QFETCH(const QVector<double>, values);
    QFETCH(const int, recorded);
    Vcd signal("a", values.first());
    for (int i = 1; i < values.size(); ++i)
        signal.update(values[i]);
    QCOMPARE(int(changes_of(signal).size()), recorded);
}

void TestVcd::a_change_has_the_time_since_the_start() {
    Vcd signal("a", 0);
    for (int i = 1; i <= 100; ++i) {
        const std::int64_t before = nanoseconds_since_start();
        signal.update(i);
        const std::int64_t after = nanoseconds_since_start();
        const std::int64_t time = changes_of(signal).back().time;
        QVERIFY(before <= time && time <= after);
    }
    Vcd::m_starttime -= 1000h;
    signal.update(0);
    QVERIFY(changes_of(signal).back().time >= std::chrono::nanoseconds(1000h).count());
}

void TestVcd::updates_within_a_tick_are_a_nanosecond_apart() {
    Vcd signal("a", 0);
    // As if the clock stood still for an hour at its last reading.
    const std::int64_t last = nanoseconds_since_start() + std::chrono::nanoseconds(1h).count();
    set_times(signal, {last});
    signal.update(1);
    signal.update(1);
    signal.update(2);
    QCOMPARE(changes_of(signal).size(), std::size_t(3));
    QCOMPARE(changes_of(signal)[1].time, last + 1);
    QCOMPARE(changes_of(signal)[2].time, last + 2);
}

void TestVcd::a_tick_is_not_given_twice() {
    Vcd signal("a", 0);
    // Somewhere in here lies the tick that the clock is about to show: hit it often enough.
    for (int i = 1; i < 300000; ++i) {
        const std::int64_t last = nanoseconds_since_start() + i % 1000;
        changes_of(signal).back().time = last;
        signal.update(i);
        QVERIFY(changes_of(signal).back().time > last);
    }
}

void TestVcd::times_increase_when_the_clock_steps_back() {
    Vcd signal("a", 0);
    const std::int64_t first = changes_of(signal)[0].time;
    Vcd::m_starttime += 1h;
    signal.update(1);
    QCOMPARE(changes_of(signal)[1].time, first + 1);
    const Vcd other("b", 1); // has no past that it could contradict
    QVERIFY(changes_of(other)[0].time < 0);
    Vcd::m_starttime -= 1h;
    signal.update(2);
    QVERIFY(changes_of(signal)[2].time > first + 1);
}

void TestVcd::codes_count_in_base_93_data() {
    QTest::addColumn<std::uint32_t>("id");
    QTest::addColumn<QByteArray>("code");
    QTest::newRow("first") << 33U << QByteArray("!");
    QTest::newRow("second") << 34U << QByteArray("\"");
    QTest::newRow("last of one character") << 125U << QByteArray("}");
    QTest::newRow("94th") << 126U << QByteArray("!\"");
    QTest::newRow("95th") << 127U << QByteArray("\"\"");
    QTest::newRow("second turn") << 33U + 2 * 93 << QByteArray("!#");
    QTest::newRow("last of two characters") << 33U + 93 * 93 - 1 << QByteArray("}}");
    QTest::newRow("three characters") << 33U + 93 * 93 << QByteArray("!!\"");
    QTest::newRow("four characters") << 33U + 93 * 93 * 93 << QByteArray("!!!\"");
    QTest::newRow("five characters") << 33U + 93U * 93 * 93 * 93 + 5 << QByteArray("&!!!\"");
    QTest::newRow("last before the numbers turn over") << 4294967294U << QByteArray("_G[GZ");
}

void TestVcd::codes_count_in_base_93() {
    QFETCH(const std::uint32_t, id);
    QFETCH(const QByteArray, code);
    Vcd::m_next_id = id;
    const Vcd signal("a", 1);
    set_times(signal, {5});
    QCOMPARE(signal.id, id);
    QCOMPARE(written(), kHeaderStart + "$var real 64 " + code + " a $end\n" + kHeaderEnd +
                            "#5\nr1 " + code + '\n');
    if (id < 1000000)
        QCOMPARE(QByteArray::fromStdString(code_counted_up_to(id)), code);
}

void TestVcd::an_empty_trace_is_a_header() {
    QCOMPARE(written(), kHeaderStart + kHeaderEnd);
}

void TestVcd::signals_are_declared_by_number() {
    const Vcd z("z", 'c');
    const Vcd a("a", 1U);
    set_times(z, {1});
    set_times(a, {2});
    QCOMPARE(written(), kHeaderStart + "$var real 64 ! z $end\n$var real 64 \" a $end\n" +
                            kHeaderEnd + "#1\nsc !\n#2\nr1 \"\n");
}

void TestVcd::names_are_written_as_they_are() {
    const std::string long_name(3000000, 'n');
    const Vcd blank("two words: $end", 1);
    const Vcd empty("", 1);
    const Vcd utf8("\xc3\xa9", 1);
    const Vcd endless(long_name, 1);
    QVERIFY(written().startsWith(kHeaderStart +
                                 "$var real 64 ! two words: $end $end\n"
                                 "$var real 64 \"  $end\n"
                                 "$var real 64 # \xc3\xa9 $end\n"
                                 "$var real 64 $ " +
                                 QByteArray::fromStdString(long_name) + " $end\n" + kHeaderEnd +
                                 "#"));
}

void TestVcd::a_file_holds_all_changes_in_order_of_time() {
    Vcd x("x", 0.25);
    Vcd buttons("buttons", 0);
    Vcd key("key", 'k');
    x.update(0.5);
    x.update(-1e-7);
    buttons.update(3);
    key.update('q');
    set_times(x, {10, 30, 1234567890123});
    set_times(buttons, {20, 40});
    set_times(key, {5, 50});
    QCOMPARE(written(), kHeaderStart +
                            "$var real 64 ! x $end\n"
                            "$var real 64 \" buttons $end\n"
                            "$var real 64 # key $end\n" +
                            kHeaderEnd +
                            "#5\nsk #\n"
                            "#10\nr0.25 !\n"
                            "#20\nr0 \"\n"
                            "#30\nr0.5 !\n"
                            "#40\nr3 \"\n"
                            "#50\nsq #\n"
                            "#1234567890123\nr-1e-07 !\n");
}

void TestVcd::a_change_at_time_zero_has_no_time_line() {
    Vcd signal("a", 1);
    signal.update(2);
    set_times(signal, {0, 1});
    QCOMPARE(written(), kHeaderStart + "$var real 64 ! a $end\n" + kHeaderEnd + "r1 !\n#1\nr2 !\n");
}

void TestVcd::times_before_the_start_are_written() {
    Vcd signal("a", 1);
    signal.update(2);
    signal.update(3);
    set_times(signal, {-20, 0, 7});
    QVERIFY(written().endsWith("#-20\nr1 !\n#0\nr2 !\n#7\nr3 !\n"));
}

void TestVcd::equal_times_are_written_once_and_by_number() {
    Vcd a("a", 1);
    Vcd b("b", 1);
    Vcd c("c", 1);
    c.update(2);
    a.update(2);
    set_times(a, {7, 8});
    set_times(b, {7});
    set_times(c, {6, 7});
    QVERIFY(written().endsWith("\n#6\nr1 #\n#7\nr1 !\nr1 \"\nr2 #\n#8\nr2 !\n"));
}

void TestVcd::a_value_is_written_as_a_stream_has_it_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("a tenth") << 0.1 << QByteArray("r0.1 !\n");
    QTest::newRow("seven digits") << 1234567.0 << QByteArray("r1.23457e+06 !\n");
    QTest::newRow("six digits") << -123456.0 << QByteArray("r-123456 !\n");
    QTest::newRow("whole") << 2.0 << QByteArray("r2 !\n");
    QTest::newRow("negative zero") << -0.0 << QByteArray("r-0 !\n");
    QTest::newRow("small") << 0.000012345678 << QByteArray("r1.23457e-05 !\n");
    QTest::newRow("smallest") << 4.9406564584124654e-324 << QByteArray("r4.94066e-324 !\n");
    QTest::newRow("infinity") << kInfinity << QByteArray("rinf !\n");
    QTest::newRow("negative infinity") << -kInfinity << QByteArray("r-inf !\n");
    QTest::newRow("not a number") << kNan << QByteArray("rnan !\n");
}

void TestVcd::a_value_is_written_as_a_stream_has_it() {
    QFETCH(const double, value);
    QFETCH(const QByteArray, line);
    const Vcd signal("a", value);
    set_times(signal, {1});
    QVERIFY(written().endsWith(kHeaderEnd + "#1\n" + line));
}

void TestVcd::the_decimal_point_is_no_matter_of_the_locale() {
    class Comma : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Comma));
    const Vcd signal("a", 0.5);
    set_times(signal, {1234567});
    const QByteArray file = written();
    std::locale::global(before);
    QVERIFY(file.endsWith("#1234567\nr0.5 !\n"));
}

void TestVcd::a_char_is_written_as_one_character_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<char>("character");
    QTest::newRow("a letter") << 65.0 << 'A';
    QTest::newRow("a blank") << 32.0 << ' ';
    QTest::newRow("a line feed") << 10.0 << '\n';
    QTest::newRow("zero") << 0.0 << '\0';
    QTest::newRow("above 127") << 233.0 << '\xe9';
    QTest::newRow("negative") << -1.0 << '\xff';
    QTest::newRow("a fraction") << 65.9 << 'A';
    QTest::newRow("a negative fraction") << -0.9 << '\0';
    QTest::newRow("nine bits") << 256.0 + 65.0 << 'A';
    QTest::newRow("above an int") << 4294967296.0 + 65.0 << 'A';
    QTest::newRow("below an int") << -4294967296.0 - 1.0 << '\xff';
    QTest::newRow("2^63") << 0x1p63 << '\0';
    QTest::newRow("-2^63") << -0x1p63 << '\0';
    QTest::newRow("largest") << std::numeric_limits<double>::max() << '\0';
    QTest::newRow("infinity") << kInfinity << '\0';
    QTest::newRow("negative infinity") << -kInfinity << '\0';
    QTest::newRow("not a number") << kNan << '\0';
}

void TestVcd::a_char_is_written_as_one_character() {
    QFETCH(const double, value);
    QFETCH(const char, character);
    Vcd signal("a", 'x');
    signal.update(value);
    set_times(signal, {1, 2});
    QVERIFY(written().endsWith(QByteArray("#1\nsx !\n#2\ns") + character + " !\n"));
}

void TestVcd::handles_of_different_kinds_write_their_own_lines() {
    const Vcd letter("a", 'A');
    const Vcd number("a", 66);
    set_times(letter, {1, 2});
    QVERIFY(written().endsWith("#1\nsA !\n#2\nr66 !\n"));
}

void TestVcd::many_signals_are_merged_as_if_sorted_data() {
    QTest::addColumn<int>("signal_count");
    QTest::addColumn<int>("change_count");
    QTest::addColumn<bool>("touched");
    for (int count : {1, 2, 3, 4, 5, 7, 8, 9, 100, 257}) {
        QTest::addRow("%d signals", count) << count << 4000 << false;
        QTest::addRow("%d signals with their times touched", count) << count << 1000 << true;
    }
    QTest::newRow("more signals than changes") << 3000 << 500 << false;
    QTest::newRow("several blocks of the file") << 5 << 200000 << false;
}

void TestVcd::many_signals_are_merged_as_if_sorted() {
    QFETCH(const int, signal_count);
    QFETCH(const int, change_count);
    QFETCH(const bool, touched);
    std::mt19937 random(7);
    std::vector<Vcd> signals_;
    for (int i = 0; i < signal_count; ++i) {
        const std::string name = std::to_string(i);
        signals_.push_back(i % 3 == 0 ? Vcd(name, char('a' + i % 26)) : Vcd(name, i / 8.0));
    }
    for (int i = 0; i < change_count; ++i) {
        Vcd& signal = signals_[random() % signals_.size()];
        signal.update(signal.type == 0 ? double(33 + random() % 90)
                                       : double(random() % 100000) / 64.0);
    }
    // Few enough times that signals share them.
    for (const Vcd& signal : signals_) {
        std::int64_t time = -std::int64_t(random() % 20);
        for (Vcd::change& change : changes_of(signal)) {
            time += 1 + std::int64_t(random() % 5);
            change.time = touched ? std::int64_t(random() % 50) : time;
        }
    }
    const QByteArray file = written();
    const int lines_at = file.indexOf(kHeaderEnd) + kHeaderEnd.size();
    QVERIFY(file.mid(lines_at) == QByteArray::fromStdString(plain_lines()));
}

void TestVcd::a_file_starts_over_where_touched_times_turn_out_late() {
    Vcd signal("a", 0);
    const Vcd other("b", 0);
    for (int i = 1; i < 100000; ++i)
        signal.update(i);
    QVERIFY(written().size() > 1500000);
    changes_of(signal).back().time = 0;
    QVERIFY(written() == kHeaderStart + "$var real 64 ! a $end\n$var real 64 \" b $end\n" +
                             kHeaderEnd + QByteArray::fromStdString(plain_lines()));
    QVERIFY(written().contains(kHeaderEnd + "r99999 !\n#"));
}

void TestVcd::times_may_lie_as_far_apart_as_there_are() {
    constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
    for (int i = 0; i < 9; ++i) {
        Vcd signal(std::to_string(i), 0);
        for (int change = 1; change < 7; ++change)
            signal.update(change);
        const std::int64_t middle = std::int64_t(1) << (20 + 4 * i);
        set_times(signal, {kFirst, kFirst + i, -1, 0, middle, kLast - i, kLast});
    }
    QVERIFY(written().endsWith(kHeaderEnd + QByteArray::fromStdString(plain_lines())));
}

void TestVcd::the_file_is_replaced() {
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(100000, 'x'));
    file.close();
    QCOMPARE(written(), kHeaderStart + kHeaderEnd);
}

void TestVcd::a_later_file_holds_what_was_added() {
    Vcd signal("a", 1);
    set_times(signal, {5});
    const QByteArray first = written();
    QCOMPARE(written(), first);
    QCOMPARE(changes_of(signal).size(), std::size_t(1));
    signal.update(2);
    set_times(signal, {5, 6});
    QCOMPARE(written(), first + "#6\nr2 !\n");
}

void TestVcd::a_file_that_cannot_be_opened_is_left_alone_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("missing directory") << QStringLiteral("missing/trace.vcd");
    QTest::newRow("a directory") << QStringLiteral(".");
    QTest::newRow("below a file") << QStringLiteral("file/trace.vcd");
    QTest::newRow("too long a name") << QString(5000, QLatin1Char('n'));
}

void TestVcd::a_file_that_cannot_be_opened_is_left_alone() {
    QFETCH(const QString, path);
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("kept");
    file.close();

    const Vcd signal("a", 1);
    Vcd::write_vcd(dir.filePath(path).toStdString());
    Vcd::write_vcd(std::string());
    QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("file")));
    QCOMPARE(contents_of(file.fileName()), QByteArray("kept"));
    QCOMPARE(changes_of(signal).size(), std::size_t(1));
}

void TestVcd::a_full_disk_ends_the_writing() {
    Vcd signal("a", 0);
    for (int i = 1; i < 300000; ++i)
        signal.update(i);
    Vcd::write_vcd("/dev/full");
    QCOMPARE(changes_of(signal).size(), std::size_t(300000));
}

void TestVcd::a_disk_that_fills_up_keeps_what_fitted() {
    Vcd signal("a", 0);
    for (int i = 1; i < 300000; ++i)
        signal.update(i);
    const QByteArray whole = written();

    constexpr rlim_t kRoom = 2500000;
    QVERIFY(whole.size() > int(kRoom));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit limit = before;
    limit.rlim_cur = kRoom;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    Vcd::write_vcd(m_path.toStdString());
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    QVERIFY(contents_of(m_path) == whole.left(int(kRoom)));
}

QTEST_GUILESS_MAIN(TestVcd)
#include "tst_vcd.moc"
