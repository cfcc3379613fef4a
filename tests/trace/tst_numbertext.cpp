#include "trace/numbertext.h"

#include <QtTest>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace {

constexpr char kUntouched = '@';

template <typename Append>
std::string appended(Append append) {
    char text[kNumberRoom + 8];
    std::memset(text, kUntouched, sizeof(text));
    const char* const end = append(text);
    for (std::size_t i = kNumberRoom; i < sizeof(text); ++i) {
        if (text[i] != kUntouched)
            return "wrote past its room";
    }
    return std::string(static_cast<const char*>(text), end);
}

std::string text_of(double value) {
    return appended([value](char* out) { return append_double(out, value); });
}

std::string text_of(std::int64_t value) {
    static IntegerText text;
    return appended([value](char* out) { return text.append(out, value); });
}

// What this is all measured by: a stream that nobody has set up.
class Stream {
public:
    template <typename Number>
    std::string text_of(Number value) {
        m_stream.str({});
        m_stream << value;
        return m_stream.str();
    }

private:
    std::ostringstream m_stream;
};

template <typename Number>
void compare_with_stream(Number value) {
    static Stream stream;
    const std::string text = text_of(value);
    const std::string expected = stream.text_of(value);
    if (text != expected) {
        std::ostringstream exactly;
        exactly << std::hexfloat << value;
        QFAIL(qPrintable(QStringLiteral("%1: \"%2\", a stream has \"%3\"")
                             .arg(QString::fromStdString(exactly.str()),
                                  QString::fromStdString(text), QString::fromStdString(expected))));
    }
}

} // namespace

class TestNumberText : public QObject {
    Q_OBJECT

private slots:
    void values_have_six_significant_digits_data();
    void values_have_six_significant_digits();
    void random_bit_patterns_read_as_from_a_stream();
    void random_decimals_read_as_from_a_stream();
    void halves_round_as_from_a_stream();
    void the_edges_of_each_power_of_ten_read_as_from_a_stream();
    void integers_read_as_from_a_stream();
};

void TestNumberText::values_have_six_significant_digits_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("text");
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    using Limits = std::numeric_limits<double>;
    QTest::newRow("zero") << 0.0 << QByteArray("0");
    QTest::newRow("negative zero") << -0.0 << QByteArray("-0");
    QTest::newRow("a tenth") << 0.1 << QByteArray("0.1");
    QTest::newRow("a negative fraction") << -12.625 << QByteArray("-12.625");
    QTest::newRow("zeros within") << 100.001 << QByteArray("100.001");
    QTest::newRow("six digits") << 999999.0 << QByteArray("999999");
    QTest::newRow("seven digits") << 1234567.0 << QByteArray("1.23457e+06");
    QTest::newRow("a power of ten") << 1e6 << QByteArray("1e+06");
    QTest::newRow("rounds up to the next power") << 999999.5 << QByteArray("1e+06");
    QTest::newRow("half to even, down") << 100000.5 << QByteArray("100000");
    QTest::newRow("half to even, up") << 100001.5 << QByteArray("100002");
    QTest::newRow("large half to even") << 1234565.0 << QByteArray("1.23456e+06");
    QTest::newRow("smallest without exponent") << 0.0001 << QByteArray("0.0001");
    QTest::newRow("largest with one") << 0.00001 << QByteArray("1e-05");
    QTest::newRow("three digits of exponent") << 1e100 << QByteArray("1e+100");
    QTest::newRow("largest") << Limits::max() << QByteArray("1.79769e+308");
    QTest::newRow("lowest") << Limits::lowest() << QByteArray("-1.79769e+308");
    QTest::newRow("smallest normal") << Limits::min() << QByteArray("2.22507e-308");
    QTest::newRow("smallest") << Limits::denorm_min() << QByteArray("4.94066e-324");
    QTest::newRow("infinity") << kInfinity << QByteArray("inf");
    QTest::newRow("negative infinity") << -kInfinity << QByteArray("-inf");
    QTest::newRow("not a number") << kNan << QByteArray("nan");
    QTest::newRow("negative, not a number") << std::copysign(kNan, -1.0) << QByteArray("-nan");
}

