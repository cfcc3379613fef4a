#pragma once

#include "tests/drivers/driverlibrary.h"

/// The simulated board that a test has, where it does not say another.
constexpr int kDevice = 7;

/// No report of a kind that can be switched off.
inline const Bytes kMarker = {0x03, 0x77, 0x01};

inline int inject(const DriverLibrary& driver, const Bytes& bytes, int device = kDevice) {
    return driver.Inject(device, static_cast<unsigned char>(bytes.size()), bytes.data());
}

/// Attached to the simulated driver, listening to the board and to notices, with every report on.
class Listening {
public:
    explicit Listening(int device = kDevice) : m_device(device) {
        driver.Attach();
        driver.SetPnpCallback(Receiver::notice, &receiver);
        listen();
        driver.GetDeviceCount();
    }
    ~Listening() {
        while (driver.Detach() == 1) {
        }
    }

    void listen() const {
        driver.switchOn(m_device);
        driver.SetCallback(m_device, Receiver::packet, &receiver);
        driver.SetXferMask(m_device, 0xFF);
    }

    /// Whether it gets through to the receiver.
    bool sends(const Bytes& report) {
        const std::size_t before = receiver.packets().size();
        inject(driver, report);
        inject(driver, kMarker);
        receiver.waitForPackets(before + 1);
        if (receiver.packets()[before].bytes == kMarker)
            return false;
        receiver.waitForPackets(before + 2);
        return receiver.packets()[before].bytes == report;
    }

    mutable Receiver receiver; ///< outlives the driver
    DriverLibrary driver{KESTRUNE_SIMULATED_DRIVER};

private:
    int m_device;
};
