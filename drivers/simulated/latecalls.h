#pragma once

#include "drivers/simulated/reports.h"
#include "hardware/abstracthardwarewrapper.h"

#include <vector>

/// Callbacks that a driver makes when it should not any more.
struct LateCalls {
    struct Report {
        TavelPacketCallback callback;
        int device;
        ReportBytes bytes;
        void* context;
    };
    struct Notice {
        TavelPnpCallback callback;
        void* context;
    };
    std::vector<Report> reports;
    std::vector<Notice> notices;
};

/// Makes them over and over from a thread of its own, to the end of the process: this library stays
/// in memory for that. Returns when each has been made once.
void beginLateCalls(LateCalls calls);
