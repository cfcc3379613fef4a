// A driver that lacks most entry points and keeps to few rules. It calls back when the test says
// so, whatever has been cleared.

#include "hardware/abstracthardwarewrapper.h"

#include <atomic>
#include <cstring>
#include <thread>

namespace {

struct Packets {
    int device;
    TavelPacketCallback callback;
    void* context;
};
Packets packets[16];
std::atomic<int> count{0};

} // namespace

extern "C" {

/// For the test: each callback that was ever set is called once.
void sparseSend(int device, const unsigned char* data, unsigned int length) {
    for (int i = 0; i < count; ++i)
        packets[i].callback(device, data, length, packets[i].context);
}

/// The same over and over, on a thread that nothing ends.
void sparseSendForever(int device) {
    std::thread([device] {
        constexpr unsigned char report[] = {3, 0x77, 1};
        while (true) {
            sparseSend(device, report, sizeof report);
            std::this_thread::yield();
        }
    }).detach();
}

int tavelSetCallback(int device, TavelPacketCallback callback, void* context) {
    packets[count] = {device, callback, context};
    ++count;
    return 40 + device;
}

int tavelGetDeviceCount() {
    return 3;
}

/// The second board cannot be described. The third has the first one's handle.
unsigned char tavelEnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* info) {
    const int state = index == 0 ? 1 : 0;
    const int device = 5;
    std::memcpy(info->bytes + 4, &state, sizeof state);
    std::memcpy(info->bytes + 20, &device, sizeof device);
    std::memcpy(info->bytes + 325, "xp<1>", 6);
    return index == 1 ? 0 : 1;
}

int tavelSendCommand(int device, const char*) {
    return -70 - device;
}

int tavelSetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                      unsigned char destination) {
    return device * 10000 + pen * 100 + (flag ? 10 : 0) + destination;
}

int tavelSetTouchDestination(int device, unsigned char destination) {
    return device * 100 + destination;
}

unsigned char tavelGetTouchEnabled(int) {
    return 0xFE;
}
}
