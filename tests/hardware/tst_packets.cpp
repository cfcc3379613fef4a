#include "hardware/tavelhardware.h"

#include <QtTest>
#include <algorithm>
#include <initializer_list>
#include <limits>
#include <memory>

using PenEvent = TavelHardware::PenEvent;
using TouchContact = TavelHardware::TouchContact;
using EraseContact = TavelHardware::EraseContact;
using TouchStatus = TavelHardware::TouchStatus;

namespace {

QByteArray bytes(std::initializer_list<int> values) {
    QByteArray packet;
    for (const int value : values) {
        packet.append(static_cast<char>(value));
    }
    return packet;
}

/// A report of the tag and the length, all of whose other bytes are 1.
QByteArray report(int tag, int length) {
    QByteArray packet(length, 1);
    if (length > 1) {
        packet[1] = static_cast<char>(tag);
    }
    return packet;
}

/// A copy in a block of memory of exactly its size, so that a sanitizer sees a read past its end.
struct Exact {
    explicit Exact(const QByteArray& packet) : block(new char[packet.size()]) {
        std::copy(packet.begin(), packet.end(), block.get());
        view = QByteArray::fromRawData(block.get(), packet.size());
    }

    std::unique_ptr<char[]> block;
    QByteArray view;
};

QVector<int> fields(const PenEvent& event) {
    return {event.id, event.x, event.y, event.button0, event.button1, event.button2};
}

QVector<int> fields(const TouchContact& contact) {
    return {contact.id, contact.x, contact.y, contact.size, contact.tip};
}

QVector<int> fields(const EraseContact& contact) {
    return {contact.id, contact.x, contact.y, contact.width, contact.height, contact.tip};
}

QVector<int> fields(const TouchStatus& status) {
    return {status.s0, status.s1, status.s2, status.s3, status.s4, status.s5};
}

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

} // namespace

class TestPackets : public QObject {
    Q_OBJECT

private slots:
    void a_report_is_of_one_kind_or_none_data();
    void a_report_is_of_one_kind_or_none();
    void a_byte_beyond_the_report_is_no_tag();
    void a_pen_report_fills_the_record_data();
    void a_pen_report_fills_the_record();
    void the_pen_decoder_does_not_ask_what_the_report_is();
    void a_touch_report_gives_its_whole_contacts_data();
    void a_touch_report_gives_its_whole_contacts();
    void a_finger_is_read_field_by_field_data();
    void a_finger_is_read_field_by_field();
    void an_erase_report_gives_its_whole_contacts_data();
    void an_erase_report_gives_its_whole_contacts();
    void an_eraser_is_read_field_by_field_data();
    void an_eraser_is_read_field_by_field();
    void contacts_are_appended_in_the_order_of_the_report();
    void a_touch_status_is_six_signed_bytes();
    void what_is_no_touch_status_leaves_the_record();
    void a_position_scales_by_width_and_height_data();
    void a_position_scales_by_width_and_height();
    void a_length_scales_by_the_width_alone();
    void a_dump_shows_name_and_bytes_data();
    void a_dump_shows_name_and_bytes();
};

