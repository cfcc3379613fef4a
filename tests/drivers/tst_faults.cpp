#include "tests/drivers/listening.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(std::string)

namespace {

const std::string kWho = "libtavelboardex.so.1 (simulated): ";
const Bytes kPen = {8, 0x21, 0, 1, 2, 3, 4, 1};
const Bytes kPenUp = {8, 0x21, 0, 1, 2, 3, 4, 0};

/// How many callbacks are under way.
class Crowd {
public:
    /// To be called in a callback: waits for more to come, for those that do not wait too long.
    void join(int expected) {
        std::unique_lock lock(m_mutex);
        m_most = std::max(m_most, ++m_inside);
        m_changed.notify_all();
        m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return m_most >= expected; });
        --m_inside;
    }
    int most() const {
        const std::lock_guard lock(m_mutex);
        return m_most;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_inside = 0;
    int m_most = 0;
};

} // namespace

/// What the simulated driver does wrong when it is told to.
class TestFaults : public QObject {
    Q_OBJECT

private slots:
    void init();
    void without_a_fault_all_is_well();
    void what_is_no_fault_is_told_data();
    void what_is_no_fault_is_told();
    void a_length_that_is_none_is_told_data();
    void a_length_that_is_none_is_told();
    void an_attachment_that_fails_has_no_boards();
    void a_count_is_told_as_it_is_given_data();
    void a_count_is_told_as_it_is_given();
    void an_enumeration_that_fails_describes_nothing();
    void an_enumeration_that_changes_tells_otherwise_each_time();
    void a_ghost_reports_to_callbacks_that_were_cleared();
    void notices_come_without_a_change();
    void callbacks_come_from_several_threads_at_once();
    void calls_go_on_after_the_detachment();
    void faults_end_with_a_notice();
    void a_driver_lacks_its_entry_point_alone_data();
    void a_driver_lacks_its_entry_point_alone();

private:
    /// From the next attachment on.
    void commit(const char* faults, const char* length_ms = nullptr) {
        setenv("KESTRUNE_DRIVER_FAULTS", faults, 1);
        if (length_ms != nullptr)
            setenv("KESTRUNE_DRIVER_FAULTS_MS", length_ms, 1);
    }
    void play(const std::string& events) {
        std::ofstream(file("capture"), std::ios::binary)
            << "kestrune-capture 1\n0 plug 7 1 \"hid<H1>xp<4>\"\n" + events;
        setenv("KESTRUNE_CAPTURE", file("capture").c_str(), 1);
    }
    std::string file(const char* name) const { return m_folder->path().toStdString() + '/' + name; }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestFaults::init() {
    m_folder = std::make_unique<QTemporaryDir>();
    unsetenv("KESTRUNE_DRIVER_FAULTS");
    unsetenv("KESTRUNE_DRIVER_FAULTS_MS");
    play("");
}

void TestFaults::without_a_fault_all_is_well() {
    commit("", "");
    const StandardError error(file("stderr"));
    Listening at;
    QCOMPARE(at.driver.Attach(), 1);
    QCOMPARE(at.driver.GetDeviceCount(), 1);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(BoardDescription(at.driver, 0).device, kDevice);
    QVERIFY(at.sends(kPen));
    QCOMPARE(at.receiver.notices(), 0);
    QCOMPARE(error.text(), std::string());
}

void TestFaults::what_is_no_fault_is_told_data() {
    QTest::addColumn<std::string>("fault");
    for (const char* const fault :
         {"detach", "Attach", "attach=1", "count", "count=", "count=1x", "count=2147483648",
          "notices=0", "notices=10001", "threads=0", "threads=101", "enumeration", " late"})
        QTest::newRow(fault) << std::string(fault);
}

void TestFaults::what_is_no_fault_is_told() {
    QFETCH(const std::string, fault);
    commit((fault + ",count=5").c_str());
    const StandardError error(file("stderr"));
    const Listening at;
    QCOMPARE(error.text(), kWho + "KESTRUNE_DRIVER_FAULTS has no fault " + fault + '\n');
    QCOMPARE(at.driver.GetDeviceCount(), 5);
}

void TestFaults::a_length_that_is_none_is_told_data() {
    QTest::addColumn<std::string>("length");
    for (const char* const length : {"0", "-5", "1s", "long"})
        QTest::newRow(length) << std::string(length);
}

void TestFaults::a_length_that_is_none_is_told() {
    QFETCH(const std::string, length);
    commit("count=5", length.c_str());
    const StandardError error(file("stderr"));
    const Listening at;
    QCOMPARE(error.text(),
             kWho + "KESTRUNE_DRIVER_FAULTS_MS is no number above 0: " + length + '\n');
    QCOMPARE(at.driver.GetDeviceCount(), 5);
}

void TestFaults::an_attachment_that_fails_has_no_boards() {
    commit("attach");
    const DriverLibrary driver(KESTRUNE_SIMULATED_DRIVER);
    QCOMPARE(driver.Attach(), 0);
    QCOMPARE(driver.GetDeviceCount(), 0);
    QVERIFY(!BoardDescription(driver, 0).isThere);
    QCOMPARE(driver.Detach(), 1);
}

void TestFaults::a_count_is_told_as_it_is_given_data() {
    QTest::addColumn<int>("count");
    for (const int count : {0, -3, 7, std::numeric_limits<int>::max()})
        QTest::addRow("%d", count) << count;
}

void TestFaults::a_count_is_told_as_it_is_given() {
    QFETCH(const int, count);
    commit(("count=" + std::to_string(count)).c_str());
    const Listening at;
    QCOMPARE(at.driver.GetDeviceCount(), count);
    QVERIFY(BoardDescription(at.driver, 0).isThere);
    QVERIFY(!BoardDescription(at.driver, 1).isThere);
    QVERIFY(!BoardDescription(at.driver, -1).isThere);
}

void TestFaults::an_enumeration_that_fails_describes_nothing() {
    commit("enumeration=fails");
    const Listening at;
    QCOMPARE(at.driver.GetDeviceCount(), 1);
    QVERIFY(!BoardDescription(at.driver, 0).isThere);
}

void TestFaults::an_enumeration_that_changes_tells_otherwise_each_time() {
    commit("enumeration=changes");
    const DriverLibrary driver(KESTRUNE_SIMULATED_DRIVER);
    driver.Attach();
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(driver.GetDeviceCount(), 1);
        QCOMPARE(driver.GetDeviceCount(), 2);
        QCOMPARE(BoardDescription(driver, 0).device, kDevice);
        QVERIFY(BoardDescription(driver, 0).device != kDevice);
        QVERIFY(!BoardDescription(driver, 0).isThere);
    }
    driver.Detach();
}

