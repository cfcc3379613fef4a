#include "tools/trace/restfinder.h"

#include <QtTest>
#include <functional>

namespace {

constexpr std::int64_t kStep_ns = 20000000; // so 25 reports in half a second
constexpr int kBlock = 25;

/// Where the contact is at its report.
using Path = std::function<QPoint(int report)>;

/// The rest of a contact that comes down, is reported so often, and lifts with the next report.
RestFinder::Rest rest_of(const Path& path, int reports, std::int64_t start_ns = 777) {
    RestFinder finder;
    for (int i = 0; i < reports; ++i)
        finder.addDown(start_ns + i * kStep_ns, path(i).x(), path(i).y());
    finder.lift(start_ns + reports * kStep_ns);
    return finder.rest();
}

QPoint still(int) {
    return {16000, 12000};
}

/// Rests from report to report, and is on its way before and after.
Path between(int from, int to, Path rest) {
    return [=](int i) {
        if (i < from)
            return QPoint(1000 + 100 * i, 500);
        return i < to ? rest(i) : QPoint(30000 - 100 * i, 30000);
    };
}

} // namespace

class TestRestFinder : public QObject {
    Q_OBJECT

private slots:
    void a_still_contact_rests_but_for_its_first_and_last_half_seconds_data();
    void a_still_contact_rests_but_for_its_first_and_last_half_seconds();
    void jitter_is_the_spread_on_each_axis();
    void the_spread_is_that_of_the_worst_half_second();
    void coming_to_rest_and_leaving_are_no_jitter();
    void a_drift_of_the_centre_is_no_rest_data();
    void a_drift_of_the_centre_is_no_rest();
    void both_neighbours_have_to_be_at_the_same_place_data();
    void both_neighbours_have_to_be_at_the_same_place();
    void what_extends_too_far_is_no_rest_data();
    void what_extends_too_far_is_no_rest();
    void a_silence_ends_the_rest();
    void a_single_report_in_half_a_second_is_too_few();
    void lifting_ends_the_rest();
    void rests_add_up();
};

void TestRestFinder::a_still_contact_rests_but_for_its_first_and_last_half_seconds_data() {
    QTest::addColumn<int>("reports");
    QTest::addColumn<int>("blocks");
    QTest::newRow("too short") << 3 * kBlock - 1 << 0;
    QTest::newRow("three half seconds") << 3 * kBlock << 1; // ended by the lift
    QTest::newRow("a little longer") << 4 * kBlock - 1 << 1;
    QTest::newRow("ten half seconds") << 10 * kBlock << 8;
}

void TestRestFinder::a_still_contact_rests_but_for_its_first_and_last_half_seconds() {
    QFETCH(const int, reports);
    QFETCH(const int, blocks);
    const RestFinder::Rest rest = rest_of(still, reports);
    QCOMPARE(rest.blocks, blocks);
    QCOMPARE(rest.seconds(), 0.5 * blocks);
    QCOMPARE(rest.spreadX, 0);
    QCOMPARE(rest.spreadY, 0);
}

void TestRestFinder::jitter_is_the_spread_on_each_axis() {
    const auto rest = rest_of([](int i) { return QPoint(500 + i % 5, 700 - 3 * (i % 3)); }, 150);
    QCOMPARE(rest.blocks, 4);
    QCOMPARE(rest.spreadX, 4);
    QCOMPARE(rest.spreadY, 6);
}

void TestRestFinder::the_spread_is_that_of_the_worst_half_second() {
    const auto jump = [](int i) {
        return i == 60 ? QPoint(16040, 12000) : i == 110 ? QPoint(16000, 12009) : QPoint(still(i));
    };
    const RestFinder::Rest rest = rest_of(jump, 200);
    QCOMPARE(rest.blocks, 6);
    QCOMPARE(rest.spreadX, 40);
    QCOMPARE(rest.spreadY, 9);
}

void TestRestFinder::coming_to_rest_and_leaving_are_no_jitter() {
    // It comes to rest within the second half second, and leaves within the ninth.
    const auto slows_down = [](int i) {
        return i < 40 ? QPoint(16000 - 2 * (40 - i), 12000) : QPoint(16000 + i % 2, 12000);
    };
    const RestFinder::Rest rest = rest_of(between(25, 210, slows_down), 300);
    QCOMPARE(rest.blocks, 5);
    QCOMPARE(rest.spreadX, 1);
    QCOMPARE(rest.spreadY, 0);
}

