#pragma once

#include "drivers/capture/capture.h"
#include "drivers/simulated/reports.h"

#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

/// What a board keeps for the program without any effect of its own, but for those two that say so.
enum class BoardSetting {
    TouchDestination, ///< touches are reported unless it is 0
    TouchEnabled,     ///< the same
    TouchSystemRedirection,
    LateDetection,
    TwoFingerScroll,
    CalibrationMode,
    DoubleClickDistance,
    ReversedButtons,
};

/// One board that is plugged in, with what the program has told it. Forgets all of it when it is
/// pulled out. Whoever owns it sees to the threads.
class Board {
public:
    explicit Board(CapturedPlug plug) : m_plug(std::move(plug)) {}

    const CapturedPlug& plug() const { return m_plug; }
    int device() const { return m_plug.device; }
    bool isUsable() const;

    void setMask(unsigned char mask) { m_mask = mask; }
    bool hasMask() const { return m_mask.value_or(0) != 0; }

    /// Pen numbers are 1 above those of the reports. Without effect where the flag is set.
    void setPenDestination(unsigned char pen, bool flag, unsigned char destination);
    int penDestination(unsigned char pen, bool flag) const; ///< 0 where none was set
    void set(BoardSetting setting, int value) { m_settings[setting] = value; }
    int get(BoardSetting setting) const; ///< as it is at first, where it was not set

    /// A text without its carriage return. \return whether the board is to report its touch status
    bool obey(std::string_view command);
    ReportBytes touchStatus() const;

    /// Takes note of which contacts are down.
    void sense(const ReportContent& report);
    bool isTouched() const { return !m_down.empty(); }

    /// Whether the program receives such a report.
    bool transmits(const ReportContent& report) const;
    /// Whether the program has said if it wants such a report. Of the pens it says so of four.
    bool isToldOf(const ReportContent& report) const;

private:
    int downOf(ReportKind kind) const;

    CapturedPlug m_plug;
    std::optional<unsigned char> m_mask;
    std::map<std::pair<int, bool>, unsigned char> m_penDestinations;
    std::map<BoardSetting, int> m_settings;
    std::optional<bool> m_reportsErasers;
    std::set<std::pair<ReportKind, int>> m_down;
};
