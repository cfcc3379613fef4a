#pragma once

#include "drivers/simulated/session.h"

/// The library as a whole: whether it is attached to, and what it keeps beside the boards. Any
/// thread. Goes when the library is unloaded or the process ends, with its threads.
class SimulatedDriver {
public:
    static SimulatedDriver& instance();
    ~SimulatedDriver();

    /// The first attachment begins a session with what the environment then asks for. \return false
    /// where that is that it fails
    bool attach();
    /// The last one ends it. \return false where nobody is attached
    bool detach();
    /// Null while nobody is attached.
    std::shared_ptr<Session> session() const;

    /// What belongs to no board.
    struct Desk {
        int locks = 0;
        int serialConnected = 0;
        int serialStartupMode = 0;
    };
    template <typename Use>
    int atDesk(Use use) {
        const std::lock_guard lock(m_mutex);
        return use(m_desk);
    }

private:
    SimulatedDriver() = default;

    mutable std::mutex m_mutex; ///< guards everything
    int m_attachments = 0;
    std::shared_ptr<Session> m_session;
    std::vector<std::thread> m_leftovers; ///< of sessions that were ended by their own callbacks
    Desk m_desk;
};
