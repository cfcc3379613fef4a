#pragma once

#include "hardware/tavelentrypoints.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// A driver library with its entry points, null where it lacks one.
class DriverLibrary {
public:
    explicit DriverLibrary(const std::string& path)
        : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (m_handle == nullptr)
            return;
#define TAVEL_BIND(name) name = reinterpret_cast<decltype(name)>(dlsym(m_handle, "tavel" #name));
        TAVEL_ENTRY_POINTS(TAVEL_BIND)
#undef TAVEL_BIND
    }
    ~DriverLibrary() {
        if (m_handle != nullptr)
            dlclose(m_handle);
    }
    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;

    bool isLoaded() const {
        return m_handle != nullptr;
    }

#define TAVEL_POINTER(name)                                                                        \
    TavelEntryPoint<decltype(&AbstractHardwareWrapper::name)>::Type name = nullptr;
    TAVEL_ENTRY_POINTS(TAVEL_POINTER)
#undef TAVEL_POINTER

    /// As the program does it.
    int clearPnpCallback(TavelPnpCallback callback, void* context) const {
        return ClearCallback(
            0, reinterpret_cast<TavelPacketCallback>(reinterpret_cast<void (*)()>(callback)),
            context);
    }

    /// Pens 1 to 4, touches and erasers.
    void switchOn(int device) const {
        for (unsigned char pen = 1; pen <= 4; ++pen)
            SetPointingDeviceDestination(device, pen, false, 1);
        SetTouchDestination(device, 1);
        SendCommand(device, ":PL1");
    }

private:
    void* m_handle;
};

/// What one EnumDeviceInfo tells.
struct BoardDescription {
    bool isThere = false;
    int state = 0;
    int device = 0;
    std::string info;

    BoardDescription() = default;
    BoardDescription(const DriverLibrary& driver, int index) {
        _TAVEL_DEVICE_INFO block = {};
        block.bytes[_TAVEL_DEVICE_INFO::kFormatTagOffset] = _TAVEL_DEVICE_INFO::kFormatTag;
        isThere = driver.EnumDeviceInfo(index, &block) == 1;
        std::memcpy(&state, block.bytes + _TAVEL_DEVICE_INFO::kStateOffset, sizeof state);
        std::memcpy(&device, block.bytes + _TAVEL_DEVICE_INFO::kDeviceOffset, sizeof device);
        info =
            reinterpret_cast<const char*>(block.bytes + _TAVEL_DEVICE_INFO::kAdditionalInfoOffset);
    }
};

/// What callbacks bring, from whatever thread.
class Receiver {
public:
    struct Packet {
        int device;
        Bytes bytes;
    };

    /// Runs inside of each callback, with no lock held.
    std::function<void()> inside;

    static void packet(int device, const unsigned char* data, unsigned int length, void* context) {
        auto& self = *static_cast<Receiver*>(context);
        {
            const std::lock_guard lock(self.m_mutex);
            self.m_packets.push_back({device, Bytes(data, data + length)});
            self.m_threads.push_back(std::this_thread::get_id());
        }
        self.m_changed.notify_all();
        if (self.inside)
            self.inside();
    }

    static void notice(void* context) {
        auto& self = *static_cast<Receiver*>(context);
        {
            const std::lock_guard lock(self.m_mutex);
            ++self.m_notices;
            self.m_threads.push_back(std::this_thread::get_id());
        }
        self.m_changed.notify_all();
        if (self.inside)
            self.inside();
    }

    std::vector<Packet> packets() const {
        const std::lock_guard lock(m_mutex);
        return m_packets;
    }
    std::vector<Bytes> reports() const {
        std::vector<Bytes> all;
        for (const Packet& packet : packets())
            all.push_back(packet.bytes);
        return all;
    }
    int notices() const {
        const std::lock_guard lock(m_mutex);
        return m_notices;
    }
    std::vector<std::thread::id> threads() const {
        const std::lock_guard lock(m_mutex);
        return m_threads;
    }

    /// \return false where it did not come to that in good time
    bool waitForPackets(std::size_t count) {
        return wait([this, count] { return m_packets.size() >= count; });
    }
    bool waitForPacket(const Bytes& bytes) {
        return wait([this, &bytes] {
            for (const Packet& packet : m_packets) {
                if (packet.bytes == bytes)
                    return true;
            }
            return false;
        });
    }
    bool waitForNotices(int count) {
        return wait([this, count] { return m_notices >= count; });
    }

private:
    template <typename Condition>
    bool wait(Condition condition) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(30), condition);
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Packet> m_packets;
    std::vector<std::thread::id> m_threads;
    int m_notices = 0;
};

/// One thread lets others wait until it has got somewhere.
class Signal {
public:
    void give() {
        {
            const std::lock_guard lock(m_mutex);
            m_isGiven = true;
        }
        m_changed.notify_all();
    }
    bool wait() {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(30), [this] { return m_isGiven; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isGiven = false;
};

inline std::string textOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// What the process writes to standard error while this is there.
class StandardError {
public:
    explicit StandardError(const std::string& path) : m_path(path), m_kept(dup(STDERR_FILENO)) {
        std::fflush(stderr);
        std::FILE* const file = std::fopen(path.c_str(), "w");
        dup2(fileno(file), STDERR_FILENO);
        std::fclose(file);
    }
    ~StandardError() {
        dup2(m_kept, STDERR_FILENO);
        close(m_kept);
    }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    std::string text() const {
        std::fflush(stderr);
        return textOf(m_path);
    }

private:
    std::string m_path;
    int m_kept;
};
