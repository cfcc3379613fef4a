#include "scene/glyphoutline.h"

#include <array>
#include <cmath>

namespace {

constexpr double kGrid = 64.0; // a font's points, in a pixel

/// Points in the middle of two of the font's count as well.
bool is_on_grid(QPointF point) {
    const QPointF halves = point * (2.0 * kGrid);
    return halves.x() == std::floor(halves.x()) && halves.y() == std::floor(halves.y());
}

QPointF nearest_on_grid(QPointF point) {
    return QPointF(std::round(point.x() * kGrid), std::round(point.y() * kGrid)) / kGrid;
}

/// In the middle between two of the toolkit's steps in filling, which are those of the grid. Wider
/// than what SubpixelSteps holds for near.
bool is_near_middle(double coordinate) {
    constexpr double near = 2e-5;
    const double steps = coordinate * kGrid;
    return std::abs(steps - std::floor(steps) - 0.5) < near;
}

/// The operator of the toolkit is content with points that are near each other.
bool are_equal(QPointF a, QPointF b) {
    return a.x() == b.x() && a.y() == b.y();
}

/// The control point next to `end` of the cubic curve that is the quadratic one with `control`. In
/// the toolkit's order of operations.
QPointF cubic_control(QPointF control, QPointF end) {
    return (2.0 * control + end) / 3.0;
}

using Curve = std::array<QPointF, 4>; // cubic: start, two control points, end

constexpr int kMostHalvings = 9; // the toolkit's

/// Too near to the bound for both ways of computing the value to be sure of the same side.
bool is_on_edge(double value, double bound) {
    constexpr double rounding = 1e-9;
    return std::abs(value - bound) < rounding;
}

/// Calls `add_point` with the end of each of the curve's lines. It is halved until its control
/// points are near enough to the line between its ends. In the toolkit's order of operations, as a
/// point in the middle between two of the steps in which it fills may else be rounded to the other.
/// \return whether no halving was a matter of rounding
template <typename AddPoint>
bool add_lines(const Curve& curve, int most_halvings, AddPoint& add_point) {
    constexpr double near_enough = 0.25;
    constexpr double short_length = 1.0;
    const auto& [start, first, second, end] = curve;
    const QPointF line = end - start;
    const QPointF from_first = start - first;
    const QPointF from_second = start - second;
    const auto off_line = [&line](QPointF p) {
        return std::abs(line.x() * p.y() - line.y() * p.x());
    };
    const double length = line.manhattanLength();
    const bool is_short = length <= short_length;
    const double off = is_short ? std::abs(from_first.x()) + std::abs(from_first.y()) +
                                      std::abs(from_second.x()) + std::abs(from_second.y())
                                : off_line(from_first) + off_line(from_second);
    const double bound = is_short ? near_enough : near_enough * length;
    const bool is_sure = !is_on_edge(length, short_length) && !is_on_edge(off, bound);
    if (off < bound || most_halvings == 0) {
        add_point(end);
        return is_sure;
    }
    const QPointF middle = (first + second) * 0.5;
    const QPointF to_first = (start + first) * 0.5;
    const QPointF to_end = (second + end) * 0.5;
    const QPointF before = (to_first + middle) * 0.5;
    const QPointF after = (to_end + middle) * 0.5;
    const QPointF half = (before + after) * 0.5;
    const bool is_first_sure =
        add_lines({start, to_first, before, half}, most_halvings - 1, add_point);
    const bool is_second_sure = add_lines({half, after, to_end, end}, most_halvings - 1, add_point);
    return is_sure && is_first_sure && is_second_sure;
}

} // namespace

