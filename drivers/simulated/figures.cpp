#include "drivers/simulated/figures.h"

#include <algorithm>
#include <cmath>

namespace figures {

namespace {

double distance(Point a, Point b) {
    return std::hypot(b.u - a.u, b.v - a.v);
}

Point around(Point centre, double radius, double angle) {
    return {centre.u + radius * std::cos(angle), centre.v - radius * std::sin(angle)};
}

/// A letter's lines on a grid of 4 across and 6 down.
using Letter = std::vector<std::vector<Point>>;

const std::vector<Letter>& letters() {
    static const Letter k = {{{0, 0}, {0, 6}}, {{4, 0}, {0, 3}, {4, 6}}};
    static const Letter e = {{{4, 0}, {0, 0}, {0, 6}, {4, 6}}, {{0, 3}, {3, 3}}};
    static const Letter s = {{{4, 1},
                              {3, 0},
                              {1, 0},
                              {0, 1},
                              {0, 2},
                              {1, 3},
                              {3, 3},
                              {4, 4},
                              {4, 5},
                              {3, 6},
                              {1, 6},
                              {0, 5}}};
    static const Letter t = {{{0, 0}, {4, 0}}, {{2, 0}, {2, 6}}};
    static const Letter r = {{{0, 6}, {0, 0}, {3, 0}, {4, 1}, {4, 2}, {3, 3}, {0, 3}},
                             {{2, 3}, {4, 6}}};
    static const Letter u = {{{0, 0}, {0, 5}, {1, 6}, {3, 6}, {4, 5}, {4, 0}}};
    static const Letter n = {{{0, 6}, {0, 0}, {4, 6}, {4, 0}}};
    static const std::vector<Letter> word = {k, e, s, t, r, u, n, e};
    return word;
}

} // namespace

Line along(const std::vector<Point>& corners) {
    std::vector<double> reached = {0.0}; // at each corner
    for (std::size_t i = 1; i < corners.size(); ++i)
        reached.push_back(reached.back() + distance(corners[i - 1], corners[i]));
    return [corners, reached](double progress) -> Point {
        const double at = progress * reached.back();
        const auto after = std::lower_bound(reached.begin() + 1, reached.end() - 1, at);
        const auto i = static_cast<std::size_t>(after - reached.begin());
        const double part = (at - reached[i - 1]) / (reached[i] - reached[i - 1]);
        return {corners[i - 1].u + (corners[i].u - corners[i - 1].u) * part,
                corners[i - 1].v + (corners[i].v - corners[i - 1].v) * part};
    };
}

Line loops(Point start, double width, int count) {
    return [=](double progress) -> Point {
        const double angle = 2.0 * kPi * count * progress;
        return {start.u + width * progress + 0.55 * (1.0 - std::cos(angle)),
                start.v - 1.0 * std::sin(angle)};
    };
}

Line spiral(Point centre, double radius, int turns) {
    return [=](double progress) {
        return around(centre, radius * progress, 2.0 * kPi * turns * progress);
    };
}

Line flower(Point centre, double radius) {
    return [=](double progress) {
        constexpr int petals = 5;
        const double angle = kPi * progress;
        return around(centre, radius * std::sin(petals * angle), angle + kPi / 2);
    };
}

Line circle(Point centre, double radius) {
    return [=](double progress) { return around(centre, radius, 2.0 * kPi * progress); };
}

Line ray(Point centre, double inner, double outer, double angle) {
    return [=](double progress) {
        constexpr double turn = 0.3;
        return around(centre, inner + (outer - inner) * progress,
                      angle + turn * std::sin(kPi * progress));
    };
}

Line wave(Point start, double width, double height, int count) {
    return [=](double progress) -> Point {
        return {start.u + width * progress,
                start.v - height * std::sin(2.0 * kPi * count * progress)};
    };
}

std::vector<Line> word(Point topLeft, double letterDistance, double letterHeight) {
    std::vector<Line> lines;
    const double scale = letterHeight / 6.0;
    double left = topLeft.u;
    for (const Letter& letter : letters()) {
        for (std::vector<Point> corners : letter) {
            for (Point& corner : corners)
                corner = {left + corner.u * scale * 0.5, topLeft.v + corner.v * scale};
            lines.push_back(along(corners));
        }
        left += letterDistance;
    }
    return lines;
}

} // namespace figures
