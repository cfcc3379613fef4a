#pragma once

#include "drivers/capture/capture.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// Writes what passes as a capture, each line at once. Any thread.
///
/// A notice does not tell which boards have come or gone: the next enumeration does. The capture
/// then has them come and go at the time of the notice, or, if reports have come in between, of the
/// last of those. The clock starts with the first enumeration, so that the boards that it finds are
/// there at time 0. While an enumeration is under way, reports wait for its end, since a board that
/// it finds later is to be plugged in ahead of them.
class Recorder {
public:
    /// Begins the file that KESTRUNE_TAP_CAPTURE names; complains where that cannot be, and records
    /// nothing then.
    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// The driver has told how many boards it enumerates.
    void counted(int count);
    /// The driver has been asked for one board. `info` is null where it has not told anything.
    void described(int index, const _TAVEL_DEVICE_INFO* info);
    void notice();
    /// `device` as the callback brings it; one that no enumeration has told of is taken as
    /// `subscribed`. `data` may be null and `length` anything.
    void report(int device, int subscribed, const unsigned char* data, unsigned int length);
    /// Writes what still waits. To be called before the end.
    void flush();

private:
    using Clock = std::chrono::steady_clock;

    struct Enumeration {
        int count;
        std::chrono::nanoseconds time; ///< of what it finds
        Clock::time_point clock;       ///< when it began
        std::set<int> asked = {};      ///< indices
        std::vector<CapturedPlug> found = {};
    };

    std::chrono::nanoseconds now() const;
    std::chrono::nanoseconds enumerationTime();
    bool isBrokenOff() const;
    void endEnumeration(bool isComplete);
    void plugIn(const std::vector<CapturedPlug>& boards);
    void pullOut(int device);
    void writeReport(CaptureEvent event, int subscribed);
    template <typename What>
    void writeEvent(What what);
    void writeLine(const std::string& line);

    std::mutex m_mutex; ///< guards everything
    std::string m_path;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file; ///< null while nothing is recorded
    std::optional<Clock::time_point> m_start;
    std::chrono::nanoseconds m_time{0}; ///< of the event that is written; none goes back
    std::map<int, CapturedPlug> m_boards;
    std::optional<Enumeration> m_enumeration;
    std::optional<std::chrono::nanoseconds> m_notice;    ///< that no enumeration has followed yet
    std::vector<std::pair<CaptureEvent, int>> m_waiting; ///< reports, each with `subscribed`
};
