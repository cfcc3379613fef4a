#pragma once

#include "hardware/abstracthardwarewrapper.h"

#include <vector>

/// One operation of the driver and what the driver is to see of it. Strings are what the stand-in
/// library writes.
struct Operation {
    enum class Result {
        Unchanged,   ///< what the driver returns
        True,        ///< whether that has anything in its low byte
        LowByteIsOne ///< whether its low byte is 1
    };

    const char* name;
    int (*call)(AbstractHardwareWrapper& driver);
    const char* seen;         ///< empty: the driver is not called
    int missing;              ///< the result where the driver lacks the entry point
    const char* instead = ""; ///< what the driver sees then, if it has everything else
    Result result = Result::Unchanged;
};

/// All 50 in the order of their virtual slots; an operation with a flag stands there once with
/// either value of it.
const std::vector<Operation>& operations();

/// The 47 names in the order of their lookup.
const std::vector<const char*>& entryPoints();
