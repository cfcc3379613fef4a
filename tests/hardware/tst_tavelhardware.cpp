#include "hardware/tavelhardware.h"

#include <QGuiApplication>
#include <QMetaType>
#include <QPointer>
#include <QScreen>
#include <QtTest>
#include <memory>
#include <type_traits>

using DeviceInfo = TavelHardware::DeviceInfo;
using PenEvent = TavelHardware::PenEvent;
using TouchContact = TavelHardware::TouchContact;
using EraseContact = TavelHardware::EraseContact;
using TouchStatus = TavelHardware::TouchStatus;

static_assert(std::is_aggregate_v<DeviceInfo> && std::is_aggregate_v<PenEvent> &&
              std::is_aggregate_v<TouchContact> && std::is_aggregate_v<EraseContact> &&
              std::is_aggregate_v<TouchStatus>);
static_assert(std::is_same_v<TavelHardware::TouchEvent, QList<TouchContact>>);
static_assert(std::is_same_v<TavelHardware::EraseEvent, QList<EraseContact>>);

static_assert(sizeof(TavelHardware::PenReportMode) == 1 &&
              sizeof(TavelHardware::PenHardwareMode) == 1 &&
              sizeof(TavelHardware::TouchReportMode) == 1 &&
              sizeof(TavelHardware::EraseReportMode) == 1);
static_assert(static_cast<unsigned char>(TavelHardware::PenReportMode::Off) == 0);
static_assert(static_cast<unsigned char>(TavelHardware::PenReportMode::On) == 1);
static_assert(static_cast<unsigned char>(TavelHardware::PenHardwareMode::Standard) == 2);
static_assert(static_cast<unsigned char>(TavelHardware::TouchReportMode::Off) == 0);
static_assert(static_cast<unsigned char>(TavelHardware::TouchReportMode::On) == 1);
static_assert(static_cast<unsigned char>(TavelHardware::EraseReportMode::Off) == 0);
static_assert(static_cast<unsigned char>(TavelHardware::EraseReportMode::On) == 1);

namespace {

const char* const kTypes[] = {
    "TavelHardware::DeviceInfo",  "TavelHardware::TouchContact", "TavelHardware::TouchEvent",
    "TavelHardware::TouchStatus", "TavelHardware::PenEvent",     "TavelHardware::EraseContact",
    "TavelHardware::EraseEvent",
};

int s_argc = 1;
char s_name[] = "tst_tavelhardware";
char* s_argv[] = {s_name, nullptr};

/// What the toolkit makes of the record on its way through a queue.
template <typename Record>
std::shared_ptr<Record> copied(const char* type, const Record& record) {
    const int id = QMetaType::type(type);
    return {static_cast<Record*>(QMetaType::create(id, &record)),
            [id](Record* copy) { QMetaType::destroy(id, copy); }};
}

template <typename Record>
std::shared_ptr<Record> made(const char* type) {
    const int id = QMetaType::type(type);
    return {static_cast<Record*>(QMetaType::create(id)),
            [id](Record* record) { QMetaType::destroy(id, record); }};
}

class Receiver : public QObject {
    Q_OBJECT

public:
    PenEvent m_pen;
    TavelHardware::EraseEvent m_erasers;

    Q_INVOKABLE void takePen(const TavelHardware::PenEvent& event) { m_pen = event; }
    Q_INVOKABLE void takeErasers(const TavelHardware::EraseEvent& event) { m_erasers = event; }
};

} // namespace

/// Runs without an application object: each test that wants one makes its own.
class TestTavelHardware : public QObject {
    Q_OBJECT

private slots:
    void the_constructor_registers_the_records_in_their_order(); // first, while none is registered
    void plain_records_are_constructed_and_destroyed_but_not_moved_data();
    void plain_records_are_constructed_and_destroyed_but_not_moved();
    void a_second_object_finds_the_records_registered();
    void the_toolkit_copies_a_record_whole();
    void the_toolkit_makes_an_empty_record();
    void a_record_passes_through_an_event_queue();
    void the_fields_stand_in_their_order();
    void without_an_application_there_is_no_screen();
    void without_a_gui_there_is_no_screen();
    void the_screen_is_measured_once();
    void the_parent_owns_it();
};

