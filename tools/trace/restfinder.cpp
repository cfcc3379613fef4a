#include "tools/trace/restfinder.h"

#include <algorithm>
#include <cstdlib>

void RestFinder::Rest::add(const Rest& other) {
    blocks += other.blocks;
    spreadX = std::max(spreadX, other.spreadX);
    spreadY = std::max(spreadY, other.spreadY);
}

void RestFinder::Axis::add(int value, bool isFirst) {
    least = isFirst ? value : std::min(least, value);
    greatest = isFirst ? value : std::max(greatest, value);
    sum += value;
}

bool RestFinder::Block::isNarrow() const {
    constexpr std::int64_t fewest = 2;
    return count >= fewest && x.spread() <= kFarthest && y.spread() <= kFarthest;
}

/// Means are compared without dividing. A block of no reports is beside nothing.
bool RestFinder::Block::isBeside(const Block& other) const {
    const std::int64_t drift = kDrift * count * other.count;
    return std::abs(x.sum * other.count - other.x.sum * count) <= drift &&
           std::abs(y.sum * other.count - other.y.sum * count) <= drift;
}

void RestFinder::addDown(std::int64_t time_ns, int x, int y) {
    if (!m_isDown) {
        m_isDown = true;
        m_blockStart_ns = time_ns;
    }
    finishBlocksBefore(time_ns);
    m_block.x.add(x, m_block.count == 0);
    m_block.y.add(y, m_block.count == 0);
    ++m_block.count;
}

/// The block that it lifts in is not full and counts for nothing.
void RestFinder::lift(std::int64_t time_ns) {
    if (m_isDown)
        finishBlocksBefore(time_ns);
    m_isDown = false;
    m_block = {};
    m_before = {};
}

void RestFinder::finishBlocksBefore(std::int64_t time_ns) {
    const std::int64_t ended = (time_ns - m_blockStart_ns) / kBlock_ns;
    m_blockStart_ns += ended * kBlock_ns;
    // Three empty ones are as good as any number.
    for (std::int64_t i = 0; i < std::min<std::int64_t>(ended, 1 + 3); ++i)
        finishBlock();
}

void RestFinder::finishBlock() {
    const auto& [first, middle] = m_before;
    if (first.isNarrow() && middle.isNarrow() && m_block.isNarrow() && middle.isBeside(first) &&
        middle.isBeside(m_block))
        m_rest.add({1, middle.x.spread(), middle.y.spread()});
    m_before = {middle, m_block};
    m_block = {};
}
