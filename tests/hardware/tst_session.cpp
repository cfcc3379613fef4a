#include "hardware/tavelhardware.h"
#include "tests/support/fake_driver.h"

#include <QtTest>
#include <limits>
#include <memory>

using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

const std::string kPen("\x08\x21\x00\x01\x02\x03\x04\x09", 8); // pen 1, tip

/// Writes down the signals of a session, as they come.
class Receiver : public QObject {
public:
    explicit Receiver(TavelHardware& hardware) {
        connect(&hardware, &TavelHardware::pnpEvent, this, [this] { add("pnp"); });
        connect(&hardware, &TavelHardware::deviceEnumerated, this,
                [this](int index, const TavelHardware::DeviceInfo& info) {
                    infos.append(info);
                    add("board " + std::to_string(index));
                });
        connect(&hardware, &TavelHardware::deviceEnumCount, this,
                [this](int count) { add("count " + std::to_string(count)); });
        connect(&hardware, &TavelHardware::penEvent, this,
                [this](const TavelHardware::PenEvent& e) { add("pen " + std::to_string(e.id)); });
        connect(&hardware, &TavelHardware::touchEvent, this,
                [this](const TavelHardware::TouchEvent& e) {
                    add("touch " + std::to_string(e.size()));
                });
        connect(&hardware, &TavelHardware::eraseEvent, this,
                [this](const TavelHardware::EraseEvent& e) {
                    add("erase " + std::to_string(e.size()));
                });
        connect(&hardware, &TavelHardware::touchStatus, this,
                [this](int index, const TavelHardware::TouchStatus& status) {
                    add("status of " + std::to_string(index) + ": " + std::to_string(status.s5));
                });
    }

    Strings take() { return std::exchange(m_signals, {}); }

    QList<TavelHardware::DeviceInfo> infos;

private:
    void add(const std::string& signal) { m_signals.push_back(signal); }

    Strings m_signals;
};

Strings operator+(Strings a, const Strings& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Strings enumeration(const Strings& boards) {
    return Strings{"tavelAttach()", "tavelGetDeviceCount()"} + boards;
}

Strings board(int index, int device) {
    const std::string d = std::to_string(device);
    return {"tavelEnumDeviceInfo(" + std::to_string(index) + ')', "tavelSetCallback(" + d + ')',
            "tavelSetXferMask(" + d + ", 255)"};
}

} // namespace

class TestSession : public QObject {
    Q_OBJECT

private slots:
    void init();
    void a_session_starts_in_its_order();
    void boards_are_announced_before_init_returns();
    void a_board_is_told_in_full();
    void a_value_is_parsed_out_of_the_text_data();
    void a_value_is_parsed_out_of_the_text();
    void a_text_without_its_end_ends_with_the_block();
    void boards_that_cannot_be_used_are_counted_only_data();
    void boards_that_cannot_be_used_are_counted_only();
    void a_count_without_boards_is_announced_data();
    void a_count_without_boards_is_announced();
    void an_enumeration_adds_to_the_boards_in_use();
    void a_notice_finds_the_boards_anew();
    void a_notice_from_within_an_enumeration_gets_its_own_pass();
    void a_report_is_one_signal_data();
    void a_report_is_one_signal();
    void what_is_no_report_is_dropped_data();
    void what_is_no_report_is_dropped();
    void a_null_buffer_is_no_report();
    void a_status_names_the_board_that_was_asked();
    void settings_reach_every_board_data();
    void settings_reach_every_board();
    void a_command_is_written_as_it_is();
    void a_command_fails_with_minus_one_only();
    void without_a_session_nothing_is_called();
    void a_session_ends_in_its_order();
    void what_comes_after_the_end_leads_nowhere();
    void what_comes_after_the_session_is_gone_leads_nowhere();

private:
    /// A session with the boards 7 and 8, whose start is logged no more.
    std::unique_ptr<TavelHardware> started();
};

void TestSession::init() {
    driver().reset();
}

std::unique_ptr<TavelHardware> TestSession::started() {
    driver().set_boards({{7}, {8}});
    auto hardware = std::make_unique<TavelHardware>(nullptr);
    if (!hardware->init())
        qFatal("the fake driver does not load");
    driver().take_log();
    return hardware;
}

