// The entry points of the library. What the program is told: 1 where something has been done, 0
// where not; -1 where that is what stands for failure.

#include "drivers/entrypoints.h"

#include "drivers/simulated/calllog.h"
#include "drivers/simulated/simulateddriver.h"

#include <algorithm>

namespace {

constexpr int kDone = 1;
constexpr int kNotDone = 0;
constexpr int kFailed = -1;

template <typename Function>
const void* addressOf(Function* function) {
    return reinterpret_cast<const void*>(function);
}

std::shared_ptr<Session> session() {
    return SimulatedDriver::instance().session();
}

int doneIf(bool done) {
    return done ? kDone : kNotDone;
}

template <typename Use>
bool withBoard(int device, Use use) {
    const auto boards = session();
    return boards && boards->withBoard(device, use);
}

bool hasBoard(int device) {
    return withBoard(device, [](Board&) {});
}

int set(int device, BoardSetting setting, int value) {
    return doneIf(withBoard(device, [=](Board& board) { board.set(setting, value); }));
}

int get(int device, BoardSetting setting, int missing) {
    int value = missing;
    withBoard(device, [setting, &value](Board& board) { value = board.get(setting); });
    return value;
}

int setPenDestination(int device, unsigned char pen, bool flag, unsigned char destination) {
    return doneIf(
        withBoard(device, [=](Board& board) { board.setPenDestination(pen, flag, destination); }));
}

int send(int device, const unsigned char* data, unsigned char length, bool isReport) {
    const auto boards = session();
    if (!boards || (data == nullptr && length != 0))
        return kNotDone;
    return doneIf(boards->send(device, ReportBytes(data, data + length), isReport));
}

} // namespace

int tavelAttach() {
    logCall(__func__);
    return doneIf(SimulatedDriver::instance().attach());
}

int tavelDetach() {
    logCall(__func__);
    return doneIf(SimulatedDriver::instance().detach());
}

int tavelInterface() {
    logCall(__func__);
    return kDone;
}

int tavelSetCallback(int device, TavelPacketCallback callback, void* context) {
    logCall(
        __func__,
        {{"device", device}, {"callback", addressOf(callback)}, {"context", addressOf(context)}});
    const auto boards = session();
    return doneIf(boards && boards->setCallback(device, callback, context));
}

int tavelClearCallback(int device, TavelPacketCallback callback, void* context) {
    logCall(
        __func__,
        {{"device", device}, {"callback", addressOf(callback)}, {"context", addressOf(context)}});
    const auto boards = session();
    return doneIf(boards && boards->clearCallback(device, callback, context));
}

int tavelSetPnpCallback(TavelPnpCallback callback, void* context) {
    logCall(__func__, {{"callback", addressOf(callback)}, {"context", addressOf(context)}});
    const auto boards = session();
    if (!boards)
        return kNotDone;
    boards->setPnpCallback(callback, context);
    return doneIf(callback != nullptr);
}

int tavelSendCommand(int device, const char* command) {
    logCall(__func__, {{"device", device}, {"command", command}});
    const auto boards = session();
    if (!boards || command == nullptr)
        return kFailed;
    return boards->obey(device, command + std::string("\r")) ? kDone : kFailed;
}

int tavelWritePacket(int device, const void* data, int length) {
    logCall(__func__, {{"device", device}, {"data", data, length}, {"length", length}});
    const auto boards = session();
    if (!boards || length < 0 || (data == nullptr && length != 0))
        return kFailed;
    const std::string_view commands(static_cast<const char*>(data),
                                    static_cast<std::size_t>(length));
    return boards->obey(device, commands) ? length : kFailed;
}

int tavelSetXferMask(int device, unsigned char mask) {
    logCall(__func__, {{"device", device}, {"mask", mask}});
    return doneIf(withBoard(device, [mask](Board& board) { board.setMask(mask); }));
}

int tavelGetDeviceCount() {
    logCall(__func__);
    const auto boards = session();
    return boards ? boards->countBoards() : 0;
}

unsigned char tavelEnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) {
    logCall(__func__, {{"index", index}, {"info", addressOf(info)}});
    const auto boards = session();
    return boards && boards->describeBoard(index, info) ? kDone : kNotDone;
}

int tavelSetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                      unsigned char destination) {
    logCall(__func__,
            {{"device", device}, {"pen", pen}, {"flag", flag}, {"destination", destination}});
    return setPenDestination(device, pen, flag, destination);
}

int tavelSetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                        unsigned char destination, bool extra) {
    logCall(__func__, {{"device", device},
                       {"pen", pen},
                       {"flag", flag},
                       {"destination", destination},
                       {"extra", extra}});
    return setPenDestination(device, pen, flag, destination);
}

int tavelGetPointingDeviceDestination(int device, unsigned char pen, bool flag) {
    logCall(__func__, {{"device", device}, {"pen", pen}, {"flag", flag}});
    int destination = kFailed;
    withBoard(device,
              [=, &destination](Board& board) { destination = board.penDestination(pen, flag); });
    return destination;
}

int tavelSetTouchDestination(int device, unsigned char destination) {
    logCall(__func__, {{"device", device}, {"destination", destination}});
    return set(device, BoardSetting::TouchDestination, destination);
}

int tavelSetTouchDestinationEx(int device, unsigned char destination, bool extra) {
    logCall(__func__, {{"device", device}, {"destination", destination}, {"extra", extra}});
    return set(device, BoardSetting::TouchDestination, destination);
}

int tavelGetTouchDestination(int device) {
    logCall(__func__, {{"device", device}});
    return get(device, BoardSetting::TouchDestination, kFailed);
}

int tavelSetTouchEnabled(int device, bool enabled) {
    logCall(__func__, {{"device", device}, {"enabled", enabled}});
    return set(device, BoardSetting::TouchEnabled, enabled);
}

unsigned char tavelGetTouchEnabled(int device) {
    logCall(__func__, {{"device", device}});
    return static_cast<unsigned char>(get(device, BoardSetting::TouchEnabled, kNotDone));
}

int tavelSetTouchSystemRedirectionEnabled(int device, bool enabled) {
    logCall(__func__, {{"device", device}, {"enabled", enabled}});
    return set(device, BoardSetting::TouchSystemRedirection, enabled);
}

unsigned char tavelGetTouchSystemRedirectionEnabled(int device) {
    logCall(__func__, {{"device", device}});
    return static_cast<unsigned char>(get(device, BoardSetting::TouchSystemRedirection, kNotDone));
}

int tavelSetLATEDetection(int device, unsigned char value) {
    logCall(__func__, {{"device", device}, {"value", value}});
    return set(device, BoardSetting::LateDetection, value);
}

int tavelGetLATEDetection(int device) {
    logCall(__func__, {{"device", device}});
    return get(device, BoardSetting::LateDetection, kFailed);
}

int tavelIsSomethingOnBoard(int device) {
    logCall(__func__, {{"device", device}});
    bool isTouched = false;
    withBoard(device, [&isTouched](Board& board) { isTouched = board.isTouched(); });
    return isTouched ? 1 : 0;
}

int tavelSetTwoFingerScroll(int device, unsigned char value) {
    logCall(__func__, {{"device", device}, {"value", value}});
    return set(device, BoardSetting::TwoFingerScroll, value);
}

int tavelOpenSynchronousChannel(int device, TavelPacketCallback callback, void* context) {
    logCall(
        __func__,
        {{"device", device}, {"callback", addressOf(callback)}, {"context", addressOf(context)}});
    const auto boards = session();
    return boards && hasBoard(device) ? boards->channels().open(device, callback, context)
                                      : kFailed;
}

int tavelCloseSynchronousChannel(int device, int channel) {
    logCall(__func__, {{"device", device}, {"channel", channel}});
    const auto boards = session();
    return doneIf(boards && boards->channels().close(device, channel));
}

int tavelReadSynchronousPacket(int device, int channel, void* buffer, int length,
                               unsigned int timeout) {
    logCall(__func__, {{"device", device},
                       {"channel", channel},
                       {"buffer", addressOf(buffer)},
                       {"length", length},
                       {"timeout", timeout}});
    const auto boards = session();
    return boards ? boards->channels().read(device, channel, buffer, length,
                                            std::chrono::milliseconds(timeout))
                  : kFailed;
}

int tavelSetCalibrationMode(int device, unsigned char mode) {
    logCall(__func__, {{"device", device}, {"mode", mode}});
    return set(device, BoardSetting::CalibrationMode, mode);
}

