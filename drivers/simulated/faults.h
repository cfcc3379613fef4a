#pragma once

#include <chrono>
#include <optional>

/// What the driver does wrong.
struct Faults {
    enum class Enumeration { Works, Fails, Changes };

    bool attachFails = false; ///< and as long as it does there are no boards
    std::optional<int> count; ///< of boards, as it is told
    Enumeration enumeration = Enumeration::Works;
    bool hasGhosts = false; ///< boards that are pulled out report on, to callbacks as they were
    bool callsLate = false; ///< during the detachment, and from then on
    int notices_per_s = 0;  ///< of plug-and-play, without any reason
    int threads = 1;        ///< that make each callback, all at once
    std::optional<std::chrono::milliseconds> length; ///< from the attachment; else to the end

    /// Whether callbacks that are cleared are called as before.
    bool keepsCallbacks() const { return hasGhosts || callsLate; }
};

/// Those that KESTRUNE_DRIVER_FAULTS names, for as long as KESTRUNE_DRIVER_FAULTS_MS says.
/// Complains of what is wrong with the two, and leaves that out.
Faults faultsFromEnvironment();
