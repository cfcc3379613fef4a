#include "hardware/reportflow.h"

#include <algorithm>

void ReportFlow::start() {
    m_receiver = std::this_thread::get_id();
    m_is_started = true;
}

void ReportFlow::stop() {
    m_is_started = false;
    wake();
}

void ReportFlow::turn(bool loop_runs) {
    m_spent = Duration::zero();
    see(loop_runs);
    m_is_share_used = false;
    wake();
}

void ReportFlow::admit() {
    if (!m_is_started)
        return;
    if (!has_room() && !is_free() && !is_receivers_thread()) {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        unsigned taken = m_taken;
        while (!m_room.wait_for(lock, m_patience, [this] { return has_room() || is_free(); })) {
            if (taken == m_taken)
                m_is_receiver_gone = true;
            taken = m_taken;
        }
        --m_waiting;
    }
    ++m_under_way;
}

/// The receiver is there. Stores only what changes: the driver's threads read it all the time.
void ReportFlow::see(bool loop_runs) {
    if (m_loop_runs != loop_runs)
        m_loop_runs = loop_runs;
    if (m_is_receiver_gone)
        m_is_receiver_gone = false;
}

void ReportFlow::delivered(Duration took) {
    ++m_taken;
    // A report that was sent before the start is not counted.
    int under_way = m_under_way;
    while (under_way > 0 && !m_under_way.compare_exchange_weak(under_way, under_way - 1)) {
    }
    m_spent += took;
    if (m_spent >= kShare)
        m_is_share_used = true;
    // What is under way may be as slow as the slowest of late, and cannot be called back.
    m_slowest = std::max(took, m_slowest * 7 / 8);
    constexpr Duration share = kShare;
    m_most_under_way = m_slowest <= share / kMostUnderWay
                           ? kMostUnderWay
                           : std::max(1, static_cast<int>(share / m_slowest));
    wake();
}

bool ReportFlow::has_room() const {
    return !m_is_share_used && m_under_way < m_most_under_way;
}

bool ReportFlow::is_free() const {
    return !m_is_started || !m_loop_runs || m_is_receiver_gone || m_driver_calls > 0;
}

bool ReportFlow::is_receivers_thread() const {
    return m_receiver.load() == std::this_thread::get_id();
}

/// To be called after each change that somebody may wait for.
void ReportFlow::wake() {
    if (m_waiting == 0)
        return;
    { const std::lock_guard lock(m_mutex); } // who has counted itself in is waiting by now
    m_room.notify_all();
}

ReportFlow::Delivery::Delivery(ReportFlow& flow, bool loop_runs)
    : m_flow(flow), m_begin(flow.m_now()) {
    m_flow.see(loop_runs);
}

ReportFlow::Delivery::~Delivery() {
    m_flow.delivered(m_flow.m_now() - m_begin);
}

ReportFlow::DriverCall::DriverCall(ReportFlow& flow)
    : m_flow(flow), m_is_receivers(flow.is_receivers_thread()) {
    if (!m_is_receivers)
        return;
    ++m_flow.m_driver_calls;
    m_flow.wake();
}

ReportFlow::DriverCall::~DriverCall() {
    if (m_is_receivers)
        --m_flow.m_driver_calls;
}
