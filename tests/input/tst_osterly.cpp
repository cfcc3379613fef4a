#include "input/osterly.h"
#include "tests/support/fake_driver.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTimer>
#include <QtTest>
#include <memory>
#include <thread>
#include <unistd.h>

using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

Strings operator+(Strings a, const Strings& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The calls of one configuration of the board 7.
Strings configuration(int mode) {
    const std::string m = std::to_string(mode);
    Strings calls;
    for (int pen = 0; pen < 4; ++pen) {
        calls.push_back("tavelWritePacket(7, :PN" + std::to_string(pen) + "2\\r)");
        calls.push_back("tavelSetPointingDeviceDestination(7, " + std::to_string(pen + 1) +
                        ", 0, " + m + ')');
    }
    calls.push_back("tavelSetTouchDestination(7, " + m + ')');
    calls.push_back("tavelWritePacket(7, :PL" + m + "\\r)");
    return calls;
}

/// What `function` writes to the standard output.
template <typename Function>
QByteArray output_of(Function function) {
    QTemporaryFile file;
    if (!file.open())
        qFatal("no temporary file");
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(file.handle(), STDOUT_FILENO);
    function();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    file.seek(0);
    return file.readAll();
}

/// The connection that the toolkit refuses says so, once an Osterly.
void expect_refusal() {
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(QStringLiteral(
            "^QObject::connect: No such signal TavelHardware::deviceEnumerated\\(int,int\\)")));
}

std::unique_ptr<Osterly> started() {
    expect_refusal();
    auto osterly = std::make_unique<Osterly>(nullptr);
    driver().take_log();
    return osterly;
}

} // namespace

class TestOsterly : public QObject {
    Q_OBJECT

private slots:
    void init();
    void it_opens_the_session_and_configures_the_boards();
    void the_session_is_its_child();
    void a_configuration_has_its_order_data();
    void a_configuration_has_its_order();
    void what_is_disabled_stays_off();
    void a_notice_is_a_line();
    void an_enumeration_is_a_line_data();
    void an_enumeration_is_a_line();
    void a_found_board_is_a_line();
    void the_first_enumeration_is_a_line();
    void an_enumeration_starts_the_delay();
    void only_the_newest_delay_counts();
    void the_boards_are_configured_two_seconds_after_the_last_enumeration();
    void a_notice_on_the_drivers_thread_arrives_in_this_one();
    void a_report_on_the_drivers_thread_arrives_in_this_one();
    void it_ends_in_its_order();
    void a_pending_delay_outlives_it_and_does_nothing();
    void without_a_board_there_is_nothing_to_configure();
};

void TestOsterly::init() {
    driver().reset();
    driver().set_boards({{7}});
}

void TestOsterly::it_opens_the_session_and_configures_the_boards() {
    expect_refusal();
    const Osterly osterly(nullptr);
    QCOMPARE(
        driver().take_log(),
        (Strings{"tavelAttach()", "tavelSetPnpCallback()", "tavelAttach()", "tavelGetDeviceCount()",
                 "tavelEnumDeviceInfo(0)", "tavelSetCallback(7)", "tavelSetXferMask(7, 255)"}) +
            configuration(1));
    QVERIFY(osterly.touch_contacts.empty() && osterly.erase_contacts.empty());
    QVERIFY(osterly.redirected.empty());
    QVERIFY(!osterly.touch_disabled && !osterly.erase_disabled);
}

void TestOsterly::the_session_is_its_child() {
    QObject parent;
    expect_refusal();
    const auto* const osterly = new Osterly(&parent);
    QCOMPARE(osterly->parent(), &parent);
    QCOMPARE(osterly->hardware->parent(), osterly);
}

void TestOsterly::a_configuration_has_its_order_data() {
    QTest::addColumn<bool>("off");
    QTest::newRow("on") << false;
    QTest::newRow("off") << true;
}

void TestOsterly::a_configuration_has_its_order() {
    QFETCH(const bool, off);
    const auto osterly = started();
    osterly->configureHardware(off);
    QCOMPARE(driver().take_log(), configuration(off ? 0 : 1));
}

void TestOsterly::what_is_disabled_stays_off() {
    const auto osterly = started();
    QCOMPARE(osterly->pen_disabled,
             (std::map<int, bool>{{0, false}, {1, false}, {2, false}, {3, false}}));
    osterly->pen_disabled[2] = true;
    osterly->touch_disabled = true;
    osterly->erase_disabled = true;
    osterly->configureHardware(false);
    Strings expected = configuration(1);
    expected[5] = "tavelSetPointingDeviceDestination(7, 3, 0, 0)";
    expected[8] = "tavelSetTouchDestination(7, 0)";
    expected[9] = "tavelWritePacket(7, :PL0\\r)";
    QCOMPARE(driver().take_log(), expected);
}

void TestOsterly::a_notice_is_a_line() {
    const auto osterly = started();
    QCOMPARE(output_of([&] { osterly->in_pnp_event(); }), QByteArray("PnP event.\n"));
    QCOMPARE(driver().take_log(), Strings());
}

void TestOsterly::an_enumeration_is_a_line_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("none") << 0;
    QTest::newRow("twelve") << 12;
    QTest::newRow("negative") << -1;
}

