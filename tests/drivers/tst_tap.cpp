#include "drivers/capture/capture.h"
#include "tests/drivers/driverlibrary.h"
#include "tests/drivers/exports.h"

#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(std::string)

namespace {

const std::string kTap = KESTRUNE_TAP_DRIVER_FILE;
const std::string kSimulated = KESTRUNE_SIMULATED_DRIVER;
const std::string kSparse = KESTRUNE_SPARSE_DRIVER;
const std::string kNothing = KESTRUNE_NOTHING_DRIVER;

const std::string kHeader = "kestrune-capture 1\n";
const std::string kBoard = "0 plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\n";
const std::string kWho = "libtavelboardex.so.1 (tap): ";
constexpr int kDevice = 7;
const Bytes kMarker = {0x03, 0x77, 0x01}; // no report of a kind that can be switched off

int inject(const DriverLibrary& driver, const Bytes& bytes, int device = kDevice) {
    return driver.Inject(device, static_cast<unsigned char>(bytes.size()), bytes.data());
}

bool isInMemory(const std::string& path) {
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
        dlclose(handle);
    return handle != nullptr;
}

/// The sparse driver's own functions, by name. It stays in memory only as long as the tap has it.
template <typename Function>
Function* ofSparse(const char* name) {
    void* const sparse = dlopen(kSparse.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (sparse == nullptr)
        return nullptr;
    const auto function = reinterpret_cast<Function*>(dlsym(sparse, name));
    dlclose(sparse);
    return function;
}
using Send = void(int device, const unsigned char* data, unsigned int length);

/// As the program does it: at each notice it subscribes anew to what it finds.
class Program {
public:
    explicit Program(const std::string& path = kTap) : driver(path) {
        driver.Attach();
        driver.SetPnpCallback(notice, this);
        enumerate();
    }
    ~Program() {
        driver.clearPnpCallback(notice, this);
        while (driver.Detach() == 1) {
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void enumerate() {
        const std::lock_guard lock(m_mutex);
        std::vector<int> devices;
        const int count = driver.GetDeviceCount();
        for (int i = 0; i < count; ++i) {
            const BoardDescription board(driver, i);
            if (board.isThere && board.state == 1)
                devices.push_back(board.device);
        }
        for (const int device : devices) {
            driver.SetCallback(device, Receiver::packet, &receiver);
            driver.SetXferMask(device, 0xFF);
            driver.switchOn(device);
        }
        m_devices = devices;
    }

    Receiver receiver;
    DriverLibrary driver;

private:
    static void notice(void* context) {
        auto& self = *static_cast<Program*>(context);
        {
            const std::lock_guard lock(self.m_mutex);
            for (const int device : self.m_devices)
                self.driver.ClearCallback(device, Receiver::packet, &self.receiver);
        }
        self.enumerate();
        Receiver::notice(&self.receiver);
    }

    std::mutex m_mutex; ///< one enumeration after the other
    std::vector<int> m_devices;
};

/// What each entry point gives where it is missing.
bool gives_fallbacks(const DriverLibrary& driver) {
    int number = 5;
    unsigned char small = 5;
    unsigned int large = 5;
    _TAVEL_DEVICE_INFO info = {};
    Receiver receiver;
    const bool gives_zero =
        driver.Attach() == 0 && driver.Interface() == 0 &&
        driver.SetCallback(1, Receiver::packet, &receiver) == 0 &&
        driver.ClearCallback(1, Receiver::packet, &receiver) == 0 &&
        driver.SetPnpCallback(Receiver::notice, &receiver) == 0 &&
        driver.clearPnpCallback(Receiver::notice, &receiver) == 0 &&
        driver.SetXferMask(1, 1) == 0 && driver.GetDeviceCount() == 0 &&
        driver.EnumDeviceInfo(0, &info) == 0 &&
        driver.SetPointingDeviceDestination(1, 1, false, 1) == 0 &&
        driver.SetPointingDeviceDestinationEx(1, 1, false, 1, true) == 0 &&
        driver.SetTouchDestination(1, 1) == 0 && driver.SetTouchDestinationEx(1, 1, true) == 0 &&
        driver.SetTouchEnabled(1, true) == 0 &&
        driver.SetTouchSystemRedirectionEnabled(1, true) == 0 &&
        driver.SetLATEDetection(1, 1) == 0 && driver.IsSomethingOnBoard(1) == 0 &&
        driver.SetTwoFingerScroll(1, 1) == 0 && driver.CloseSynchronousChannel(1, 1) == 0 &&
        driver.SetCalibrationMode(1, 1) == 0 && driver.SetCalibrationData(1, &number) == 0 &&
        driver.SetCalibrationDataEx(1, 1, 1, &number) == 0 &&
        driver.SetWirelessCalibrationData(1, &number) == 0 &&
        driver.GetCalibrationPoints(1, &number, &number) == 0 &&
        driver.LibraryVersionNumber(&small, &small, &large, &large) == 0 && driver.Lock() == 0 &&
        driver.Unlock() == 0 && driver.SerialConnect(1) == 0 && driver.SerialDisconnect() == 0 &&
        driver.SerialGetConnected(number) == 0 && driver.SerialSetStartupMode(1) == 0 &&
        driver.SerialGetStartupMode() == 0 && driver.SetDoubleClickDistance(1, 1) == 0 &&
        driver.SetDriverDebugMode(1, 1, 1) == 0 && driver.Echo(1, 1, &small) == 0 &&
        driver.Inject(1, 1, &small) == 0 && driver.SendTouchPacketToSystem(1, 1, &small) == 0 &&
        driver.ReverseButtons(1, true) == 0 && driver.Detach() == 0;
    const bool gives_failure =
        driver.SendCommand(1, "") == -1 && driver.WritePacket(1, "", 0) == -1 &&
        driver.GetPointingDeviceDestination(1, 1, false) == -1 &&
        driver.GetTouchDestination(1) == -1 && driver.GetLATEDetection(1) == -1 &&
        driver.OpenSynchronousChannel(1, Receiver::packet, &receiver) == -1 &&
        driver.ReadSynchronousPacket(1, 1, &number, 1, 1) == -1;
    return gives_zero && gives_failure && driver.GetTouchEnabled(1) == 1 &&
           driver.GetTouchSystemRedirectionEnabled(1) == 1 && number == 5 && small == 5 &&
           large == 5;
}

/// Every entry point once, with arguments that tell them apart. \return the results in words
std::string callEverything(const DriverLibrary& driver, int (&points)[2]) {
    std::string results;
    const auto add = [&results](int result) { results += std::to_string(result) + ' '; };
    unsigned char small[2] = {};
    unsigned int large[2] = {};
    int connected = -1;
    static unsigned char data[5] = {3, 0x77, 9, 8, 7};
    _TAVEL_DEVICE_INFO& info = *new _TAVEL_DEVICE_INFO();
    info.bytes[0] = 9;
    add(driver.Attach());
    add(driver.Interface());
    add(driver.SetCallback(0x7001, nullptr, data));
    add(driver.ClearCallback(0x7002, nullptr, data));
    add(driver.SetPnpCallback(nullptr, data));
    add(driver.SendCommand(7, "some \x01"));
    add(driver.WritePacket(7, data, 5));
    add(driver.SetXferMask(7, 0xFE));
    add(driver.GetDeviceCount());
    add(driver.EnumDeviceInfo(0, &info));
    results += reinterpret_cast<const char*>(info.bytes + 325);
    delete &info;
    add(driver.SetPointingDeviceDestination(7, 255, true, 254));
    add(driver.SetPointingDeviceDestinationEx(7, 253, false, 252, true));
    add(driver.GetPointingDeviceDestination(7, 255, true));
    add(driver.SetTouchDestination(7, 251));
    add(driver.SetTouchDestinationEx(7, 250, true));
    add(driver.GetTouchDestination(7));
    add(driver.SetTouchEnabled(7, false));
    add(driver.GetTouchEnabled(7));
    add(driver.SetTouchSystemRedirectionEnabled(7, false));
    add(driver.GetTouchSystemRedirectionEnabled(7));
    add(driver.SetLATEDetection(7, 249));
    add(driver.GetLATEDetection(7));
    add(driver.IsSomethingOnBoard(7));
    add(driver.SetTwoFingerScroll(7, 248));
    add(driver.OpenSynchronousChannel(7, nullptr, data));
    add(driver.ReadSynchronousPacket(7, 1, data, 5, 0));
    add(driver.CloseSynchronousChannel(7, 1));
    add(driver.SetCalibrationMode(7, 247));
    add(driver.SetCalibrationData(7, data));
    add(driver.SetCalibrationDataEx(7, 246, 245, data));
    add(driver.SetWirelessCalibrationData(7, data));
    add(driver.GetCalibrationPoints(7, &points[0], &points[1]));
    add(points[0]);
    add(driver.LibraryVersionNumber(small, nullptr, large, nullptr));
    add(driver.Lock());
    add(driver.Unlock());
    add(driver.SerialConnect(-5));
    add(driver.SerialGetConnected(connected));
    add(connected);
    add(driver.SerialDisconnect());
    add(driver.SerialSetStartupMode(-6));
    add(driver.SerialGetStartupMode());
    add(driver.SetDoubleClickDistance(7, 65535));
    add(driver.SetDriverDebugMode(7, 244, 0xFFFFFFFF));
    add(driver.Echo(7, 5, data));
    add(driver.Inject(7, 4, data));
    add(driver.SendTouchPacketToSystem(7, 3, data));
    add(driver.ReverseButtons(7, true));
    add(driver.Detach());
    return results;
}

} // namespace

class TestTap : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void it_exports_the_entry_points_and_nothing_else();
    void calls_pass_unchanged();
    void callbacks_pass_unchanged();
    void without_a_driver_every_entry_point_is_as_if_missing_data();
    void without_a_driver_every_entry_point_is_as_if_missing();
    void what_the_driver_lacks_stays_missing();
    void the_extended_settings_fall_back();
    void what_passes_is_recorded_data();
    void what_passes_is_recorded();
    void a_recording_is_recorded_again();
    void boards_are_plugged_in_ahead_of_their_reports();
    void an_enumeration_that_ends_early_loses_nothing();
    void an_enumeration_that_ends_with_the_library_loses_nothing();
    void a_loop_that_asks_for_the_count_each_time_is_one_enumeration();
    void the_last_board_goes();
    void a_count_alone_keeps_no_report_waiting();
    void boards_come_and_go_at_the_time_of_the_notice();
    void a_board_that_changes_comes_anew();
    void one_of_two_subscriptions_is_recorded();
    void a_subscription_takes_over_from_one_that_is_not_served();
    void late_callbacks_pass();
    void odd_reports_pass_and_are_comments();
    void a_board_that_is_found_beside_an_enumeration_is_recorded();
    void a_capture_that_cannot_be_written_stops_nothing_data();
    void a_capture_that_cannot_be_written_stops_nothing();
    void a_kill_loses_no_more_than_the_last_line();
    void a_process_ends_while_attached();
    void it_is_unloaded_with_its_driver();
    void any_thread_may_call();

private:
    std::string file(const char* name) const { return m_folder->path().toStdString() + '/' + name; }
    void play(const std::string& capture) {
        std::ofstream(file("played"), std::ios::binary) << capture;
        setenv("KESTRUNE_CAPTURE", file("played").c_str(), 1);
        setenv("KESTRUNE_CAPTURE_SPEED", "max", 1);
    }
    Capture recorded() const { return readCapture(file("recorded")); }
    /// The lines but the header, without times, and without comments.
    std::string recordedLines() const {
        std::string lines;
        for (const CaptureEvent& event : recorded().events) {
            const std::string line = captureLine(event);
            lines += line.substr(line.find(' ') + 1);
        }
        return lines;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestTap::init() {
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char* const variable : {"KESTRUNE_CAPTURE", "KESTRUNE_CAPTURE_SPEED",
                                       "KESTRUNE_CAPTURE_LOOP", "KESTRUNE_DRIVER_LOG"})
        unsetenv(variable);
    setenv("KESTRUNE_TAP_DRIVER", kSimulated.c_str(), 1);
    setenv("KESTRUNE_TAP_CAPTURE", file("recorded").c_str(), 1);
}

void TestTap::cleanup() {
    m_folder.reset();
}

void TestTap::it_exports_the_entry_points_and_nothing_else() {
    QCOMPARE(problemOfExports(kTap), QString());
}

void TestTap::calls_pass_unchanged() {
    play(kHeader + kBoard);
    int points[2] = {};
    setenv("KESTRUNE_DRIVER_LOG", file("direct").c_str(), 1);
    const std::string direct = callEverything(DriverLibrary(kSimulated), points);
    setenv("KESTRUNE_DRIVER_LOG", file("tapped").c_str(), 1);
    const std::string tapped = callEverything(DriverLibrary(kTap), points);
    QCOMPARE(tapped, direct);
    const auto comparable = [](const std::string& text) { // but for addresses on the stack and heap
        static const QRegularExpression own(
            QStringLiteral("(info|connected|first|second|third|fourth)=0x\\w+"));
        return QString::fromStdString(text).replace(own, QStringLiteral("\\1=it"));
    };
    QCOMPARE(comparable(textOf(file("tapped"))), comparable(textOf(file("direct"))));
    QCOMPARE(textOf(file("direct")).find("tavelReverseButtons device=7 reversed=1\n") !=
                 std::string::npos,
             true);
}

void TestTap::callbacks_pass_unchanged() {
    play(kHeader + kBoard);
    setenv("KESTRUNE_DRIVER_LOG", file("log").c_str(), 1);
    Receiver other;
    Program program;
    QCOMPARE(program.driver.SetCallback(kDevice, Receiver::packet, &other), 1);
    inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(1) && other.waitForPackets(1));
    QCOMPARE(other.packets().front().device, kDevice);
    QVERIFY(other.packets().front().bytes == kMarker);

    QCOMPARE(program.driver.ClearCallback(kDevice + 1, Receiver::packet, &other), 0);
    QCOMPARE(program.driver.ClearCallback(kDevice, Receiver::packet, nullptr), 0);
    QCOMPARE(program.driver.ClearCallback(kDevice, Receiver::packet, &other), 1);
    QCOMPARE(program.driver.ClearCallback(kDevice, Receiver::packet, &other), 0);
    inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(2));
    QCOMPARE(other.packets().size(), std::size_t(1));

    QCOMPARE(program.driver.SetPnpCallback(Receiver::notice, &other), 1);
    QCOMPARE(program.driver.clearPnpCallback(Receiver::notice, &program), 0);
    // What the tap has given the driver nothing for passes as it is.
    const auto callback =
        reinterpret_cast<TavelPacketCallback>(reinterpret_cast<void (*)()>(&Receiver::notice));
    QCOMPARE(program.driver.ClearCallback(kDevice, callback, &other), 0);
    std::ostringstream context;
    context << std::hex << reinterpret_cast<std::uintptr_t>(&other) << '\n';
    const std::string log = textOf(file("log"));
    QVERIFY(log.size() > context.str().size());
    QCOMPARE(log.substr(log.size() - context.str().size()), context.str());
    QCOMPARE(program.driver.clearPnpCallback(Receiver::notice, &other), 1);
    QCOMPARE(program.driver.clearPnpCallback(Receiver::notice, &other), 0);
}

void TestTap::without_a_driver_every_entry_point_is_as_if_missing_data() {
    QTest::addColumn<std::string>("driver");
    QTest::addColumn<std::string>("message");
    const auto row = [](const char* name, const std::string& driver, const std::string& message) {
        QTest::newRow(name) << driver << message;
    };
    row("not set", "", "KESTRUNE_TAP_DRIVER is not set: there is no driver\n");
    row("missing", "/missing/libtavelboardex.so.1",
        "/missing/libtavelboardex.so.1: cannot open shared object file: No such file or directory\n");
    row("no library", "/etc/passwd", "/etc/passwd: invalid ELF header\n");
    row("the tap itself", kTap, "KESTRUNE_TAP_DRIVER is the tap itself: " + kTap + '\n');
    row("the tap by its name", "libtavelboardex.so.1",
        "KESTRUNE_TAP_DRIVER is the tap itself: libtavelboardex.so.1\n");
}

void TestTap::without_a_driver_every_entry_point_is_as_if_missing() {
    QFETCH(const std::string, driver);
    QFETCH(const std::string, message);
    setenv("KESTRUNE_TAP_DRIVER", driver.c_str(), 1);
    const StandardError error(file("stderr"));
    const DriverLibrary tap(kTap);
    QVERIFY(tap.isLoaded());
    QVERIFY(gives_fallbacks(tap));
    QVERIFY(gives_fallbacks(tap));
    QCOMPARE(error.text(), kWho + message);
    QCOMPARE(textOf(file("recorded")), kHeader);
}

void TestTap::what_the_driver_lacks_stays_missing() {
    setenv("KESTRUNE_TAP_DRIVER", kNothing.c_str(), 1);
    const StandardError error(file("stderr"));
    const DriverLibrary tap(kTap);
    QVERIFY(gives_fallbacks(tap));
    QCOMPARE(error.text(), std::string());
}

void TestTap::the_extended_settings_fall_back() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    const DriverLibrary tap(kTap);
    QCOMPARE(tap.SetTouchDestinationEx(4, 3, true), 403);
    QCOMPARE(tap.SetTouchDestination(4, 2), 402);
    QCOMPARE(tap.SetPointingDeviceDestinationEx(4, 3, true, 2, true), 40312);
    QCOMPARE(tap.SetPointingDeviceDestination(4, 3, false, 2), 40302);
    QCOMPARE(static_cast<int>(tap.GetTouchEnabled(1)), 0xFE);
    QCOMPARE(static_cast<int>(tap.GetTouchSystemRedirectionEnabled(1)), 1);
    QCOMPARE(tap.SendCommand(2, ""), -72);
    QCOMPARE(tap.WritePacket(2, "", 0), -1);
    QCOMPARE(tap.Attach(), 0);
    QCOMPARE(tap.Detach(), 0);
}

