#include "tools/trace/statistics.h"

#include <algorithm>

namespace {

constexpr std::int64_t kMicrosecond_ns = 1000;
constexpr std::int64_t kAbsence_ns = 1000000000; // no board pauses that long within reach
constexpr std::int64_t kDropoutFactor = 4;

} // namespace

bool ContactStatistics::isAwayUntil(const Sample& next) const {
    return !m_last->isDown && (!m_hovers || next.time_ns - m_last->time_ns > kAbsence_ns);
}

void ContactStatistics::add(const Sample& sample) {
    ++m_reports;
    if (m_last) {
        const std::int64_t interval_us = (sample.time_ns - m_last->time_ns) / kMicrosecond_ns;
        if (isAwayUntil(sample))
            m_rates.breakOff();
        else
            (m_last->isDown ? m_down_us : m_hovering_us).add(interval_us);
    }
    m_rates.add(sample.time_ns);
    if (sample.isDown) {
        if (!isDown())
            m_downSince_ns = sample.time_ns;
        m_rest.addDown(sample.time_ns, sample.x, sample.y);
        m_coverage.add(sample.x, sample.y);
    } else {
        m_rest.lift(sample.time_ns);
    }
    m_last = sample;
}

Figures ContactStatistics::figures() const {
    Figures figures;
    figures.reports = m_reports;
    figures.rates = m_rates.rates();
    figures.down_us = m_down_us;
    figures.hovering_us = m_hovering_us;
    if (!m_down_us.empty())
        figures.dropouts = m_down_us.countAbove(kDropoutFactor * m_down_us.median());
    figures.rest = m_rest.rest();
    figures.coverage = m_coverage;
    return figures;
}

void KindStatistics::add(int number, const Sample& sample) {
    ContactStatistics& contact = m_contacts.try_emplace(number, m_hovers).first->second;
    m_down -= contact.isDown() ? 1 : 0;
    contact.add(sample);
    m_down += contact.isDown() ? 1 : 0;
}

void KindStatistics::endReport() {
    ++m_reports;
    m_mostDown = std::max(m_mostDown, m_down);
}

Figures KindStatistics::figures() const {
    Figures all;
    for (const auto& [number, contact] : m_contacts) {
        const Figures one = contact.figures();
        all.rates.add(one.rates);
        all.down_us.add(one.down_us);
        all.hovering_us.add(one.hovering_us);
        all.dropouts += one.dropouts;
        all.rest.add(one.rest);
        all.coverage.add(one.coverage);
    }
    all.reports = m_reports;
    return all;
}
