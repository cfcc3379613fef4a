#include "tests/drivers/driverlibrary.h"
#include "tests/drivers/exports.h"
#include "tests/drivers/listening.h"

#include <QTemporaryDir>
#include <QtTest>
#include <array>
#include <atomic>
#include <map>
#include <set>

Q_DECLARE_METATYPE(Bytes)
Q_DECLARE_METATYPE(std::string)

namespace {

const std::string kPath = KESTRUNE_SIMULATED_DRIVER;
const std::string kHeader = "kestrune-capture 1\n";
const std::string kBoard = kHeader + "0 plug 7 1 \"hid<H1>xp<4>\"\n";

Bytes pen(int id, bool down = true) {
    return {8, 0x21, 0, 1, 2, 3, 4, static_cast<unsigned char>(id << 3 | (down ? 1 : 0))};
}
Bytes touch(bool down = true) {
    return {9, 0x45, static_cast<unsigned char>(down ? 0x82 : 0x02), 1, 2, 3, 4, 5, 6};
}
Bytes erase(bool down = true) {
    return {11, 0x46, static_cast<unsigned char>(down ? 0x80 : 0), 1, 2, 3, 4, 5, 6, 7, 8};
}
Bytes wrapped(const Bytes& report) {
    Bytes bytes = {0, 0x41, 0};
    bytes.insert(bytes.end(), report.begin(), report.end());
    return bytes;
}

/// Lets the driver's own thread go round several times, whatever the board is to send, so that it
/// does what it should not do, if it does.
void giveTime(const DriverLibrary& driver, int device = kDevice) {
    for (int round = 0; round < 20; ++round) {
        const bool down = round % 2 == 0;
        inject(driver, pen(15, down), device); // which nobody switches on
        while (driver.IsSomethingOnBoard(device) != (down ? 1 : 0))
            std::this_thread::yield();
    }
}

} // namespace

class TestSimulated : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void it_exports_the_entry_points_and_nothing_else();
    void nothing_is_there_while_nobody_is_attached();
    void boards_are_there_until_the_last_detachment();
    void a_board_is_described();
    void a_board_is_not_described_data();
    void a_board_is_not_described();
    void boards_are_those_of_the_start();
    void reports_are_played_in_their_order_on_a_thread_of_its_own();
    void nothing_is_played_before_the_program_listens_data();
    void nothing_is_played_before_the_program_listens();
    void a_kind_that_is_off_sends_nothing_data();
    void a_kind_that_is_off_sends_nothing();
    void each_pen_is_switched_for_itself();
    void touches_can_be_disabled();
    void nothing_is_sent_while_the_mask_is_0();
    void a_callback_is_told_by_device_and_function_and_context();
    void a_callback_that_is_set_twice_is_called_once();
    void a_cleared_callback_is_waited_for_data();
    void a_cleared_callback_is_waited_for();
    void a_callback_clears_itself();
    void a_callback_clears_the_next();
    void a_detachment_waits_for_callbacks();
    void a_callback_detaches();
    void a_callback_attaches_while_another_thread_detaches();
    void boards_come_and_go_with_one_notice_each_time();
    void a_notice_is_cleared_as_device_0();
    void a_board_that_comes_back_is_off();
    void a_board_that_comes_first_is_noticed_after_the_count();
    void commands_are_obeyed_data();
    void commands_are_obeyed();
    void what_is_no_command_is_taken_data();
    void what_is_no_command_is_taken();
    void the_touch_status_is_of_the_board_that_was_asked();
    void bytes_come_back_by_echo();
    void contacts_are_on_the_board_until_they_lift();
    void a_channel_keeps_packets_until_they_are_read();
    void a_channel_that_closes_ends_its_read();
    void settings_are_kept_by_the_board();
    void other_operations_succeed();
    void a_speed_that_is_none_is_told_data();
    void a_speed_that_is_none_is_told();
    void the_speed_is_a_factor_data();
    void the_speed_is_a_factor();
    void at_full_speed_nothing_is_lost_while_the_program_gets_ready();
    void at_full_speed_what_is_off_is_left_out();
    void at_full_speed_every_board_is_waited_for_data();
    void at_full_speed_every_board_is_waited_for();
    void at_full_speed_a_board_that_is_left_alone_does_not_stop_the_others();
    void a_loop_begins_with_the_boards_of_the_start();
    void a_capture_that_cannot_be_played_is_told_data();
    void a_capture_that_cannot_be_played_is_told();
    void calls_are_logged();
    void a_log_that_cannot_be_written_is_told();
    void callbacks_are_counted();
    void counts_that_cannot_be_kept_are_told();
    void it_is_unloaded_and_loaded_again();
    void the_demonstration_shows_everything();
    void any_thread_may_call();

private:
    /// The file is played from the next attachment on.
    void play(const std::string& capture, const char* speed = nullptr) {
        std::ofstream(file("capture"), std::ios::binary) << capture;
        setenv("KESTRUNE_CAPTURE", file("capture").c_str(), 1);
        if (speed != nullptr)
            setenv("KESTRUNE_CAPTURE_SPEED", speed, 1);
    }
    std::string file(const char* name) const { return m_folder->path().toStdString() + '/' + name; }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestSimulated::init() {
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char* const variable :
         {"KESTRUNE_CAPTURE", "KESTRUNE_CAPTURE_SPEED", "KESTRUNE_CAPTURE_LOOP",
          "KESTRUNE_DRIVER_LOG", "KESTRUNE_DRIVER_COUNTS"})
        unsetenv(variable);
}

void TestSimulated::cleanup() {
    m_folder.reset();
}

void TestSimulated::it_exports_the_entry_points_and_nothing_else() {
    QCOMPARE(problemOfExports(kPath), QString());
}

void TestSimulated::nothing_is_there_while_nobody_is_attached() {
    play(kBoard);
    const DriverLibrary driver(kPath);
    QVERIFY(driver.isLoaded());
    QCOMPARE(driver.GetDeviceCount(), 0);
    QVERIFY(!BoardDescription(driver, 0).isThere);
    QCOMPARE(driver.WritePacket(kDevice, ":QT\r", 4), -1);
    QCOMPARE(driver.SendCommand(kDevice, ":QT"), -1);
    QCOMPARE(driver.GetTouchDestination(kDevice), -1);
    Receiver receiver;
    QCOMPARE(driver.SetCallback(kDevice, Receiver::packet, &receiver), 0);
    QCOMPARE(driver.ClearCallback(kDevice, Receiver::packet, &receiver), 0);
    QCOMPARE(driver.SetPnpCallback(Receiver::notice, &receiver), 0);
    QCOMPARE(driver.SetXferMask(kDevice, 0xFF), 0);
    QCOMPARE(driver.OpenSynchronousChannel(kDevice, nullptr, nullptr), -1);
    QCOMPARE(driver.Detach(), 0);
}

void TestSimulated::boards_are_there_until_the_last_detachment() {
    play(kBoard);
    const DriverLibrary driver(kPath);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(driver.Attach(), 1);
        QCOMPARE(driver.GetDeviceCount(), 1);
        QCOMPARE(driver.Attach(), 1);
        QCOMPARE(driver.Detach(), 1);
        QCOMPARE(driver.GetDeviceCount(), 1);
        QCOMPARE(driver.Detach(), 1);
        QCOMPARE(driver.GetDeviceCount(), 0);
        QCOMPARE(driver.Detach(), 0);
    }
}