void TestTap::what_passes_is_recorded_data() {
    QTest::addColumn<std::string>("capture");
    const auto row = [](const char* name, const std::string& capture) {
        QTest::newRow(name) << kHeader + capture + "9999 report 7 0377ff\n";
    };
    const std::string marker = "5 report 7 037701\n";
    const std::string second = "0 plug -8 1 \"\\x0a\\xff\"\n";
    row("one board", kBoard + marker + "5 report 7 0821000102030409\n" + marker);
    row("a report of nothing", kBoard + "5 report 7 -\n" + marker);
    row("two boards", second + kBoard + marker + "6 report -8 037702\n");
    row("a board that cannot be used", "0 plug 1 0 \"\"\n0 plug 2 -1 \"x\"\n" + kBoard);
    row("a board that comes",
        kBoard + marker + "6 plug 9 1 \"\"\n7 report 9 037702\n8 report 7 037701\n");
    row("boards that go", second + kBoard + "6 unplug -8\n7 unplug 7\n8 plug 7 1 \"new\"\n");
    row("a board that changes", kBoard + "6 unplug 7\n6 plug 7 1 \"new\"\n");
    row("a board that comes first", "4" + kBoard.substr(1));
}

void TestTap::what_passes_is_recorded() {
    QFETCH(const std::string, capture);
    play(capture);
    {
        Program program;
        QVERIFY(program.receiver.waitForPacket({3, 0x77, 0xFF}));
    }
    const Capture played = parseCapture(capture);
    QVERIFY(!recorded().error);
    std::string expected;
    bool isAtStart = true;
    for (const CaptureEvent& event : played.events) {
        const std::string line = captureLine(event);
        expected += line.substr(line.find(' ') + 1);
    }
    QCOMPARE(recordedLines(), expected);
    // What was there from the start is so again.
    for (std::size_t i = 0; i < played.events.size(); ++i) {
        isAtStart = isAtStart && played.events[i].time.count() == 0;
        QCOMPARE(recorded().events[i].time.count() == 0, isAtStart);
    }
}

