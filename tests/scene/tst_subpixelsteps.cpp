#include "scene/subpixelsteps.h"

#include <QtTest>

namespace {

constexpr double kStep = 1.0 / 64.0; // of a pixel
constexpr double kMiddle = 0.5 * kStep;

} // namespace

class TestSubpixelSteps : public QObject {
    Q_OBJECT

private slots:
    void a_middle_is_met_or_missed_data();
    void a_middle_is_met_or_missed();
    void each_coordinate_counts();
    void without_coordinates_each_is_missed();
};

void TestSubpixelSteps::a_middle_is_met_or_missed_data() {
    QTest::addColumn<double>("coordinate"); // from a middle
    QTest::addColumn<double>("shift");
    QTest::addColumn<bool>("missed");
    QTest::newRow("on one") << 5.0 * kStep << 0.0 << false;
    QTest::newRow("on one after whole pixels") << 5.0 * kStep << 120.0 << false;
    QTest::newRow("on one after some steps") << 5.0 * kStep << 7.0 * kStep << false;
    QTest::newRow("half a step off, on a step") << 5.5 * kStep << 3.0 << true;
    QTest::newRow("half a step off before") << 5.5 * kStep << 2.5 * kStep << false;
    QTest::newRow("below zero") << -5.25 * kStep << 1.25 * kStep << false;
    QTest::newRow("after a shift below zero") << 5.25 * kStep << -1.25 * kStep << false;
    QTest::newRow("a rounding below") << (1.0 - 1e-12) * kStep << 0.0 << false;
    QTest::newRow("a rounding above") << 1e-12 * kStep << 0.0 << false;
    QTest::newRow("a rounding below, after a shift") << 0.0 << (1.0 - 1e-12) * kStep << false;
    QTest::newRow("a rounding above, after a shift") << 0.0 << 1e-12 * kStep << false;
    QTest::newRow("more than roundings below") << 0.999 * kStep << 0.0 << true;
    QTest::newRow("more than roundings above") << 0.001 * kStep << 0.0 << true;
}

void TestSubpixelSteps::a_middle_is_met_or_missed() {
    QFETCH(const double, coordinate);
    QFETCH(const double, shift);
    QFETCH(const bool, missed);
    SubpixelSteps steps;
    steps.add(kMiddle + coordinate);
    QCOMPARE(steps.are_middles_missed_after(shift), missed);
}

void TestSubpixelSteps::each_coordinate_counts() {
    SubpixelSteps steps;
    for (const double fraction : {0.75, 0.25, 0.5})
        steps.add(kMiddle + (100.0 + fraction) * kStep);
    for (const double fraction : {0.25, 0.5, 0.75})
        QVERIFY(!steps.are_middles_missed_after(fraction * kStep));
    QVERIFY(steps.are_middles_missed_after(0.0));
    QVERIFY(steps.are_middles_missed_after(0.6 * kStep));
}

void TestSubpixelSteps::without_coordinates_each_is_missed() {
    QVERIFY(SubpixelSteps().are_middles_missed_after(0.0));
}

QTEST_GUILESS_MAIN(TestSubpixelSteps)
#include "tst_subpixelsteps.moc"
