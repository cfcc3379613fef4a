#pragma once

#include <array>

class TavelHardware;

/// What a board sends to the program.
struct WantedReports {
    static constexpr int kPens = 4;

    std::array<bool, kPens> pens = {true, true, true, true};
    bool touches = true;
    bool erasers = true;

    static WantedReports all() { return {}; }
    static WantedReports none() { return {{}, false, false}; }
};

/// A board that is plugged in takes that long to listen: it is to be configured so many
/// milliseconds after the enumeration that has found it.
constexpr int kConfigurationDelay_ms = 2000;

/// Sets every board in use to send what is wanted and nothing else.
void configure(TavelHardware& hardware, const WantedReports& wanted);
