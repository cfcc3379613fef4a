// A driver library without a driver: each entry point tells the program that loaded it how it was
// called, and returns what that program says. WITHOUT_EX and BARE leave entry points out.

#include <sstream>
#include <type_traits>

/// Defined by the program; `call` reads like the C++ that made it.
extern "C" int standin_called(const char* call);

namespace {

using PacketCallback = void (*)(int, const unsigned char*, unsigned int, void*);
using PnpCallback = void (*)(void*);

/// Pointers as numbers, so that made-up ones do: they are never followed.
template <typename Argument>
void write(std::ostream& text, Argument argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        text << "0x" << std::hex << reinterpret_cast<std::size_t>(argument) << std::dec;
    } else if constexpr (std::is_same_v<Argument, bool>) {
        text << (argument ? "true" : "false");
    } else {
        text << +argument;
    }
}

template <typename... Arguments>
int called(const char* name, Arguments... arguments) {
    std::ostringstream text;
    text << name << '(';
    [[maybe_unused]] const char* separator = "";
    ((text << separator, write(text, arguments), separator = ", "), ...);
    text << ')';
    return standin_called(text.str().c_str());
}

} // namespace

extern "C" {

#ifndef BARE
int tavelAttach() {
    return called("tavelAttach");
}
int tavelDetach() {
    return called("tavelDetach");
}
int tavelInterface() {
    return called("tavelInterface");
}
int tavelSetCallback(int device, PacketCallback callback, void* context) {
    return called("tavelSetCallback", device, callback, context);
}
int tavelClearCallback(int device, PacketCallback callback, void* context) {
    return called("tavelClearCallback", device, callback, context);
}
int tavelSetPnpCallback(PnpCallback callback, void* context) {
    return called("tavelSetPnpCallback", callback, context);
}
int tavelClearPnpCallback(PnpCallback callback, void* context) { // nobody is to look for it
    return called("tavelClearPnpCallback", callback, context);
}
int tavelSendCommand(int device, const char* command) {
    return called("tavelSendCommand", device, command);
}
int tavelWritePacket(int device, const void* data, int length) {
    return called("tavelWritePacket", device, data, length);
}
int tavelSetXferMask(int device, unsigned char mask) {
    return called("tavelSetXferMask", device, mask);
}
int tavelGetDeviceCount() {
    return called("tavelGetDeviceCount");
}
int tavelEnumDeviceInfo(int index, void* info) {
    return called("tavelEnumDeviceInfo", index, info);
}
int tavelSetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                      unsigned char destination) {
    return called("tavelSetPointingDeviceDestination", device, pen, flag, destination);
}
int tavelGetPointingDeviceDestination(int device, unsigned char pen, bool flag) {
    return called("tavelGetPointingDeviceDestination", device, pen, flag);
}
int tavelSetTouchDestination(int device, unsigned char destination) {
    return called("tavelSetTouchDestination", device, destination);
}
int tavelGetTouchDestination(int device) {
    return called("tavelGetTouchDestination", device);
}
int tavelSetTouchEnabled(int device, bool enabled) {
    return called("tavelSetTouchEnabled", device, enabled);
}
int tavelGetTouchEnabled(int device) {
    return called("tavelGetTouchEnabled", device);
}
int tavelSetTouchSystemRedirectionEnabled(int device, bool enabled) {
    return called("tavelSetTouchSystemRedirectionEnabled", device, enabled);
}
int tavelGetTouchSystemRedirectionEnabled(int device) {
    return called("tavelGetTouchSystemRedirectionEnabled", device);
}
int tavelSetLATEDetection(int device, unsigned char value) {
    return called("tavelSetLATEDetection", device, value);
}
int tavelGetLATEDetection(int device) {
    return called("tavelGetLATEDetection", device);
}
int tavelIsSomethingOnBoard(int device) {
    return called("tavelIsSomethingOnBoard", device);
}
int tavelSetTwoFingerScroll(int device, unsigned char value) {
    return called("tavelSetTwoFingerScroll", device, value);
}
int tavelOpenSynchronousChannel(int device, PacketCallback callback, void* context) {
    return called("tavelOpenSynchronousChannel", device, callback, context);
}
int tavelCloseSynchronousChannel(int device, int channel) {
    return called("tavelCloseSynchronousChannel", device, channel);
}
int tavelReadSynchronousPacket(int device, int channel, void* buffer, int length,
                               unsigned int timeout) {
    return called("tavelReadSynchronousPacket", device, channel, buffer, length, timeout);
}
int tavelSetCalibrationMode(int device, unsigned char mode) {
    return called("tavelSetCalibrationMode", device, mode);
}
int tavelSetCalibrationData(int device, void* data) {
    return called("tavelSetCalibrationData", device, data);
}
int tavelSetCalibrationDataEx(int device, unsigned char first, unsigned char second, void* data) {
    return called("tavelSetCalibrationDataEx", device, first, second, data);
}
int tavelSetWirelessCalibrationData(int device, void* data) {
    return called("tavelSetWirelessCalibrationData", device, data);
}
int tavelGetCalibrationPoints(int device, int* first, int* second) {
    return called("tavelGetCalibrationPoints", device, first, second);
}
int tavelGetHIDCoordinateReportMode(int device) { // nobody is to look for it
    return called("tavelGetHIDCoordinateReportMode", device);
}
int tavelSetHIDCoordinateReportMode(int device, unsigned char mode) { // nobody is to look for it
    return called("tavelSetHIDCoordinateReportMode", device, mode);
}
int tavelLibraryVersionNumber(unsigned char* first, unsigned char* second, unsigned int* third,
                              unsigned int* fourth) {
    return called("tavelLibraryVersionNumber", first, second, third, fourth);
}
int tavelLock() {
    return called("tavelLock");
}
int tavelUnlock() {
    return called("tavelUnlock");
}
int tavelSerialConnect(int value) {
    return called("tavelSerialConnect", value);
}
int tavelSerialDisconnect() {
    return called("tavelSerialDisconnect");
}
int tavelSerialGetConnected(int& connected) {
    return called("tavelSerialGetConnected", connected++);
}
int tavelSerialSetStartupMode(int mode) {
    return called("tavelSerialSetStartupMode", mode);
}
int tavelSerialGetStartupMode() {
    return called("tavelSerialGetStartupMode");
}
int tavelSetDoubleClickDistance(int device, unsigned short distance) {
    return called("tavelSetDoubleClickDistance", device, distance);
}
int tavelSetDriverDebugMode(int device, unsigned char mode, unsigned int value) {
    return called("tavelSetDriverDebugMode", device, mode, value);
}
int tavelEcho(int device, unsigned char length, const unsigned char* data) {
    return called("tavelEcho", device, length, data);
}
int tavelInject(int device, unsigned char length, const unsigned char* data) {
    return called("tavelInject", device, length, data);
}
int tavelSendTouchPacketToSystem(int device, unsigned char length, const unsigned char* data) {
    return called("tavelSendTouchPacketToSystem", device, length, data);
}
int tavelReverseButtons(int device, bool reversed) {
    return called("tavelReverseButtons", device, reversed);
}
#ifndef WITHOUT_EX
int tavelSetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                        unsigned char destination, bool extra) {
    return called("tavelSetPointingDeviceDestinationEx", device, pen, flag, destination, extra);
}
int tavelSetTouchDestinationEx(int device, unsigned char destination, bool extra) {
    return called("tavelSetTouchDestinationEx", device, destination, extra);
}
#endif
#else
int tavelOfAnotherMaker() {
    return called("tavelOfAnotherMaker");
}
#endif

} // extern "C"
