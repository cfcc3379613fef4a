#include "tools/trace/recording.h"

#include "drivers/capture/capture.h"
#include "tests/support/trace_registry.h"

#include <QtTest>
#include <variant>

// Boards with faults, of which captures were written by hand: each figure was counted there.

namespace {

/// What is recorded of a capture if each of its reports comes when it says.
Summary played(const char* name) {
    forget_trace();
    const Capture capture = readCapture(std::string(KESTRUNE_DATA_FOLDER "/") + name);
    if (capture.error)
        qFatal("%s", captureErrorText(name, *capture.error).c_str());
    std::int64_t now_ns = 0;
    TavelHardware hardware(nullptr);
    const Recording recording(hardware, [&now_ns] { return now_ns; });
    for (const CaptureEvent& event : capture.events) {
        now_ns = event.time.count();
        if (const auto* const report = std::get_if<CapturedReport>(&event.what))
            TavelHardware::processPacketCallback(report->device, report->bytes.data(),
                                                 static_cast<unsigned int>(report->bytes.size()),
                                                 &hardware);
    }
    return recording.summary();
}

} // namespace

class TestFaults : public QObject {
    Q_OBJECT

private slots:
    void a_dropout_is_found();
    void a_stuck_finger_is_found();
    void a_jittering_finger_is_found();
};

void TestFaults::a_dropout_is_found() {
    const Summary summary = played("dropout.capture");
    const KindSummary& pens = summary.kinds[0];
    QCOMPARE(pens.contacts.size(), std::size_t{1});
    QCOMPARE(pens.contacts[0].number, 1);
    QVERIFY(!pens.contacts[0].neverLifted);
    QCOMPARE(pens.mostDown, 1);
    for (const Figures& figures : {pens.figures, pens.contacts[0].figures}) {
        QCOMPARE(figures.reports, std::uint64_t{31 + 11 + 11 + 1 + 5});
        QCOMPARE(figures.down_us.size(), std::uint64_t{30 + 1 + 10 + 1 + 10 + 1});
        QCOMPARE(figures.down_us.median(), std::int64_t{10000});
        QCOMPARE(figures.down_us.percentile(99), std::int64_t{50000}); // the 53rd of 53
        QCOMPARE(figures.down_us.greatest(), std::int64_t{50000});
        QCOMPARE(figures.dropouts, std::uint64_t{1}); // 40 ms are just none
        QCOMPARE(figures.hovering_us.size(), std::uint64_t{5});
        QCOMPARE(figures.hovering_us.median(), std::int64_t{20000});
        QVERIFY(figures.rates.empty()); // it is shorter than a second
        QCOMPARE(figures.rest.blocks, 0);
        // Down from (8000, 9000) on, by (40, 10) a report, 53 times.
        const std::string across("...##...........");
        const auto map = figures.coverage.map();
        QCOMPARE(figures.coverage.cells(), 2);
        QCOMPARE(map[2], across);
    }
    QVERIFY(summary.kinds[1].contacts.empty() && summary.kinds[2].contacts.empty());
}

void TestFaults::a_stuck_finger_is_found() {
    const Summary summary = played("stuck.capture");
    const KindSummary& touches = summary.kinds[1];
    QCOMPARE(touches.contacts.size(), std::size_t{2});
    QCOMPARE(touches.mostDown, 2);
    // From 200 to 900 ms and from 1200 to 1300, every 10 ms.
    QCOMPARE(touches.figures.reports, std::uint64_t{71 + 11});
    const ContactSummary& good = touches.contacts[0];
    QCOMPARE(good.number, 0);
    QVERIFY(!good.neverLifted);
    QCOMPARE(good.figures.reports, std::uint64_t{61 + 11});
    QCOMPARE(good.figures.down_us.size(), std::uint64_t{60 + 10}); // it was away from 900 on
    QCOMPARE(good.figures.down_us.greatest(), std::int64_t{10000});
    const ContactSummary& stuck = touches.contacts[1];
    QCOMPARE(stuck.number, 3);
    QCOMPARE(stuck.figures.reports, std::uint64_t{31});
    QVERIFY(stuck.neverLifted.has_value());
    QCOMPARE(stuck.neverLifted->since_ns, std::int64_t{200000000});
    QCOMPARE(stuck.neverLifted->lastReport_ns, std::int64_t{500000000});
    QCOMPARE(touches.figures.dropouts, std::uint64_t{0});
    QVERIFY(touches.figures.hovering_us.empty());
}

void TestFaults::a_jittering_finger_is_found() {
    const Summary summary = played("jitter.capture");
    const ContactSummary& finger = summary.kinds[1].contacts.at(0);
    QCOMPARE(finger.number, 2);
    const Figures& figures = finger.figures;
    QCOMPARE(figures.reports, std::uint64_t{177});
    // Half a second on its way, then three at rest of which the first and the last one are edges.
    QCOMPARE(figures.rest.blocks, 4);
    QCOMPARE(figures.rest.seconds(), 2.0);
    QCOMPARE(figures.rest.spreadX, 12);
    QCOMPARE(figures.rest.spreadY, 7);
    QCOMPARE(figures.rates.least(), std::int64_t{50});
    QCOMPARE(figures.rates.greatest(), std::int64_t{50});
    QCOMPARE(figures.down_us.least(), std::int64_t{20000});
    QCOMPARE(figures.down_us.greatest(), std::int64_t{20000});
    QCOMPARE(figures.dropouts, std::uint64_t{0});
    QVERIFY(!finger.neverLifted);
}

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