void TestFaults::a_ghost_reports_to_callbacks_that_were_cleared() {
    play("0 report 7 0821000102030401\n0 report 7 0821000102030400\n100000000 unplug 7\n");
    commit("ghosts");
    Listening at;
    QVERIFY(at.receiver.waitForPackets(2));
    at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver);
    QVERIFY(at.receiver.waitForNotices(1));
    QCOMPARE(at.driver.GetDeviceCount(), 0);
    QVERIFY(at.receiver.waitForPackets(4));
    const std::vector<Bytes> reports = at.receiver.reports();
    QCOMPARE(reports[2], reports[0]);
    QCOMPARE(reports[3], reports[1]);
}

void TestFaults::notices_come_without_a_change() {
    commit("notices=1000");
    Listening at;
    QVERIFY(at.receiver.waitForNotices(100));
    QVERIFY(at.sends(kPen));
}

void TestFaults::callbacks_come_from_several_threads_at_once() {
    commit("threads=10");
    Crowd crowd;
    Listening at;
    at.receiver.inside = [&crowd] { crowd.join(10); };
    inject(at.driver, kPen);
    QTRY_COMPARE(crowd.most(), 10);
    for (const Bytes& report : at.receiver.reports())
        QCOMPARE(report, kPen);
}

void TestFaults::calls_go_on_after_the_detachment() {
    // In a process of its own, for the calls go on to its end.
    play("0 report 7 0821000102030401\n");
    commit("late");
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--late")});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 17);
}

