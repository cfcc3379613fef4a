#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

/// Empty where there is no such variable.
inline std::string fromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? std::string() : value;
}

/// Writes one line to standard error, at once and whole. `who` tells one driver from another.
inline void complain(const char* who, const std::string& what) {
    std::fputs((std::string("libtavelboardex.so.1 (") + who + "): " + what + '\n').c_str(), stderr);
}
