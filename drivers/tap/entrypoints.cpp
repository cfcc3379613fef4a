// The entry points of the library. Each passes its call on, and gives what the program takes in
// place of an entry point that there is not where the real driver lacks it.

#include "drivers/entrypoints.h"

#include "drivers/tap/tap.h"

namespace {

constexpr int kNothing = 0;
constexpr int kFailed = -1;
constexpr unsigned char kFalse = 0;
constexpr unsigned char kTrue = 1;

Tap& tap() {
    return Tap::instance();
}

const RealDriver& driver() {
    return tap().driver();
}

template <typename Result, typename... Parameters, typename... Arguments>
Result forward(Result (*entryPoint)(Parameters...), Result missing, Arguments&&... arguments) {
    return entryPoint == nullptr ? missing : entryPoint(std::forward<Arguments>(arguments)...);
}

} // namespace

int tavelAttach() {
    tap().setAttached(true);
    return forward(driver().Attach, kNothing);
}

int tavelDetach() {
    const int result = forward(driver().Detach, kNothing);
    tap().recorder().flush();
    tap().setAttached(false);
    return result;
}

int tavelInterface() {
    return forward(driver().Interface, kNothing);
}

int tavelSetCallback(int device, TavelPacketCallback callback, void* context) {
    const auto given = tap().interpose(device, callback, context);
    return forward(driver().SetCallback, kNothing, device, given.callback, given.context);
}

int tavelClearCallback(int device, TavelPacketCallback callback, void* context) {
    const auto given = tap().interposed(device, callback, context);
    return forward(driver().ClearCallback, kNothing, device, given.callback, given.context);
}

int tavelSetPnpCallback(TavelPnpCallback callback, void* context) {
    const auto given = tap().interpose(callback, context);
    return forward(driver().SetPnpCallback, kNothing, given.callback, given.context);
}

int tavelSendCommand(int device, const char* command) {
    return forward(driver().SendCommand, kFailed, device, command);
}

int tavelWritePacket(int device, const void* data, int length) {
    return forward(driver().WritePacket, kFailed, device, data, length);
}

int tavelSetXferMask(int device, unsigned char mask) {
    return forward(driver().SetXferMask, kNothing, device, mask);
}

int tavelGetDeviceCount() {
    const int count = forward(driver().GetDeviceCount, kNothing);
    tap().recorder().counted(count);
    return count;
}

unsigned char tavelEnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) {
    const unsigned char isTold = forward(driver().EnumDeviceInfo, kFalse, index, info);
    tap().recorder().described(index, isTold != kFalse ? info : nullptr);
    return isTold;
}

int tavelSetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                      unsigned char destination) {
    return forward(driver().SetPointingDeviceDestination, kNothing, device, pen, flag, destination);
}

int tavelSetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                        unsigned char destination, bool extra) {
    if (driver().SetPointingDeviceDestinationEx == nullptr)
        return forward(driver().SetPointingDeviceDestination, kNothing, device, pen, flag,
                       destination);
    return driver().SetPointingDeviceDestinationEx(device, pen, flag, destination, extra);
}

int tavelGetPointingDeviceDestination(int device, unsigned char pen, bool flag) {
    return forward(driver().GetPointingDeviceDestination, kFailed, device, pen, flag);
}

int tavelSetTouchDestination(int device, unsigned char destination) {
    return forward(driver().SetTouchDestination, kNothing, device, destination);
}

int tavelSetTouchDestinationEx(int device, unsigned char destination, bool extra) {
    if (driver().SetTouchDestinationEx == nullptr)
        return forward(driver().SetTouchDestination, kNothing, device, destination);
    return driver().SetTouchDestinationEx(device, destination, extra);
}

int tavelGetTouchDestination(int device) {
    return forward(driver().GetTouchDestination, kFailed, device);
}

int tavelSetTouchEnabled(int device, bool enabled) {
    return forward(driver().SetTouchEnabled, kNothing, device, enabled);
}

unsigned char tavelGetTouchEnabled(int device) {
    return forward(driver().GetTouchEnabled, kTrue, device);
}

