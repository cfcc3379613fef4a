#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the fuzzer, which keeps the input, where a property does not hold.
inline void check(bool holds, const char* property) {
    if (holds)
        return;
    std::fprintf(stderr, "This does not hold: %s\n", property);
    std::abort();
}
