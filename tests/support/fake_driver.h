#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The boards behind the fake driver library, which hands every call to the one object of this
/// class that the test program has. The program plays the driver's part with it: it sets up boards,
/// reads what was called, and sends reports and notices. Any thread.
class FakeDriver {
public:
    struct Board {
        int device = 1;
        std::string info = "hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<2>";
        int state = _TAVEL_DEVICE_INFO::kStateUsable;
        bool readable = true;
    };

    static FakeDriver& instance();

    /// No boards, no callbacks, nothing logged.
    void reset();
    void set_boards(std::vector<Board> boards);

    /// Every call since the last time, as "tavelSetTouchDestination(1, 0)". Contexts and callbacks
    /// are left out, bytes are text with '\r' for the carriage return.
    std::vector<std::string> take_log();

    /// Calls the callbacks on this thread: those that are set or, if `late`, those that were
    /// cleared. \return their number
    int report(const std::string& bytes, bool late = false);
    int notice(bool late = false);

    /// The packet callbacks that are set, as (device, context).
    std::vector<std::pair<int, void*>> subscriptions() const;

    /// Called at each call of the driver, before it does anything; on the caller's thread.
    std::function<void(const std::string& name)> on_call;
    std::function<int()> count; ///< what the driver says it has, if not the number of boards
    int write_result = 0;       ///< of tavelWritePacket
    bool keeps_log = true;      ///< off where millions of calls are made

    // The driver's side.
    void called(const std::string& name, const std::string& arguments);
    int device_count() const;
    unsigned char enumerate(int index, unsigned char* block); ///< whether it tells
    void set_callback(int device, TavelPacketCallback callback, void* context);
    void clear_callback(int device, TavelPacketCallback callback, void* context);
    void set_pnp_callback(TavelPnpCallback callback, void* context);

private:
    struct Subscription {
        int device;
        TavelPacketCallback callback;
        void* context;
    };
    struct Notification {
        TavelPnpCallback callback;
        void* context;
    };

    mutable std::mutex m_mutex; ///< never held while somebody else's code runs
    std::vector<Board> m_boards;
    std::vector<std::string> m_log;
    std::vector<Subscription> m_subscriptions;
    std::vector<Subscription> m_cleared_subscriptions;
    std::vector<Notification> m_notifications;
    std::vector<Notification> m_cleared_notifications;
};
