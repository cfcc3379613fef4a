#include "tools/trace/statistics.h"

#include <QtTest>

namespace {

constexpr std::int64_t kMillisecond = 1000000;

/// Gives a contact reports at times in milliseconds.
class Feed {
public:
    explicit Feed(bool hovers) : statistics(hovers) {}

    Feed& down(double time_ms, int x = 100, int y = 100) { return add(time_ms, true, x, y); }
    Feed& up(double time_ms, int x = 100, int y = 100) { return add(time_ms, false, x, y); }
    Feed& down_from(int first_ms, int last_ms, int step_ms) {
        for (int time = first_ms; time <= last_ms; time += step_ms)
            down(time);
        return *this;
    }

    ContactStatistics statistics;

private:
    Feed& add(double time_ms, bool is_down, int x, int y) {
        statistics.add({qRound64(time_ms * kMillisecond), x, y, is_down});
        return *this;
    }
};

constexpr bool kPen = true;
constexpr bool kFinger = false;

Sample at(int time_ms, bool is_down) {
    return {time_ms * kMillisecond, 100, 100, is_down};
}

} // namespace

class TestStatistics : public QObject {
    Q_OBJECT

private slots:
    void intervals_begin_at_reports_that_are_down();
    void intervals_are_cut_to_microseconds();
    void a_pen_hovers_between_reports_that_are_up();
    void a_pen_that_is_up_for_more_than_a_second_is_away();
    void a_finger_that_is_up_is_away();
    void an_absence_ends_the_windows_of_the_rate();
    void a_dropout_is_over_four_times_the_median_data();
    void a_dropout_is_over_four_times_the_median();
    void a_pause_while_hovering_is_no_dropout();
    void a_lost_lift_is_a_dropout();
    void only_what_is_down_covers_the_board();
    void a_contact_is_down_since_it_came_down();
    void a_contact_rests_only_while_it_is_down();
    void one_report_has_no_figures_but_itself();
    void contacts_that_are_down_at_once_are_counted_after_each_report();
    void the_figures_of_a_kind_are_those_of_its_contacts_together();
    void a_report_without_contacts_counts();
};

void TestStatistics::intervals_begin_at_reports_that_are_down() {
    Feed feed(kPen);
    feed.down(0).down(10).down(30).up(35).up(50).down(70).up(71);
    const Figures figures = feed.statistics.figures();
    QCOMPARE(figures.reports, std::uint64_t{7});
    QCOMPARE(figures.down_us.size(), std::uint64_t{4}); // 10, 20, 5, 1
    QCOMPARE(figures.down_us.least(), std::int64_t{1000});
    QCOMPARE(figures.down_us.median(), std::int64_t{5000});
    QCOMPARE(figures.down_us.greatest(), std::int64_t{20000});
}

void TestStatistics::intervals_are_cut_to_microseconds() {
    Feed feed(kPen);
    feed.down(0).down(4.999999);
    QCOMPARE(feed.statistics.figures().down_us.median(), std::int64_t{4999});
}

void TestStatistics::a_pen_hovers_between_reports_that_are_up() {
    Feed feed(kPen);
    feed.up(0).up(10).up(1010).down(1030).down(1035);
    const Figures figures = feed.statistics.figures();
    QCOMPARE(figures.hovering_us.size(), std::uint64_t{3}); // 10, 1000, 20
    QCOMPARE(figures.hovering_us.median(), std::int64_t{20000});
    QCOMPARE(figures.hovering_us.greatest(), std::int64_t{1000000});
    QCOMPARE(figures.down_us.size(), std::uint64_t{1});
}

void TestStatistics::a_pen_that_is_up_for_more_than_a_second_is_away() {
    Feed feed(kPen);
    feed.down(0).up(10).up(1010.001).down(3000).up(3010);
    const Figures figures = feed.statistics.figures();
    QVERIFY(figures.hovering_us.empty());
    QCOMPARE(figures.down_us.size(), std::uint64_t{2});
}

void TestStatistics::a_finger_that_is_up_is_away() {
    Feed feed(kFinger);
    feed.down(0).up(10).up(12).down(300).up(310);
    const Figures figures = feed.statistics.figures();
    QVERIFY(figures.hovering_us.empty());
    QCOMPARE(figures.down_us.size(), std::uint64_t{2});
    QCOMPARE(figures.down_us.greatest(), std::int64_t{10000});
}

void TestStatistics::an_absence_ends_the_windows_of_the_rate() {
    Feed finger(kFinger);
    finger.down_from(0, 1200, 10).up(1210).down_from(1500, 2700, 10).up(2710);
    QCOMPARE(finger.statistics.figures().rates.least(), std::int64_t{100});
    Feed pen(kPen);
    pen.down_from(0, 1200, 10).up(1210).down_from(1510, 2700, 10).up(2710);
    QCOMPARE(pen.statistics.figures().rates.least(), std::int64_t{71}); // it hovered for 300 ms
}

void TestStatistics::a_dropout_is_over_four_times_the_median_data() {
    QTest::addColumn<double>("pause_ms");
    QTest::addColumn<int>("dropouts");
    QTest::newRow("four times") << 20.0 << 0;
    QTest::newRow("a little more") << 20.001 << 1;
    QTest::newRow("much more") << 500.0 << 1;
}

