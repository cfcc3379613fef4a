#pragma once

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// The program's callbacks of one type, each under a key, a function and a context. Any thread; no
/// lock is held while one of them runs. One that has been removed is not called any more.
template <typename Function>
class Callbacks {
public:
    /// Nothing happens where it is there already.
    void add(int key, Function function, void* context) {
        const std::lock_guard lock(m_mutex);
        if (find(key, function, context) == m_entries.end())
            m_entries.push_back(std::make_shared<Entry>(Entry{key, function, context}));
    }

    /// Waits for its calls that are under way, but for those that the caller is itself inside of.
    /// \return false where there is none
    bool remove(int key, Function function, void* context) {
        std::unique_lock lock(m_mutex);
        const auto found = find(key, function, context);
        if (found == m_entries.end())
            return false;
        const std::shared_ptr<Entry> entry = *found;
        m_entries.erase(found);
        entry->is_removed = true;
        m_left.wait(lock, [&entry] {
            const auto self = std::this_thread::get_id();
            return std::all_of(entry->inside.begin(), entry->inside.end(),
                               [self](std::thread::id thread) { return thread == self; });
        });
        return true;
    }

    /// Waits for nothing.
    void removeAll() {
        const std::lock_guard lock(m_mutex);
        for (const auto& entry : m_entries)
            entry->is_removed = true;
        m_entries.clear();
    }

    bool has(int key) const {
        const std::lock_guard lock(m_mutex);
        return std::any_of(m_entries.begin(), m_entries.end(),
                           [key](const auto& entry) { return entry->key == key; });
    }

    /// Gives `use` the key, the function and the context of each.
    template <typename Use>
    void forEach(Use use) const {
        const std::lock_guard lock(m_mutex);
        for (const auto& entry : m_entries)
            use(entry->key, entry->function, entry->context);
    }

    /// Calls those under the key, in the order in which they came. A context goes last. \return how
    /// many there were
    template <typename... Arguments>
    int call(int key, Arguments... arguments) {
        std::vector<std::shared_ptr<Entry>> entries;
        {
            const std::lock_guard lock(m_mutex);
            std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(entries),
                         [key](const auto& entry) { return entry->key == key; });
        }
        int called = 0;
        for (const auto& entry : entries) {
            if (!enter(*entry))
                continue;
            entry->function(arguments..., entry->context);
            leave(*entry);
            ++called;
        }
        return called;
    }

private:
    struct Entry {
        int key;
        Function function;
        void* context;
        bool is_removed = false;
        std::vector<std::thread::id> inside = {}; ///< a thread once for each of its calls
    };

    auto find(int key, Function function, void* context) {
        return std::find_if(m_entries.begin(), m_entries.end(), [=](const auto& entry) {
            return entry->key == key && entry->function == function && entry->context == context;
        });
    }

    bool enter(Entry& entry) {
        const std::lock_guard lock(m_mutex);
        if (!entry.is_removed)
            entry.inside.push_back(std::this_thread::get_id());
        return !entry.is_removed;
    }

    void leave(Entry& entry) {
        {
            const std::lock_guard lock(m_mutex);
            auto& inside = entry.inside;
            inside.erase(std::find(inside.begin(), inside.end(), std::this_thread::get_id()));
        }
        m_left.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_left;
    std::vector<std::shared_ptr<Entry>> m_entries; ///< not those that were removed
};