void TestFaults::faults_end_with_a_notice() {
    commit("attach,count=7,enumeration=fails,ghosts,notices=10,threads=3", "200");
    Listening at;
    QCOMPARE(at.driver.Attach(), 0);
    QCOMPARE(at.driver.GetDeviceCount(), 7);
    QTRY_VERIFY(at.driver.Attach() == 1);
    const int notices = at.receiver.notices();
    QCOMPARE(at.driver.GetDeviceCount(), 1);
    QCOMPARE(BoardDescription(at.driver, 0).device, kDevice);
    QVERIFY(at.sends(kPen));
    QVERIFY(at.receiver.notices() >= 1);
    QVERIFY(at.receiver.notices() <= notices + 1);
    // And a callback that is cleared is not called any more.
    at.driver.ClearCallback(kDevice, Receiver::packet, &at.receiver);
    const auto packets = at.receiver.packets().size();
    const int before = at.driver.IsSomethingOnBoard(kDevice);
    inject(at.driver, kPenUp);
    QTRY_VERIFY(at.driver.IsSomethingOnBoard(kDevice) != before);
    inject(at.driver, kPen); // which is sent after the one before
    QTRY_COMPARE(at.driver.IsSomethingOnBoard(kDevice), before);
    QCOMPARE(at.receiver.packets().size(), packets);
}

void TestFaults::a_driver_lacks_its_entry_point_alone_data() {
    QTest::addColumn<std::string>("missing");
#define TAVEL_ROW(name) QTest::newRow("tavel" #name) << std::string("tavel" #name);
    TAVEL_ENTRY_POINTS(TAVEL_ROW)
#undef TAVEL_ROW
}

void TestFaults::a_driver_lacks_its_entry_point_alone() {
    QFETCH(const std::string, missing);
    const DriverLibrary driver(KESTRUNE_DRIVERS_WITHOUT "/" + missing + "/libtavelboardex.so.1");
    QVERIFY(driver.isLoaded());
#define TAVEL_CHECK(name) QCOMPARE(driver.name == nullptr, missing == "tavel" #name);
    TAVEL_ENTRY_POINTS(TAVEL_CHECK)
#undef TAVEL_CHECK
}

namespace {

int detachAsChild() {
    static auto& receiver = *new Receiver; // never destroyed
    bool goesOn = false;
    {
        const DriverLibrary driver(KESTRUNE_SIMULATED_DRIVER);
        driver.Attach();
        driver.SetPnpCallback(Receiver::notice, &receiver);
        driver.switchOn(kDevice);
        driver.SetCallback(kDevice, Receiver::packet, &receiver);
        driver.SetXferMask(kDevice, 0xFF);
        goesOn = receiver.waitForPackets(1) && receiver.notices() == 0;
        driver.ClearCallback(kDevice, Receiver::packet, &receiver);
        driver.clearPnpCallback(Receiver::notice, &receiver);
        driver.Detach();
        goesOn = goesOn && receiver.packets().size() > 1 && receiver.notices() > 0;
    }
    const auto packets = receiver.packets().size(); // the library has been closed
    const int notices = receiver.notices();
    goesOn =
        goesOn && receiver.waitForPackets(packets + 10) && receiver.waitForNotices(notices + 10);
    return goesOn ? 17 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == std::string("--late"))
        return detachAsChild();
    QCoreApplication app(argc, argv);
    TestFaults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_faults.moc"