void TestSession::a_session_starts_in_its_order() {
    driver().set_boards({{7}, {8}});
    TavelHardware hardware(nullptr);
    QCOMPARE(driver().take_log(), Strings());
    QVERIFY(hardware.init());
    QCOMPARE(driver().take_log(), (Strings{"tavelAttach()", "tavelSetPnpCallback()"}) +
                                      enumeration(board(0, 7) + board(1, 8)));
    const std::vector<std::pair<int, void*>> expected = {{7, &hardware}, {8, &hardware}};
    QCOMPARE(driver().subscriptions(), expected);
}

void TestSession::boards_are_announced_before_init_returns() {
    driver().set_boards({{7}, {8}});
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());
    QCOMPARE(receiver.take(), (Strings{"board 0", "board 1", "count 2"}));
}

void TestSession::a_board_is_told_in_full() {
    FakeDriver::Board second;
    second.info = "hid<>vid<xyz>pid<0x1F>xp<-1>xt<1a>";
    driver().set_boards({{}, second});
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());

    const TavelHardware::DeviceInfo& info = receiver.infos.at(0);
    QCOMPARE(info.hid, QStringLiteral("H1"));
    QCOMPARE(info.vid, 0xABCD);
    QCOMPARE(info.pid, 4);
    QCOMPARE(info.xp, 4);
    QCOMPARE(info.xt, 10);
    QCOMPARE(info.xl, 2);

    const TavelHardware::DeviceInfo& odd = receiver.infos.at(1);
    QVERIFY(odd.hid.isEmpty());
    QCOMPARE(odd.vid, 0);
    QCOMPARE(odd.pid, 0x1F);
    QCOMPARE(odd.xp, -1);
    QCOMPARE(odd.xt, 0);
    QCOMPARE(odd.xl, 0);
}

void TestSession::a_value_is_parsed_out_of_the_text_data() {
    QTest::addColumn<QString>("info");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    const auto row = [](const char* name, const char* info, const char* key, const QString& value) {
        QTest::newRow(name) << QString::fromLatin1(info) << QString::fromLatin1(key) << value;
    };
    row("first", "xp<4>xt<10>", "xp", QStringLiteral("4"));
    row("last", "xp<4>xt<10>", "xt", QStringLiteral("10"));
    row("empty", "xp<>xt<10>", "xp", QStringLiteral(""));
    row("absent", "xp<4>xt<10>", "xl", QString());
    row("empty text", "", "xl", QString());
    row("other case", "XP<4>", "xp", QString());
    row("not at the start of a pair", "maxp<7>xp<4>", "xp", QStringLiteral("7"));
    row("inside of a value", "hid<xp>xp<4>", "xp", QStringLiteral("4"));
    row("the bracket of a later pair", "xp,xt<10>", "xp", QStringLiteral("10"));
    row("a closing bracket before", "xp>x<4>", "xp", QStringLiteral("4"));
    row("an opening bracket inside", "xp<4<5>", "xp", QStringLiteral("4<5"));
    row("no opening bracket", "xp 4>", "xp", QString());
    row("no closing bracket", "xp<4", "xp", QString());
    row("no brackets", "xp", "xp", QString());
}

void TestSession::a_value_is_parsed_out_of_the_text() {
    QFETCH(const QString, info);
    QFETCH(const QString, key);
    QFETCH(const QString, value);
    const QString parsed = TavelHardware::parseAdditionalInfoKeyValue(info, key);
    QCOMPARE(parsed, value);
    QCOMPARE(parsed.isNull(), value.isNull());
}

void TestSession::a_text_without_its_end_ends_with_the_block() {
    FakeDriver::Board endless;
    endless.info = "xp<3>hid<" + std::string(sizeof(_TAVEL_DEVICE_INFO), 'h');
    driver().set_boards({endless});
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());
    QCOMPARE(receiver.infos.at(0).xp, 3);
    QVERIFY(receiver.infos.at(0).hid.isNull());
}

void TestSession::boards_that_cannot_be_used_are_counted_only_data() {
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("readable");
    QTest::newRow("state 0") << 0 << true;
    QTest::newRow("state 2") << 2 << true;
    QTest::newRow("state -1") << -1 << true;
    QTest::newRow("not readable") << 1 << false;
}

void TestSession::boards_that_cannot_be_used_are_counted_only() {
    QFETCH(const int, state);
    QFETCH(const bool, readable);
    FakeDriver::Board odd;
    odd.device = 8;
    odd.state = state;
    odd.readable = readable;
    driver().set_boards({{7}, odd, {9}});
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());
    QCOMPARE(receiver.take(), (Strings{"board 0", "board 2", "count 3"}));
    const std::vector<std::pair<int, void*>> expected = {{7, &hardware}, {9, &hardware}};
    QCOMPARE(driver().subscriptions(), expected);
    driver().take_log();
    hardware.setTouchReportMode(TavelHardware::TouchReportMode::On);
    QCOMPARE(driver().take_log(),
             (Strings{"tavelSetTouchDestination(7, 1)", "tavelSetTouchDestination(9, 1)"}));
}