void TestSimulated::a_board_is_described() {
    play(kHeader + "0 plug -70000 1 \"hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<2>\"\n");
    const DriverLibrary driver(kPath);
    driver.Attach();
    _TAVEL_DEVICE_INFO block;
    std::memset(block.bytes, 0xEE, sizeof block.bytes);
    const int tag = 9;
    std::memcpy(block.bytes, &tag, sizeof tag);
    _TAVEL_DEVICE_INFO expected = block;
    const int state = 1;
    const int device = -70000;
    std::memcpy(expected.bytes + 4, &state, sizeof state);
    std::memcpy(expected.bytes + 20, &device, sizeof device);
    constexpr char info[] = "hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<2>";
    std::memcpy(expected.bytes + 325, info, sizeof info); // with its NUL
    QCOMPARE(static_cast<int>(driver.EnumDeviceInfo(0, &block)), 1);
    QVERIFY(std::memcmp(block.bytes, expected.bytes, sizeof block.bytes) == 0);
    driver.Detach();
}

void TestSimulated::a_board_is_not_described_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("tag");
    QTest::newRow("before the first") << -1 << 9;
    QTest::newRow("after the last") << 1 << 9;
    QTest::newRow("no tag") << 0 << 0;
    QTest::newRow("another tag") << 0 << 8;
    QTest::newRow("a tag of more bytes") << 0 << 0x109;
}

void TestSimulated::a_board_is_not_described() {
    QFETCH(const int, index);
    QFETCH(const int, tag);
    play(kBoard);
    const DriverLibrary driver(kPath);
    driver.Attach();
    _TAVEL_DEVICE_INFO block = {};
    std::memcpy(block.bytes, &tag, sizeof tag);
    const _TAVEL_DEVICE_INFO before = block;
    QCOMPARE(static_cast<int>(driver.EnumDeviceInfo(index, &block)), 0);
    QVERIFY(std::memcmp(block.bytes, before.bytes, sizeof block.bytes) == 0);
    QCOMPARE(static_cast<int>(driver.EnumDeviceInfo(0, nullptr)), 0);
    driver.Detach();
}

void TestSimulated::boards_are_those_of_the_start() {
    play(kHeader + "0 plug 3 1 \"A\"\n0 plug 2 0 \"B\"\n0 plug 4 1 \"\"\n"
                   "0 report 3 037701\n0 plug 5 1 \"\"\n");
    const DriverLibrary driver(kPath);
    driver.Attach();
    QCOMPARE(driver.GetDeviceCount(), 3);
    QCOMPARE(BoardDescription(driver, 0).device, 3);
    QCOMPARE(BoardDescription(driver, 0).info, std::string("A"));
    QCOMPARE(BoardDescription(driver, 1).device, 2);
    QCOMPARE(BoardDescription(driver, 1).state, 0);
    QCOMPARE(BoardDescription(driver, 2).device, 4);
    driver.Detach();
}

void TestSimulated::reports_are_played_in_their_order_on_a_thread_of_its_own() {
    std::string capture = kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n";
    std::vector<Bytes> expected;
    for (int i = 0; i < 200; ++i) {
        const int device = 7 + i % 2;
        const Bytes report = {3, 0x77, static_cast<unsigned char>(i)};
        char line[64];
        std::snprintf(line, sizeof line, "%d report %d 0377%02x\n", i * 10000, device, i);
        capture += line;
        expected.push_back(report);
    }
    play(capture);
    Listening at(7);
    at.driver.SetCallback(8, Receiver::packet, &at.receiver);
    at.driver.SetXferMask(8, 0xFF);
    const Bytes lastOfFirst = expected[expected.size() - 2];
    QVERIFY(at.receiver.waitForPacket(lastOfFirst));
    // The second board may have missed what came before it had its mask.
    auto next = expected.begin();
    std::size_t countOfFirst = 0;
    for (const Receiver::Packet& packet : at.receiver.packets()) {
        next = std::find(next, expected.end(), packet.bytes);
        QVERIFY(next != expected.end());
        ++next;
        QCOMPARE(packet.device, 7 + packet.bytes[2] % 2);
        if (packet.device == 7)
            ++countOfFirst;
    }
    QCOMPARE(countOfFirst, expected.size() / 2);
    for (const std::thread::id thread : at.receiver.threads()) {
        QVERIFY(thread != std::this_thread::get_id());
        QVERIFY(thread == at.receiver.threads().front());
    }
}

void TestSimulated::nothing_is_played_before_the_program_listens_data() {
    QTest::addColumn<bool>("isMaskFirst");
    QTest::newRow("callback, mask") << false;
    QTest::newRow("mask, callback") << true;
}

void TestSimulated::nothing_is_played_before_the_program_listens() {
    QFETCH(const bool, isMaskFirst);
    play(kBoard + "0 report 7 037702\n");
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    giveTime(driver);
    const auto listen = [&] { driver.SetCallback(kDevice, Receiver::packet, &receiver); };
    if (isMaskFirst)
        driver.SetXferMask(kDevice, 1);
    else
        listen();
    giveTime(driver);
    driver.SetXferMask(kDevice, isMaskFirst ? 1 : 0);
    giveTime(driver);
    if (isMaskFirst)
        listen();
    else
        driver.SetXferMask(kDevice, 1);
    QVERIFY(receiver.waitForPackets(1));
    const Bytes expected = {3, 0x77, 2};
    QVERIFY(receiver.packets().front().bytes == expected);
    driver.Detach();
}

void TestSimulated::a_kind_that_is_off_sends_nothing_data() {
    QTest::addColumn<Bytes>("report");
    QTest::addColumn<std::string>("kind");
    QTest::newRow("pen") << pen(0) << std::string("pen");
    QTest::newRow("wrapped pen") << wrapped(pen(0)) << std::string("pen");
    QTest::newRow("touch") << touch() << std::string("touch");
    QTest::newRow("wrapped touch") << wrapped(touch()) << std::string("touch");
    QTest::newRow("touch of no contact") << Bytes{2, 0x45} << std::string("touch");
    QTest::newRow("erase") << erase() << std::string("erase");
    QTest::newRow("wrapped erase") << wrapped(erase()) << std::string("erase");
}

void TestSimulated::a_kind_that_is_off_sends_nothing() {
    QFETCH(const Bytes, report);
    QFETCH(const std::string, kind);
    play(kBoard);
    Listening at;
    const auto turn = [&at, &kind](bool on) {
        if (kind == "pen")
            at.driver.SetPointingDeviceDestination(kDevice, 1, false, on);
        else if (kind == "touch")
            at.driver.SetTouchDestination(kDevice, on);
        else
            at.driver.WritePacket(kDevice, on ? ":PL1\r" : ":PL0\r", 5);
    };
    QVERIFY(at.sends(report));
    turn(false);
    QVERIFY(!at.sends(report));
    turn(true);
    QVERIFY(at.sends(report));

    // And before it is told anything.
    at.driver.Detach();
    at.driver.Attach();
    at.driver.SetCallback(kDevice, Receiver::packet, &at.receiver);
    at.driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(!at.sends(report));
    turn(true);
    QVERIFY(at.sends(report));
}

