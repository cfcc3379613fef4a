#include "drivers/tap/tap.h"

#include <dlfcn.h>

/// Unloads the driver and frees what its callbacks need, in this order. Not while it is attached:
/// then the process ends, and the driver's threads with it.
class TapLifetime {
public:
    Tap* const tap = new Tap;

    TapLifetime() = default;
    ~TapLifetime() {
        tap->m_recorder.flush();
        if (tap->m_self != nullptr)
            return;
        if (tap->m_driver.library != nullptr)
            dlclose(tap->m_driver.library);
        delete tap;
    }
    TapLifetime(const TapLifetime&) = delete;
    TapLifetime& operator=(const TapLifetime&) = delete;
};

Tap& Tap::instance() {
    static const TapLifetime lifetime;
    return *lifetime.tap;
}

void Tap::setAttached(bool isAttached) {
    void* released = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        Dl_info own = {};
        if (isAttached && m_self == nullptr &&
            dladdr(reinterpret_cast<void*>(&Tap::packet), &own) != 0)
            m_self = dlopen(own.dli_fname, RTLD_NOW | RTLD_NOLOAD);
        else if (!isAttached)
            std::swap(released, m_self);
    }
    if (released != nullptr)
        dlclose(released);
}

Tap::PacketCallback Tap::interpose(int device, TavelPacketCallback callback, void* context) {
    if (callback == nullptr)
        return {callback, context};
    const std::lock_guard lock(m_mutex);
    auto& subscription = m_subscriptions[{device, callback, context}];
    if (!subscription)
        subscription.reset(new Subscription{this, device, callback, context});
    subscription->reports = m_reports[device];
    return {packet, subscription.get()};
}

Tap::PnpCallback Tap::interpose(TavelPnpCallback callback, void* context) {
    if (callback == nullptr)
        return {callback, context};
    const std::lock_guard lock(m_mutex);
    auto& subscription = m_pnpSubscriptions[{callback, context}];
    if (!subscription)
        subscription.reset(new PnpSubscription{this, callback, context});
    return {notice, subscription.get()};
}

Tap::PacketCallback Tap::interposed(int device, TavelPacketCallback callback, void* context) {
    const std::lock_guard lock(m_mutex);
    const auto subscription = m_subscriptions.find({device, callback, context});
    if (subscription != m_subscriptions.end())
        return {packet, subscription->second.get()};
    // By way of void (*)(), which the compiler takes as the word that this is meant.
    const auto pnpCallback =
        reinterpret_cast<TavelPnpCallback>(reinterpret_cast<void (*)()>(callback));
    const auto pnpSubscription = m_pnpSubscriptions.find({pnpCallback, context});
    if (device == 0 && pnpSubscription != m_pnpSubscriptions.end())
        return {reinterpret_cast<TavelPacketCallback>(reinterpret_cast<void (*)()>(notice)),
                pnpSubscription->second.get()};
    return {callback, context};
}

void Tap::packet(int device, const unsigned char* data, unsigned int length, void* context) {
    auto& subscription = *static_cast<Subscription*>(context);
    Tap& tap = *subscription.tap;
    if (tap.isFirstToBring(subscription))
        tap.m_recorder.report(device, subscription.device, data, length);
    subscription.callback(device, data, length, subscription.context);
}

void Tap::notice(void* context) {
    const auto& subscription = *static_cast<PnpSubscription*>(context);
    subscription.tap->m_recorder.notice();
    subscription.callback(subscription.context);
}

/// Each subscription to a board brings each of its reports; one of them is enough.
bool Tap::isFirstToBring(Subscription& subscription) {
    const std::lock_guard lock(m_mutex);
    long& reports = m_reports[subscription.device];
    const bool isFirst = ++subscription.reports > reports;
    if (isFirst)
        reports = subscription.reports;
    return isFirst;
}