void TestSession::a_count_without_boards_is_announced_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("none") << 0;
    QTest::newRow("negative") << -3;
    QTest::newRow("more than there are") << 3;
    QTest::newRow("more than anybody can ask for") << std::numeric_limits<int>::max();
}

void TestSession::a_count_without_boards_is_announced() {
    QFETCH(const int, count);
    driver().count = [count] { return count; };
    driver().keeps_log = false;
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());
    QCOMPARE(receiver.take(), Strings{"count " + std::to_string(count)});
    QVERIFY(driver().subscriptions().empty());
}

void TestSession::an_enumeration_adds_to_the_boards_in_use() {
    const auto hardware = started();
    Receiver receiver(*hardware);
    hardware->enumerate();
    QCOMPARE(driver().take_log(), enumeration(board(0, 7) + board(1, 8)));
    QCOMPARE(receiver.take(), (Strings{"board 0", "board 1", "count 2"}));
    hardware->setTouchReportMode(TavelHardware::TouchReportMode::Off);
    QCOMPARE(driver().take_log(),
             (Strings{"tavelSetTouchDestination(7, 0)", "tavelSetTouchDestination(8, 0)",
                      "tavelSetTouchDestination(7, 0)", "tavelSetTouchDestination(8, 0)"}));
}

void TestSession::a_notice_finds_the_boards_anew() {
    const auto hardware = started();
    Receiver receiver(*hardware);
    driver().set_boards({{9}});
    QCOMPARE(driver().notice(), 1);
    QCOMPARE(driver().take_log(), (Strings{"tavelClearCallback(7)", "tavelClearCallback(8)"}) +
                                      enumeration(board(0, 9)));
    QCOMPARE(receiver.take(), (Strings{"pnp", "board 0", "count 1"}));
    hardware->setTouchReportMode(TavelHardware::TouchReportMode::On);
    QCOMPARE(driver().take_log(), Strings{"tavelSetTouchDestination(9, 1)"});
}

void TestSession::a_notice_from_within_an_enumeration_gets_its_own_pass() {
    driver().set_boards({{7}});
    driver().on_call = [](const std::string& name) {
        if (name == "tavelEnumDeviceInfo") {
            driver().on_call = nullptr;
            driver().notice();
        }
    };
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    QVERIFY(hardware.init());
    QCOMPARE(receiver.take(), (Strings{"board 0", "count 1", "pnp", "board 0", "count 1"}));
    QCOMPARE(driver().take_log(), (Strings{"tavelAttach()", "tavelSetPnpCallback()"}) +
                                      enumeration(board(0, 7)) + Strings{"tavelClearCallback(7)"} +
                                      enumeration(board(0, 7)));
    QCOMPARE(driver().subscriptions().size(), std::size_t(1));
}

void TestSession::a_report_is_one_signal_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("signal");
    const auto row = [](const char* name, const char* hex, const char* signal) {
        QTest::newRow(name) << QByteArray::fromHex(hex) << QByteArray(signal);
    };
    row("pen", "0821000102030409", "pen 1");
    row("pen in a wrapping", "0041000821000102030409", "pen 1");
    row("touch", "0045810203040506 07", "touch 1");
    row("touch without contacts", "0945", "touch 0");
    row("touch of eight bytes", "0845810203040506", "touch 0");
    row("touch of two contacts and a byte", "1045000000000000000000000000000000", "touch 2");
    row("erase of ten bytes", "0a468102030405060708", "erase 0");
    row("erase of eleven bytes", "0b46810203040506070809", "erase 1");
    row("erase without contacts", "0046", "erase 0");
    row("touch status", "08a50102030405ff", "status of 0: -1");
    row("a wrapping in a wrapping", "0041000041000045", "");
    row("touch in a wrapping", "ff41ff0245", "touch 0");
}