void TestTap::a_recording_is_recorded_again() {
    setenv("KESTRUNE_CAPTURE_SPEED", "max", 1);
    {
        Program program;
        QVERIFY(program.receiver.waitForPackets(2000)); // of the demonstration
    }
    const std::string first = recordedLines();
    const auto count = std::count(first.begin(), first.end(), '\n');
    QVERIFY(count > 2000);
    std::ofstream(file("again"), std::ios::binary) << textOf(file("recorded"));
    setenv("KESTRUNE_CAPTURE", file("again").c_str(), 1);
    {
        Program program;
        QVERIFY(program.receiver.waitForPackets(static_cast<std::size_t>(count - 1)));
    }
    QCOMPARE(recordedLines(), first);
}

void TestTap::boards_are_plugged_in_ahead_of_their_reports() {
    play(kHeader + kBoard + "0 plug 8 1 \"\"\n");
    Receiver receiver;
    const DriverLibrary tap(kTap);
    tap.Attach();
    tap.GetDeviceCount();
    const BoardDescription first(tap, 0);
    tap.SetCallback(kDevice, Receiver::packet, &receiver);
    tap.SetXferMask(kDevice, 0xFF);
    inject(tap, kMarker);
    QVERIFY(receiver.waitForPackets(1));
    const BoardDescription second(tap, 1);
    QCOMPARE(recordedLines(), std::string("plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\nplug 8 1 \"\"\n"
                                          "report 7 037701\n"));
    QCOMPARE(static_cast<int>(recorded().events[1].time.count()), 0);
    QVERIFY(recorded().events[2].time.count() > 0);
    tap.GetDeviceCount(); // once more
    const BoardDescription firstAgain(tap, 0);
    const BoardDescription secondAgain(tap, 1);
    QCOMPARE(recorded().events.size(), std::size_t(3));
    tap.Detach();
}