void TestSimulated::each_pen_is_switched_for_itself() {
    play(kBoard);
    Listening at;
    for (int id = 0; id < 16; ++id)
        QCOMPARE(at.sends(pen(id)), id < 4);
    at.driver.SetPointingDeviceDestination(kDevice, 16, false, 1);
    at.driver.SetPointingDeviceDestinationEx(kDevice, 2, false, 0, true);
    at.driver.SetPointingDeviceDestination(kDevice, 0, false, 0);
    at.driver.SetPointingDeviceDestination(kDevice, 3, true, 0);
    for (int id = 0; id < 16; ++id)
        QCOMPARE(at.sends(pen(id)), (id < 4 && id != 1) || id == 15);
}

void TestSimulated::touches_can_be_disabled() {
    play(kBoard);
    Listening at;
    QCOMPARE(static_cast<int>(at.driver.GetTouchEnabled(kDevice)), 1);
    QCOMPARE(at.driver.SetTouchEnabled(kDevice, false), 1);
    QCOMPARE(static_cast<int>(at.driver.GetTouchEnabled(kDevice)), 0);
    QVERIFY(!at.sends(touch()));
    QVERIFY(at.sends(pen(0)));
    at.driver.SetTouchEnabled(kDevice, true);
    QVERIFY(at.sends(touch()));
}

void TestSimulated::nothing_is_sent_while_the_mask_is_0() {
    play(kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n");
    Listening at;
    at.driver.SetCallback(8, Receiver::packet, &at.receiver);
    at.driver.SetXferMask(8, 0xFF);
    at.driver.SetXferMask(7, 0);
    inject(at.driver, pen(0));
    inject(at.driver, kMarker);
    at.driver.SendCommand(7, ":QT");
    at.driver.Echo(7, 3, kMarker.data());
    inject(at.driver, kMarker, 8);
    QVERIFY(at.receiver.waitForPackets(1));
    QCOMPARE(at.receiver.packets().size(), std::size_t(1));
    QCOMPARE(at.receiver.packets().front().device, 8);
}

void TestSimulated::a_callback_is_told_by_device_and_function_and_context() {
    play(kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n");
    Receiver other;
    Listening at;
    const auto another = [](int device, const unsigned char* data, unsigned int length,
                            void* context) { Receiver::packet(device, data, length, context); };
    QCOMPARE(at.driver.SetCallback(kDevice, Receiver::packet, &other), 1);
    QCOMPARE(at.driver.ClearCallback(8, Receiver::packet, &at.receiver), 0);
    QCOMPARE(at.driver.ClearCallback(kDevice, another, &at.receiver), 0);
    QCOMPARE(at.driver.ClearCallback(kDevice, Receiver::packet, nullptr), 0);
    QVERIFY(at.sends(pen(0)));
    QVERIFY(other.waitForPackets(2));
    QCOMPARE(at.driver.ClearCallback(kDevice, Receiver::packet, &other), 1);
    QCOMPARE(at.driver.ClearCallback(kDevice, Receiver::packet, &other), 0);
    QVERIFY(at.sends(pen(1)));
    QCOMPARE(other.packets().size(), std::size_t(2));
}

void TestSimulated::a_callback_that_is_set_twice_is_called_once() {
    play(kBoard);
    Listening at;
    at.driver.SetCallback(kDevice, Receiver::packet, &at.receiver);
    inject(at.driver, pen(0));
    inject(at.driver, kMarker);
    QVERIFY(at.receiver.waitForPacket(kMarker));
    QCOMPARE(at.receiver.packets().size(), std::size_t(2));
}

void TestSimulated::a_cleared_callback_is_waited_for_data() {
    QTest::addColumn<bool>("isChannel");
    QTest::newRow("of a board") << false;
    QTest::newRow("of a channel") << true;
}

void TestSimulated::a_cleared_callback_is_waited_for() {
    QFETCH(const bool, isChannel);
    play(kBoard);
    Listening at;
    Signal isInside;
    Signal mayLeave;
    std::atomic<int> inside{0};
    at.receiver.inside = [&] {
        ++inside;
        isInside.give();
        mayLeave.wait();
        --inside;
    };
    if (isChannel) {
        at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver);
        at.driver.OpenSynchronousChannel(kDevice, Receiver::packet, &at.receiver);
    }
    inject(at.driver, kMarker);
    QVERIFY(isInside.wait());
    Signal isClearing;
    std::atomic<bool> isCleared{false};
    int insideAfter = -1;
    std::thread clearing([&] {
        isClearing.give();
        if (isChannel)
            at.driver.CloseSynchronousChannel(kDevice, 1);
        else
            at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver);
        insideAfter = inside;
        isCleared = true;
    });
    QVERIFY(isClearing.wait());
    for (int i = 0; i < 2000; ++i) // other calls go through all the while
        QCOMPARE(at.driver.SetXferMask(kDevice, 0xFF), 1);
    QVERIFY(!isCleared);
    mayLeave.give();
    clearing.join();
    QCOMPARE(insideAfter, 0);

    Receiver other;
    at.driver.SetCallback(kDevice, Receiver::packet, &other);
    inject(at.driver, kMarker);
    QVERIFY(other.waitForPackets(1));
    QCOMPARE(at.receiver.packets().size(), std::size_t(1));
    at.driver.ClearCallback(kDevice, Receiver::packet, &other);
}

void TestSimulated::a_callback_clears_itself() {
    play(kBoard);
    Receiver other;
    Listening at;
    at.driver.SetCallback(kDevice, Receiver::packet, &other);
    at.receiver.inside = [&] { at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver); };
    for (int i = 0; i < 3; ++i)
        inject(at.driver, kMarker);
    QVERIFY(other.waitForPackets(3));
    QCOMPARE(at.receiver.packets().size(), std::size_t(1));
}

void TestSimulated::a_callback_clears_the_next() {
    play(kBoard);
    Receiver other;
    Listening at;
    at.driver.SetCallback(kDevice, Receiver::packet, &other);
    at.receiver.inside = [&] { at.driver.ClearCallback(kDevice, Receiver::packet, &other); };
    inject(at.driver, kMarker);
    inject(at.driver, kMarker);
    QVERIFY(at.receiver.waitForPackets(2));
    QVERIFY(other.packets().empty());
}

void TestSimulated::a_detachment_waits_for_callbacks() {
    play(kBoard);
    Listening at;
    std::atomic<int> inside{0};
    at.receiver.inside = [&inside] {
        ++inside;
        std::this_thread::yield();
        --inside;
    };
    for (int i = 0; i < 100; ++i)
        inject(at.driver, kMarker);
    QVERIFY(at.receiver.waitForPackets(1));
    at.driver.Detach();
    QCOMPARE(inside.load(), 0);
    const std::size_t count = at.receiver.packets().size();
    at.driver.Attach();
    at.driver.Detach();
    QCOMPARE(at.receiver.packets().size(), count);
}