void TestSession::a_report_is_one_signal() {
    QFETCH(const QByteArray, bytes);
    QFETCH(const QByteArray, signal);
    const auto hardware = started();
    Receiver receiver(*hardware);
    QCOMPARE(driver().report(bytes.toStdString()), 2);
    const std::string name = signal.toStdString();
    QCOMPARE(receiver.take(), signal.isEmpty() ? Strings() : (Strings{name, name}));
    // It carries on whatever the board that sent it.
    TavelHardware::processPacketCallback(99, reinterpret_cast<const uchar*>(bytes.constData()),
                                         static_cast<unsigned>(bytes.size()), hardware.get());
    QCOMPARE(receiver.take(), signal.isEmpty() ? Strings() : Strings{name});
}

void TestSession::what_is_no_report_is_dropped_data() {
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char* name, const char* hex) {
        QTest::newRow(name) << QByteArray::fromHex(hex);
    };
    row("nothing", "");
    row("one byte", "45");
    row("only a wrapping's tag", "0041");
    row("only a wrapping", "004100");
    row("a wrapping and a byte", "00410045");
    row("an unknown tag", "0899000102030409");
    row("a pen of another first byte", "0921000102030409");
    row("a pen of nine bytes", "082100010203040900");
    row("a touch status of nine bytes", "09a50102030405ff00");
    row("a touch status of seven bytes", "07a50102030405");
}

void TestSession::what_is_no_report_is_dropped() {
    QFETCH(const QByteArray, bytes);
    const auto hardware = started();
    Receiver receiver(*hardware);
    driver().report(bytes.toStdString());
    hardware->processPacket(bytes.size() < 3 ? bytes : QByteArray());
    QCOMPARE(receiver.take(), Strings());
}