void TestTap::an_enumeration_that_ends_early_loses_nothing() {
    play(kHeader + "0 plug 8 1 \"\"\n" + kBoard);
    for (const bool byDetachment : {true, false}) {
        Receiver receiver;
        const DriverLibrary tap(kTap);
        tap.Attach();
        tap.GetDeviceCount();
        const BoardDescription second(tap, 1);
        tap.SetCallback(kDevice, Receiver::packet, &receiver);
        tap.SetXferMask(kDevice, 0xFF);
        inject(tap, kMarker);
        QVERIFY(receiver.waitForPackets(1));
        if (byDetachment) {
            tap.Detach();
            QCOMPARE(recordedLines(),
                     std::string("plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\nreport 7 037701\n"));
            continue;
        }
        // In time its reports are not kept waiting any more.
        const auto isRecorded = [&] {
            inject(tap, kMarker);
            return recordedLines().find("report 7 037701\n") != std::string::npos;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isRecorded(), 30000);
        tap.Detach();
    }
}

void TestTap::an_enumeration_that_ends_with_the_library_loses_nothing() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    Receiver receiver;
    {
        const DriverLibrary tap(kTap);
        tap.SetCallback(5, Receiver::packet, &receiver);
        tap.GetDeviceCount();
        const BoardDescription first(tap, 0);
        ofSparse<Send>("sparseSend")(5, kMarker.data(), 3);
        QVERIFY(recorded().events.empty());
    }
    QCOMPARE(recordedLines(), std::string("plug 5 1 \"xp<1>\"\nreport 5 037701\n"));
}

