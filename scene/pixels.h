#pragma once

#include <QRect>
#include <QSize>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

// Conversions to whole pixels for coordinates that come from outside and may be anything: what fits
// is converted as the language does, what does not is set to the nearest end of the range.

/// Saturates.
inline int to_int(std::int64_t value) {
    constexpr std::int64_t lowest = std::numeric_limits<int>::min();
    constexpr std::int64_t highest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, lowest, highest));
}

/// The integer part: truncated toward zero. Not a number gives 0.
inline int integer_part(double value) {
    if (std::isnan(value))
        return 0;
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, lowest, highest));
}

/// The nearest integer, halves upward as qRound() has it.
inline int rounded(double value) {
    return integer_part(std::floor(value + 0.5));
}

/// QRect(left, top, width, height) with its far corner saturated.
inline QRect pixel_rect(int left, int top, int width, int height) {
    QRect rect;
    rect.setCoords(left, top, to_int(std::int64_t{left} + width - 1),
                   to_int(std::int64_t{top} + height - 1));
    return rect;
}

/// `rect` with every side moved out by `margin`, saturated.
inline QRect widened(const QRect& rect, int margin) {
    QRect wide;
    wide.setCoords(
        to_int(std::int64_t{rect.left()} - margin), to_int(std::int64_t{rect.top()} - margin),
        to_int(std::int64_t{rect.right()} + margin), to_int(std::int64_t{rect.bottom()} + margin));
    return wide;
}

/// Whether an image of this size can be painted on and can be afforded: the toolkit's raster engine
/// reaches no farther than 15 bits on an axis, and `most_pixels` bounds the memory (4 bytes each).
inline bool is_possible_image(QSize size, std::int64_t most_pixels) {
    constexpr int longest_side = 32767;
    return size.width() <= longest_side && size.height() <= longest_side &&
           std::int64_t{size.width()} * size.height() <= most_pixels;
}
