#include "hardware/tavelwrapper.h"

#include <cstdio>
#include <dlfcn.h>
#include <utility>

namespace {

constexpr char kLibrary[] = "libtavelboardex.so.1";

// What comes back where the driver does not have the operation.
constexpr int kNothing = 0;
constexpr int kFailed = -1;
constexpr unsigned char kFalse = 0;
constexpr unsigned char kTrue = 1;

template <typename Result, typename... Parameters, typename... Arguments>
Result forward(const std::atomic<Result (*)(Parameters...)>& slot, Result missing,
               Arguments&&... arguments) {
    const auto entryPoint = slot.load();
    return entryPoint == nullptr ? missing : entryPoint(std::forward<Arguments>(arguments)...);
}

} // namespace

TavelWrapper::TavelWrapper() {
    if (open()) {
        bind();
        forward(m_driver.Attach, kNothing);
    }
}

TavelWrapper::~TavelWrapper() {
    if (m_library != nullptr) {
        forward(m_driver.Detach, kNothing);
        dlclose(m_library);
    }
}

bool TavelWrapper::open() {
    m_library = dlopen(kLibrary, RTLD_NOW);
    if (m_library == nullptr) {
        const char* const message = dlerror();
        std::fputs(message == nullptr ? "" : message, stderr);
    }
    return m_library != nullptr;
}

void TavelWrapper::bind() {
#define TAVEL_LOOK_UP(name)                                                                        \
    m_driver.name =                                                                                \
        reinterpret_cast<decltype(m_driver.name.load())>(dlsym(m_library, "tavel" #name));
    TAVEL_ENTRY_POINTS(TAVEL_LOOK_UP)
#undef TAVEL_LOOK_UP
}

int TavelWrapper::Attach() {
    if (!isLoaded() && !open()) {
        return kNothing;
    }
    bind();
    return forward(m_driver.Attach, kNothing);
}

int TavelWrapper::Detach() {
    return forward(m_driver.Detach, kNothing);
}

int TavelWrapper::Interface() {
    return forward(m_driver.Interface, kNothing);
}

int TavelWrapper::SetCallback(int device, TavelPacketCallback callback, void* context) {
    return forward(m_driver.SetCallback, kNothing, device, callback, context);
}

int TavelWrapper::ClearCallback(int device, TavelPacketCallback callback, void* context) {
    return forward(m_driver.ClearCallback, kNothing, device, callback, context);
}

int TavelWrapper::SetPnpCallback(TavelPnpCallback callback, void* context) {
    return forward(m_driver.SetPnpCallback, kNothing, callback, context);
}

// On purpose by the remover of packet callbacks, as device 0: the driver has no other for this one.
int TavelWrapper::ClearPnpCallback(TavelPnpCallback callback, void* context) {
    // By way of void (*)(), which the compiler takes as the word that this is meant.
    const auto remover =
        reinterpret_cast<TavelPacketCallback>(reinterpret_cast<void (*)()>(callback));
    return ClearCallback(0, remover, context);
}

int TavelWrapper::SendCommand(int device, const char* command) {
    return forward(m_driver.SendCommand, kFailed, device, command);
}

int TavelWrapper::WritePacket(int device, const void* data, int length) {
    return forward(m_driver.WritePacket, kFailed, device, data, length);
}

int TavelWrapper::SetXferMask(int device, unsigned char mask) {
    return forward(m_driver.SetXferMask, kNothing, device, mask);
}

int TavelWrapper::GetDeviceCount() {
    return forward(m_driver.GetDeviceCount, kNothing);
}

bool TavelWrapper::EnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) {
    return forward(m_driver.EnumDeviceInfo, kFalse, index, info) != kFalse;
}

int TavelWrapper::SetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                               unsigned char destination) {
    return forward(m_driver.SetPointingDeviceDestination, kNothing, device, pen, flag, destination);
}

int TavelWrapper::SetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                                 unsigned char destination, bool extra) {
    return m_driver.SetPointingDeviceDestinationEx != nullptr
               ? m_driver.SetPointingDeviceDestinationEx.load()(device, pen, flag, destination,
                                                                extra)
               : SetPointingDeviceDestination(device, pen, flag, destination);
}

int TavelWrapper::GetPointingDeviceDestination(int device, unsigned char pen, bool flag) {
    return forward(m_driver.GetPointingDeviceDestination, kFailed, device, pen, flag);
}

int TavelWrapper::SetTouchDestination(int device, unsigned char destination) {
    return forward(m_driver.SetTouchDestination, kNothing, device, destination);
}

int TavelWrapper::SetTouchDestinationEx(int device, unsigned char destination, bool extra) {
    return m_driver.SetTouchDestinationEx != nullptr
               ? m_driver.SetTouchDestinationEx.load()(device, destination, extra)
               : SetTouchDestination(device, destination);
}

int TavelWrapper::GetTouchDestination(int device) {
    return forward(m_driver.GetTouchDestination, kFailed, device);
}

int TavelWrapper::SetTouchEnabled(int device, bool enabled) {
    return forward(m_driver.SetTouchEnabled, kNothing, device, enabled);
}

