#pragma once

#include "drivers/capture/capture.h"

#include <chrono>
#include <vector>

/// What the simulated boards do.
struct Playlist {
    std::vector<CaptureEvent> events;
    std::chrono::nanoseconds length{0}; ///< of one round, no less than the last event's time
    double speed = 1.0;                 ///< above 0; infinite is as fast as it can be
    bool loops = false;
};

/// What the environment asks for: KESTRUNE_CAPTURE with KESTRUNE_CAPTURE_SPEED and
/// KESTRUNE_CAPTURE_LOOP, or else the demonstration. Complains of what is wrong, and gives no
/// boards where that is the capture.
Playlist playlistFromEnvironment();
