#include "drivers/simulated/callbackcounts.h"

#include "drivers/environment.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// What the file holds, in the machine's own order of bytes.
struct Counts {
    std::atomic<std::uint64_t> reports[4]; ///< by kind: pens, touches, erasers, others
    std::atomic<std::uint64_t> notices;
};
static_assert(sizeof(Counts) == 5 * sizeof(std::uint64_t));

constexpr int kOwnerWrites = 0644;

/// Null where there is none. It is mapped to the end of the process.
Counts* openCounts() {
    const std::string path = fromEnvironment("KESTRUNE_DRIVER_COUNTS");
    if (path.empty())
        return nullptr;
    void* counts = MAP_FAILED;
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kOwnerWrites);
    if (file >= 0 && ftruncate(file, sizeof(Counts)) == 0)
        counts = mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (counts == MAP_FAILED)
        complain("simulated", path + ": " + std::strerror(errno));
    if (file >= 0)
        close(file);
    return counts == MAP_FAILED ? nullptr : static_cast<Counts*>(counts);
}

Counts* counts() {
    static Counts* const mapped = openCounts();
    return mapped;
}

} // namespace

void countReports(ReportKind kind, int callbacks) {
    if (Counts* const all = counts())
        all->reports[static_cast<int>(kind)] += static_cast<std::uint64_t>(callbacks);
}

void countNotices(int callbacks) {
    if (Counts* const all = counts())
        all->notices += static_cast<std::uint64_t>(callbacks);
}