void TestOsterly::an_enumeration_is_a_line() {
    QFETCH(const int, count);
    const auto osterly = started();
    QCOMPARE(output_of([&] { osterly->in_device_enum_count(count); }),
             "Enumerated " + QByteArray::number(count) + " devices.\n");
}

void TestOsterly::a_found_board_is_a_line() {
    const auto osterly = started();
    QCOMPARE(output_of([&] { osterly->in_device_enumerated(4, 10); }),
             QByteArray("Found device that supports up to 4 pens & 10 touches.\n"));
}

void TestOsterly::the_first_enumeration_is_a_line() {
    QCOMPARE(output_of([&] { started(); }), QByteArray("Enumerated 1 devices.\n"));
}

void TestOsterly::an_enumeration_starts_the_delay() {
    const auto osterly = started();
    QVERIFY(osterly->config_timer != nullptr); // that of the start
    QVERIFY(osterly->config_timer->isActive());
    QVERIFY(osterly->config_timer->isSingleShot());
    QCOMPARE(osterly->config_timer->interval(), 2000);
    QVERIFY(osterly->config_timer->parent() == nullptr);
    const QPointer<QTimer> timer = osterly->config_timer;
    osterly->in_config_delay_timeout();
    QCOMPARE(driver().take_log(), configuration(1));
    QVERIFY(osterly->config_timer == nullptr);
    QVERIFY(timer.isNull());
    osterly->in_device_enum_count(0);
    QVERIFY(osterly->config_timer->isActive());
}

void TestOsterly::only_the_newest_delay_counts() {
    const auto osterly = started();
    const QPointer<QTimer> first = osterly->config_timer;
    osterly->in_device_enum_count(1);
    QVERIFY(first.isNull());
    QVERIFY(osterly->config_timer->isActive());
}

void TestOsterly::the_boards_are_configured_two_seconds_after_the_last_enumeration() {
    const auto osterly = started();
    QTest::qWait(1000); // the time is what is tested
    QElapsedTimer since;
    since.start();
    osterly->in_device_enum_count(1);
    QTRY_VERIFY_WITH_TIMEOUT(osterly->config_timer == nullptr, 5000);
    QVERIFY2(since.elapsed() >= 1990, qPrintable(QString::number(since.elapsed())));
    QCOMPARE(driver().take_log(), configuration(1));
}

void TestOsterly::a_notice_on_the_drivers_thread_arrives_in_this_one() {
    const auto osterly = started();
    const QByteArray output = output_of([&] {
        std::thread([] { driver().notice(); }).join();
        driver().take_log();
        QCoreApplication::sendPostedEvents();
    });
    QCOMPARE(output, QByteArray("PnP event.\nEnumerated 1 devices.\n"));
}

void TestOsterly::a_report_on_the_drivers_thread_arrives_in_this_one() {
    const auto osterly = started();
    std::vector<std::thread::id> threads;
    connect(
        osterly.get(), &Osterly::out_osterly_pen_event, this,
        [&] { threads.push_back(std::this_thread::get_id()); }, Qt::DirectConnection);
    connect(
        osterly.get(), &Osterly::out_osterly_touch_event, this,
        [&] { threads.push_back(std::this_thread::get_id()); }, Qt::DirectConnection);
    connect(
        osterly.get(), &Osterly::out_osterly_erase_event, this,
        [&] { threads.push_back(std::this_thread::get_id()); }, Qt::DirectConnection);
    std::thread([] {
        driver().report(std::string("\x08\x21\x00\x01\x02\x03\x04\x09", 8));
        driver().report(std::string("\x09\x45\x81\x01\x02\x03\x04\x05\x06", 9));
        driver().report(std::string("\x0b\x46\x81\x01\x02\x03\x04\x05\x06\x07\x08", 11));
    }).join();
    QVERIFY(threads.empty());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(threads, std::vector<std::thread::id>(3, std::this_thread::get_id()));
}

void TestOsterly::it_ends_in_its_order() {
    auto osterly = started();
    osterly.reset();
    QCOMPARE(driver().take_log(), (configuration(0) + Strings{"tavelClearCallback(0)",
                                                              "tavelDetach()", "tavelDetach()"}));
}

void TestOsterly::a_pending_delay_outlives_it_and_does_nothing() {
    auto osterly = started();
    const QPointer<QTimer> timer = osterly->config_timer;
    osterly.reset();
    driver().take_log();
    QVERIFY(!timer.isNull());
    QSignalSpy timeout(timer, &QTimer::timeout);
    timer->setInterval(0);
    QVERIFY(timeout.wait());
    QCOMPARE(driver().take_log(), Strings());
}

void TestOsterly::without_a_board_there_is_nothing_to_configure() {
    driver().set_boards({});
    auto osterly = started();
    osterly->configureHardware(false);
    QCOMPARE(driver().take_log(), Strings());
    osterly.reset();
    QCOMPARE(driver().take_log(),
             (Strings{"tavelClearCallback(0)", "tavelDetach()", "tavelDetach()"}));
}

QTEST_GUILESS_MAIN(TestOsterly)
#include "tst_osterly.moc"