void TestPackets::a_report_is_of_one_kind_or_none_data() {
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("kind");
    const auto row = [](const char* name, const QByteArray& packet, const char* kind) {
        QTest::newRow(name) << packet << QString::fromLatin1(kind);
    };

    row("pen", bytes({0x08, 0x21, 0, 0, 0, 0, 0, 0}), "pen");
    row("pen of 7 bytes", bytes({0x08, 0x21, 0, 0, 0, 0, 0}), "");
    row("pen of 9 bytes", bytes({0x08, 0x21, 0, 0, 0, 0, 0, 0, 0}), "");
    row("pen that claims 9 bytes", bytes({0x09, 0x21, 0, 0, 0, 0, 0, 0}), "");
    row("pen that claims 9 bytes and has them", bytes({0x09, 0x21, 0, 0, 0, 0, 0, 0, 0}), "");
    row("pen's neighbour", bytes({0x08, 0x22, 0, 0, 0, 0, 0, 0}), "");
    row("touch without a contact", bytes({0x02, 0x45}), "touch");
    row("touch of a pen's length", bytes({0x08, 0x45, 0, 0, 0, 0, 0, 0}), "touch");
    row("touch of 255 bytes", report(0x45, 255), "touch");
    row("touch's neighbour", bytes({0x02, 0x44}), "");
    row("erase without a contact", bytes({0x02, 0x46}), "erase");
    row("erase of a pen's length", bytes({0x08, 0x46, 0, 0, 0, 0, 0, 0}), "erase");
    row("erase of 255 bytes", report(0x46, 255), "erase");
    row("erase's neighbour", bytes({0x02, 0x47}), "");
    row("touch status", bytes({0x08, 0xA5, 0, 0, 0, 0, 0, 0}), "status");
    row("touch status, whatever byte 0", bytes({0xFF, 0xA5, 0, 0, 0, 0, 0, 0}), "status");
    row("touch status of 7 bytes", bytes({0x08, 0xA5, 0, 0, 0, 0, 0}), "");
    row("touch status of 9 bytes", bytes({0x08, 0xA5, 0, 0, 0, 0, 0, 0, 0}), "");
    row("touch status's neighbour", bytes({0x08, 0xA4, 0, 0, 0, 0, 0, 0}), "");
    row("tag in the wrong place", bytes({0x45, 0x08, 0x46, 0x45, 0x46, 0x45, 0x46, 0x45}), "");
    row("one byte", bytes({0x45}), "");
    row("nothing", QByteArray(), "");
}

void TestPackets::a_report_is_of_one_kind_or_none() {
    QFETCH(const QByteArray, packet);
    QFETCH(const QString, kind);
    const Exact exact(packet);
    QCOMPARE(TavelHardware::isPenPacket(exact.view), kind == QStringLiteral("pen"));
    QCOMPARE(TavelHardware::isTouchPacket(exact.view), kind == QStringLiteral("touch"));
    QCOMPARE(TavelHardware::isErasePacket(exact.view), kind == QStringLiteral("erase"));
    QCOMPARE(TavelHardware::isTouchStatusPacket(exact.view), kind == QStringLiteral("status"));
}

void TestPackets::a_byte_beyond_the_report_is_no_tag() {
    const char touch[] = {0x02, 0x45};
    QVERIFY(!TavelHardware::isTouchPacket(QByteArray::fromRawData(touch, 1)));
    const char erase[] = {0x02, 0x46};
    QVERIFY(!TavelHardware::isErasePacket(QByteArray::fromRawData(erase, 1)));
}

void TestPackets::a_pen_report_fills_the_record_data() {
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QVector<int>>("expected");
    const auto row = [](const char* name, const QByteArray& packet, const QVector<int>& expected) {
        QTest::newRow(name) << packet << expected;
    };
    const auto state = [](int value, const QVector<int>& expected) {
        QTest::addRow("state 0x%02X", value)
            << bytes({0x08, 0x21, 0, 0, 0, 0, 0, value}) << expected;
    };

    row("low byte first", bytes({0x08, 0x21, 0, 0x34, 0x12, 0x78, 0x56, 0}),
        {0, 0x1234, 0x5678, 0, 0, 0});
    row("unsigned", bytes({0x08, 0x21, 0, 0xFF, 0xFF, 0x00, 0x80, 0}), {0, 65535, 32768, 0, 0, 0});
    row("byte 2 is not read", bytes({0x08, 0x21, 0xFF, 1, 0, 2, 0, 0}), {0, 1, 2, 0, 0, 0});
    state(0x00, {0, 0, 0, 0, 0, 0});
    state(0x01, {0, 0, 0, 1, 0, 0});
    state(0x02, {0, 0, 0, 0, 1, 0});
    state(0x04, {0, 0, 0, 0, 0, 1});
    state(0x08, {1, 0, 0, 0, 0, 0});
    state(0x40, {8, 0, 0, 0, 0, 0});
    state(0x7F, {15, 0, 0, 1, 1, 1});
    state(0x80, {0, 0, 0, 0, 0, 0});
    state(0xFF, {15, 0, 0, 1, 1, 1});
}

