#include "tools/trace/ratewindows.h"

void RateWindows::add(std::int64_t time_ns) {
    constexpr std::int64_t window_ns = 1000000000;
    m_times.push_back(time_ns);
    while (time_ns - m_times.front() >= window_ns) {
        // All that are kept are within the window of the first one, but for itself, which it begins
        // after, and maybe the newest.
        const bool is_beyond = time_ns - m_times.front() > window_ns;
        m_rates.add(static_cast<std::int64_t>(m_times.size()) - 1 - (is_beyond ? 1 : 0));
        m_times.pop_front();
    }
}

void RateWindows::breakOff() {
    m_times.clear();
}
