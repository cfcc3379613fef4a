#pragma once

#include <QPolygonF>
#include <QVector2D>

// Distances to lines, in single precision. The scene offers them to its items; it does not call
// them.

/// The point of the segment from `a` to `b` that is nearest to `p`.
QVector2D nearest_point_on_line(QVector2D const& p, QVector2D const& a, QVector2D const& b);

float distance_squared_to_line(QVector2D const& p, QVector2D const& a, QVector2D const& b);

/// The point nearest to `p` on the open polyline through the polygon's points, of which the last
/// `skip` segments are left out: none where it is negative, all but the first at most. `index`
/// receives the number of the segment that the point lies on; of equally near ones, the last. A
/// polygon of fewer than two points has no segment: the result is then its point, or `p` where it
/// is empty.
QVector2D nearest_point_on_polygon(QPolygonF const& polygon, int skip, QVector2D const& p,
                                   int& index);
