#include "strokes/layer.h"

#include <cstdlib>
#include <sys/mman.h>

namespace {

constexpr std::size_t kHugePage = std::size_t{1} << 21; // on x86-64; elsewhere an alignment as any

std::size_t in_whole_pages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

} // namespace

std::unique_ptr<QImage> new_layer(QSize size, QImage::Format format) {
    constexpr std::size_t pixel = 4;
    const std::size_t line = pixel * static_cast<std::size_t>(size.width());
    const std::size_t bytes = in_whole_pages(line * static_cast<std::size_t>(size.height()));
    void* const memory = bytes > kHugePage ? std::aligned_alloc(kHugePage, bytes) : nullptr;
    if (memory != nullptr) {
        madvise(memory, bytes, MADV_HUGEPAGE); // which may be refused
        return std::make_unique<QImage>(static_cast<uchar*>(memory), size.width(), size.height(),
                                        static_cast<int>(line), format, std::free, memory);
    }
    return std::make_unique<QImage>(size, format);
}
