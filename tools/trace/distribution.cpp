#include "tools/trace/distribution.h"

void Distribution::add(std::int64_t number) {
    ++m_counts[number];
    ++m_size;
}

void Distribution::add(const Distribution& other) {
    for (const auto& [number, count] : other.m_counts)
        m_counts[number] += count;
    m_size += other.m_size;
}

std::int64_t Distribution::percentile(unsigned int percent) const {
    const std::uint64_t rank = (m_size * percent + 99) / 100;
    std::uint64_t passed = 0;
    for (const auto& [number, count] : m_counts) {
        passed += count;
        if (passed >= rank)
            return number;
    }
    return greatest();
}

std::uint64_t Distribution::countAbove(std::int64_t number) const {
    std::uint64_t above = 0;
    for (auto entry = m_counts.upper_bound(number); entry != m_counts.end(); ++entry)
        above += entry->second;
    return above;
}