void TestSimulated::a_callback_detaches() {
    play(kBoard);
    Receiver other;
    Listening at;
    at.driver.SetCallback(kDevice, Receiver::packet, &other);
    std::atomic<int> result{-1};
    at.receiver.inside = [&] { result = at.driver.Detach(); };
    for (int i = 0; i < 3; ++i)
        inject(at.driver, kMarker);
    QVERIFY(at.receiver.waitForPackets(1));
    QTRY_COMPARE_WITH_TIMEOUT(result.load(), 1, 30000);
    QCOMPARE(at.driver.GetDeviceCount(), 0);
    at.driver.Attach();
    QCOMPARE(at.driver.GetDeviceCount(), 1);
    QCOMPARE(at.receiver.packets().size(), std::size_t(1));
    QVERIFY(other.packets().empty());
}

void TestSimulated::a_callback_attaches_while_another_thread_detaches() {
    play(kBoard);
    Listening at;
    Signal isInside;
    Signal isDetaching;
    at.receiver.inside = [&] {
        isInside.give();
        isDetaching.wait();
        while (at.driver.GetDeviceCount() != 0)
            std::this_thread::yield();
        at.driver.Attach();
    };
    inject(at.driver, kMarker);
    QVERIFY(isInside.wait());
    isDetaching.give();
    QCOMPARE(at.driver.Detach(), 1);
    QCOMPARE(at.driver.GetDeviceCount(), 1);
}

void TestSimulated::boards_come_and_go_with_one_notice_each_time() {
    play(kBoard + "1 plug 8 1 \"B\"\n1 plug 9 0 \"C\"\n2 unplug 7\n2 unplug 9\n3 report 8 00\n"
                  "3 unplug 8\n",
         "1");
    Listening at;
    QVERIFY(at.receiver.waitForNotices(3));
    QCOMPARE(at.receiver.notices(), 3);
    QCOMPARE(at.driver.GetDeviceCount(), 0);
    QVERIFY(at.receiver.packets().empty()); // board 8 had no mask
    for (const std::thread::id thread : at.receiver.threads())
        QVERIFY(thread != std::this_thread::get_id());
}

void TestSimulated::a_notice_is_cleared_as_device_0() {
    play(kBoard + "1 plug 8 1 \"\"\n2000000 plug 9 1 \"\"\n");
    Receiver other;
    Receiver gone;
    const DriverLibrary driver(kPath);
    driver.Attach();
    QCOMPARE(driver.SetPnpCallback(Receiver::notice, &other), 1);
    QCOMPARE(driver.SetPnpCallback(Receiver::notice, &gone), 1);
    QCOMPARE(driver.clearPnpCallback(Receiver::notice, nullptr), 0);
    const auto gone_callback =
        reinterpret_cast<TavelPacketCallback>(reinterpret_cast<void (*)()>(&Receiver::notice));
    QCOMPARE(driver.ClearCallback(kDevice, gone_callback, &gone), 0);
    QCOMPARE(driver.clearPnpCallback(Receiver::notice, &gone), 1);
    QCOMPARE(driver.clearPnpCallback(Receiver::notice, &gone), 0);
    driver.SetCallback(kDevice, Receiver::packet, &other);
    driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(other.waitForNotices(2));
    QCOMPARE(gone.notices(), 0);
    driver.Detach();
}

void TestSimulated::a_board_that_comes_back_is_off() {
    play(kBoard + "1 unplug 7\n2 plug 7 1 \"\"\n3 report 7 037702\n4 plug 8 1 \"\"\n", "1");
    Listening at;
    QVERIFY(at.receiver.waitForNotices(3));
    QVERIFY(at.receiver.packets().empty()); // its mask has gone, its callback has not
    QCOMPARE(at.driver.GetTouchDestination(kDevice), 0);
    at.driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(!at.sends(pen(0)));
    at.listen();
    QVERIFY(at.sends(pen(0)));
}

void TestSimulated::a_board_that_comes_first_is_noticed_after_the_count() {
    play(kHeader + "0 plug 5 0 \"\"\n1 plug 7 1 \"\"\n1000000 report 7 037702\n", "max");
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    driver.SetPnpCallback(Receiver::notice, &receiver);
    QCOMPARE(driver.GetDeviceCount(), 1);
    QVERIFY(receiver.waitForNotices(1));
    QCOMPARE(driver.GetDeviceCount(), 2);
    driver.SetCallback(kDevice, Receiver::packet, &receiver);
    driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(receiver.waitForPackets(1));
    driver.Detach();
}

void TestSimulated::commands_are_obeyed_data() {
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("eraser reports") << QByteArray(":PL1\r") << QByteArray(":PL1");
    QTest::newRow("among others") << QByteArray(":PN12\r:GR1\r:PL1\r:PK\r")
                                  << QByteArray(":PN12\r:GR1\r:PL1\r:PK");
    QTest::newRow("the last counts") << QByteArray(":PL0\r:PL1\r") << QByteArray(":PL0\r:PL1");
}

void TestSimulated::commands_are_obeyed() {
    QFETCH(const QByteArray, written);
    QFETCH(const QByteArray, sent);
    play(kBoard);
    Listening at;
    at.driver.SendCommand(kDevice, ":PL0");
    QVERIFY(!at.sends(erase()));
    QCOMPARE(at.driver.WritePacket(kDevice, written.constData(), written.size()), written.size());
    QVERIFY(at.sends(erase()));
    at.driver.SendCommand(kDevice, ":PL0");
    QVERIFY(!at.sends(erase()));
    QCOMPARE(at.driver.SendCommand(kDevice, sent.constData()), 1);
    QVERIFY(at.sends(erase()));
}

void TestSimulated::what_is_no_command_is_taken_data() {
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("only the end") << QByteArray("\r");
    QTest::newRow("no end") << QByteArray(":PL1");
    QTest::newRow("no figure") << QByteArray(":PL\r");
    QTest::newRow("another figure") << QByteArray(":PL2\r");
    QTest::newRow("more figures") << QByteArray(":PL11\r");
    QTest::newRow("another letter") << QByteArray(":pl1\r");
    QTest::newRow("NUL") << QByteArray(":PL1\0\r", 6);
}

void TestSimulated::what_is_no_command_is_taken() {
    QFETCH(const QByteArray, written);
    play(kBoard);
    Listening at;
    at.driver.SendCommand(kDevice, ":PL0");
    QCOMPARE(at.driver.WritePacket(kDevice, written.constData(), written.size()), written.size());
    QVERIFY(!at.sends(erase()));
    QCOMPARE(at.driver.WritePacket(kDevice, written.constData(), -1), -1);
    QCOMPARE(at.driver.WritePacket(kDevice, nullptr, 5), -1);
    QCOMPARE(at.driver.WritePacket(kDevice + 1, ":PL1\r", 5), -1);
    QCOMPARE(at.driver.SendCommand(kDevice, nullptr), -1);
    QCOMPARE(at.driver.SendCommand(kDevice + 1, ":PL1"), -1);
}

