#include "hardware/tavelhardware.h"

#include "hardware/tavelwrapper.h"

#include <QAbstractEventDispatcher>
#include <QGuiApplication>
#include <QMetaType>
#include <QScreen>
#include <QThread>
#include <QtEndian>
#include <algorithm>
#include <cstring>
#include <new>

namespace {

QRect primaryScreenGeometry() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? QRect() : screen->geometry();
}

/// Registers a plain record as one to be constructed and destroyed. qRegisterMetaType is not asked:
/// it would go by the compiler and call those records that hold no string movable.
template <typename Record>
void registerRecord(const char* name) {
    QMetaType::registerNormalizedType(
        name, [](void* record) { static_cast<Record*>(record)->~Record(); },
        [](void* where, const void* copy) -> void* {
            return copy == nullptr ? new (where) Record()
                                   : new (where) Record(*static_cast<const Record*>(copy));
        },
        sizeof(Record), QMetaType::NeedsConstruction | QMetaType::NeedsDestruction, nullptr);
}

// Commands are texts that end with a carriage return. Each has its numbers in decimal.
constexpr char cmdPenHardwareMode[] = ":PN";          // pen, mode
constexpr char cmdEraseReportMode[] = ":PL";          // 0 or 1
constexpr char cmdGlintray[] = ":GR";                 // 0 or 1
[[maybe_unused]] constexpr char cmdPenType[] = ":PK"; // for completeness
constexpr char kCommandEnd = '\r';

// Far more boards than there can be. A driver that counts more has gone wrong, and to ask it for
// each would keep the program busy for minutes.
constexpr int kMostBoards = 1 << 16;

constexpr unsigned char kEveryReport = 0xFF; // of the transfer mask

QByteArray flag(bool on) {
    return on ? "1" : "0";
}

/// What the driver tells of one board.
class DeviceInfoBlock {
public:
    DeviceInfoBlock() {
        qToLittleEndian(_TAVEL_DEVICE_INFO::kFormatTag,
                        m_block.bytes + _TAVEL_DEVICE_INFO::kFormatTagOffset);
    }

    _TAVEL_DEVICE_INFO* block() { return &m_block; }
    bool isUsable() const {
        return number(_TAVEL_DEVICE_INFO::kStateOffset) == _TAVEL_DEVICE_INFO::kStateUsable;
    }
    int device() const { return number(_TAVEL_DEVICE_INFO::kDeviceOffset); }
    /// Ends with the block where its own end is missing.
    QString additionalInfo() const {
        const char* const text = reinterpret_cast<const char*>(m_block.bytes) +
                                 _TAVEL_DEVICE_INFO::kAdditionalInfoOffset;
        const std::size_t longest =
            sizeof m_block.bytes - _TAVEL_DEVICE_INFO::kAdditionalInfoOffset;
        return QString::fromLatin1(text, static_cast<int>(strnlen(text, longest)));
    }

private:
    std::int32_t number(std::size_t offset) const {
        return qFromLittleEndian<std::int32_t>(m_block.bytes + offset);
    }

    _TAVEL_DEVICE_INFO m_block = {};
};

TavelHardware::DeviceInfo parsed(const QString& text) {
    const auto value = [&text](const char* key) {
        return TavelHardware::parseAdditionalInfoKeyValue(text, QString::fromLatin1(key));
    };
    return {value("hid"),
            value("vid").toInt(nullptr, 16),
            value("pid").toInt(nullptr, 16),
            value("xp").toInt(),
            value("xt").toInt(),
            value("xl").toInt()};
}

} // namespace

TavelHardware::TavelHardware(QObject* parent) : QObject(parent), m_screen(primaryScreenGeometry()) {
    registerRecord<DeviceInfo>("TavelHardware::DeviceInfo");
    registerRecord<TouchContact>("TavelHardware::TouchContact");
    qRegisterMetaType<TouchEvent>("TavelHardware::TouchEvent");
    registerRecord<TouchStatus>("TavelHardware::TouchStatus");
    registerRecord<PenEvent>("TavelHardware::PenEvent");
    registerRecord<EraseContact>("TavelHardware::EraseContact");
    qRegisterMetaType<EraseEvent>("TavelHardware::EraseEvent");
}

TavelHardware::~TavelHardware() {
    m_flow.stop(); // else the gate would wait for reports that wait
    m_gate.close();
    m_driver.reset(); // detaches and unloads, while the list of boards still stands
}

bool TavelHardware::init() {
    if (!initialiseTavelWrapper())
        return false;
    driver()->SetPnpCallback(pnpCallback, this);
    enumerate();
    return true;
}

bool TavelHardware::initialiseTavelWrapper() {
    if (!m_driver)
        m_driver = std::make_unique<TavelWrapper>();
    return static_cast<TavelWrapper&>(*m_driver).isLoaded();
}

void TavelHardware::uninit() {
    m_flow.stop();
    m_gate.close();
    if (!m_driver)
        return;
    driver()->ClearPnpCallback(pnpCallback, this);
    driver()->Detach();
}

void TavelHardware::startFlowControl() {
    const auto* const dispatcher = QAbstractEventDispatcher::instance(thread());
    if (dispatcher == nullptr)
        return;
    connect(dispatcher, &QAbstractEventDispatcher::awake, this,
            [this] { m_flow.turn(isLoopRunning()); });
    m_flow.start();
}

bool TavelHardware::isLoopRunning() const {
    return thread()->loopLevel() > 0;
}

void TavelHardware::enumerate() {
    run(Pass::Enumerate);
}

