#pragma once

#include "hardware/tavelentrypoints.h"

#include <type_traits>

// The entry points that a driver library defines, with the types that the program calls them by.
// They are all that such a library exports.
#define TAVEL_DECLARE(name)                                                                        \
    extern "C" __attribute__((visibility("default")))                                              \
    std::remove_pointer_t<TavelEntryPoint<decltype(&AbstractHardwareWrapper::name)>::Type>         \
        tavel##name;
TAVEL_ENTRY_POINTS(TAVEL_DECLARE)
#undef TAVEL_DECLARE