void TestSimulated::the_touch_status_is_of_the_board_that_was_asked() {
    play(kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n");
    Listening at;
    at.driver.SetCallback(8, Receiver::packet, &at.receiver);
    at.driver.SetXferMask(8, 0xFF);
    for (const int device : {8, 7}) {
        const std::size_t before = at.receiver.packets().size();
        at.driver.WritePacket(device, ":QT\r", 4);
        QVERIFY(at.receiver.waitForPackets(before + 1));
        const Receiver::Packet packet = at.receiver.packets().back();
        QCOMPARE(packet.device, device);
        QCOMPARE(packet.bytes.size(), std::size_t(8));
        QCOMPARE(static_cast<int>(packet.bytes[0]), 8);
        QCOMPARE(static_cast<int>(packet.bytes[1]), 0xA5);
        QVERIFY(at.receiver.threads().back() != std::this_thread::get_id());
    }
}

void TestSimulated::bytes_come_back_by_echo() {
    play(kBoard);
    Listening at;
    at.driver.SetPointingDeviceDestination(kDevice, 1, false, 0);
    const Bytes bytes = pen(0); // comes back all the same
    QCOMPARE(at.driver.Echo(kDevice, 8, bytes.data()), 1);
    QVERIFY(at.receiver.waitForPacket(bytes));
    QCOMPARE(at.driver.Echo(kDevice, 8, nullptr), 0);
    QCOMPARE(at.driver.Echo(kDevice + 1, 8, bytes.data()), 0);
    QCOMPARE(at.driver.Inject(kDevice, 8, nullptr), 0);
    QCOMPARE(at.driver.Inject(kDevice + 1, 8, bytes.data()), 0);
}

void TestSimulated::contacts_are_on_the_board_until_they_lift() {
    play(kBoard);
    Listening at;
    QCOMPARE(at.driver.IsSomethingOnBoard(kDevice), 0);
    QVERIFY(at.sends(pen(2)));
    QVERIFY(at.sends(touch()));
    QCOMPARE(at.driver.IsSomethingOnBoard(kDevice), 1);
    QVERIFY(at.sends(pen(2, false)));
    QCOMPARE(at.driver.IsSomethingOnBoard(kDevice), 1);
    QVERIFY(at.sends(touch(false)));
    QCOMPARE(at.driver.IsSomethingOnBoard(kDevice), 0);
    QCOMPARE(at.driver.IsSomethingOnBoard(kDevice + 1), 0);
}

void TestSimulated::a_channel_keeps_packets_until_they_are_read() {
    play(kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n");
    Receiver called;
    Listening at;
    const int channel = at.driver.OpenSynchronousChannel(kDevice, Receiver::packet, &called);
    const int plain = at.driver.OpenSynchronousChannel(kDevice, nullptr, nullptr);
    QVERIFY(channel > 0 && plain > 0 && plain != channel);
    unsigned char buffer[16] = {};
    at.driver.SetXferMask(8, 0xFF);
    inject(at.driver, kMarker, 8);
    inject(at.driver, {4, 0x77, 0, 0});
    QVERIFY(at.receiver.waitForPackets(1));
    QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, channel, buffer, 16, 30000), 4);
    QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, channel, buffer, 16, 0), 0);
    QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, plain, buffer, 16, 30000), 4);
    QVERIFY(at.sends(pen(0)));
    QVERIFY(called.waitForPacket(kMarker));
    for (const int number : {channel, plain}) {
        QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, number, buffer, 16, 30000), 8);
        QVERIFY(Bytes(buffer, buffer + 8) == pen(0));
        QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, number, buffer, 2, 30000), 2);
        QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, number, buffer, 16, 0), 0);
    }
    QCOMPARE(at.driver.ReadSynchronousPacket(8, channel, buffer, 16, 0), -1);
    QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, channel, nullptr, 16, 0), -1);
    QCOMPARE(at.driver.ReadSynchronousPacket(kDevice, channel, buffer, -1, 0), -1);
    QCOMPARE(at.driver.CloseSynchronousChannel(8, channel), 0);
    QCOMPARE(at.driver.CloseSynchronousChannel(kDevice, channel), 1);
    QCOMPARE(at.driver.CloseSynchronousChannel(kDevice, channel), 0);
    QVERIFY(at.sends(pen(0)));
    QCOMPARE(called.packets().size(), std::size_t(3));
    QCOMPARE(at.driver.OpenSynchronousChannel(9, nullptr, nullptr), -1);
}

void TestSimulated::a_channel_that_closes_ends_its_read() {
    play(kBoard);
    Listening at;
    for (const bool byDetachment : {false, true}) {
        const int channel = at.driver.OpenSynchronousChannel(kDevice, nullptr, nullptr);
        Signal isReading;
        int result = 0;
        std::thread reading([&] {
            unsigned char buffer[16];
            isReading.give();
            result = at.driver.ReadSynchronousPacket(kDevice, channel, buffer, 16, 0xFFFFFFFF);
        });
        QVERIFY(isReading.wait());
        if (byDetachment)
            at.driver.Detach();
        else
            at.driver.CloseSynchronousChannel(kDevice, channel);
        reading.join();
        QCOMPARE(result, -1);
    }
}

void TestSimulated::settings_are_kept_by_the_board() {
    play(kHeader + "0 plug 7 1 \"\"\n0 plug 8 1 \"\"\n");
    const DriverLibrary driver(kPath);
    driver.Attach();
    QCOMPARE(driver.GetPointingDeviceDestination(7, 1, false), 0);
    QCOMPARE(driver.SetPointingDeviceDestination(7, 1, false, 5), 1);
    QCOMPARE(driver.SetPointingDeviceDestinationEx(7, 2, true, 6, true), 1);
    QCOMPARE(driver.GetPointingDeviceDestination(7, 1, false), 5);
    QCOMPARE(driver.GetPointingDeviceDestination(7, 1, true), 0);
    QCOMPARE(driver.GetPointingDeviceDestination(7, 2, true), 6);
    QCOMPARE(driver.GetPointingDeviceDestination(8, 1, false), 0);
    QCOMPARE(driver.GetPointingDeviceDestination(9, 1, false), -1);
    QCOMPARE(driver.GetTouchDestination(7), 0);
    QCOMPARE(driver.SetTouchDestinationEx(7, 200, true), 1);
    QCOMPARE(driver.GetTouchDestination(7), 200);
    QCOMPARE(driver.GetTouchDestination(8), 0);
    QCOMPARE(static_cast<int>(driver.GetTouchSystemRedirectionEnabled(7)), 1);
    QCOMPARE(driver.SetTouchSystemRedirectionEnabled(7, false), 1);
    QCOMPARE(static_cast<int>(driver.GetTouchSystemRedirectionEnabled(7)), 0);
    QCOMPARE(static_cast<int>(driver.GetTouchSystemRedirectionEnabled(9)), 0);
    QCOMPARE(driver.GetLATEDetection(7), 0);
    QCOMPARE(driver.SetLATEDetection(7, 255), 1);
    QCOMPARE(driver.GetLATEDetection(7), 255);
    QCOMPARE(driver.GetLATEDetection(9), -1);
    for (const auto& [device, done] : std::map<int, int>{{7, 1}, {9, 0}}) {
        QCOMPARE(driver.SetPointingDeviceDestination(device, 1, false, 1), done);
        QCOMPARE(driver.SetTouchDestination(device, 1), done);
        QCOMPARE(driver.SetTouchEnabled(device, true), done);
        QCOMPARE(driver.SetTwoFingerScroll(device, 1), done);
        QCOMPARE(driver.SetCalibrationMode(device, 1), done);
        QCOMPARE(driver.SetDoubleClickDistance(device, 1), done);
        QCOMPARE(driver.SetDriverDebugMode(device, 1, 1), done);
        QCOMPARE(driver.ReverseButtons(device, true), done);
        int data = 0;
        QCOMPARE(driver.SetCalibrationData(device, &data), done);
        QCOMPARE(driver.SetCalibrationDataEx(device, 1, 2, &data), done);
        QCOMPARE(driver.SetWirelessCalibrationData(device, &data), done);
        int across = 0;
        int down = 0;
        QCOMPARE(driver.GetCalibrationPoints(device, &across, &down), done);
        QCOMPARE(across > 0 && down > 0, done == 1);
        const Bytes report = touch();
        QCOMPARE(driver.SendTouchPacketToSystem(device, 9, report.data()), done);
        QCOMPARE(driver.SendTouchPacketToSystem(device, 9, nullptr), 0);
    }
    driver.Detach();
}