void TestTap::a_loop_that_asks_for_the_count_each_time_is_one_enumeration() {
    play(kHeader + kBoard + "0 plug 8 1 \"\"\n0 plug 9 1 \"\"\n5 unplug 7\n");
    Receiver receiver;
    const DriverLibrary tap(kTap);
    tap.Attach();
    tap.SetPnpCallback(Receiver::notice, &receiver);
    const auto enumerate = [&tap] {
        for (int i = 0; i < tap.GetDeviceCount(); ++i)
            const BoardDescription board(tap, i);
    };
    enumerate();
    const std::string all = "plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\nplug 8 1 \"\"\nplug 9 1 \"\"\n";
    QCOMPARE(recordedLines(), all);
    tap.SetCallback(8, Receiver::packet, &receiver);
    tap.SetXferMask(8, 0xFF);
    QVERIFY(receiver.waitForNotices(1));
    enumerate();
    QCOMPARE(recordedLines(), all + "unplug 7\n");
    tap.Detach();
}

void TestTap::the_last_board_goes() {
    play(kHeader + kBoard + "5 unplug 7\n");
    Program program;
    QVERIFY(program.receiver.waitForNotices(1));
    QCOMPARE(recordedLines(), std::string("plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\nunplug 7\n"));
}

void TestTap::a_count_alone_keeps_no_report_waiting() {
    play(kHeader + kBoard);
    Program program;
    program.driver.GetDeviceCount();
    inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(1));
    QCOMPARE(recorded().events.size(), std::size_t(2));
}

