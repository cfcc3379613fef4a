#include "hardware/callbackgate.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

struct Inside {
    bool is_open = true;
    std::vector<std::thread::id> visitors; ///< a thread once for each of its visits
};

/// The objects that are open, and those that are closing and not empty yet.
struct Register {
    std::mutex mutex;
    std::condition_variable left;
    std::map<void*, Inside> contexts;
};

/// Never destroyed: a driver's thread may still call while the process ends.
Register& open_contexts() {
    static auto* const contexts = new Register;
    return *contexts;
}

} // namespace

CallbackGate::CallbackGate(void* context) : m_context(context) {
    Register& open = open_contexts();
    const std::lock_guard lock(open.mutex);
    open.contexts[context] = Inside();
}

CallbackGate::~CallbackGate() {
    close();
}

void CallbackGate::close() {
    Register& open = open_contexts();
    std::unique_lock lock(open.mutex);
    const auto entry = open.contexts.find(m_context);
    if (entry == open.contexts.end())
        return;
    Inside& inside = entry->second;
    inside.is_open = false;
    open.left.wait(lock, [&inside] {
        const auto self = std::this_thread::get_id();
        return std::all_of(inside.visitors.begin(), inside.visitors.end(),
                           [self](std::thread::id visitor) { return visitor == self; });
    });
    open.contexts.erase(entry);
}

CallbackGate::Visit::Visit(void* context) : m_context(context), m_inside(false) {
    Register& open = open_contexts();
    const std::lock_guard lock(open.mutex);
    const auto entry = open.contexts.find(context);
    if (entry == open.contexts.end() || !entry->second.is_open)
        return;
    entry->second.visitors.push_back(std::this_thread::get_id());
    m_inside = true;
}

CallbackGate::Visit::~Visit() {
    if (!m_inside)
        return;
    Register& open = open_contexts();
    {
        const std::lock_guard lock(open.mutex);
        const auto entry = open.contexts.find(m_context);
        if (entry == open.contexts.end())
            return; // closed by this very visit
        auto& visitors = entry->second.visitors;
        const auto visit = std::find(visitors.begin(), visitors.end(), std::this_thread::get_id());
        if (visit != visitors.end()) // else closed by this visit, and opened anew
            visitors.erase(visit);
    }
    open.left.notify_all();
}