void TestRestFinder::a_drift_of_the_centre_is_no_rest_data() {
    QTest::addColumn<QPoint>("drift"); // units a half second
    QTest::addColumn<bool>("rests");
    QTest::newRow("just none") << QPoint(32, 0) << true;
    QTest::newRow("just one") << QPoint(33, 0) << false;
    QTest::newRow("none, up") << QPoint(0, -32) << true;
    QTest::newRow("one, up") << QPoint(0, -33) << false;
}

void TestRestFinder::a_drift_of_the_centre_is_no_rest() {
    QFETCH(const QPoint, drift);
    QFETCH(const bool, rests);
    const auto steps = [drift](int i) { return QPoint(16000, 12000) + drift * (i / kBlock); };
    QCOMPARE(rest_of(steps, 4 * kBlock).blocks, rests ? 2 : 0);
}

void TestRestFinder::both_neighbours_have_to_be_at_the_same_place_data() {
    QTest::addColumn<int>("elsewhere"); // of three half seconds
    QTest::addColumn<int>("blocks");
    QTest::newRow("the first") << 0 << 0;
    QTest::newRow("the last") << 2 << 0;
    QTest::newRow("none") << 3 << 1;
}

void TestRestFinder::both_neighbours_have_to_be_at_the_same_place() {
    QFETCH(const int, elsewhere);
    QFETCH(const int, blocks);
    const auto path = [elsewhere](int i) {
        return i / kBlock == elsewhere ? QPoint(16100, 12000) : still(i);
    };
    QCOMPARE(rest_of(path, 3 * kBlock).blocks, blocks);
}

void TestRestFinder::what_extends_too_far_is_no_rest_data() {
    QTest::addColumn<QPoint>("jump");
    QTest::addColumn<int>("blocks");
    QTest::newRow("just near enough") << QPoint(512, -512) << 3;
    QTest::newRow("across") << QPoint(513, 0) << 0;
    QTest::newRow("down") << QPoint(0, 513) << 0;
}

void TestRestFinder::what_extends_too_far_is_no_rest() {
    QFETCH(const QPoint, jump);
    QFETCH(const int, blocks);
    // The third of five; those beside it have it for a neighbour.
    const auto path = [jump](int i) { return i == 60 ? still(i) + jump : still(i); };
    QCOMPARE(rest_of(path, 5 * kBlock).blocks, blocks);
}

void TestRestFinder::a_silence_ends_the_rest() {
    RestFinder finder;
    for (int i = 0; i < 2 * kBlock; ++i)
        finder.addDown(i * kStep_ns, 5, 5);
    for (int i = 3 * kBlock; i < 5 * kBlock; ++i) // the third half second is missing
        finder.addDown(i * kStep_ns, 5, 5);
    QCOMPARE(finder.rest().blocks, 0);
    for (int i = 1000000; i < 1000000 + 3 * kBlock; ++i) // and some hours
        finder.addDown(i * kStep_ns, 5, 5);
    finder.lift((1000000 + 3 * kBlock) * kStep_ns);
    QCOMPARE(finder.rest().blocks, 1);
}

void TestRestFinder::a_single_report_in_half_a_second_is_too_few() {
    RestFinder finder;
    for (int i = 0; i < 20; ++i)
        finder.addDown(i * RestFinder::kBlock_ns, 5, 5);
    QCOMPARE(finder.rest().blocks, 0);
    for (int i = 0; i < 9; ++i)
        finder.addDown((40 + i) * RestFinder::kBlock_ns / 2, 5, 5);
    QCOMPARE(finder.rest().blocks, 2);
}

void TestRestFinder::lifting_ends_the_rest() {
    RestFinder finder;
    for (int i = 0; i < 12 * kBlock; ++i) {
        if (i % (2 * kBlock) == 0)
            finder.lift(i * kStep_ns);
        finder.addDown(i * kStep_ns, 5, 5);
    }
    QCOMPARE(finder.rest().blocks, 0);
}

void TestRestFinder::rests_add_up() {
    RestFinder::Rest all;
    all.add({2, 10, 3});
    all.add({1, 4, 9});
    QCOMPARE(all.blocks, 3);
    QCOMPARE(all.spreadX, 10);
    QCOMPARE(all.spreadY, 9);
}

QTEST_GUILESS_MAIN(TestRestFinder)
#include "tst_restfinder.moc"