void TestNumberText::values_have_six_significant_digits() {
    QFETCH(const double, value);
    QFETCH(const QByteArray, text);
    QCOMPARE(QByteArray::fromStdString(text_of(value)), text);
    QCOMPARE(QByteArray::fromStdString(Stream().text_of(value)), text);
}

void TestNumberText::random_bit_patterns_read_as_from_a_stream() {
    std::mt19937_64 random(1);
    for (int i = 0; i < 1000000 && !QTest::currentTestFailed(); ++i) {
        const std::uint64_t bits = random();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof(value));
        compare_with_stream(value);
    }
}

void TestNumberText::random_decimals_read_as_from_a_stream() {
    std::mt19937_64 random(2);
    for (int i = 0; i < 500000 && !QTest::currentTestFailed(); ++i) {
        const int digits = int(random() % 10);
        const auto count = double(random() % std::uint64_t(std::pow(10.0, digits + 1)));
        compare_with_stream(count * std::pow(10.0, int(random() % 44) - 22));
        compare_with_stream(-count / double(1 << random() % 16));
    }
}

void TestNumberText::halves_round_as_from_a_stream() {
    std::mt19937_64 random(3);
    for (int i = 0; i < 200000 && !QTest::currentTestFailed(); ++i) {
        const double half = double(100000 + random() % 900000) + 0.5;
        const double value = half * std::pow(10.0, int(random() % 42) - 22);
        compare_with_stream(value);
        compare_with_stream(std::nextafter(value, 0.0));
        compare_with_stream(std::nextafter(value, 1e300));
        // Exact halves: below a million of binary fractions, above of tens.
        compare_with_stream(half / double(1 << random() % 8));
        compare_with_stream(half * std::pow(10.0, int(random() % 10)));
    }
}

void TestNumberText::the_edges_of_each_power_of_ten_read_as_from_a_stream() {
    for (int power = -320; power <= 308 && !QTest::currentTestFailed(); ++power) {
        for (double factor : {1.0, 9.999994, 9.999995, 9.999996, 5.0}) {
            double value = factor * std::pow(10.0, power);
            for (int step = 0; step < 4; ++step, value = std::nextafter(value, 0.0))
                compare_with_stream(value);
            value = factor * std::pow(10.0, power);
            for (int step = 0; step < 4; ++step, value = std::nextafter(value, 1e308))
                compare_with_stream(-value);
        }
    }
    for (int power = -1074; power < 1024 && !QTest::currentTestFailed(); ++power)
        compare_with_stream(std::ldexp(1.0, power));
}

void TestNumberText::integers_read_as_from_a_stream() {
    using Limits = std::numeric_limits<std::int64_t>;
    for (std::int64_t value : {std::int64_t(0), std::int64_t(-1), Limits::max(), Limits::min()})
        compare_with_stream(value);
    std::int64_t power = 1;
    for (int i = 0; i < 18; ++i) {
        power *= 10;
        for (std::int64_t value : {power - 1, power, power + 1, -power})
            compare_with_stream(value);
    }
    for (std::int64_t value = 0; value < 20000 && !QTest::currentTestFailed(); ++value) {
        compare_with_stream(value);
        compare_with_stream(value * 10000);
        compare_with_stream(300000000 + value * 10000);
        compare_with_stream(double(value));
        compare_with_stream(double(value) * 50.0);
    }
    std::mt19937_64 random(4);
    for (int i = 0; i < 300000 && !QTest::currentTestFailed(); ++i) {
        const auto value = std::int64_t(random() >> (random() % 64));
        compare_with_stream(value);
        compare_with_stream(double(value));
    }
}

QTEST_GUILESS_MAIN(TestNumberText)
#include "tst_numbertext.moc"
