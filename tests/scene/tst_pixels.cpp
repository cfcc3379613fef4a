#include "scene/pixels.h"
#include "tests/support/no_warnings.h"

#include <QtTest>
#include <cmath>
#include <limits>
#include <thread>

namespace {

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

} // namespace

class TestPixels : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_warning_on_any_thread_is_gathered();
    void a_wide_integer_saturates_data();
    void a_wide_integer_saturates();
    void the_integer_part_is_truncated_toward_zero_data();
    void the_integer_part_is_truncated_toward_zero();
    void rounding_agrees_with_the_toolkit();
    void rounding_takes_any_number_data();
    void rounding_takes_any_number();
    void a_pixel_rectangle_is_the_toolkits_where_that_fits_data();
    void a_pixel_rectangle_is_the_toolkits_where_that_fits();
    void a_pixel_rectangle_saturates_its_far_corner();
    void a_rectangle_is_widened_on_every_side();
    void a_widened_rectangle_saturates();
    void an_image_is_possible_within_its_sides_and_its_area_data();
    void an_image_is_possible_within_its_sides_and_its_area();
};

void TestPixels::a_warning_on_any_thread_is_gathered() {
    qWarning("of the test itself");
    std::thread([] { qCritical("of its thread"); }).join();
    qDebug("no warning");
    const QStringList expected{QStringLiteral("of the test itself"),
                               QStringLiteral("of its thread")};
    QCOMPARE(no_warnings::taken(), expected);
    QCOMPARE(no_warnings::taken(), QStringList());
}

void TestPixels::a_wide_integer_saturates_data() {
    QTest::addColumn<qint64>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("zero") << qint64{0} << 0;
    QTest::newRow("negative") << qint64{-7} << -7;
    QTest::newRow("highest") << qint64{kHighest} << kHighest;
    QTest::newRow("above") << qint64{kHighest} + 1 << kHighest;
    QTest::newRow("far above") << std::numeric_limits<qint64>::max() << kHighest;
    QTest::newRow("lowest") << qint64{kLowest} << kLowest;
    QTest::newRow("below") << qint64{kLowest} - 1 << kLowest;
    QTest::newRow("far below") << std::numeric_limits<qint64>::min() << kLowest;
}

void TestPixels::a_wide_integer_saturates() {
    QFETCH(const qint64, value);
    QTEST(to_int(value), "expected");
}

void TestPixels::the_integer_part_is_truncated_toward_zero_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("1.9") << 1.9 << 1;
    QTest::newRow("-1.9") << -1.9 << -1;
    QTest::newRow("-0.9") << -0.9 << 0;
    QTest::newRow("just below the highest") << 2147483646.9 << kHighest - 1;
    QTest::newRow("just above the highest") << 2147483647.5 << kHighest;
    QTest::newRow("just below the lowest") << -2147483648.9 << kLowest;
    QTest::newRow("1e300") << 1e300 << kHighest;
    QTest::newRow("-1e300") << -1e300 << kLowest;
    QTest::newRow("infinity") << kInfinity << kHighest;
    QTest::newRow("-infinity") << -kInfinity << kLowest;
    QTest::newRow("not a number") << kNan << 0;
}

void TestPixels::the_integer_part_is_truncated_toward_zero() {
    QFETCH(const double, value);
    QTEST(integer_part(value), "expected");
}

void TestPixels::rounding_agrees_with_the_toolkit() {
    for (int eighths = -400; eighths <= 400; ++eighths) {
        const double value = eighths / 8.0;
        for (double near : {std::nextafter(value, -kInfinity), value,
                            std::nextafter(value, kInfinity), value + 1e6, value - 1e6})
            QVERIFY2(rounded(near) == qRound(near), qPrintable(QString::number(near, 'g', 17)));
    }
    QCOMPARE(rounded(2.5), 3);
    QCOMPARE(rounded(-2.5), -2);
}

void TestPixels::rounding_takes_any_number_data() {
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("expected");
    QTest::newRow("1e300") << 1e300 << kHighest;
    QTest::newRow("-infinity") << -kInfinity << kLowest;
    QTest::newRow("not a number") << kNan << 0;
}

void TestPixels::rounding_takes_any_number() {
    QFETCH(const double, value);
    QTEST(rounded(value), "expected");
}

void TestPixels::a_pixel_rectangle_is_the_toolkits_where_that_fits_data() {
    QTest::addColumn<QVector<int>>("numbers");
    QTest::newRow("ordinary") << QVector<int>{3, -4, 15, 16};
    QTest::newRow("empty") << QVector<int>{3, -4, 0, 0};
    QTest::newRow("negative size") << QVector<int>{3, -4, -5, -6};
    QTest::newRow("up to the ends") << QVector<int>{kHighest - 10, kLowest, 10, 10};
}

void TestPixels::a_pixel_rectangle_is_the_toolkits_where_that_fits() {
    QFETCH(const QVector<int>, numbers);
    QCOMPARE(pixel_rect(numbers[0], numbers[1], numbers[2], numbers[3]),
             QRect(numbers[0], numbers[1], numbers[2], numbers[3]));
}

void TestPixels::a_pixel_rectangle_saturates_its_far_corner() {
    const QRect high = pixel_rect(kHighest - 1, kHighest, kHighest, 3);
    QCOMPARE(high.topLeft(), QPoint(kHighest - 1, kHighest));
    QCOMPARE(high.bottomRight(), QPoint(kHighest, kHighest));
    const QRect low = pixel_rect(kLowest, kLowest + 1, kLowest, -5);
    QCOMPARE(low.topLeft(), QPoint(kLowest, kLowest + 1));
    QCOMPARE(low.bottomRight(), QPoint(kLowest, kLowest));
}

void TestPixels::a_rectangle_is_widened_on_every_side() {
    QCOMPARE(widened(QRect(10, 20, 30, 40), 2), QRect(8, 18, 34, 44));
    QCOMPARE(widened(QRect(10, 20, 30, 40), 0), QRect(10, 20, 30, 40));
}

void TestPixels::a_widened_rectangle_saturates() {
    QRect rect;
    rect.setCoords(kLowest + 1, kLowest + 4, kHighest - 4, kHighest);
    const QRect wide = widened(rect, 5);
    QCOMPARE(wide.topLeft(), QPoint(kLowest, kLowest));
    QCOMPARE(wide.bottomRight(), QPoint(kHighest, kHighest));
}

void TestPixels::an_image_is_possible_within_its_sides_and_its_area_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("possible");
    QTest::newRow("of all pixels") << QSize(1000, 100) << true;
    QTest::newRow("of one row more") << QSize(1000, 101) << false;
    QTest::newRow("as wide as can be") << QSize(32767, 3) << true;
    QTest::newRow("too wide") << QSize(32768, 1) << false;
    QTest::newRow("as high as can be") << QSize(3, 32767) << true;
    QTest::newRow("too high") << QSize(1, 32768) << false;
    QTest::newRow("whose area overflows") << QSize(kHighest, kHighest) << false;
}

void TestPixels::an_image_is_possible_within_its_sides_and_its_area() {
    QFETCH(const QSize, size);
    QTEST(is_possible_image(size, 100000), "possible");
}

QTEST_GUILESS_MAIN(TestPixels)
#include "tst_pixels.moc"