void TestPackets::a_pen_report_fills_the_record() {
    QFETCH(const QByteArray, packet);
    QFETCH(const QVector<int>, expected);
    const Exact exact(packet);
    QVERIFY(TavelHardware::isPenPacket(exact.view));
    for (PenEvent event : {PenEvent{}, PenEvent{99, 99, 99, true, true, true}}) {
        TavelHardware::getPenData(exact.view, event);
        QCOMPARE(fields(event), expected);
    }
}

void TestPackets::the_pen_decoder_does_not_ask_what_the_report_is() {
    PenEvent event;
    TavelHardware::getPenData(bytes({0, 0, 0, 0x34, 0x12, 0x78, 0x56, 0x29, 0}), event);
    QCOMPARE(fields(event), QVector<int>({5, 0x1234, 0x5678, 1, 0, 0}));
}

void TestPackets::a_touch_report_gives_its_whole_contacts_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("count");
    for (const int length : {0, 1, 2, 3, 8}) {
        QTest::addRow("%d bytes", length) << length << 0;
    }
    QTest::newRow("9 bytes") << 9 << 1;
    QTest::newRow("15 bytes") << 15 << 1;
    QTest::newRow("16 bytes") << 16 << 2;
    QTest::newRow("17 bytes, one to spare") << 17 << 2;
    QTest::newRow("22 bytes, six to spare") << 22 << 2;
    QTest::newRow("255 bytes") << 255 << 36;
}

void TestPackets::a_touch_report_gives_its_whole_contacts() {
    QFETCH(const int, length);
    QFETCH(const int, count);
    const Exact exact(report(0x45, length));
    TavelHardware::TouchEvent contacts;
    TavelHardware::getTouchData(exact.view, contacts);
    QCOMPARE(contacts.size(), count);
    for (const TouchContact& contact : contacts) {
        QCOMPARE(fields(contact), QVector<int>({1, 0x0101, 0x0101, 0x0101, 0}));
    }
}

void TestPackets::a_finger_is_read_field_by_field_data() {
    QTest::addColumn<QByteArray>("contact");
    QTest::addColumn<QVector<int>>("expected");
    QTest::newRow("low byte first") << bytes({0x01, 0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A})
                                    << QVector<int>{1, 0x1234, 0x5678, 0x9ABC, 0};
    QTest::newRow("unsigned") << bytes({0x00, 0xFF, 0xFF, 0x00, 0x80, 0xFE, 0xFF})
                              << QVector<int>{0, 65535, 32768, 65534, 0};
    QTest::newRow("down") << bytes({0x85, 0, 0, 0, 0, 0, 0}) << QVector<int>{5, 0, 0, 0, 1};
    QTest::newRow("highest id, up")
        << bytes({0x7F, 0, 0, 0, 0, 0, 0}) << QVector<int>{127, 0, 0, 0, 0};
    QTest::newRow("id 0, down") << bytes({0x80, 0, 0, 0, 0, 0, 0}) << QVector<int>{0, 0, 0, 0, 1};
}

void TestPackets::a_finger_is_read_field_by_field() {
    QFETCH(const QByteArray, contact);
    QFETCH(const QVector<int>, expected);
    const Exact exact(bytes({0x09, 0x45}) + contact);
    TavelHardware::TouchEvent contacts;
    TavelHardware::getTouchData(exact.view, contacts);
    QCOMPARE(contacts.size(), 1);
    QCOMPARE(fields(contacts.first()), expected);
}

void TestPackets::an_erase_report_gives_its_whole_contacts_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("count");
    for (const int length : {0, 1, 2, 3, 9, 10}) {
        QTest::addRow("%d bytes", length) << length << 0;
    }
    QTest::newRow("11 bytes") << 11 << 1;
    QTest::newRow("12 bytes, one to spare") << 12 << 1;
    QTest::newRow("19 bytes, eight to spare") << 19 << 1;
    QTest::newRow("20 bytes") << 20 << 2;
    QTest::newRow("255 bytes") << 255 << 28;
}

void TestPackets::an_erase_report_gives_its_whole_contacts() {
    QFETCH(const int, length);
    QFETCH(const int, count);
    const Exact exact(report(0x46, length));
    TavelHardware::EraseEvent contacts;
    TavelHardware::getEraseData(exact.view, contacts);
    QCOMPARE(contacts.size(), count);
    for (const EraseContact& contact : contacts) {
        QCOMPARE(fields(contact), QVector<int>({1, 0x0101, 0x0101, 0x0101, 0x0101, 0}));
    }
}

