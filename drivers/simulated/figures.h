#pragma once

#include <functional>
#include <vector>

/// The figures of the demonstration, on a surface of 16 to 9.
namespace figures {

constexpr double kWidth = 16.0;
constexpr double kHeight = 9.0;
constexpr double kPi = 3.14159265358979323846;

struct Point {
    double u = 0.0; ///< 0 to kWidth
    double v = 0.0; ///< 0 to kHeight, downward
};

/// From 0 to 1, where the line begins and ends.
using Line = std::function<Point(double)>;

/// From corner to corner, at an even speed.
Line along(const std::vector<Point>& corners);
Line loops(Point start, double width, int count);
Line spiral(Point centre, double radius, int turns);
Line flower(Point centre, double radius);
Line circle(Point centre, double radius);
/// From `inner` to `outer` away from the centre, with a slight turn. An angle of 0 is to the right,
/// of half a pi up.
Line ray(Point centre, double inner, double outer, double angle);
/// Leftward where the width is negative.
Line wave(Point start, double width, double height, int count);
/// The name of the program, line by line.
std::vector<Line> word(Point topLeft, double letterDistance, double letterHeight);

} // namespace figures