void TestSimulated::other_operations_succeed() {
    const DriverLibrary driver(kPath);
    QCOMPARE(driver.Interface(), 1);
    QCOMPARE(driver.Unlock(), 0);
    QCOMPARE(driver.Lock(), 1);
    QCOMPARE(driver.Lock(), 1);
    QCOMPARE(driver.Unlock(), 1);
    QCOMPARE(driver.Unlock(), 1);
    QCOMPARE(driver.Unlock(), 0);
    int connected = -1;
    QCOMPARE(driver.SerialGetConnected(connected), 1);
    QCOMPARE(connected, 0);
    QCOMPARE(driver.SerialConnect(3), 1);
    QCOMPARE(driver.SerialGetConnected(connected), 1);
    QCOMPARE(connected, 1);
    QCOMPARE(driver.SerialDisconnect(), 1);
    driver.SerialGetConnected(connected);
    QCOMPARE(connected, 0);
    QCOMPARE(driver.SerialGetStartupMode(), 0);
    QCOMPARE(driver.SerialSetStartupMode(4), 1);
    QCOMPARE(driver.SerialGetStartupMode(), 4);
    unsigned char first = 0;
    unsigned char second = 9;
    unsigned int third = 9;
    unsigned int fourth = 9;
    QCOMPARE(driver.LibraryVersionNumber(&first, &second, &third, &fourth), 1);
    QVERIFY(first == 1 && second == 0 && third == 0 && fourth == 0);
    QCOMPARE(driver.LibraryVersionNumber(nullptr, &second, &third, &fourth), 0);
}

void TestSimulated::a_speed_that_is_none_is_told_data() {
    QTest::addColumn<std::string>("speed");
    for (const char* const speed :
         {"0", "-1", "fast", "1x", " 1", "nan", "inf", "1,5", "0.0", "Max", "1e999"})
        QTest::newRow(speed) << std::string(speed);
}

void TestSimulated::a_speed_that_is_none_is_told() {
    QFETCH(const std::string, speed);
    play(kBoard + "0 report 7 037702\n", speed.c_str());
    const StandardError error(file("stderr"));
    Listening at;
    QCOMPARE(error.text(),
             "libtavelboardex.so.1 (simulated): KESTRUNE_CAPTURE_SPEED is neither a factor above 0 "
             "nor max: " +
                 speed + '\n');
    QVERIFY(at.receiver.waitForPackets(1));
}

void TestSimulated::the_speed_is_a_factor_data() {
    QTest::addColumn<std::string>("speed");
    for (const char* const speed : {"1000000", "3.6e6", "max"})
        QTest::newRow(speed) << std::string(speed);
}

void TestSimulated::the_speed_is_a_factor() {
    QFETCH(const std::string, speed);
    play(kBoard + "3600000000000 report 7 037702\n", speed.c_str()); // an hour
    {
        const StandardError error(file("stderr"));
        Listening at;
        QVERIFY(at.receiver.waitForPackets(1));
        QCOMPARE(error.text(), std::string());
    }

    // And there is no time for which a slow one has no room.
    play(kBoard + "9223372036854775807 report 7 037702\n", "1e-300");
    Listening slowly;
    QVERIFY(slowly.sends(pen(0)));
    const std::vector<Bytes> expected = {pen(0), kMarker};
    QVERIFY(slowly.receiver.waitForPackets(2) && slowly.receiver.reports() == expected);
}

void TestSimulated::at_full_speed_nothing_is_lost_while_the_program_gets_ready() {
    play(kBoard + "1 report 7 0821000102030408\n" // pen 1
                  "1 report 7 094502010203040506\n"
                  "2 report 7 0b46000102030405060708\n"
                  "3 report 7 037702\n"
                  "4 report 7 0821000102030440\n" // pen 8, which no program is waited for
                  "4 report 7 037705\n"
                  "4 report 7 0821000102030410\n" // pen 2
                  "5 unplug 7\n6 plug 7 1 \"\"\n7 report 7 037703\n"
                  "8 report 7 0821000102030402\n", // pen 0 with button 1
         "max");
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    driver.SetPnpCallback(Receiver::notice, &receiver);
    driver.SetCallback(kDevice, Receiver::packet, &receiver);
    driver.SetXferMask(kDevice, 0xFF);
    driver.SetPointingDeviceDestination(kDevice, 1, false, 1);
    giveTime(driver);
    driver.SetPointingDeviceDestination(kDevice, 2, false, 1);
    QVERIFY(receiver.waitForPackets(1));
    giveTime(driver);
    driver.SetTouchDestination(kDevice, 1);
    QVERIFY(receiver.waitForPackets(2));
    giveTime(driver);
    driver.SendCommand(kDevice, ":PL1");
    QVERIFY(receiver.waitForPackets(5));
    giveTime(driver);
    driver.SetPointingDeviceDestination(kDevice, 3, false, 1);
    QVERIFY(receiver.waitForPackets(6));
    QVERIFY(receiver.waitForNotices(2));
    giveTime(driver);
    driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(receiver.waitForPackets(7));
    giveTime(driver);
    driver.SetPointingDeviceDestination(kDevice, 1, false, 1);
    QVERIFY(receiver.waitForPackets(8));
    const std::vector<Bytes> expected = {
        pen(1, false), touch(false),  erase(false), {3, 0x77, 2},
        {3, 0x77, 5},  pen(2, false), {3, 0x77, 3}, {8, 0x21, 0, 1, 2, 3, 4, 2}};
    QVERIFY(receiver.reports() == expected);
    driver.Detach();
}

