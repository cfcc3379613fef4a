#include "hardware/tavelhardware.h"
#include "tests/support/fake_driver.h"

#include <QtTest>

using Strings = std::vector<std::string>;

namespace {

FakeDriver& driver() {
    return FakeDriver::instance();
}

/// What the driver got: the whole buffer that it was promised must be readable.
std::string sent(int device, const std::string& hex) {
    return "tavelSendTouchPacketToSystem(" + std::to_string(device) + ", " + hex + ')';
}

TavelHardware::TouchContact contact(int id, int x, int y, bool tip) {
    return {id, x, y, 0x7777, tip};
}

} // namespace

class TestRedirection : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void a_pen_is_sent_in_nine_bytes_data();
    void a_pen_is_sent_in_nine_bytes();
    void fingers_are_sent_in_one_report();
    void no_finger_is_no_report();
    void a_report_holds_36_fingers();
    void more_fingers_take_more_reports();
    void it_goes_to_the_first_board();
    void nothing_is_sent_while_there_is_no_board();
    void nothing_is_sent_without_a_session();

private:
    std::unique_ptr<TavelHardware> m_hardware;
};

void TestRedirection::init() {
    driver().reset();
    driver().set_boards({{7}, {8}});
    m_hardware = std::make_unique<TavelHardware>(nullptr);
    QVERIFY(m_hardware->init());
    driver().take_log();
}

void TestRedirection::cleanup() {
    m_hardware.reset();
}

void TestRedirection::a_pen_is_sent_in_nine_bytes_data() {
    QTest::addColumn<int>("id");
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");
    QTest::addColumn<bool>("button0");
    QTest::addColumn<bool>("others");
    QTest::addColumn<QByteArray>("hex");
    QTest::newRow("hovering") << 3 << 0x1234 << 0x5678 << false << false
                              << QByteArray("092103341278560000");
    QTest::newRow("tip") << 3 << 0x1234 << 0x5678 << true << false
                         << QByteArray("092183341278560000");
    QTest::newRow("other buttons")
        << 15 << 1 << 2 << false << true << QByteArray("09210f010002000000");
    QTest::newRow("end of the range")
        << 15 << 65535 << 32768 << true << true << QByteArray("09218fffff00800000");
}

void TestRedirection::a_pen_is_sent_in_nine_bytes() {
    QFETCH(const int, id);
    QFETCH(const int, x);
    QFETCH(const int, y);
    QFETCH(const bool, button0);
    QFETCH(const bool, others);
    QFETCH(const QByteArray, hex);
    m_hardware->redirectPenEvent({id, x, y, button0, others, others});
    QCOMPARE(driver().take_log(), Strings{sent(7, hex.toStdString())});
}

void TestRedirection::fingers_are_sent_in_one_report() {
    m_hardware->redirectTouchEvent({contact(1, 0x0102, 0x0304, true), contact(127, 5, 6, false)});
    QCOMPARE(driver().take_log(), Strings{sent(7, "1045"
                                                  "81020104030000"
                                                  "7f050006000000")});
}

void TestRedirection::no_finger_is_no_report() {
    m_hardware->redirectTouchEvent({});
    QCOMPARE(driver().take_log(), Strings());
}

void TestRedirection::a_report_holds_36_fingers() {
    QList<TavelHardware::TouchContact> contacts;
    std::string hex = "fe45"; // 254 bytes
    for (int i = 0; i < 36; ++i) {
        contacts.append(contact(0x10, 0x0203, 0x0405, false));
        hex += "10030205040000";
    }
    m_hardware->redirectTouchEvent(contacts);
    QCOMPARE(driver().take_log(), Strings{sent(7, hex)});
}

void TestRedirection::more_fingers_take_more_reports() {
    QList<TavelHardware::TouchContact> contacts;
    std::string first = "fe45";
    std::string second = "fe45";
    for (int i = 0; i < 73; ++i)
        contacts.append(contact(i, i, 0, true));
    const auto hex = [](int i) {
        return QByteArray::number(0x80 | i, 16).toStdString() +
               QByteArray::number(i, 16).rightJustified(2, '0').toStdString() + "0000000000";
    };
    for (int i = 0; i < 36; ++i) {
        first += hex(i);
        second += hex(36 + i);
    }
    m_hardware->redirectTouchEvent(contacts);
    QCOMPARE(driver().take_log(),
             (Strings{sent(7, first), sent(7, second), sent(7, "0945" + hex(72))}));
}

void TestRedirection::it_goes_to_the_first_board() {
    driver().set_boards({{8}, {7}});
    m_hardware->pnp();
    driver().take_log();
    m_hardware->redirectPenEvent({});

    QCOMPARE(driver().take_log(), Strings{sent(8, "092100000000000000")});
}

void TestRedirection::nothing_is_sent_while_there_is_no_board() {
    driver().set_boards({});
    m_hardware->pnp();
    driver().take_log();
    m_hardware->redirectPenEvent({});
    m_hardware->redirectTouchEvent({contact(1, 2, 3, true)});
    QCOMPARE(driver().take_log(), Strings());
}

void TestRedirection::nothing_is_sent_without_a_session() {
    TavelHardware idle(nullptr);
    idle.redirectPenEvent({});
    idle.redirectTouchEvent({contact(1, 2, 3, true)});
    QCOMPARE(driver().take_log(), Strings());
}

QTEST_GUILESS_MAIN(TestRedirection)
#include "tst_redirection.moc"
