#include "scene/geometry.h"

#include <algorithm>

QVector2D nearest_point_on_line(QVector2D const& p, QVector2D const& a, QVector2D const& b) {
    const QVector2D ab = b - a;
    const QVector2D ap = p - a;
    const float t = QVector2D::dotProduct(ap, ab);
    const float whole = QVector2D::dotProduct(ab, ab);
    if (t <= 0.0F)
        return a;
    if (t >= whole)
        return b;
    return a + ab * (t / whole);
}

float distance_squared_to_line(QVector2D const& p, QVector2D const& a, QVector2D const& b) {
    return (p - nearest_point_on_line(p, a, b)).lengthSquared();
}

QVector2D nearest_point_on_polygon(QPolygonF const& polygon, int skip, QVector2D const& p,
                                   int& index) {
    index = 0;
    if (polygon.size() < 2)
        return polygon.isEmpty() ? p : QVector2D(polygon.first());

    const auto point = [&polygon](int i) { return QVector2D(polygon.at(i)); };
    float best = distance_squared_to_line(p, point(0), point(1));
    const int segments = polygon.size() - 1 - std::max(skip, 0);
    for (int i = 1; i < segments; ++i) {
        const float distance = distance_squared_to_line(p, point(i), point(i + 1));
        if (distance <= best) {
            best = distance;
            index = i;
        }
    }
    return nearest_point_on_line(p, point(index), point(index + 1));
}