void TestTavelHardware::the_constructor_registers_the_records_in_their_order() {
    for (const char* const type : kTypes) {
        QCOMPARE(QMetaType::type(type), int(QMetaType::UnknownType));
    }
    TavelHardware hardware(nullptr);
    int previous = QMetaType::User - 1;
    for (const char* const type : kTypes) {
        const int id = QMetaType::type(type);
        QVERIFY2(id > previous, type);
        QCOMPARE(QMetaType::typeName(id), type);
        previous = id;
    }
}

void TestTavelHardware::plain_records_are_constructed_and_destroyed_but_not_moved_data() {
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<int>("size");
    const auto row = [](const char* type, int size) {
        QTest::newRow(type) << QByteArray(type) << size;
    };
    row("TavelHardware::DeviceInfo", sizeof(DeviceInfo));
    row("TavelHardware::TouchContact", sizeof(TouchContact));
    row("TavelHardware::TouchStatus", sizeof(TouchStatus));
    row("TavelHardware::PenEvent", sizeof(PenEvent));
    row("TavelHardware::EraseContact", sizeof(EraseContact));
}

void TestTavelHardware::plain_records_are_constructed_and_destroyed_but_not_moved() {
    QFETCH(const QByteArray, type);
    QFETCH(const int, size);
    const QMetaType::TypeFlags flags = QMetaType::typeFlags(QMetaType::type(type));
    QVERIFY(flags.testFlag(QMetaType::NeedsConstruction));
    QVERIFY(flags.testFlag(QMetaType::NeedsDestruction));
    QVERIFY(!flags.testFlag(QMetaType::MovableType));
    QCOMPARE(QMetaType::sizeOf(QMetaType::type(type)), size);
}

void TestTavelHardware::a_second_object_finds_the_records_registered() {
    const int first = QMetaType::type("TavelHardware::DeviceInfo");
    const int last = QMetaType::type("TavelHardware::EraseEvent");
    TavelHardware hardware(nullptr);
    QCOMPARE(QMetaType::type("TavelHardware::DeviceInfo"), first);
    QCOMPARE(QMetaType::type("TavelHardware::EraseEvent"), last);
    // The toolkit's own idea of the record's type is the same one.
    QCOMPARE(qRegisterMetaType<PenEvent>("TavelHardware::PenEvent"),
             QMetaType::type("TavelHardware::PenEvent"));
}

void TestTavelHardware::the_toolkit_copies_a_record_whole() {
    const QString hid = QStringLiteral("H") + QString::number(1); // on the heap
    const auto info = copied("TavelHardware::DeviceInfo", DeviceInfo{hid, 1, 2, 3, 4, 5});
    QCOMPARE(info->hid, hid);
    QCOMPARE(info->vid, 1);
    QCOMPARE(info->xl, 5);
    const auto pen = copied("TavelHardware::PenEvent", PenEvent{1, 2, 3, true, false, true});
    QCOMPARE(pen->id, 1);
    QVERIFY(pen->button0 && !pen->button1 && pen->button2);
    const auto finger = copied("TavelHardware::TouchContact", TouchContact{1, 2, 3, 4, true});
    QVERIFY(finger->id == 1 && finger->size == 4 && finger->tip);
    const auto eraser = copied("TavelHardware::EraseContact", EraseContact{1, 2, 3, 4, 5, true});
    QVERIFY(eraser->id == 1 && eraser->height == 5 && eraser->tip);
    const auto status = copied("TavelHardware::TouchStatus", TouchStatus{1, 2, 3, 4, 5, 6});
    QVERIFY(status->s0 == 1 && status->s5 == 6);
    const auto fingers = copied("TavelHardware::TouchEvent", TavelHardware::TouchEvent{*finger});
    QCOMPARE(fingers->size(), 1);
    QCOMPARE(fingers->first().size, 4);
}

void TestTavelHardware::the_toolkit_makes_an_empty_record() {
    const auto info = made<DeviceInfo>("TavelHardware::DeviceInfo");
    QVERIFY(info->hid.isEmpty());
    QVERIFY(info->vid == 0 && info->pid == 0 && info->xp == 0 && info->xt == 0 && info->xl == 0);
    const auto pen = made<PenEvent>("TavelHardware::PenEvent");
    QVERIFY(pen->id == 0 && pen->x == 0 && pen->y == 0);
    QVERIFY(!pen->button0 && !pen->button1 && !pen->button2);
    QVERIFY(made<TavelHardware::TouchEvent>("TavelHardware::TouchEvent")->isEmpty());
}