int tavelSetCalibrationData(int device, void* data) {
    logCall(__func__, {{"device", device}, {"data", addressOf(data)}});
    return doneIf(data != nullptr && hasBoard(device));
}

int tavelSetCalibrationDataEx(int device, unsigned char first, unsigned char second, void* data) {
    logCall(__func__,
            {{"device", device}, {"first", first}, {"second", second}, {"data", addressOf(data)}});
    return doneIf(data != nullptr && hasBoard(device));
}

int tavelSetWirelessCalibrationData(int device, void* data) {
    logCall(__func__, {{"device", device}, {"data", addressOf(data)}});
    return doneIf(data != nullptr && hasBoard(device));
}

int tavelGetCalibrationPoints(int device, int* first, int* second) {
    logCall(__func__,
            {{"device", device}, {"first", addressOf(first)}, {"second", addressOf(second)}});
    if (first == nullptr || second == nullptr || !hasBoard(device))
        return kNotDone;
    *first = 2; // points across, points down
    *second = 2;
    return kDone;
}

int tavelLibraryVersionNumber(unsigned char* first, unsigned char* second, unsigned int* third,
                              unsigned int* fourth) {
    logCall(__func__, {{"first", addressOf(first)},
                       {"second", addressOf(second)},
                       {"third", addressOf(third)},
                       {"fourth", addressOf(fourth)}});
    if (first == nullptr || second == nullptr || third == nullptr || fourth == nullptr)
        return kNotDone;
    *first = 1;
    *second = 0;
    *third = 0;
    *fourth = 0;
    return kDone;
}

int tavelLock() {
    logCall(__func__);
    return SimulatedDriver::instance().atDesk([](auto& desk) {
        ++desk.locks;
        return kDone;
    });
}

int tavelUnlock() {
    logCall(__func__);
    return SimulatedDriver::instance().atDesk([](auto& desk) {
        const bool isLocked = desk.locks > 0;
        desk.locks -= isLocked ? 1 : 0;
        return doneIf(isLocked);
    });
}

int tavelSerialConnect(int value) {
    logCall(__func__, {{"value", value}});
    return SimulatedDriver::instance().atDesk([](auto& desk) { return desk.serialConnected = 1; });
}

int tavelSerialDisconnect() {
    logCall(__func__);
    return SimulatedDriver::instance().atDesk([](auto& desk) {
        desk.serialConnected = 0;
        return kDone;
    });
}

int tavelSerialGetConnected(int& connected) {
    logCall(__func__, {{"connected", addressOf(&connected)}});
    connected = SimulatedDriver::instance().atDesk([](auto& desk) { return desk.serialConnected; });
    return kDone;
}

int tavelSerialSetStartupMode(int mode) {
    logCall(__func__, {{"mode", mode}});
    return SimulatedDriver::instance().atDesk([mode](auto& desk) {
        desk.serialStartupMode = mode;
        return kDone;
    });
}

int tavelSerialGetStartupMode() {
    logCall(__func__);
    return SimulatedDriver::instance().atDesk([](auto& desk) { return desk.serialStartupMode; });
}

int tavelSetDoubleClickDistance(int device, unsigned short distance) {
    logCall(__func__, {{"device", device}, {"distance", distance}});
    return set(device, BoardSetting::DoubleClickDistance, distance);
}

int tavelSetDriverDebugMode(int device, unsigned char mode, unsigned int value) {
    logCall(__func__, {{"device", device}, {"mode", mode}, {"value", value}});
    return doneIf(hasBoard(device));
}

int tavelEcho(int device, unsigned char length, const unsigned char* data) {
    logCall(__func__, {{"device", device}, {"length", length}, {"data", data, length}});
    return send(device, data, length, false);
}

int tavelInject(int device, unsigned char length, const unsigned char* data) {
    logCall(__func__, {{"device", device}, {"length", length}, {"data", data, length}});
    return send(device, data, length, true);
}

int tavelSendTouchPacketToSystem(int device, unsigned char length, const unsigned char* data) {
    logCall(__func__, {{"device", device}, {"length", length}, {"data", data, length}});
    return doneIf(data != nullptr && hasBoard(device));
}

int tavelReverseButtons(int device, bool reversed) {
    logCall(__func__, {{"device", device}, {"reversed", reversed}});
    return set(device, BoardSetting::ReversedButtons, reversed);
}