void TestSession::a_null_buffer_is_no_report() {
    const auto hardware = started();
    Receiver receiver(*hardware);
    const QByteArray pen = QByteArray::fromStdString(kPen);
    const auto* const data = reinterpret_cast<const uchar*>(pen.constData());
    TavelHardware::processPacketCallback(7, nullptr, 8, hardware.get());
    TavelHardware::processPacketCallback(7, nullptr, 0, hardware.get());
    for (const unsigned length : {0U, 1U, 0x10000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        TavelHardware::processPacketCallback(7, data, length, hardware.get());
    QCOMPARE(receiver.take(), Strings());
    TavelHardware::processPacketCallback(7, data, 8, nullptr);
    TavelHardware::processPacketCallback(7, data, 8, hardware.get());
    QCOMPARE(receiver.take(), Strings{"pen 1"});
}

void TestSession::a_status_names_the_board_that_was_asked() {
    const auto hardware = started();
    Receiver receiver(*hardware);
    hardware->getTouchStatus(8);
    QCOMPARE(driver().take_log(), Strings{"tavelWritePacket(8, :QT\\r)"});
    hardware->processPacket(QByteArray::fromHex("00a500000000007f"));
    QCOMPARE(receiver.take(), Strings{"status of 8: 127"});
    hardware->getTouchStatus(7);
    hardware->processPacket(QByteArray::fromHex("00a5000000000080"));
    QCOMPARE(receiver.take(), Strings{"status of 7: -128"});
}

using Setting = void (*)(TavelHardware&);
Q_DECLARE_METATYPE(Setting)

void TestSession::settings_reach_every_board_data() {
    using Hardware = TavelHardware;
    QTest::addColumn<Setting>("set");
    QTest::addColumn<QByteArray>("call"); // with a # for the board
    const auto row = [](const char* name, Setting set, const char* call) {
        QTest::newRow(name) << set << QByteArray(call);
    };
    row(
        "pen reports on", [](Hardware& h) { h.setPenReportMode(1, Hardware::PenReportMode::On); },
        "tavelSetPointingDeviceDestination(#, 1, 0, 1)");
    row(
        "pen reports off", [](Hardware& h) { h.setPenReportMode(4, Hardware::PenReportMode::Off); },
        "tavelSetPointingDeviceDestination(#, 4, 0, 0)");
    row(
        "pen reports to elsewhere",
        [](Hardware& h) { h.setPenReportMode(0, static_cast<Hardware::PenReportMode>(200)); },
        "tavelSetPointingDeviceDestination(#, 0, 0, 200)");
    row(
        "touch reports on",
        [](Hardware& h) { h.setTouchReportMode(Hardware::TouchReportMode::On); },
        "tavelSetTouchDestination(#, 1)");
    row(
        "touch reports to elsewhere",
        [](Hardware& h) { h.setTouchReportMode(static_cast<Hardware::TouchReportMode>(3)); },
        "tavelSetTouchDestination(#, 3)");
    row(
        "pen hardware mode",
        [](Hardware& h) { h.setPenHardwareMode(1, Hardware::PenHardwareMode::Standard); },
        "tavelWritePacket(#, :PN12\\r)");
    row(
        "pen hardware mode of three digits",
        [](Hardware& h) { h.setPenHardwareMode(200, static_cast<Hardware::PenHardwareMode>(101)); },
        "tavelWritePacket(#, :PN200101\\r)");
    row(
        "eraser reports on",
        [](Hardware& h) { h.setEraseReportMode(Hardware::EraseReportMode::On); },
        "tavelWritePacket(#, :PL1\\r)");
    row(
        "eraser reports off",
        [](Hardware& h) { h.setEraseReportMode(Hardware::EraseReportMode::Off); },
        "tavelWritePacket(#, :PL0\\r)");
    row(
        "eraser reports in a mode of another number",
        [](Hardware& h) { h.setEraseReportMode(static_cast<Hardware::EraseReportMode>(2)); },
        "tavelWritePacket(#, :PL0\\r)");
    row(
        "pointer light on", [](Hardware& h) { h.setGlintray(true); },
        "tavelWritePacket(#, :GR1\\r)");
    row(
        "pointer light off", [](Hardware& h) { h.setGlintray(false); },
        "tavelWritePacket(#, :GR0\\r)");
}

void TestSession::settings_reach_every_board() {
    QFETCH(const Setting, set);
    QFETCH(const QByteArray, call);
    const auto hardware = started();
    driver().write_result = -1; // is nothing to a setting
    set(*hardware);
    QCOMPARE(driver().take_log(), (Strings{QByteArray(call).replace('#', '7').toStdString(),
                                           QByteArray(call).replace('#', '8').toStdString()}));
    driver().set_boards({});
    hardware->pnp();
    driver().take_log();
    set(*hardware);
    QCOMPARE(driver().take_log(), Strings());
}

void TestSession::a_command_is_written_as_it_is() {
    const auto hardware = started();
    QVERIFY(hardware->sendCommand(5, QByteArray("a\0b", 3)));
    QCOMPARE(driver().take_log(), Strings{"tavelWritePacket(5, " + std::string("a\0b", 3) + ')'});
}

void TestSession::a_command_fails_with_minus_one_only() {
    const auto hardware = started();
    for (const int result : {0, 1, -2, 7}) {
        driver().write_result = result;
        QVERIFY(hardware->sendCommand(7, ":QT"));
    }
    driver().write_result = -1;
    QVERIFY(!hardware->sendCommand(7, ":QT"));
}

void TestSession::without_a_session_nothing_is_called() {
    TavelHardware hardware(nullptr);
    Receiver receiver(hardware);
    hardware.setTouchReportMode(TavelHardware::TouchReportMode::On);
    hardware.setGlintray(true);
    QVERIFY(!hardware.sendCommand(1, ":QT"));
    hardware.getTouchStatus(1);
    hardware.enumerate();
    hardware.uninit();
    QCOMPARE(driver().take_log(), Strings());
    QCOMPARE(receiver.take(), Strings());
}

void TestSession::a_session_ends_in_its_order() {
    auto hardware = started();
    hardware->uninit();
    QCOMPARE(driver().take_log(), (Strings{"tavelClearCallback(0)", "tavelDetach()"}));
    QCOMPARE(driver().notice(), 0);
    QCOMPARE(driver().subscriptions().size(), std::size_t(2));
    hardware.reset();
    QCOMPARE(driver().take_log(), Strings{"tavelDetach()"});
}

void TestSession::what_comes_after_the_end_leads_nowhere() {
    const auto hardware = started();
    Receiver receiver(*hardware);
    hardware->uninit();
    driver().take_log();
    QCOMPARE(driver().report(kPen), 2);
    QCOMPARE(driver().notice(true), 1);
    QCOMPARE(receiver.take(), Strings());
    QCOMPARE(driver().take_log(), Strings());
}

void TestSession::what_comes_after_the_session_is_gone_leads_nowhere() {
    auto other = started(); // keeps the library in memory
    auto hardware = started();
    hardware.reset();
    driver().take_log();
    QCOMPARE(driver().report(kPen), 4);
    QCOMPARE(driver().notice(), 2);
    // The other session's pass, and no call for the one that is gone.
    const Strings log = driver().take_log();
    QCOMPARE(std::count(log.begin(), log.end(), "tavelAttach()"), 1);
}

QTEST_GUILESS_MAIN(TestSession)
#include "tst_session.moc"
