#pragma once

#include "trace/blocklist.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

/// A handle to one named signal of the process-wide trace, which write_vcd turns into a Value
/// Change Dump (IEEE 1364) for waveform viewers. The trace only grows, by some 25 bytes a change: a
/// signal and its history outlive every handle. Handles may be made and updated on any thread.
///
/// Nothing is checked or escaped, so mind the readers: GTKWave refuses a file with a blank or a
/// colon in a signal's name, and its converters drop `char` signals, which are written as string
/// values under a real declaration. That pairing is intended.
class Vcd {
public:
    /// What `type` tells.
    enum Kind { kChar = 0, kDouble = 1, kInt = 2, kUnsigned = 3 };

    struct change {
        std::uint32_t id = 0;
        int type = 0; ///< of the handle that recorded it: handles of one signal may differ
        double value = 0.0;
        std::int64_t time = 0; ///< nanoseconds since m_starttime
    };

    /// Joins the signal `name`, or adds it to the trace, and records `value` as update does.
    Vcd(std::string name, char value);
    Vcd(std::string name, double value);
    Vcd(std::string name, int value);
    Vcd(std::string name, unsigned int value);

    /// Records `value`, unless it equals the signal's last one: -0.0 equals 0.0, and what is not a
    /// number equals nothing. The times of a signal strictly increase, whatever the clock does.
    void update(double value);

    /// Writes the whole trace to `filename`, replacing what is there. A file that cannot be opened
    /// is left alone, and a write that fails ends the file where it failed: both silently.
    /// REQUIRES: no other thread records meanwhile; m_mutex is not taken.
    static void write_vcd(std::string filename);

    /// The first signal's number, for which its identifier code is the first printable character.
    static constexpr std::uint32_t kFirstId = 33;

    std::uint32_t id = 0; ///< the signal, kFirstId or more
    int type = kChar;     ///< the Kind of value that this handle was made with

    // Inline, and so constructed before any signal that is a static object of a file that includes
    // this one.
    inline static std::map<std::uint32_t, std::string> m_id_to_name_map;
    inline static std::map<std::string, std::uint32_t> m_name_to_id_map;
    inline static std::map<std::uint32_t, BlockList<change>> m_id_to_changes_map;
    inline static std::mutex m_mutex; ///< guards the maps and m_next_id
    inline static std::uint32_t m_next_id = kFirstId;

    /// When the program started. The clock is the wall's: it may stand still or step back.
    inline static std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>
        m_starttime = std::chrono::system_clock::now();

private:
    Vcd(std::string&& name, Kind kind, double value);
};