bool TavelWrapper::GetTouchEnabled(int device) {
    return forward(m_driver.GetTouchEnabled, kTrue, device) == kTrue;
}

int TavelWrapper::SetTouchSystemRedirectionEnabled(int device, bool enabled) {
    return forward(m_driver.SetTouchSystemRedirectionEnabled, kNothing, device, enabled);
}

bool TavelWrapper::GetTouchSystemRedirectionEnabled(int device) {
    return forward(m_driver.GetTouchSystemRedirectionEnabled, kTrue, device) == kTrue;
}

int TavelWrapper::SetLATEDetection(int device, unsigned char value) {
    return forward(m_driver.SetLATEDetection, kNothing, device, value);
}

int TavelWrapper::GetLATEDetection(int device) {
    return forward(m_driver.GetLATEDetection, kFailed, device);
}

int TavelWrapper::IsSomethingOnBoard(int device) {
    return forward(m_driver.IsSomethingOnBoard, kNothing, device);
}

int TavelWrapper::SetTwoFingerScroll(int device, unsigned char value) {
    return forward(m_driver.SetTwoFingerScroll, kNothing, device, value);
}

int TavelWrapper::OpenSynchronousChannel(int device, TavelPacketCallback callback, void* context) {
    return forward(m_driver.OpenSynchronousChannel, kFailed, device, callback, context);
}

int TavelWrapper::CloseSynchronousChannel(int device, int channel) {
    return forward(m_driver.CloseSynchronousChannel, kNothing, device, channel);
}

int TavelWrapper::ReadSynchronousPacket(int device, int channel, void* buffer, int length,
                                        unsigned int timeout) {
    return forward(m_driver.ReadSynchronousPacket, kFailed, device, channel, buffer, length,
                   timeout);
}

int TavelWrapper::SetCalibrationMode(int device, unsigned char mode) {
    return forward(m_driver.SetCalibrationMode, kNothing, device, mode);
}

int TavelWrapper::SetCalibrationData(int device, void* data) {
    return forward(m_driver.SetCalibrationData, kNothing, device, data);
}

int TavelWrapper::SetCalibrationDataEx(int device, unsigned char first, unsigned char second,
                                       void* data) {
    return forward(m_driver.SetCalibrationDataEx, kNothing, device, first, second, data);
}

int TavelWrapper::SetWirelessCalibrationData(int device, void* data) {
    return forward(m_driver.SetWirelessCalibrationData, kNothing, device, data);
}

int TavelWrapper::GetCalibrationPoints(int device, int* first, int* second) {
    return forward(m_driver.GetCalibrationPoints, kNothing, device, first, second);
}

int TavelWrapper::GetHIDCoordinateReportMode(int device) {
    return forward(m_driver.GetHIDCoordinateReportMode, kNothing, device);
}

int TavelWrapper::SetHIDCoordinateReportMode(int device, unsigned char mode) {
    return forward(m_driver.SetHIDCoordinateReportMode, kNothing, device, mode);
}

int TavelWrapper::LibraryVersionNumber(unsigned char* first, unsigned char* second,
                                       unsigned int* third, unsigned int* fourth) {
    return forward(m_driver.LibraryVersionNumber, kNothing, first, second, third, fourth);
}

int TavelWrapper::Lock() {
    return forward(m_driver.Lock, kNothing);
}

int TavelWrapper::Unlock() {
    return forward(m_driver.Unlock, kNothing);
}

int TavelWrapper::SerialConnect(int value) {
    return forward(m_driver.SerialConnect, kNothing, value);
}

int TavelWrapper::SerialDisconnect() {
    return forward(m_driver.SerialDisconnect, kNothing);
}

int TavelWrapper::SerialGetConnected(int& connected) {
    return forward(m_driver.SerialGetConnected, kNothing, connected);
}

int TavelWrapper::SerialSetStartupMode(int mode) {
    return forward(m_driver.SerialSetStartupMode, kNothing, mode);
}

int TavelWrapper::SerialGetStartupMode() {
    return forward(m_driver.SerialGetStartupMode, kNothing);
}

int TavelWrapper::SetDoubleClickDistance(int device, unsigned short distance) {
    return forward(m_driver.SetDoubleClickDistance, kNothing, device, distance);
}

int TavelWrapper::SetDriverDebugMode(int device, unsigned char mode, unsigned int value) {
    return forward(m_driver.SetDriverDebugMode, kNothing, device, mode, value);
}

int TavelWrapper::Echo(int device, unsigned char length, const unsigned char* data) {
    return forward(m_driver.Echo, kNothing, device, length, data);
}

int TavelWrapper::Inject(int device, unsigned char length, const unsigned char* data) {
    return forward(m_driver.Inject, kNothing, device, length, data);
}

int TavelWrapper::SendTouchPacketToSystem(int device, unsigned char length,
                                          const unsigned char* data) {
    return forward(m_driver.SendTouchPacketToSystem, kNothing, device, length, data);
}

int TavelWrapper::ReverseButtons(int device, bool reversed) {
    return forward(m_driver.ReverseButtons, kNothing, device, reversed);
}
