// A marker's rebuild, rebuffer and redraw on a thread that has done nothing before, as each of a
// frame's update threads, against the same with its text laid out and filled by the toolkit at
// once.

#include "bench/offscreen.h"
#include "bench/ratio.h"
#include "scene/item.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <cstdio>
#include <thread>

namespace {

constexpr int kRepetitions = 101;

/// The markers' shape, with all of its text in one path that the toolkit makes.
class PlainMarker : public Touch {
public:
    PlainMarker() : Touch(QPointF(), QColor(0, 255, 0, 32)) {}
    ~PlainMarker() override { update_end(); }

    void rebuild() override {
        const double rx = m_radius_x;
        const double ry = m_radius_y;
        const QPointF tag(-rx - 150.0, -ry - 125.0);
        m_shape = QPainterPath();
        m_shape.addEllipse(QRectF(-rx, -ry, 2.0 * rx, 2.0 * ry));
        m_shape.addRect(QRectF(tag, QSizeF(150.0, 125.0)));
        const QString lines[] = {
            QStringLiteral("ID: ") + QString::number(m_contact_id),
            QStringLiteral("X: ") + QString::number(m_pos.x(), 'g', 6),
            QStringLiteral("Y: ") + QString::number(m_pos.y(), 'g', 6),
            QStringLiteral("X Radius: ") + QString::number(m_radius_x, 'g', 6),
            QStringLiteral("Y Radius: ") + QString::number(m_radius_y, 'g', 6),
            QStringLiteral("Buttons: ") + QString::number(m_buttons + 256, 2).right(8),
        };
        m_text = QPainterPath();
        const int line_height = QFontMetrics(m_font).height();
        double y = tag.y();
        for (const QString& line : lines)
            m_text.addText(QPointF(tag.x(), y += line_height), m_font, line);
        m_cross = QPainterPath();
        m_cross.moveTo(0.0, -ry);
        m_cross.lineTo(0.0, ry);
        m_cross.moveTo(-rx, 0.0);
        m_cross.lineTo(rx, 0.0);
        set_outline(m_shape);
    }

    using Item::redraw;
    void redraw(QPainter& painter) override {
        QPen pen(Qt::black, 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
        pen.setCosmetic(true);
        painter.setPen(pen);
        painter.setBrush(m_color);
        painter.drawPath(m_shape);
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(m_cross);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawPath(m_text);
    }
};

/// Report n of a finger that moves: as a board's, on whole pixels.
Osterly::Controls report(int n) {
    Osterly::Controls c;
    c.id = Osterly::touch_id(3);
    c.buttons = 1;
    c.radius_x = c.radius_y = 12.5 + n % 100 * 5.0 / 128.0;
    c.x = c.hoop_x = 1000.0 + 7.0 * n;
    c.y = c.hoop_y = 700.0 + 3.0 * n;
    return c;
}

double on_a_fresh_thread(EventItem& marker, const Osterly::Controls& c) {
    marker.refresh(c);
    marker.m_shown_pos = marker.m_pos;
    marker.m_shown_scale = marker.m_scale;
    double seconds = 0.0;
    std::thread([&] {
        seconds = ratio::time(ratio::Clock::Thread, [&] {
            marker.rebuild();
            marker.rebuffer();
            marker.Item::redraw();
        });
    }).join();
    return seconds;
}

} // namespace

int main(int argc, char** argv) {
    const ratio::Report output(argc, argv);
    const OffscreenApplication application;
    Touch ours(QPointF(), QColor(0, 255, 0, 32));
    PlainMarker plain;
    bool is_same = true;
    int n = 0;
    const auto update = [&] { return on_a_fresh_thread(ours, report(++n)); };
    const auto update_plainly = [&] {
        const double seconds = on_a_fresh_thread(plain, report(n));
        is_same = is_same && *ours.m_image == *plain.m_image;
        return seconds;
    };
    output.times("4", "a marker's update on a fresh thread, against six texts filled at once",
                 output.by_turns(kRepetitions, update, update_plainly), ratio::at_most(0.2));
    if (!is_same)
        std::fputs("The two markers differ.\n", stderr);
    return is_same ? 0 : 1;
}
