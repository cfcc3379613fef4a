#pragma once

#include "tools/trace/coverage.h"
#include "tools/trace/distribution.h"
#include "tools/trace/ratewindows.h"
#include "tools/trace/restfinder.h"

#include <cstdint>
#include <map>
#include <optional>

// What the reports of contacts come to. docs/trace.md tells each figure exactly. No class here
// takes a lock, and none keeps the reports.

/// One report of one contact.
struct Sample {
    std::int64_t time_ns = 0; ///< of one steady clock, never before the contact's last one
    int x = 0;                ///< board units
    int y = 0;
    bool isDown = false;
};

/// Of a contact, or of all contacts of a kind together.
struct Figures {
    std::uint64_t reports = 0; ///< of a kind: of the boards, however many contacts one tells of
    Distribution rates;        ///< reports a second
    Distribution down_us;      ///< intervals while down
    Distribution hovering_us;  ///< intervals while up but in reach
    std::uint64_t dropouts = 0;
    RestFinder::Rest rest;
    Coverage coverage;
};

class ContactStatistics {
public:
    /// Only what hovers is reported while it is up. Another contact that is up is away.
    explicit ContactStatistics(bool hovers) : m_hovers(hovers) {}

    void add(const Sample& sample);

    Figures figures() const;
    bool isDown() const { return m_last && m_last->isDown; }
    std::int64_t downSince_ns() const { return m_downSince_ns; }   ///< REQUIRES: isDown()
    std::int64_t lastReport_ns() const { return m_last->time_ns; } ///< REQUIRES: a report

private:
    bool isAwayUntil(const Sample& next) const;

    bool m_hovers;
    std::optional<Sample> m_last;
    std::int64_t m_downSince_ns = 0;
    std::uint64_t m_reports = 0;
    RateWindows m_rates;
    Distribution m_down_us;
    Distribution m_hovering_us;
    RestFinder m_rest;
    Coverage m_coverage;
};

/// The contacts of one kind.
class KindStatistics {
public:
    explicit KindStatistics(bool hovers) : m_hovers(hovers) {}

    /// One contact of a report, and then the report's end.
    void add(int number, const Sample& sample);
    void endReport();

    const std::map<int, ContactStatistics>& contacts() const { return m_contacts; }
    std::uint64_t reports() const { return m_reports; }
    int down() const { return m_down; }         ///< contacts, after the last report
    int mostDown() const { return m_mostDown; } ///< contacts, after any report
    Figures figures() const;

private:
    bool m_hovers;
    std::map<int, ContactStatistics> m_contacts; ///< by number
    std::uint64_t m_reports = 0;
    int m_down = 0;
    int m_mostDown = 0;
};
