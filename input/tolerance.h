#pragma once

#include <cmath>

/// Two coordinates closer than this are the same one. Absolute, whatever the magnitude: it lies far
/// below a board unit (1/32768) and a pixel. The toolkit's own comparison of points is relative, so
/// it is not used for records and strokes.
constexpr double kSameCoordinate = 1e-12;

/// False where either coordinate is not a number.
inline bool same_coordinate(double a, double b) {
    return std::abs(a - b) <= kSameCoordinate;
}

inline bool same_point(double ax, double ay, double bx, double by) {
    return same_coordinate(ax, bx) && same_coordinate(ay, by);
}