void TestSimulated::at_full_speed_what_is_off_is_left_out() {
    play(kBoard + "1 report 7 0821000102030409\n1 report 7 094582010203040506\n"
                  "2 report 7 0b46800102030405060708\n3 report 7 037702\n",
         "max");
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    driver.SetPointingDeviceDestination(kDevice, 2, false, 0);
    driver.SetTouchDestination(kDevice, 0);
    driver.SendCommand(kDevice, ":PL0");
    driver.SetCallback(kDevice, Receiver::packet, &receiver);
    driver.SetXferMask(kDevice, 0xFF);
    QVERIFY(receiver.waitForPackets(1));
    const Bytes expected = {3, 0x77, 2};
    QVERIFY(receiver.packets().front().bytes == expected);
    driver.Detach();
}

void TestSimulated::at_full_speed_every_board_is_waited_for_data() {
    QTest::addColumn<bool>("isMaskFirst");
    QTest::newRow("callback, mask") << false;
    QTest::newRow("mask, callback") << true;
}

void TestSimulated::at_full_speed_every_board_is_waited_for() {
    QFETCH(const bool, isMaskFirst);
    play(kBoard + "0 plug 8 1 \"\"\n1 report 8 037702\n2 report 7 037703\n", "max");
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    if (isMaskFirst)
        driver.SetXferMask(8, 0xFF);
    else
        driver.SetCallback(8, Receiver::packet, &receiver);
    driver.SetCallback(kDevice, Receiver::packet, &receiver);
    driver.SetXferMask(kDevice, 0xFF);
    giveTime(driver);
    if (isMaskFirst)
        driver.SetCallback(8, Receiver::packet, &receiver);
    else
        driver.SetXferMask(8, 0xFF);
    QVERIFY(receiver.waitForPackets(2));
    QCOMPARE(receiver.packets().front().device, 8);
    driver.Detach();
}

void TestSimulated::at_full_speed_a_board_that_is_left_alone_does_not_stop_the_others() {
    std::string capture = kBoard + "0 plug 8 1 \"\"\n";
    for (int device = 10; device < 20; ++device) // none of which can be used, so none is waited for
        capture += "0 plug " + std::to_string(device) + " 0 \"\"\n";
    for (int device = 10; device < 20; ++device) // the other one is waited for once
        capture += "1 report 8 037702\n1 report " + std::to_string(device) + " 037702\n";
    capture += "2 report 7 037703\n3 unplug 8\n4 plug 8 1 \"\"\n5 report 8 037704\n";
    play(capture, "max");
    Listening at; // to one board
    QVERIFY(at.receiver.waitForPackets(1));
    QCOMPARE(at.receiver.packets().front().device, kDevice);

    // It is waited for again when it comes back.
    QVERIFY(at.receiver.waitForNotices(2));
    giveTime(at.driver);
    at.driver.SetCallback(8, Receiver::packet, &at.receiver);
    at.driver.SetXferMask(8, 0xFF);
    QVERIFY(at.receiver.waitForPackets(2));
}

void TestSimulated::a_loop_begins_with_the_boards_of_the_start() {
    play(kBoard + "0 plug 8 1 \"\"\n1 report 7 037702\n2 unplug 7\n3 plug 9 1 \"\"\n", "max");
    setenv("KESTRUNE_CAPTURE_LOOP", "1", 1);
    {
        Listening at;
        at.receiver.inside = [&at] { at.listen(); };
        QVERIFY(at.receiver.waitForNotices(3)); // out, in, and back to the start
        QVERIFY(at.receiver.waitForPackets(3));
        QVERIFY(at.driver.GetDeviceCount() <= 2); // never more at a time
    }

    setenv("KESTRUNE_CAPTURE_LOOP", "0", 1);
    Listening once;
    QVERIFY(once.receiver.waitForNotices(2));
    QVERIFY(once.receiver.waitForPackets(1));
    for (int i = 0; i < 50; ++i)
        giveTime(once.driver, 8);
    QCOMPARE(once.receiver.notices(), 2);
    QCOMPARE(once.driver.GetDeviceCount(), 2);
}

void TestSimulated::a_capture_that_cannot_be_played_is_told_data() {
    QTest::addColumn<std::string>("name");
    QTest::addColumn<std::string>("message");
    const auto row = [](const char* name, const std::string& message) {
        QTest::newRow(name) << std::string(name) << message;
    };
    row("missing", ": No such file or directory\n");
    row("malformed", ":3: device 8 is not plugged in\n");
}

void TestSimulated::a_capture_that_cannot_be_played_is_told() {
    QFETCH(const std::string, name);
    QFETCH(const std::string, message);
    std::ofstream(file("malformed")) << kBoard << "1 unplug 8\n";
    setenv("KESTRUNE_CAPTURE", file(name.c_str()).c_str(), 1);
    const StandardError error(file("stderr"));
    const DriverLibrary driver(kPath);
    QCOMPARE(driver.Attach(), 1);
    QCOMPARE(driver.Attach(), 1);
    QCOMPARE(error.text(), "libtavelboardex.so.1 (simulated): " + file(name.c_str()) + message);
    QCOMPARE(driver.GetDeviceCount(), 0);
    driver.Detach();
    driver.Detach();
}

void TestSimulated::calls_are_logged() {
    play(kBoard);
    setenv("KESTRUNE_DRIVER_LOG", file("log").c_str(), 1);
    const DriverLibrary driver(kPath);
    driver.Attach();
    QCOMPARE(textOf(file("log")), std::string("tavelAttach\n")); // at once
    driver.SetTouchDestination(kDevice, 1);
    driver.SetPointingDeviceDestination(-1, 4, true, 255);
    driver.WritePacket(kDevice, ":PL1\r", 5);
    driver.WritePacket(kDevice, nullptr, -1);
    driver.SendCommand(kDevice, "a \"b\"");
    driver.SendCommand(kDevice, nullptr);
    const Bytes report = touch();
    driver.SendTouchPacketToSystem(kDevice, 9, report.data());
    driver.SetDriverDebugMode(kDevice, 2, 0xFFFFFFFF);
    driver.ClearCallback(0, nullptr, reinterpret_cast<void*>(0xABC));
    driver.Detach();
    QCOMPARE(textOf(file("log")),
             std::string("tavelAttach\n"
                         "tavelSetTouchDestination device=7 destination=1\n"
                         "tavelSetPointingDeviceDestination device=-1 pen=4 flag=1 "
                         "destination=255\n"
                         "tavelWritePacket device=7 data=3a504c310d length=5\n"
                         "tavelWritePacket device=7 data=null length=-1\n"
                         "tavelSendCommand device=7 command=\"a \\\"b\\\"\"\n"
                         "tavelSendCommand device=7 command=null\n"
                         "tavelSendTouchPacketToSystem device=7 length=9 data=094582010203040506\n"
                         "tavelSetDriverDebugMode device=7 mode=2 value=4294967295\n"
                         "tavelClearCallback device=0 callback=0x0000000000000000 "
                         "context=0x0000000000000abc\n"
                         "tavelDetach\n"));
}