void TestPackets::an_eraser_is_read_field_by_field_data() {
    QTest::addColumn<QByteArray>("contact");
    QTest::addColumn<QVector<int>>("expected");
    QTest::newRow("low byte first") << bytes({0x01, 0x34, 0x12, 0x78, 0x56, 0xBC, 0x9A, 0xF0, 0xDE})
                                    << QVector<int>{1, 0x1234, 0x5678, 0x9ABC, 0xDEF0, 0};
    QTest::newRow("unsigned") << bytes({0x00, 0xFF, 0xFF, 0x00, 0x80, 0xFE, 0xFF, 0x01, 0x80})
                              << QVector<int>{0, 65535, 32768, 65534, 32769, 0};
    QTest::newRow("down") << bytes({0x85, 0, 0, 0, 0, 0, 0, 0, 0})
                          << QVector<int>{5, 0, 0, 0, 0, 1};
    QTest::newRow("highest id, up")
        << bytes({0x7F, 0, 0, 0, 0, 0, 0, 0, 0}) << QVector<int>{127, 0, 0, 0, 0, 0};
}

void TestPackets::an_eraser_is_read_field_by_field() {
    QFETCH(const QByteArray, contact);
    QFETCH(const QVector<int>, expected);
    const Exact exact(bytes({0x0B, 0x46}) + contact);
    TavelHardware::EraseEvent contacts;
    TavelHardware::getEraseData(exact.view, contacts);
    QCOMPARE(contacts.size(), 1);
    QCOMPARE(fields(contacts.first()), expected);
}

void TestPackets::contacts_are_appended_in_the_order_of_the_report() {
    TavelHardware::TouchEvent fingers{TouchContact{9, 0, 0, 0, false}};
    TavelHardware::getTouchData(bytes({0x10, 0x45, 0x83, 1, 0, 2, 0, 3, 0, 0x02, 4, 0, 5, 0, 6, 0}),
                                fingers);
    QCOMPARE(fingers.size(), 3);
    QCOMPARE(fields(fingers[0]), QVector<int>({9, 0, 0, 0, 0}));
    QCOMPARE(fields(fingers[1]), QVector<int>({3, 1, 2, 3, 1}));
    QCOMPARE(fields(fingers[2]), QVector<int>({2, 4, 5, 6, 0}));

    TavelHardware::EraseEvent erasers{EraseContact{9, 0, 0, 0, 0, false}};
    TavelHardware::getEraseData(
        bytes({0x14, 0x46, 0x83, 1, 0, 2, 0, 3, 0, 4, 0, 0x02, 5, 0, 6, 0, 7, 0, 8, 0}), erasers);
    QCOMPARE(erasers.size(), 3);
    QCOMPARE(fields(erasers[0]), QVector<int>({9, 0, 0, 0, 0, 0}));
    QCOMPARE(fields(erasers[1]), QVector<int>({3, 1, 2, 3, 4, 1}));
    QCOMPARE(fields(erasers[2]), QVector<int>({2, 5, 6, 7, 8, 0}));
}

void TestPackets::a_touch_status_is_six_signed_bytes() {
    const Exact exact(bytes({0xFF, 0xA5, 0xFF, 0x80, 0x7F, 0x00, 0x01, 0xFE}));
    TouchStatus status;
    TavelHardware::getTouchStatusData(exact.view, status);
    QCOMPARE(fields(status), QVector<int>({-1, -128, 127, 0, 1, -2}));
}

void TestPackets::what_is_no_touch_status_leaves_the_record() {
    for (const QByteArray& packet :
         {QByteArray(), report(0xA5, 7), report(0xA5, 9), report(0xA4, 8), report(0x21, 8)}) {
        const Exact exact(packet);
        TouchStatus status{1, 2, 3, 4, 5, 6};
        TavelHardware::getTouchStatusData(exact.view, status);
        QCOMPARE(fields(status), QVector<int>({1, 2, 3, 4, 5, 6}));
    }
}

