#include "tools/trace/boards.h"

#include "tests/support/fake_driver.h"

#include <QElapsedTimer>
#include <QtTest>
#include <algorithm>
#include <thread>

using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

const std::string kOn = "tavelSetTouchDestination(7, 1)"; // of all that switches a board on
const std::string kOff = "tavelSetTouchDestination(7, 0)";

long count(const Strings& log, const std::string& call) {
    return std::count(log.begin(), log.end(), call);
}

/// Whether the boards are to be switched on in a while.
bool is_delayed(const Boards& boards) {
    return boards.findChild<QTimer*>()->isActive();
}

} // namespace

class TestBoards : public QObject {
    Q_OBJECT

private slots:
    void init();
    void opening_finds_the_boards_and_switches_nothing();
    void boards_that_cannot_be_used_are_left_out();
    void every_report_is_switched_on_and_off_again();
    void what_was_not_switched_on_is_not_switched_off();
    void boards_are_switched_on_again_two_seconds_after_an_enumeration();
    void boards_are_not_switched_on_by_a_notice_alone();
    void a_notice_finds_the_boards_anew();
    void after_the_end_nothing_is_called();
};

void TestBoards::init() {
    driver().reset();
    driver().set_boards({{7, "hid<A>xp<4>xt<10>"}});
}

void TestBoards::opening_finds_the_boards_and_switches_nothing() {
    Boards boards;
    QVERIFY(boards.found().isEmpty());
    QVERIFY(boards.open());
    QCOMPARE(boards.found().size(), 1);
    QCOMPARE(boards.found().first().first, 0);
    QCOMPARE(boards.found().first().second.hid, QStringLiteral("A"));
    QCOMPARE(boards.found().first().second.xt, 10);
    QCOMPARE(driver().take_log().back(), std::string("tavelSetXferMask(7, 255)"));
}

void TestBoards::boards_that_cannot_be_used_are_left_out() {
    driver().set_boards({{7, "hid<A>", 0}, {8, "hid<B>"}});
    Boards boards;
    QVERIFY(boards.open());
    QCOMPARE(boards.found().size(), 1);
    QCOMPARE(boards.found().first().first, 1);
}

void TestBoards::every_report_is_switched_on_and_off_again() {
    Boards boards;
    QVERIFY(boards.open());
    driver().take_log();
    boards.switchOn();
    const Strings on = driver().take_log();
    QCOMPARE(on.size(), std::size_t{10});
    QCOMPARE(on[1], std::string("tavelSetPointingDeviceDestination(7, 1, 0, 1)"));
    QCOMPARE(on[7], std::string("tavelSetPointingDeviceDestination(7, 4, 0, 1)"));
    QCOMPARE(on[8], kOn);
    QCOMPARE(on[9], std::string("tavelWritePacket(7, :PL1\\r)"));
    boards.close();
    const Strings off = driver().take_log();
    QCOMPARE(off.size(), std::size_t{10 + 2});
    QCOMPARE(off[1], std::string("tavelSetPointingDeviceDestination(7, 1, 0, 0)"));
    QCOMPARE(off[8], kOff);
    QCOMPARE(off[9], std::string("tavelWritePacket(7, :PL0\\r)"));
    QCOMPARE(off[11], std::string("tavelDetach()"));
}

void TestBoards::what_was_not_switched_on_is_not_switched_off() {
    {
        Boards boards;
        QVERIFY(boards.open());
        driver().take_log();
    }
    QCOMPARE(driver().take_log(),
             (Strings{"tavelClearCallback(0)", "tavelDetach()", "tavelDetach()"}));
}

void TestBoards::boards_are_switched_on_again_two_seconds_after_an_enumeration() {
    Boards boards;
    QVERIFY(boards.open());
    boards.switchOn();
    driver().set_boards({{7}, {9}});
    driver().take_log();
    QElapsedTimer since;
    since.start();
    std::thread([] { driver().notice(); }).join();
    Strings log;
    const auto is_on = [&log] {
        const Strings more = driver().take_log();
        log.insert(log.end(), more.begin(), more.end());
        return count(log, kOn) > 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(is_on(), 10000);
    QVERIFY(since.elapsed() >= 1990); // the notice started the two seconds anew
    QCOMPARE(count(log, "tavelSetTouchDestination(9, 1)"), 1);
}

void TestBoards::boards_are_not_switched_on_by_a_notice_alone() {
    Boards boards;
    QVERIFY(boards.open());
    driver().take_log();
    driver().notice();
    QCOMPARE(count(driver().take_log(), kOn), 0);
    QVERIFY(!is_delayed(boards));
    boards.switchOn();
    QVERIFY(is_delayed(boards));
}

void TestBoards::a_notice_finds_the_boards_anew() {
    Boards boards;
    QVERIFY(boards.open());
    driver().set_boards({{8, "hid<B>"}, {9, "hid<C>"}});
    std::thread([] { driver().notice(); }).join();
    QTRY_COMPARE(boards.found().size(), 2);
    QCOMPARE(boards.found().last().second.hid, QStringLiteral("C"));
}

void TestBoards::after_the_end_nothing_is_called() {
    Boards boards;
    QVERIFY(boards.open());
    boards.switchOn();
    boards.close();
    driver().take_log();
    boards.close();
    QCOMPARE(driver().take_log(), Strings());
    QVERIFY(!is_delayed(boards)); // which it was
}

QTEST_GUILESS_MAIN(TestBoards)
#include "tst_boards.moc"