void TestTap::boards_come_and_go_at_the_time_of_the_notice() {
    play(kHeader + kBoard + "5 plug 8 1 \"\"\n");
    Receiver receiver;
    const DriverLibrary tap(kTap);
    tap.Attach();
    tap.SetPnpCallback(Receiver::notice, &receiver);
    const auto enumerate = [&tap] {
        for (int i = tap.GetDeviceCount() - 1; i >= 0; --i) // backward will do
            const BoardDescription board(tap, i);
    };
    enumerate();
    tap.SetCallback(kDevice, Receiver::packet, &receiver);
    tap.SetXferMask(kDevice, 0xFF);
    QVERIFY(receiver.waitForNotices(1));
    QCOMPARE(recorded().events.size(), std::size_t(1)); // a notice is only a notice
    enumerate();
    QCOMPARE(recorded().events.size(), std::size_t(2));
    const std::string text = textOf(file("recorded"));
    const std::string time = std::to_string(recorded().events.back().time.count());
    QVERIFY(text.find("\n# " + time + " plug-and-play notice\n" + time + " plug 8 1 \"\"\n") !=
            std::string::npos);
    tap.Detach();
}

void TestTap::a_board_that_changes_comes_anew() {
    play(kHeader + kBoard + "5 unplug 7\n6 plug 7 1 \"new\"\n");
    {
        Program program;
        QVERIFY(program.receiver.waitForNotices(2));
        program.enumerate(); // finds nothing new
    }
    QCOMPARE(recordedLines(), std::string("plug 7 1 \"hid<H \\\"1\\\">xp<4>\"\nunplug 7\n"
                                          "plug 7 1 \"new\"\n"));
}

void TestTap::one_of_two_subscriptions_is_recorded() {
    play(kHeader + kBoard);
    Receiver other;
    Program program;
    program.driver.SetCallback(kDevice, Receiver::packet, &other);
    for (unsigned char i = 0; i < 10; ++i)
        inject(program.driver, {3, 0x77, i});
    QVERIFY(program.receiver.waitForPackets(10) && other.waitForPackets(10));
    QCOMPARE(recorded().events.size(), std::size_t(11));
    program.driver.ClearCallback(kDevice, Receiver::packet, &program.receiver);
    inject(program.driver, kMarker);
    QVERIFY(other.waitForPackets(11));
    QCOMPARE(recorded().events.size(), std::size_t(12));
    program.driver.SetCallback(kDevice, Receiver::packet, &program.receiver);
    inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(11) && other.waitForPackets(12));
    QCOMPARE(recorded().events.size(), std::size_t(13));
    program.driver.ClearCallback(kDevice, Receiver::packet, &other);
}