int tavelSetTouchSystemRedirectionEnabled(int device, bool enabled) {
    return forward(driver().SetTouchSystemRedirectionEnabled, kNothing, device, enabled);
}

unsigned char tavelGetTouchSystemRedirectionEnabled(int device) {
    return forward(driver().GetTouchSystemRedirectionEnabled, kTrue, device);
}

int tavelSetLATEDetection(int device, unsigned char value) {
    return forward(driver().SetLATEDetection, kNothing, device, value);
}

int tavelGetLATEDetection(int device) {
    return forward(driver().GetLATEDetection, kFailed, device);
}

int tavelIsSomethingOnBoard(int device) {
    return forward(driver().IsSomethingOnBoard, kNothing, device);
}

int tavelSetTwoFingerScroll(int device, unsigned char value) {
    return forward(driver().SetTwoFingerScroll, kNothing, device, value);
}

int tavelOpenSynchronousChannel(int device, TavelPacketCallback callback, void* context) {
    return forward(driver().OpenSynchronousChannel, kFailed, device, callback, context);
}

int tavelCloseSynchronousChannel(int device, int channel) {
    return forward(driver().CloseSynchronousChannel, kNothing, device, channel);
}

int tavelReadSynchronousPacket(int device, int channel, void* buffer, int length,
                               unsigned int timeout) {
    return forward(driver().ReadSynchronousPacket, kFailed, device, channel, buffer, length,
                   timeout);
}

int tavelSetCalibrationMode(int device, unsigned char mode) {
    return forward(driver().SetCalibrationMode, kNothing, device, mode);
}

int tavelSetCalibrationData(int device, void* data) {
    return forward(driver().SetCalibrationData, kNothing, device, data);
}

int tavelSetCalibrationDataEx(int device, unsigned char first, unsigned char second, void* data) {
    return forward(driver().SetCalibrationDataEx, kNothing, device, first, second, data);
}

int tavelSetWirelessCalibrationData(int device, void* data) {
    return forward(driver().SetWirelessCalibrationData, kNothing, device, data);
}

int tavelGetCalibrationPoints(int device, int* first, int* second) {
    return forward(driver().GetCalibrationPoints, kNothing, device, first, second);
}

int tavelLibraryVersionNumber(unsigned char* first, unsigned char* second, unsigned int* third,
                              unsigned int* fourth) {
    return forward(driver().LibraryVersionNumber, kNothing, first, second, third, fourth);
}

int tavelLock() {
    return forward(driver().Lock, kNothing);
}

int tavelUnlock() {
    return forward(driver().Unlock, kNothing);
}

int tavelSerialConnect(int value) {
    return forward(driver().SerialConnect, kNothing, value);
}

int tavelSerialDisconnect() {
    return forward(driver().SerialDisconnect, kNothing);
}

int tavelSerialGetConnected(int& connected) {
    return forward(driver().SerialGetConnected, kNothing, connected);
}

int tavelSerialSetStartupMode(int mode) {
    return forward(driver().SerialSetStartupMode, kNothing, mode);
}

int tavelSerialGetStartupMode() {
    return forward(driver().SerialGetStartupMode, kNothing);
}

int tavelSetDoubleClickDistance(int device, unsigned short distance) {
    return forward(driver().SetDoubleClickDistance, kNothing, device, distance);
}

int tavelSetDriverDebugMode(int device, unsigned char mode, unsigned int value) {
    return forward(driver().SetDriverDebugMode, kNothing, device, mode, value);
}

int tavelEcho(int device, unsigned char length, const unsigned char* data) {
    return forward(driver().Echo, kNothing, device, length, data);
}

int tavelInject(int device, unsigned char length, const unsigned char* data) {
    return forward(driver().Inject, kNothing, device, length, data);
}

int tavelSendTouchPacketToSystem(int device, unsigned char length, const unsigned char* data) {
    return forward(driver().SendTouchPacketToSystem, kNothing, device, length, data);
}

int tavelReverseButtons(int device, bool reversed) {
    return forward(driver().ReverseButtons, kNothing, device, reversed);
}