void TavelHardware::pnp() {
    run(Pass::PlugAndPlay);
}

void TavelHardware::pnpCallback(void* context) {
    if (const CallbackGate::Visit visit{context})
        static_cast<TavelHardware*>(context)->pnp();
}

/// Passes run one after the other. One that comes while another runs is not waited for, since the
/// driver may do just that: wait for its notice to return before it ends the call that the other
/// pass has made.
void TavelHardware::run(Pass pass) {
    std::unique_lock lock(m_passesMutex);
    m_passes.push_back(pass);
    if (m_passes.size() > 1)
        return;
    while (!m_passes.empty()) {
        const Pass next = m_passes.front();
        lock.unlock();
        if (next == Pass::PlugAndPlay)
            plugAndPlayPass();
        else
            enumerationPass();
        lock.lock();
        m_passes.pop_front();
    }
}

void TavelHardware::plugAndPlayPass() {
    if (m_driver) {
        for (const int device : devices())
            driver()->ClearCallback(device, processPacketCallback, this);
    }
    publish({});
    emit pnpEvent();
    enumerationPass();
}

void TavelHardware::enumerationPass() {
    if (!m_driver)
        return;
    driver()->Attach();
    const int count = driver()->GetDeviceCount();
    QList<int> found = devices();
    for (int i = 0; i < std::min(count, kMostBoards); ++i) {
        DeviceInfoBlock board;
        if (!driver()->EnumDeviceInfo(i, board.block()) || !board.isUsable())
            continue;
        driver()->SetCallback(board.device(), processPacketCallback, this);
        driver()->SetXferMask(board.device(), kEveryReport);
        found.append(board.device());
        emit deviceEnumerated(i, parsed(board.additionalInfo()));
    }
    publish(found);
    emit deviceEnumCount(count);
}

QList<int> TavelHardware::devices() const {
    const std::lock_guard lock(m_devicesMutex);
    return m_devices;
}

void TavelHardware::publish(const QList<int>& devices) {
    const std::lock_guard lock(m_devicesMutex);
    m_devices = devices;
}

QString TavelHardware::parseAdditionalInfoKeyValue(const QString& info, const QString& key) {
    const int at = info.indexOf(key);
    const int open = at < 0 ? -1 : info.indexOf(QLatin1Char('<'), at);
    const int close = open < 0 ? -1 : info.indexOf(QLatin1Char('>'), open);
    return close < 0 ? QString() : info.mid(open + 1, close - open - 1);
}

void TavelHardware::processPacketCallback(int, const unsigned char* data, unsigned int length,
                                          void* context) {
    // Some drivers wrap reports: three bytes before each, of which the second tells it.
    constexpr unsigned int wrapping = 3;
    constexpr unsigned char wrapping_tag = 0x41; // 'A'
    constexpr unsigned int shortest = 2;
    // Far more than any board has contacts for. A greater length is one gone wrong, and that much
    // need not be there to be read.
    constexpr unsigned int longest = 4096;
    if (data == nullptr || length < shortest || length > longest)
        return;
    const CallbackGate::Visit visit(context);
    if (!visit)
        return;
    const unsigned int skipped = data[1] == wrapping_tag && length >= wrapping ? wrapping : 0;
    const QByteArray packet(reinterpret_cast<const char*>(data + skipped),
                            static_cast<int>(length - skipped));
    static_cast<TavelHardware*>(context)->processPacket(packet);
}

void TavelHardware::processPacket(const QByteArray& packet) {
    if (isPenPacket(packet)) {
        PenEvent event;
        getPenData(packet, event);
        m_flow.admit();
        emit penEvent(event);
    } else if (isTouchPacket(packet)) {
        TouchEvent event;
        getTouchData(packet, event);
        m_flow.admit();
        emit touchEvent(event);
    } else if (isErasePacket(packet)) {
        EraseEvent event;
        getEraseData(packet, event);
        m_flow.admit();
        emit eraseEvent(event);
    } else if (isTouchStatusPacket(packet)) {
        TouchStatus status;
        getTouchStatusData(packet, status);
        emit touchStatus(m_touchStatusDevice, status);
    }
}

void TavelHardware::setPenReportMode(unsigned char pen, PenReportMode mode) {
    for (const int device : devices())
        driver()->SetPointingDeviceDestination(device, pen, false,
                                               static_cast<unsigned char>(mode));
}

void TavelHardware::setPenHardwareMode(unsigned char pen, PenHardwareMode mode) {
    sendToAll(cmdPenHardwareMode + QByteArray::number(pen) +
              QByteArray::number(static_cast<unsigned char>(mode)));
}

void TavelHardware::setTouchReportMode(TouchReportMode mode) {
    for (const int device : devices())
        driver()->SetTouchDestination(device, static_cast<unsigned char>(mode));
}

void TavelHardware::setEraseReportMode(EraseReportMode mode) {
    sendToAll(cmdEraseReportMode + flag(mode == EraseReportMode::On));
}

void TavelHardware::setGlintray(bool on) {
    sendToAll(cmdGlintray + flag(on));
}

void TavelHardware::sendToAll(const QByteArray& command) {
    for (const int device : devices())
        sendCommand(device, command + kCommandEnd);
}

bool TavelHardware::sendCommand(int device, const QByteArray& command) {
    return m_driver && driver()->WritePacket(device, command.constData(), command.size()) != -1;
}

void TavelHardware::getTouchStatus(int device) {
    m_touchStatusDevice = device;
    sendCommand(device, QByteArray(":QT") + kCommandEnd);
}
