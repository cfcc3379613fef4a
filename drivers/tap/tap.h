#pragma once

#include "drivers/tap/realdriver.h"
#include "drivers/tap/recorder.h"

#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>

/// Stands between the program and the real driver. The real driver is given callbacks of the tap's,
/// each with a context of its own that stands for the program's callback; those contexts stay for
/// as long as the driver may call, cleared or not. Any thread; no lock is held during a call of the
/// driver or of a callback.
class Tap {
public:
    /// Made at the first call. It goes when the library is unloaded; when the process ends with the
    /// driver attached, it stays, for threads of the driver's that still call.
    static Tap& instance();

    /// What the real driver is given for a callback of the program's.
    struct PacketCallback {
        TavelPacketCallback callback;
        void* context;
    };
    struct PnpCallback {
        TavelPnpCallback callback;
        void* context;
    };
    PacketCallback interpose(int device, TavelPacketCallback callback, void* context);
    PnpCallback interpose(TavelPnpCallback callback, void* context);
    /// What it has been given for one that is to be cleared; where it was given none, the program's
    /// own. A plug-and-play callback comes as device 0.
    PacketCallback interposed(int device, TavelPacketCallback callback, void* context);

    /// Keeps this library in memory while the driver may call.
    void setAttached(bool isAttached);

    const RealDriver& driver() const { return m_driver; }
    Recorder& recorder() { return m_recorder; }

private:
    struct Subscription {
        Tap* tap;
        int device;
        TavelPacketCallback callback;
        void* context;
        long reports = 0; ///< that have come, counted on from those of the board
    };
    struct PnpSubscription {
        Tap* tap;
        TavelPnpCallback callback;
        void* context;
    };

    Tap() = default;

    static void packet(int device, const unsigned char* data, unsigned int length, void* context);
    static void notice(void* context);
    bool isFirstToBring(Subscription& subscription);

    friend class TapLifetime;

    RealDriver m_driver;
    Recorder m_recorder;
    std::mutex m_mutex; ///< guards all that follows
    std::map<std::tuple<int, TavelPacketCallback, void*>, std::unique_ptr<Subscription>>
        m_subscriptions;
    std::map<std::pair<TavelPnpCallback, void*>, std::unique_ptr<PnpSubscription>>
        m_pnpSubscriptions;
    std::map<int, long> m_reports; ///< how many each board has sent, by the handle subscribed to
    void* m_self = nullptr;        ///< from dlopen, while the driver is attached
};
