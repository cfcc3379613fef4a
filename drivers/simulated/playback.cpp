#include "drivers/simulated/playback.h"

#include <algorithm>
#include <cmath>

namespace {

using namespace std::chrono_literals;

constexpr auto kShortestRound = 10ms; // so that a loop of nothing does not keep a core busy
constexpr auto kFarOff = 24h * 365;   // stands for what is farther, which no clock has room for

} // namespace

std::vector<CapturedPlug> Playback::takeFirstBoards() {
    std::vector<CapturedPlug> boards;
    for (; m_next < m_playlist.events.size(); ++m_next) {
        const CaptureEvent& event = m_playlist.events[m_next];
        const auto* const plug = std::get_if<CapturedPlug>(&event.what);
        if (plug == nullptr || event.time > 0ns)
            break;
        boards.push_back(*plug);
    }
    m_first = m_next;
    return boards;
}

bool Playback::isUnpaced() const {
    return std::isinf(m_playlist.speed);
}

std::optional<Playback::Clock::time_point> Playback::due() const {
    if (!m_start)
        return {};
    if (m_next < m_playlist.events.size())
        return at(m_playlist.events[m_next].time);
    if (m_playlist.loops)
        return std::max(at(m_playlist.length), *m_start + kShortestRound);
    return {};
}

const CaptureEvent* Playback::next() const {
    return m_next < m_playlist.events.size() ? &m_playlist.events[m_next] : nullptr;
}

void Playback::rewind(Clock::time_point now) {
    m_next = m_first;
    m_start = now;
}

Playback::Clock::time_point Playback::at(std::chrono::nanoseconds time) const {
    const double scaled = static_cast<double>(time.count()) / m_playlist.speed;
    const double farthest = std::chrono::nanoseconds(kFarOff).count();
    return *m_start + std::chrono::nanoseconds(std::llround(std::min(scaled, farthest)));
}
