#pragma once

#include "hardware/tavelhardware.h"
#include "tools/trace/statistics.h"
#include "tools/trace/summary.h"

#include <QObject>
#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class Vcd;

/// Writes every report of a session down as it comes, on the thread that brings it: as signals of
/// the trace and in the statistics.
///
/// A report does not tell which board it is from, so pens of two boards that have one number are
/// one contact, and so are fingers and erasers. Any thread may ask.
class Recording {
public:
    using Clock = std::function<std::int64_t()>; ///< nanoseconds that never go back

    /// Begins to record. REQUIRES: `hardware` lets in no callback any more when this is destroyed
    explicit Recording(TavelHardware& hardware, Clock clock = steadyClock);
    ~Recording();

    static std::int64_t steadyClock();

    Progress progress() const;
    Summary summary() const;

private:
    using Contact = std::pair<ContactKind, int>;

    template <typename List>
    void recordReport(ContactKind kind, const List& contacts);
    template <typename Fields>
    void recordSignals(Contact contact, const Fields& fields);

    const Clock m_clock;
    const std::int64_t m_start_ns;

    mutable std::mutex m_mutex; ///< guards what follows, but for the context
    std::array<KindStatistics, kContactKinds.size()> m_kinds;
    std::map<Contact, std::vector<Vcd>> m_signals;

    QObject m_context; ///< ends the connections
};