void TestSimulated::a_log_that_cannot_be_written_is_told() {
    play(kBoard);
    setenv("KESTRUNE_DRIVER_LOG", m_folder->path().toLocal8Bit().constData(), 1);
    const StandardError error(file("stderr"));
    const DriverLibrary driver(kPath);
    driver.Attach();
    driver.GetDeviceCount();
    QCOMPARE(error.text(), "libtavelboardex.so.1 (simulated): " + m_folder->path().toStdString() +
                               ": Is a directory\n");
    QCOMPARE(driver.GetDeviceCount(), 1);
    driver.Detach();
}

void TestSimulated::callbacks_are_counted() {
    play(kBoard + "500000000 plug 8 1 \"\"\n");
    setenv("KESTRUNE_DRIVER_COUNTS", file("counts").c_str(), 1);
    const auto counts = [this] {
        std::array<std::uint64_t, 5> numbers = {};
        const std::string bytes = textOf(file("counts"));
        if (bytes.size() == sizeof numbers)
            std::memcpy(numbers.data(), bytes.data(), bytes.size());
        return numbers;
    };
    std::ofstream(file("counts")) << "what was there before";
    Listening at;
    QCOMPARE(textOf(file("counts")), std::string(5 * sizeof(std::uint64_t), '\0'));
    for (const bool down : {true, false}) {
        QVERIFY(at.sends(pen(1, down)));
        QVERIFY(!at.sends(pen(5, down))); // which nobody has switched on
        QVERIFY(at.sends(touch(down)));
    }
    QVERIFY(at.sends(erase(false)));
    QVERIFY(at.receiver.waitForNotices(1));
    const std::array<std::uint64_t, 5> expected = {2, 2, 1, 7,
                                                   1}; // with a marker after each report
    QTRY_VERIFY(counts() == expected);
    at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver);
    giveTime(at.driver);
    QVERIFY(counts() == expected);
}

void TestSimulated::counts_that_cannot_be_kept_are_told() {
    play(kBoard);
    setenv("KESTRUNE_DRIVER_COUNTS", file("missing/counts").c_str(), 1);
    const StandardError error(file("stderr"));
    Listening at;
    QVERIFY(at.sends(pen(1)));
    QCOMPARE(error.text(), "libtavelboardex.so.1 (simulated): " + file("missing/counts") +
                               ": No such file or directory\n");
}

void TestSimulated::it_is_unloaded_and_loaded_again() {
    play(kBoard + "1 report 7 037702\n", "max");
    setenv("KESTRUNE_CAPTURE_LOOP", "1", 1);
    const auto isInMemory = [] {
        void* const handle = dlopen(kPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr)
            dlclose(handle);
        return handle != nullptr;
    };
    for (int round = 0; round < 20; ++round) {
        Receiver receiver;
        {
            const DriverLibrary driver(kPath);
            QVERIFY(isInMemory());
            driver.Attach();
            driver.SetCallback(kDevice, Receiver::packet, &receiver);
            driver.SetXferMask(kDevice, 0xFF);
            QVERIFY(receiver.waitForPackets(1));
            if (round % 2 == 0)
                driver.Detach();
        }
        QVERIFY(!isInMemory());
    }
}

void TestSimulated::the_demonstration_shows_everything() {
    setenv("KESTRUNE_CAPTURE_SPEED", "max", 1);
    Listening at(1);
    QCOMPARE(at.driver.GetDeviceCount(), 1);
    const BoardDescription board(at.driver, 0);
    QCOMPARE(board.state, 1);
    QVERIFY(QByteArray::fromStdString(board.info).contains("xp<4>xt<10>"));
    QVERIFY(at.receiver.waitForPackets(12000)); // more than two rounds
    at.driver.Detach();

    const auto number = [](const Bytes& bytes, std::size_t at_byte) {
        return bytes[at_byte] | bytes[at_byte + 1] << 8;
    };
    using Contact = std::pair<int, int>; // tag, id
    std::map<Contact, bool> isDown;
    std::map<Contact, int> times; // that it came down
    std::set<int> hovering;       // pens
    std::map<int, std::size_t> mostAtOnce;
    for (const Bytes& report : at.receiver.reports()) {
        QCOMPARE(static_cast<std::size_t>(report[0]), report.size());
        const int tag = report[1];
        std::set<int> reported;
        const auto contact = [&](int id, bool down, std::size_t at_byte) {
            QVERIFY(number(report, at_byte) <= 32767 && number(report, at_byte + 2) <= 32767);
            if (down && !isDown[{tag, id}])
                ++times[{tag, id}];
            isDown[{tag, id}] = down;
            reported.insert(id);
        };
        if (tag == 0x21) {
            contact(report[7] >> 3, (report[7] & 1) != 0, 3);
            if ((report[7] & 7) == 0)
                hovering.insert(report[7] >> 3);
        } else {
            const std::size_t size = tag == 0x45 ? 7 : 9;
            QCOMPARE((report.size() - 2) % size, std::size_t(0));
            for (std::size_t i = 2; i < report.size(); i += size)
                contact(report[i] & 0x7F, (report[i] & 0x80) != 0, i + 1);
            // Whatever is down stays in the reports until it has lifted.
            for (const auto& [other, down] : isDown)
                QVERIFY(other.first != tag || !down || reported.count(other.second) != 0);
        }
        std::size_t down_now = 0;
        for (const auto& [other, down] : isDown)
            down_now += other.first == tag && down ? 1 : 0;
        mostAtOnce[tag] = std::max(mostAtOnce[tag], down_now);
    }
    QCOMPARE(mostAtOnce[0x21], std::size_t(4));
    QCOMPARE(mostAtOnce[0x45], std::size_t(10));
    QCOMPARE(mostAtOnce[0x46], std::size_t(2));
    QCOMPARE(hovering.size(), std::size_t(4));
    for (const auto& [contact, count] : times)
        QVERIFY(count >= 2); // lifts and returns
}

void TestSimulated::any_thread_may_call() {
    setenv("KESTRUNE_CAPTURE_SPEED", "max", 1);
    Receiver receiver;
    const DriverLibrary driver(kPath);
    driver.Attach();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&driver, &receiver, number] {
            const auto report = pen(number);
            for (int round = 0; round < 50; ++round) {
                driver.Attach();
                driver.SetPnpCallback(Receiver::notice, &receiver);
                driver.SetCallback(1, Receiver::packet, &receiver);
                driver.SetXferMask(1, static_cast<unsigned char>(round % 3));
                driver.switchOn(1);
                inject(driver, report, 1);
                driver.WritePacket(1, ":QT\r", 4);
                driver.GetDeviceCount();
                const BoardDescription board(driver, 0);
                driver.IsSomethingOnBoard(1);
                unsigned char buffer[8];
                const int channel = driver.OpenSynchronousChannel(1, Receiver::packet, &receiver);
                driver.ReadSynchronousPacket(1, channel, buffer, 8, 1);
                driver.CloseSynchronousChannel(1, channel);
                driver.Lock();
                driver.Unlock();
                driver.ClearCallback(1, Receiver::packet, &receiver);
                driver.clearPnpCallback(Receiver::notice, &receiver);
                driver.Detach();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(driver.Detach(), 1);
    QCOMPARE(driver.Detach(), 0);
}

QTEST_GUILESS_MAIN(TestSimulated)
#include "tst_simulated.moc"
