#include "input/osterly.h"
#include "input/tolerance.h"

#include <QVector2D>

QPointF Osterly::Hoop::track(QPointF point, std::int32_t buttons, double radius) {
    if (!down) {
        x = point.x();
        y = point.y();
    } else {
        const QPointF offset = point - QPointF(x, y);
        const double distance = QVector2D(offset).length();
        if (std::isinf(distance)) { // farther than single precision reaches: next to it, the ring
                                    // is nothing
            x = point.x();
            y = point.y();
        } else if (distance > radius) { // false, too, where it is not a number
            const QPointF step = offset * (distance - radius) / distance;
            x += step.x();
            y += step.y();
        }
    }
    down = buttons != 0;
    return {x, y};
}

bool operator==(const Osterly::Controls& a, const Osterly::Controls& b) {
    return a.id == b.id && a.buttons == b.buttons && same_point(a.x, a.y, b.x, b.y) &&
           same_point(a.radius_x, a.radius_y, b.radius_x, b.radius_y);
}

bool operator!=(const Osterly::Controls& a, const Osterly::Controls& b) {
    return !(a == b);
}
