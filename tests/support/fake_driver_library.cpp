// A driver library whose boards are in the program that loads it. It has the entry points that a
// session needs and no others.

#include "tests/support/fake_driver.h"

extern "C" FakeDriver* fake_driver();

namespace {

std::string text(int number) {
    return std::to_string(number);
}

std::string text(const void* data, int length) {
    std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(length));
    if (!bytes.empty() && bytes.back() == '\r')
        bytes.replace(bytes.size() - 1, 1, "\\r");
    return bytes;
}

std::string hexadecimal(const unsigned char* data, int length) {
    constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (int i = 0; i < length; ++i) {
        hex += digits[data[i] >> 4];
        hex += digits[data[i] & 0xF];
    }
    return hex;
}

template <typename... Arguments>
FakeDriver& called(const char* name, Arguments... arguments) {
    std::string all;
    ((all += all.empty() ? "" : ", ", all += arguments), ...);
    fake_driver()->called(name, all);
    return *fake_driver();
}

} // namespace

extern "C" {

int tavelAttach() {
    called("tavelAttach");
    return 1;
}

int tavelDetach() {
    called("tavelDetach");
    return 1;
}

int tavelSetCallback(int device, TavelPacketCallback callback, void* context) {
    called("tavelSetCallback", text(device)).set_callback(device, callback, context);
    return 1;
}

int tavelClearCallback(int device, TavelPacketCallback callback, void* context) {
    called("tavelClearCallback", text(device)).clear_callback(device, callback, context);
    return 1;
}

int tavelSetPnpCallback(TavelPnpCallback callback, void* context) {
    called("tavelSetPnpCallback").set_pnp_callback(callback, context);
    return 1;
}

int tavelWritePacket(int device, const void* data, int length) {
    return called("tavelWritePacket", text(device), text(data, length)).write_result;
}

int tavelSetXferMask(int device, unsigned char mask) {
    called("tavelSetXferMask", text(device), text(mask));
    return 1;
}

int tavelGetDeviceCount() {
    return called("tavelGetDeviceCount").device_count();
}

unsigned char tavelEnumDeviceInfo(int index, _TAVEL_DEVICE_INFO* block) {
    return called("tavelEnumDeviceInfo", text(index)).enumerate(index, block->bytes);
}

int tavelSetPointingDeviceDestination(int device, unsigned char pen, bool flag,
                                      unsigned char destination) {
    called("tavelSetPointingDeviceDestination", text(device), text(pen), text(flag),
           text(destination));
    return 1;
}

int tavelSetTouchDestination(int device, unsigned char destination) {
    called("tavelSetTouchDestination", text(device), text(destination));
    return 1;
}

int tavelSendTouchPacketToSystem(int device, unsigned char length, const unsigned char* data) {
    called("tavelSendTouchPacketToSystem", text(device), hexadecimal(data, length));
    return 1;
}
}
