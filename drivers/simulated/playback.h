#pragma once

#include "drivers/simulated/playlist.h"

#include <chrono>
#include <optional>

/// Where a playlist has got to, and when it goes on. Whoever owns it sees to the threads.
class Playback {
public:
    using Clock = std::chrono::steady_clock;

    explicit Playback(Playlist playlist) : m_playlist(std::move(playlist)) {}

    /// The first time: boards that are there from the start, which are not played.
    std::vector<CapturedPlug> takeFirstBoards();

    bool hasStarted() const { return m_start.has_value(); }
    void start(Clock::time_point now) { m_start = now; }
    /// Whether events come as fast as they are taken.
    bool isUnpaced() const;

    /// When the next event is due, or the next round. Nothing before the start and after the end.
    std::optional<Clock::time_point> due() const;
    /// Null at the end of a round.
    const CaptureEvent* next() const;
    void advance() { ++m_next; }
    /// Begins the next round.
    void rewind(Clock::time_point now);

private:
    Clock::time_point at(std::chrono::nanoseconds time) const;

    Playlist m_playlist;
    std::size_t m_first = 0; ///< index of the first event that is played
    std::size_t m_next = 0;
    std::optional<Clock::time_point> m_start; ///< of the round
};
