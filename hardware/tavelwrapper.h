#pragma once

#include "hardware/abstracthardwarewrapper.h"
#include "hardware/tavelentrypoints.h"

/// The driver library, opened at run time, so that the program starts on a machine that has none.
/// Owns the library's handle. A wrapper without a library is of use too: each of its operations
/// gives its fallback. Keeps no lock: any thread may call any operation of a library that is open,
/// also while another attaches to it, but none while the wrapper goes.
class TavelWrapper : public AbstractHardwareWrapper {
public:
    /// Opens the library and attaches to it. Where that fails the loader's message goes to standard
    /// error, as it is.
    TavelWrapper();
    /// Detaches from the library and unloads it.
    ~TavelWrapper() override;

    /// Whether the library is open, which says nothing of the entry points that it has.
    bool isLoaded() const { return m_library != nullptr; }

    /// Looks every entry point up once more; opens the library first, as the constructor does, if
    /// it is not open yet.
    int Attach() override;
    /// Leaves the library open and its entry points in use.
    int Detach() override;
    int Interface() override;
    int SetCallback(int device, TavelPacketCallback callback, void* context) override;
    int ClearCallback(int device, TavelPacketCallback callback, void* context) override;
    int SetPnpCallback(TavelPnpCallback callback, void* context) override;
    int ClearPnpCallback(TavelPnpCallback callback, void* context) override;
    int SendCommand(int device, const char* command) override;
    int WritePacket(int device, const void* data, int length) override;
    int SetXferMask(int device, unsigned char mask) override;
    int GetDeviceCount() override;
    bool EnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) override;
    int SetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                     unsigned char destination) override;
    int SetPointingDeviceDestinationEx(int device, unsigned char pen, bool flag,
                                       unsigned char destination, bool extra) override;
    int GetPointingDeviceDestination(int device, unsigned char pen, bool flag) override;
    int SetTouchDestination(int device, unsigned char destination) override;
    int SetTouchDestinationEx(int device, unsigned char destination, bool extra) override;
    int GetTouchDestination(int device) override;
    int SetTouchEnabled(int device, bool enabled) override;
    bool GetTouchEnabled(int device) override;
    int SetTouchSystemRedirectionEnabled(int device, bool enabled) override;
    bool GetTouchSystemRedirectionEnabled(int device) override;
    int SetLATEDetection(int device, unsigned char value) override;
    int GetLATEDetection(int device) override;
    int IsSomethingOnBoard(int device) override;
    int SetTwoFingerScroll(int device, unsigned char value) override;
    int OpenSynchronousChannel(int device, TavelPacketCallback callback, void* context) override;
    int CloseSynchronousChannel(int device, int channel) override;
    int ReadSynchronousPacket(int device, int channel, void* buffer, int length,
                              unsigned int timeout) override;
    int SetCalibrationMode(int device, unsigned char mode) override;
    int SetCalibrationData(int device, void* data) override;
    int SetCalibrationDataEx(int device, unsigned char first, unsigned char second,
                             void* data) override;
    int SetWirelessCalibrationData(int device, void* data) override;
    int GetCalibrationPoints(int device, int* first, int* second) override;
    int GetHIDCoordinateReportMode(int device) override;
    int SetHIDCoordinateReportMode(int device, unsigned char mode) override;
    int LibraryVersionNumber(unsigned char* first, unsigned char* second, unsigned int* third,
                             unsigned int* fourth) override;
    int Lock() override;
    int Unlock() override;
    int SerialConnect(int value) override;
    int SerialDisconnect() override;
    int SerialGetConnected(int& connected) override;
    int SerialSetStartupMode(int mode) override;
    int SerialGetStartupMode() override;
    int SetDoubleClickDistance(int device, unsigned short distance) override;
    int SetDriverDebugMode(int device, unsigned char mode, unsigned int value) override;
    int Echo(int device, unsigned char length, const unsigned char* data) override;
    int Inject(int device, unsigned char length, const unsigned char* data) override;
    int SendTouchPacketToSystem(int device, unsigned char length,
                                const unsigned char* data) override;
    int ReverseButtons(int device, bool reversed) override;

private:
    bool open();
    void bind();

    void* m_library = nullptr; ///< from dlopen, null while there is no library
    TavelEntryPoints m_driver; ///< all null while there is no library
};
