#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <atomic>
#include <type_traits>

/// The entry points of the driver library in the order in which they are looked up. Each has the
/// name and the arguments of its operation; in the library its name begins with "tavel".
#define TAVEL_ENTRY_POINTS(X)                                                                      \
    X(Attach)                                                                                      \
    X(Detach)                                                                                      \
    X(Interface)                                                                                   \
    X(SetCallback)                                                                                 \
    X(ClearCallback)                                                                               \
    X(SetPnpCallback)                                                                              \
    X(SendCommand)                                                                                 \
    X(WritePacket)                                                                                 \
    X(SetXferMask)                                                                                 \
    X(GetDeviceCount)                                                                              \
    X(EnumDeviceInfo)                                                                              \
    X(SetPointingDeviceDestination)                                                                \
    X(SetPointingDeviceDestinationEx)                                                              \
    X(GetPointingDeviceDestination)                                                                \
    X(SetTouchDestination)                                                                         \
    X(SetTouchDestinationEx)                                                                       \
    X(GetTouchDestination)                                                                         \
    X(SetTouchEnabled)                                                                             \
    X(GetTouchEnabled)                                                                             \
    X(SetTouchSystemRedirectionEnabled)                                                            \
    X(GetTouchSystemRedirectionEnabled)                                                            \
    X(SetLATEDetection)                                                                            \
    X(GetLATEDetection)                                                                            \
    X(IsSomethingOnBoard)                                                                          \
    X(SetTwoFingerScroll)                                                                          \
    X(OpenSynchronousChannel)                                                                      \
    X(CloseSynchronousChannel)                                                                     \
    X(ReadSynchronousPacket)                                                                       \
    X(SetCalibrationMode)                                                                          \
    X(SetCalibrationData)                                                                          \
    X(SetCalibrationDataEx)                                                                        \
    X(SetWirelessCalibrationData)                                                                  \
    X(GetCalibrationPoints)                                                                        \
    X(LibraryVersionNumber)                                                                        \
    X(Lock)                                                                                        \
    X(Unlock)                                                                                      \
    X(SerialConnect)                                                                               \
    X(SerialDisconnect)                                                                            \
    X(SerialGetConnected)                                                                          \
    X(SerialSetStartupMode)                                                                        \
    X(SerialGetStartupMode)                                                                        \
    X(SetDoubleClickDistance)                                                                      \
    X(SetDriverDebugMode)                                                                          \
    X(Echo)                                                                                        \
    X(Inject)                                                                                      \
    X(SendTouchPacketToSystem)                                                                     \
    X(ReverseButtons)

/// The type of the entry point behind an operation. Where the operation tells true from false, only
/// the low byte of the result is taken: the driver may return a bool there, and then the rest of
/// the register is anything.
template <typename Operation>
struct TavelEntryPoint;
template <typename Result, typename... Parameters>
struct TavelEntryPoint<Result (AbstractHardwareWrapper::*)(Parameters...)> {
    using Type =
        std::conditional_t<std::is_same_v<Result, bool>, unsigned char, int> (*)(Parameters...);
};

/// The entry points that were found, null where one was not. They are looked up again while other
/// threads call through them, so each is atomic.
struct TavelEntryPoints {
    template <typename Operation>
    using EntryPoint = typename TavelEntryPoint<Operation>::Type;

    // NOLINTNEXTLINE(bugprone-macro-parentheses): it is a name that is declared
#define TAVEL_SLOT(name)                                                                           \
    std::atomic<EntryPoint<decltype(&AbstractHardwareWrapper::name)>> name{nullptr};
    TAVEL_ENTRY_POINTS(TAVEL_SLOT)

    // Never looked up, on purpose: whatever the library has, these two give their fallback.
    TAVEL_SLOT(GetHIDCoordinateReportMode)
    TAVEL_SLOT(SetHIDCoordinateReportMode)
#undef TAVEL_SLOT
};