void TestStatistics::a_dropout_is_over_four_times_the_median() {
    QFETCH(const double, pause_ms);
    QFETCH(const int, dropouts);
    Feed feed(kFinger);
    feed.down_from(0, 100, 5).down(100 + pause_ms).down(105 + pause_ms);
    QCOMPARE(feed.statistics.figures().dropouts, static_cast<std::uint64_t>(dropouts));
}

void TestStatistics::a_pause_while_hovering_is_no_dropout() {
    Feed feed(kPen);
    feed.down_from(0, 100, 5).up(105).up(500).down(900).down(905);
    QCOMPARE(feed.statistics.figures().dropouts, std::uint64_t{0});
}

void TestStatistics::a_lost_lift_is_a_dropout() {
    Feed feed(kFinger);
    feed.down_from(0, 100, 5).down_from(8000, 8100, 5).up(8105);
    const Figures figures = feed.statistics.figures();
    QCOMPARE(figures.dropouts, std::uint64_t{1});
    QCOMPARE(figures.down_us.greatest(), std::int64_t{7900000});
}

void TestStatistics::only_what_is_down_covers_the_board() {
    Feed feed(kPen);
    feed.up(0, 0, 0).down(5, 9000, 9000).up(10, 30000, 30000);
    QCOMPARE(feed.statistics.figures().coverage.cells(), 1);
}

void TestStatistics::a_contact_is_down_since_it_came_down() {
    Feed feed(kPen);
    QVERIFY(!feed.statistics.isDown());
    feed.down(10).up(20).up(25);
    QVERIFY(!feed.statistics.isDown());
    feed.down(30).down(40);
    QVERIFY(feed.statistics.isDown());
    QCOMPARE(feed.statistics.downSince_ns(), 30 * kMillisecond);
    QCOMPARE(feed.statistics.lastReport_ns(), 40 * kMillisecond);
}

void TestStatistics::a_contact_rests_only_while_it_is_down() {
    Feed hovering(kPen);
    for (int time = 0; time < 3000; time += 10)
        hovering.up(time);
    QCOMPARE(hovering.statistics.figures().rest.blocks, 0);
    Feed lifting(kPen);
    lifting.down_from(0, 1400, 10).up(1410).down_from(1420, 2000, 10);
    QCOMPARE(lifting.statistics.figures().rest.blocks, 0);
    Feed resting(kPen);
    resting.down_from(0, 2000, 10);
    QCOMPARE(resting.statistics.figures().rest.blocks, 2);
}

void TestStatistics::one_report_has_no_figures_but_itself() {
    Feed feed(kPen);
    feed.down(3);
    const Figures figures = feed.statistics.figures();
    QCOMPARE(figures.reports, std::uint64_t{1});
    QVERIFY(figures.rates.empty() && figures.down_us.empty() && figures.hovering_us.empty());
    QCOMPARE(figures.dropouts, std::uint64_t{0});
}

void TestStatistics::contacts_that_are_down_at_once_are_counted_after_each_report() {
    KindStatistics kind(kFinger);
    kind.add(0, at(0, true));
    kind.add(7, at(0, true));
    kind.endReport();
    QCOMPARE(kind.down(), 2);
    kind.add(3, at(5, true)); // takes the place of another
    kind.add(0, at(5, false));
    kind.endReport();
    QCOMPARE(kind.down(), 2);
    QCOMPARE(kind.mostDown(), 2);
    kind.add(3, at(10, false));
    kind.add(3, at(10, false));
    kind.endReport();
    QCOMPARE(kind.down(), 1);
    QCOMPARE(kind.mostDown(), 2);
    QCOMPARE(kind.reports(), std::uint64_t{3});
}

void TestStatistics::the_figures_of_a_kind_are_those_of_its_contacts_together() {
    KindStatistics kind(kFinger);
    for (int time = 0; time <= 2000; time += 10) {
        kind.add(0, {time * kMillisecond, 0, time % 30, true});
        if (time % 50 == 0)
            kind.add(1, {time * kMillisecond, 20000 + time % 20, 20000, true});
        kind.endReport();
    }
    kind.add(0, at(2050, true)); // a dropout of 0, though it is none beside those of 1
    kind.endReport();
    const Figures figures = kind.figures();
    QCOMPARE(figures.reports, std::uint64_t{202});
    QCOMPARE(figures.down_us.size(), std::uint64_t{200 + 1 + 40});
    QCOMPARE(figures.down_us.median(), std::int64_t{10000});
    QCOMPARE(figures.down_us.greatest(), std::int64_t{50000});
    QCOMPARE(figures.dropouts, std::uint64_t{1});
    QCOMPARE(figures.rates.greatest(), std::int64_t{100});
    QCOMPARE(figures.rates.least(), std::int64_t{20});
    QCOMPARE(figures.coverage.cells(), 2);
    QCOMPARE(figures.rest.blocks, 4);
    QCOMPARE(figures.rest.spreadX, 10);
    QCOMPARE(figures.rest.spreadY, 20);
}

void TestStatistics::a_report_without_contacts_counts() {
    KindStatistics kind(kFinger);
    kind.endReport();
    QCOMPARE(kind.reports(), std::uint64_t{1});
    QVERIFY(kind.contacts().empty());
}

QTEST_GUILESS_MAIN(TestStatistics)
#include "tst_statistics.moc"
