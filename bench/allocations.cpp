#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<std::size_t> s_allocated{0};

} // namespace

std::size_t allocated_bytes() {
    return s_allocated;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The C library's own, which these stand in front of.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
    s_allocated += size;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    s_allocated += count * size;
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    s_allocated += size;
    return __libc_realloc(block, size);
}
}

#endif
