#pragma once

#include <cstddef>

/// The bytes that the process has allocated so far, on all threads, whatever was freed since.
/// Always 0 in a sanitizer's build, which has an allocator of its own.
std::size_t allocated_bytes();