void TestTap::a_subscription_takes_over_from_one_that_is_not_served() {
    play(kHeader + kBoard);
    Receiver other;
    Program program;
    inject(program.driver, kMarker);
    inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(2));
    program.driver.Detach(); // which ends all subscriptions
    program.driver.Attach();
    program.driver.SetCallback(kDevice, Receiver::packet, &other);
    program.driver.SetXferMask(kDevice, 0xFF);
    inject(program.driver, kMarker);
    QVERIFY(other.waitForPackets(1));
    QCOMPARE(recorded().events.size(), std::size_t(4));
    program.driver.ClearCallback(kDevice, Receiver::packet, &other);
}

void TestTap::late_callbacks_pass() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    Receiver receiver;
    {
        const DriverLibrary tap(kTap);
        QCOMPARE(tap.SetCallback(5, Receiver::packet, &receiver), 45);
        Send* const send = ofSparse<Send>("sparseSend");
        QCOMPARE(tap.ClearCallback(5, Receiver::packet, &receiver), 0); // lacks it
        tap.GetDeviceCount();
        for (int i = 0; i < 3; ++i)
            const BoardDescription board(tap, i);
        send(5, kMarker.data(), 3);
        send(99, kMarker.data(), 3); // a device that nobody knows: the subscription's, then
    }
    QCOMPARE(receiver.packets().size(), std::size_t(2));
    QCOMPARE(receiver.packets().back().device, 99);
    QCOMPARE(recordedLines(),
             std::string("plug 5 1 \"xp<1>\"\nreport 5 037701\nreport 5 037701\n"));
}

void TestTap::odd_reports_pass_and_are_comments() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    struct Odd {
        const unsigned char* data;
        unsigned int length;
    };
    std::vector<Odd> received;
    const auto receive = [](int, const unsigned char* data, unsigned int length, void* context) {
        static_cast<std::vector<Odd>*>(context)->push_back({data, length});
    };
    {
        const DriverLibrary tap(kTap);
        tap.SetCallback(5, receive, &received);
        Send* const send = ofSparse<Send>("sparseSend");
        send(5, kMarker.data(), 3); // ahead of any enumeration
        tap.GetDeviceCount();
        for (int i = 0; i < 3; ++i)
            const BoardDescription board(tap, i);
        send(5, kMarker.data(), 0xFFFFFFFF);
        send(5, nullptr, 3);
        send(5, nullptr, 0);
    }
    QCOMPARE(received.size(), std::size_t(4));
    QVERIFY(received[1].data == kMarker.data() && received[1].length == 0xFFFFFFFF);
    QVERIFY(received[2].data == nullptr && received[2].length == 3);
    QVERIFY(!recorded().error);
    QCOMPARE(recordedLines(), std::string("plug 5 1 \"xp<1>\"\nreport 5 -\n"));
    const std::string text = textOf(file("recorded"));
    for (const char* const comment :
         {"# 0 report 5 037701 of a board that no enumeration has told of\n",
          " report 5 of 4294967295 bytes, too long\n", " report 5 of 3 bytes at no address\n"})
        QVERIFY2(text.find(comment) != std::string::npos, comment);
}

void TestTap::a_board_that_is_found_beside_an_enumeration_is_recorded() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    Receiver receiver;
    {
        const DriverLibrary tap(kTap);
        tap.SetCallback(5, Receiver::packet, &receiver);
        const BoardDescription uncounted(tap, 0);
        Send* const send = ofSparse<Send>("sparseSend");
        tap.GetDeviceCount();
        const BoardDescription first(tap, 0);
        send(5, kMarker.data(), 3); // waits for the end
        const BoardDescription beyond(tap, 3);
        for (int i = 1; i < 3; ++i)
            const BoardDescription board(tap, i);
    }
    // The one beyond is the same board in another state.
    QVERIFY2(!recorded().error, textOf(file("recorded")).c_str());
    QCOMPARE(recordedLines(), std::string("plug 5 1 \"xp<1>\"\nunplug 5\nplug 5 0 \"xp<1>\"\n"
                                          "unplug 5\nplug 5 1 \"xp<1>\"\nreport 5 037701\n"));
    QCOMPARE(static_cast<int>(recorded().events.front().time.count()), 0);
}

void TestTap::a_capture_that_cannot_be_written_stops_nothing_data() {
    QTest::addColumn<std::string>("path");
    QTest::addColumn<std::string>("message");
    const auto row = [](const char* name, const std::string& path, const std::string& message) {
        QTest::newRow(name) << path << message;
    };
    row("not set", "", "KESTRUNE_TAP_CAPTURE is not set: nothing is recorded\n");
    row("no folder", "/missing/capture",
        "/missing/capture: No such file or directory: nothing is recorded\n");
    row("folder", "/", "/: Is a directory: nothing is recorded\n");
    row("full", "/dev/full", "/dev/full: No space left on device: nothing more is recorded\n");
}

