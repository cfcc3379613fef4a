#include "drivers/simulated/simulateddriver.h"

SimulatedDriver& SimulatedDriver::instance() {
    static SimulatedDriver driver;
    return driver;
}

SimulatedDriver::~SimulatedDriver() {
    if (m_session)
        m_leftovers.push_back(m_session->end());
    for (std::thread& thread : m_leftovers) {
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach(); // a callback ends the process
        else if (thread.joinable())
            thread.join();
    }
}

bool SimulatedDriver::attach() {
    const std::lock_guard lock(m_mutex);
    if (m_attachments++ == 0)
        m_session = Session::begin(playlistFromEnvironment(), faultsFromEnvironment());
    return m_session->isAttachable();
}

bool SimulatedDriver::detach() {
    if (const auto current = this->session())
        current->beginLateCalls();
    std::shared_ptr<Session> session;
    {
        const std::lock_guard lock(m_mutex);
        if (m_attachments == 0)
            return false;
        if (--m_attachments == 0)
            session = std::move(m_session);
    }
    if (session) {
        std::thread thread = session->end();
        const std::lock_guard lock(m_mutex);
        if (thread.joinable())
            m_leftovers.push_back(std::move(thread));
    }
    return true;
}

std::shared_ptr<Session> SimulatedDriver::session() const {
    const std::lock_guard lock(m_mutex);
    return m_session;
}
