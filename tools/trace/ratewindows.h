#pragma once

#include "tools/trace/distribution.h"

#include <cstdint>
#include <deque>

/// The report rates of a contact: how many reports come in each window of one second that begins
/// right after a report. No window of a second has fewer than the poorest of these. Keeps the
/// times of one second.
class RateWindows {
public:
    /// A report. `time_ns` is not before the one ahead of it.
    void add(std::int64_t time_ns);
    /// The contact is away: no window reaches beyond the last report.
    void breakOff();

    /// Reports a second.
    const Distribution& rates() const { return m_rates; }

private:
    std::deque<std::int64_t> m_times; ///< reports whose window has not ended
    Distribution m_rates;
};