void TestTap::a_capture_that_cannot_be_written_stops_nothing() {
    QFETCH(const std::string, path);
    QFETCH(const std::string, message);
    play(kHeader + kBoard);
    setenv("KESTRUNE_TAP_CAPTURE", path.c_str(), 1);
    const StandardError error(file("stderr"));
    Program program;
    for (int i = 0; i < 3; ++i)
        inject(program.driver, kMarker);
    QVERIFY(program.receiver.waitForPackets(3));
    QCOMPARE(error.text(), kWho + message);
}

void TestTap::a_kill_loses_no_more_than_the_last_line() {
    setenv("KESTRUNE_CAPTURE_SPEED", "20", 1); // the demonstration
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--play")});
    QVERIFY(child.waitForStarted());
    const auto has_recorded = [this] {
        const std::string text = textOf(file("recorded"));
        return std::count(text.begin(), text.end(), '\n') > 500;
    };
    QTRY_VERIFY_WITH_TIMEOUT(has_recorded(), 30000);
    child.kill();
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    QVERIFY(!recorded().error);
    QVERIFY(recorded().events.size() >= 500);
}

void TestTap::a_process_ends_while_attached() {
    setenv("KESTRUNE_TAP_DRIVER", kSparse.c_str(), 1);
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--exit")});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 17);
    QVERIFY(!recorded().error);
    QVERIFY(recorded().events.size() > 200);
}

void TestTap::it_is_unloaded_with_its_driver() {
    play(kHeader + kBoard + "1 report 7 037702\n");
    setenv("KESTRUNE_CAPTURE_LOOP", "1", 1);
    for (int round = 0; round < 10; ++round) {
        {
            Program program;
            QVERIFY(program.receiver.waitForPackets(1));
            QVERIFY(isInMemory(kTap) && isInMemory(kSimulated));
        }
        QVERIFY(!isInMemory(kTap) && !isInMemory(kSimulated));
    }
    // While it is attached it stays, since the driver calls.
    Receiver receiver;
    {
        const DriverLibrary tap(kTap);
        tap.Attach();
        tap.SetCallback(kDevice, Receiver::packet, &receiver);
        tap.SetXferMask(kDevice, 0xFF);
    }
    QVERIFY(receiver.waitForPackets(3));
    QVERIFY(isInMemory(kTap) && isInMemory(kSimulated));
    {
        const DriverLibrary tap(kTap);
        tap.Detach();
    }
    QVERIFY(!isInMemory(kTap) && !isInMemory(kSimulated));
}

void TestTap::any_thread_may_call() {
    setenv("KESTRUNE_CAPTURE_SPEED", "max", 1);
    Receiver receiver;
    const DriverLibrary tap(kTap);
    tap.Attach();
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&tap, &receiver, number] {
            for (int round = 0; round < 30; ++round) {
                tap.Attach();
                tap.SetPnpCallback(Receiver::notice, &receiver);
                tap.SetCallback(1, Receiver::packet, &receiver);
                tap.SetXferMask(1, 0xFF);
                tap.switchOn(1);
                inject(tap, {3, 0x77, static_cast<unsigned char>(number)}, 1);
                tap.GetDeviceCount();
                const BoardDescription board(tap, 0);
                tap.ClearCallback(1, Receiver::packet, &receiver);
                tap.clearPnpCallback(Receiver::notice, &receiver);
                tap.Detach();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    tap.Detach();
    QVERIFY(!recorded().error);
    QVERIFY(!recorded().events.empty());
}

namespace {

Receiver& childsReceiver() {
    static auto* const receiver = new Receiver; // outlives all else
    return *receiver;
}

bool hasMoreComeIn() {
    return childsReceiver().waitForPackets(childsReceiver().packets().size() + 100);
}

/// Until it is killed.
int playAsChild() {
    auto* const program = new Program;
    while (program->receiver.waitForPackets(program->receiver.packets().size() + 1)) {
    }
    return 1;
}

/// Ends in the midst of it all, with a driver that calls on until there is no process any more.
int exitAsChild() {
    std::atexit([] { // comes after what the tap does at the end
        if (!hasMoreComeIn())
            std::_Exit(1);
    });
    static auto* const tap = new DriverLibrary(kTap); // never unloaded
    tap->Attach();
    tap->SetCallback(5, Receiver::packet, &childsReceiver());
    const BoardDescription board(*tap, 0);
    ofSparse<void(int)>("sparseSendForever")(5);
    std::exit(hasMoreComeIn() ? 17 : 1);
}

} // namespace

int main(int argc, char** argv) {
    const std::string argument = argc == 2 ? argv[1] : "";
    if (argument == "--play")
        return playAsChild();
    if (argument == "--exit")
        return exitAsChild();
    QCoreApplication app(argc, argv);
    TestTap test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_tap.moc"
