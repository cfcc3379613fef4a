#pragma once

#include "hardware/tavelentrypoints.h"

/// The driver library that calls are passed on to, with its entry points: null where it lacks one,
/// and all of them where there is no such library.
struct RealDriver {
    /// Opens the library that KESTRUNE_TAP_DRIVER names; complains where that cannot be.
    RealDriver();

    void* library = nullptr; ///< from dlopen; it is left open, for whoever knows when to close it

#define TAVEL_POINTER(name)                                                                        \
    TavelEntryPoint<decltype(&AbstractHardwareWrapper::name)>::Type name = nullptr;
    TAVEL_ENTRY_POINTS(TAVEL_POINTER)
#undef TAVEL_POINTER
};