std::optional<GlyphOutline> GlyphOutline::of(const QPainterPath& path) {
    GlyphOutline outline;
    if (path.isEmpty()) // which may yet have an element
        return outline;
    QPointF at;
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element element = path.elementAt(i);
        if (element.isCurveTo()) {
            const std::optional<Element> found = curve(path, i, at);
            if (!found)
                return std::nullopt;
            outline.m_elements.push_back(*found);
            i += 2;
        } else {
            const auto kind = element.isMoveTo() ? Element::Kind::Move : Element::Kind::Line;
            outline.m_elements.push_back({kind, element, {}, {}});
        }
        at = outline.m_elements.back().end;
        if (!is_on_grid(at))
            return std::nullopt;
    }
    outline.m_bounds = path.boundingRect();
    outline.m_path = path;
    outline.straighten();
    return outline;
}

/// The curve of which the path's element `index` is the first.
std::optional<GlyphOutline::Element> GlyphOutline::curve(const QPainterPath& path, int index,
                                                         QPointF start) {
    const QPointF first = path.elementAt(index);
    const QPointF second = path.elementAt(index + 1);
    const QPointF end = path.elementAt(index + 2);
    const QPointF control = nearest_on_grid((3.0 * first - start) / 2.0);
    if (are_equal(cubic_control(control, start), first) &&
        are_equal(cubic_control(control, end), second))
        return Element{Element::Kind::Quadratic, end, control, {}};
    if (is_on_grid(first) && is_on_grid(second))
        return Element{Element::Kind::Cubic, end, first, second};
    return std::nullopt;
}

/// The curve of an element that is moved to `place` and begins at `start`, which is so already.
std::array<QPointF, 4> GlyphOutline::cubic(const Element& element, QPointF start, QPointF place) {
    const QPointF control = element.control + place;
    const QPointF end = element.end + place;
    if (element.kind == Element::Kind::Cubic)
        return {start, control, element.second_control + place, end};
    return {start, cubic_control(control, start), cubic_control(control, end), end};
}

/// Calls `add_curve` with each curve and where it begins.
template <typename AddCurve>
void GlyphOutline::add_to(QPainterPath& path, QPointF place, AddCurve add_curve) const {
    QPointF at;
    for (const Element& element : m_elements) {
        const QPointF end = element.end + place;
        if (element.kind == Element::Kind::Move)
            path.moveTo(end);
        else if (element.kind == Element::Kind::Line)
            path.lineTo(end);
        else
            add_curve(element, at);
        at = end;
    }
}

void GlyphOutline::straighten() {
    bool is_sure = true;
    add_to(m_straight, QPointF(), [this, &is_sure](const Element& element, QPointF start) {
        const int index = m_straight.elementCount();
        int count = 0;
        bool meets_middle = false;
        const auto add_point = [&](QPointF point) {
            m_straight.lineTo(point);
            ++count;
            if (are_equal(point, element.end))
                return; // on the grid, and never rounded
            if (is_near_middle(point.x()) || is_near_middle(point.y()))
                meets_middle = true;
            else
                m_rounded_points.push_back(point);
        };
        is_sure = add_lines(cubic(element, start, QPointF()), kMostHalvings, add_point) &&
                  m_straight.elementCount() == index + count && is_sure;
        if (meets_middle)
            m_middle_curves.push_back({element, start, index});
    });
    if (!is_sure)
        m_straight = QPainterPath();
}

void GlyphOutline::add_to(QPainterPath& path, QPointF place) const {
    path.addPath(m_path.translated(place));
}

QPainterPath GlyphOutline::straight_at(QPointF place) const {
    QPainterPath path;
    const auto add_point = [&path](QPointF point) { path.lineTo(point); };
    add_to(path, place, [&](const Element& element, QPointF start) {
        add_lines(cubic(element, start, place), kMostHalvings, add_point);
    });
    return path;
}

QPainterPath GlyphOutline::nearly_straight_at(QPointF place) const {
    if (m_straight.isEmpty())
        return straight_at(place);
    QPainterPath path = m_straight.translated(place);
    for (const MiddleCurve& curve : m_middle_curves) {
        int index = curve.index;
        const auto set_point = [&path, &index](QPointF point) {
            path.setElementPositionAt(index++, point.x(), point.y());
        };
        add_lines(cubic(curve.element, curve.start + place, place), kMostHalvings, set_point);
    }
    return path;
}
