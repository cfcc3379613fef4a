#pragma once

#include <cstdint>
#include <map>

/// How often each whole number has come. Takes memory by the numbers that differ, not by how many
/// there are: an hour of intervals in microseconds is some thousand entries.
class Distribution {
public:
    void add(std::int64_t number);
    void add(const Distribution& other);

    bool empty() const { return m_size == 0; }
    std::uint64_t size() const { return m_size; }

    /// The least number that `percent` (1 to 100) per cent of all do not exceed: one that has come,
    /// never one between two. REQUIRES: not empty
    std::int64_t percentile(unsigned int percent) const;
    std::int64_t median() const { return percentile(50); }
    /// The first and the last in order. REQUIRES: not empty
    std::int64_t least() const { return m_counts.begin()->first; }
    std::int64_t greatest() const { return m_counts.rbegin()->first; }

    std::uint64_t countAbove(std::int64_t number) const;

private:
    std::map<std::int64_t, std::uint64_t> m_counts;
    std::uint64_t m_size = 0;
};