void TestTavelHardware::a_record_passes_through_an_event_queue() {
    QCoreApplication application(s_argc, s_argv);
    Receiver receiver;
    QVERIFY(QMetaObject::invokeMethod(&receiver, "takePen", Qt::QueuedConnection,
                                      Q_ARG(TavelHardware::PenEvent, (PenEvent{7, 8, 9}))));
    const TavelHardware::EraseEvent erasers{EraseContact{1, 2, 3, 4, 5, true}, EraseContact{}};
    QVERIFY(QMetaObject::invokeMethod(&receiver, "takeErasers", Qt::QueuedConnection,
                                      Q_ARG(TavelHardware::EraseEvent, erasers)));
    QCOMPARE(receiver.m_pen.id, 0);
    QCoreApplication::sendPostedEvents(&receiver);
    QCOMPARE(receiver.m_pen.id, 7);
    QCOMPARE(receiver.m_pen.y, 9);
    QCOMPARE(receiver.m_erasers.size(), 2);
    QCOMPARE(receiver.m_erasers.first().height, 5);
}

void TestTavelHardware::the_fields_stand_in_their_order() {
    const DeviceInfo info{QStringLiteral("H1"), 1, 2, 3, 4, 5};
    QCOMPARE(info.hid, QStringLiteral("H1"));
    QVERIFY(info.vid == 1 && info.pid == 2 && info.xp == 3 && info.xt == 4 && info.xl == 5);
    const PenEvent pen{1, 2, 3, true, false, false};
    QVERIFY(pen.id == 1 && pen.x == 2 && pen.y == 3 && pen.button0);
    QVERIFY((PenEvent{0, 0, 0, false, true, false}.button1));
    QVERIFY((PenEvent{0, 0, 0, false, false, true}.button2));
    const TouchContact finger{1, 2, 3, 4, true};
    QVERIFY(finger.id == 1 && finger.x == 2 && finger.y == 3 && finger.size == 4 && finger.tip);
    const EraseContact eraser{1, 2, 3, 4, 5, true};
    QVERIFY(eraser.id == 1 && eraser.x == 2 && eraser.y == 3 && eraser.width == 4);
    QVERIFY(eraser.height == 5 && eraser.tip);
    const TouchStatus status{1, 2, 3, 4, 5, 6};
    QVERIFY(status.s0 == 1 && status.s1 == 2 && status.s2 == 3);
    QVERIFY(status.s3 == 4 && status.s4 == 5 && status.s5 == 6);
}

void TestTavelHardware::without_an_application_there_is_no_screen() {
    QVERIFY(QCoreApplication::instance() == nullptr);
    const TavelHardware hardware(nullptr);
    QVERIFY(hardware.m_screen.isEmpty());
    QCOMPARE(hardware.mapUSBPosToDevicePos({32767, 32767}), QPoint(0, 0));
    QCOMPARE(hardware.mapUSBValToDeviceVal(32767), 0);
}

void TestTavelHardware::without_a_gui_there_is_no_screen() {
    QCoreApplication application(s_argc, s_argv);
    const TavelHardware hardware(nullptr);
    QVERIFY(hardware.m_screen.isEmpty());
    QCOMPARE(hardware.mapUSBPosToDevicePos({32767, 32767}), QPoint(0, 0));
}

void TestTavelHardware::the_screen_is_measured_once() {
    // Not the offscreen platform: it never frees its screen, and the leak check is right to tell.
    char option[] = "-platform";
    char platform[] = "minimal";
    char* arguments[] = {s_name, option, platform, nullptr};
    int count = 3;
    auto application = std::make_unique<QGuiApplication>(count, arguments);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    QVERIFY(!screen.isEmpty());
    const TavelHardware hardware(nullptr);
    QCOMPARE(hardware.m_screen, screen);
    application.reset();
    QCOMPARE(hardware.mapUSBPosToDevicePos({32767, 32767}),
             QPoint(screen.width(), screen.height()));
    QCOMPARE(hardware.mapUSBValToDeviceVal(32767), screen.width());
}

void TestTavelHardware::the_parent_owns_it() {
    auto parent = std::make_unique<QObject>();
    const QPointer<TavelHardware> hardware = new TavelHardware(parent.get());
    QCOMPARE(hardware->parent(), parent.get());
    parent.reset();
    QVERIFY(hardware.isNull());
}

QTEST_APPLESS_MAIN(TestTavelHardware)
#include "tst_tavelhardware.moc"