void TestPackets::a_position_scales_by_width_and_height_data() {
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<QPoint>("pixel");
    const QRect full(0, 0, 1920, 1080);
    QTest::newRow("first unit") << full << QPoint(0, 0) << QPoint(0, 0);
    QTest::newRow("last unit, one past the last pixel")
        << full << QPoint(32767, 32767) << QPoint(1920, 1080);
    QTest::newRow("middle") << full << QPoint(16383, 16383) << QPoint(959, 539);
    QTest::newRow("each axis by its own") << full << QPoint(32767, 0) << QPoint(1920, 0);
    QTest::newRow("beyond the board") << full << QPoint(65535, 65535) << QPoint(3840, 2160);
    QTest::newRow("cut toward zero") << full << QPoint(34, -34) << QPoint(1, -1);
    QTest::newRow("from the screen's own corner")
        << QRect(1920, -300, 1280, 1024) << QPoint(32767, 32767) << QPoint(1280, 1024);
    QTest::newRow("one pixel") << QRect(5, 5, 1, 1) << QPoint(32766, 32767) << QPoint(0, 1);
    QTest::newRow("no screen") << QRect() << QPoint(32767, 32767) << QPoint(0, 0);
    // A division in single precision gives 3583 here.
    QTest::newRow("finer than single precision") << full << QPoint(61148, 0) << QPoint(3582, 0);
    // 22197 * 1240 / 32767 is 840 to the unit. Double precision falls short of it.
    QTest::newRow("finer than double precision")
        << QRect(0, 0, 1240, 1240) << QPoint(22197, 22197) << QPoint(840, 840);
    if (std::numeric_limits<long double>::digits == 64) {
        // 23405 * 1400 / 32767 is 1000 to the unit, and extended precision is what falls short.
        QTest::newRow("no finer than extended precision")
            << QRect(0, 0, 1400, 1400) << QPoint(23405, 23405) << QPoint(999, 999);
    }
    QTest::newRow("too far for an int")
        << QRect(0, 0, 65536, 65536) << QPoint(kHighest, kLowest) << QPoint(kHighest, kLowest);
}

void TestPackets::a_position_scales_by_width_and_height() {
    QFETCH(const QRect, screen);
    QFETCH(const QPoint, position);
    QFETCH(const QPoint, pixel);
    TavelHardware hardware(nullptr);
    hardware.m_screen = screen;
    QCOMPARE(hardware.mapUSBPosToDevicePos(position), pixel);
    QCOMPARE(hardware.mapUSBValToDeviceVal(position.x()), pixel.x());
}

void TestPackets::a_length_scales_by_the_width_alone() {
    TavelHardware hardware(nullptr);
    for (const int height : {1, 1080, 4000}) {
        hardware.m_screen = QRect(100, 200, 1920, height);
        QCOMPARE(hardware.mapUSBValToDeviceVal(32767), 1920);
        QCOMPARE(hardware.mapUSBValToDeviceVal(16383), 959);
    }
}

void TestPackets::a_dump_shows_name_and_bytes_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("packet");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const QByteArray& packet, const char* text) {
        QTest::newRow(text) << QString::fromLatin1(name) << packet << QString::fromLatin1(text);
    };
    row("pen", bytes({8, 33}), "Dump Packet (pen): 8, 33, ");
    row("touch", QByteArray(), "Dump Packet (touch): ");
    row("", bytes({0, 255}), "Dump Packet (): 0, 255, ");
    row("%1", bytes({1}), "Dump Packet (%1): 1, ");
}

void TestPackets::a_dump_shows_name_and_bytes() {
    QFETCH(const QString, name);
    QFETCH(const QByteArray, packet);
    QFETCH(const QString, text);
    const Exact exact(packet);
    QCOMPARE(TavelHardware::dumpPacket(
                 name, reinterpret_cast<const unsigned char*>(exact.block.get()), packet.size()),
             text);
    QCOMPARE(TavelHardware::dumpPacket(QStringLiteral("none"), nullptr, 0),
             QStringLiteral("Dump Packet (none): "));
}

QTEST_GUILESS_MAIN(TestPackets)
#include "tst_packets.moc"
