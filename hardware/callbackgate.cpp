#include "hardware/callbackgate.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

/// One open gate. Entries are never freed, since a visitor may look at any of them at any time; one
/// whose gate has closed is taken again for another.
struct CallbackGate::Entry {
    std::atomic<void*> context{nullptr}; ///< null: closed
    std::atomic<int> visitors{0}; ///< inside, and those that only look whether this is their gate
    bool is_taken = true;         ///< by a gate that is open or closing; under the register's mutex
    Entry* next = nullptr;
};

namespace {

/// Never destroyed: a driver's thread may still call while the process ends.
struct Register {
    std::atomic<CallbackGate::Entry*> first{nullptr};
    std::mutex mutex; ///< of opening and closing
    std::condition_variable left;
    std::atomic<int> closing{0}; ///< gates that wait for their visitors
};

Register& gates() {
    static auto* const the_gates = new Register;
    return *the_gates;
}

thread_local CallbackGate::Visit* innermost_visit = nullptr;

void leave(CallbackGate::Entry& entry) {
    --entry.visitors;
    Register& all = gates();
    if (all.closing == 0)
        return;
    { const std::lock_guard lock(all.mutex); } // who closes has either seen it or is waiting
    all.left.notify_all();
}

} // namespace

CallbackGate::CallbackGate(void* context) {
    Register& all = gates();
    const std::lock_guard lock(all.mutex);
    m_entry = all.first;
    while (m_entry != nullptr && (m_entry->is_taken || m_entry->visitors != 0))
        m_entry = m_entry->next;
    if (m_entry == nullptr) {
        m_entry = new Entry;
        m_entry->next = all.first;
        all.first = m_entry;
    }
    m_entry->is_taken = true;
    m_entry->context = context;
}

CallbackGate::~CallbackGate() {
    close();
}

void CallbackGate::close() {
    Register& all = gates();
    std::unique_lock lock(all.mutex);
    Entry* const entry = m_entry;
    if (entry == nullptr)
        return;
    ++all.closing;
    // Either a visitor sees that it is closed, or it is seen here to be inside.
    entry->context = nullptr;
    int own_visits = 0;
    for (const Visit* visit = innermost_visit; visit != nullptr; visit = visit->m_outer) {
        if (visit->m_entry == entry)
            ++own_visits;
    }
    all.left.wait(lock, [entry, own_visits] { return entry->visitors <= own_visits; });
    --all.closing;
    if (m_entry == nullptr)
        return; // somebody else has closed it meanwhile
    entry->is_taken = false;
    m_entry = nullptr;
}

CallbackGate::Visit::Visit(void* context) {
    if (context == nullptr)
        return;
    for (Entry* entry = gates().first; entry != nullptr; entry = entry->next) {
        if (entry->context != context)
            continue;
        ++entry->visitors;
        if (entry->context == context) {
            m_entry = entry;
            m_outer = innermost_visit;
            innermost_visit = this;
            return;
        }
        leave(*entry);
    }
}

CallbackGate::Visit::~Visit() {
    if (m_entry == nullptr)
        return;
    innermost_visit = m_outer;
    leave(*m_entry);
}
