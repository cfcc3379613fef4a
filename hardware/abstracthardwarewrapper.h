#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// The driver's structure of one board. Only the fields at these offsets are known; the integers
/// among them have 32 bits, the low byte first. The driver is told no size, so there is ample room
/// beyond. Being the driver's, it stays trivial: `{}` makes it all zero.
struct _TAVEL_DEVICE_INFO { // NOLINT(bugprone-reserved-identifier): the driver's name for it
    static constexpr std::size_t kFormatTagOffset = 0;
    static constexpr std::size_t kStateOffset = 4;
    static constexpr std::size_t kDeviceOffset = 20; ///< the handle that device arguments take
    static constexpr std::size_t kAdditionalInfoOffset =
        325; ///< text of key<value>..., ends in NUL

    static constexpr std::int32_t kFormatTag = 9;   ///< set by the caller
    static constexpr std::int32_t kStateUsable = 1; ///< any other state is no board to use

    alignas(std::max_align_t) unsigned char bytes[4096];
};
static_assert(std::is_trivial_v<_TAVEL_DEVICE_INFO>);

/// Called with a raw report, on a thread of the driver's; `data` lasts until it returns.
using TavelPacketCallback = void (*)(int device, const unsigned char* data, unsigned int length,
                                     void* context);
/// Called when a board comes or goes, on a thread of the driver's.
using TavelPnpCallback = void (*)(void* context);

/// The board maker's driver library. Arguments reach the driver as they are, unchecked, and an int
/// that comes back is the driver's own result. Where the driver does not have an operation, its
/// fallback comes back instead: 0, or -1 or true where that is said. It keeps no lock.
class AbstractHardwareWrapper {
public:
    AbstractHardwareWrapper() = default;
    AbstractHardwareWrapper(const AbstractHardwareWrapper&) = delete;
    AbstractHardwareWrapper& operator=(const AbstractHardwareWrapper&) = delete;
    virtual ~AbstractHardwareWrapper() = default;

    virtual int Attach() = 0;
    virtual int Detach() = 0;
    virtual int Interface() = 0;
    virtual int SetCallback(int device, TavelPacketCallback callback, void* context) = 0;
    virtual int ClearCallback(int device, TavelPacketCallback callback, void* context) = 0;
    virtual int SetPnpCallback(TavelPnpCallback callback, void* context) = 0;
    virtual int ClearPnpCallback(TavelPnpCallback callback, void* context) = 0;
    virtual int SendCommand(int device, const char* command) = 0;          ///< or -1
    virtual int WritePacket(int device, const void* data, int length) = 0; ///< or -1
    virtual int SetXferMask(int device, unsigned char mask) = 0;
    virtual int GetDeviceCount() = 0;
    virtual bool EnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) = 0;
    virtual int SetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                             unsigned char destination) = 0;
    virtual int SetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                               unsigned char destination, bool extra) = 0;
    /// Or -1.
    virtual int GetPointingDeviceDestination(int device, unsigned char pen, bool flag) = 0;
    virtual int SetTouchDestination(int device, unsigned char destination) = 0;
    virtual int SetTouchDestinationEx(int device, unsigned char destination, bool extra) = 0;
    virtual int GetTouchDestination(int device) = 0; ///< or -1
    virtual int SetTouchEnabled(int device, bool enabled) = 0;
    virtual bool GetTouchEnabled(int device) = 0; ///< or true
    virtual int SetTouchSystemRedirectionEnabled(int device, bool enabled) = 0;
    virtual bool GetTouchSystemRedirectionEnabled(int device) = 0; ///< or true
    virtual int SetLATEDetection(int device, unsigned char value) = 0;
    virtual int GetLATEDetection(int device) = 0; ///< or -1
    virtual int IsSomethingOnBoard(int device) = 0;
    virtual int SetTwoFingerScroll(int device, unsigned char value) = 0;
    /// Or -1.
    virtual int OpenSynchronousChannel(int device, TavelPacketCallback callback, void* context) = 0;
    virtual int CloseSynchronousChannel(int device, int channel) = 0;
    /// Or -1.
    virtual int ReadSynchronousPacket(int device, int channel, void* buffer, int length,
                                      unsigned int timeout) = 0;
    virtual int SetCalibrationMode(int device, unsigned char mode) = 0;
    virtual int SetCalibrationData(int device, void* data) = 0;
    virtual int SetCalibrationDataEx(int device, unsigned char first, unsigned char second,
                                     void* data) = 0;
    virtual int SetWirelessCalibrationData(int device, void* data) = 0;
    virtual int GetCalibrationPoints(int device, int* first, int* second) = 0;
    virtual int GetHIDCoordinateReportMode(int device) = 0;
    virtual int SetHIDCoordinateReportMode(int device, unsigned char mode) = 0;
    virtual int LibraryVersionNumber(unsigned char* first, unsigned char* second,
                                     unsigned int* third, unsigned int* fourth) = 0;
    virtual int Lock() = 0;
    virtual int Unlock() = 0;
    virtual int SerialConnect(int value) = 0;
    virtual int SerialDisconnect() = 0;
    virtual int SerialGetConnected(int& connected) = 0;
    virtual int SerialSetStartupMode(int mode) = 0;
    virtual int SerialGetStartupMode() = 0;
    virtual int SetDoubleClickDistance(int device, unsigned short distance) = 0;
    virtual int SetDriverDebugMode(int device, unsigned char mode, unsigned int value) = 0;
    virtual int Echo(int device, unsigned char length, const unsigned char* data) = 0;
    virtual int Inject(int device, unsigned char length, const unsigned char* data) = 0;
    virtual int SendTouchPacketToSystem(int device, unsigned char length,
                                        const unsigned char* data) = 0;
    virtual int ReverseButtons(int device, bool reversed) = 0;
};
