#include "scene/glyphs.h"
#include "scene/item.h"

#include <QPainter>
#include <QPen>
#include <QVector2D>

namespace {

constexpr QSizeF kTag(150.0, 125.0);
constexpr double kUnsizedRadius = 25.0; // of the circle for a contact that reports no size

QString number(double value) {
    return QString::number(value, 'g', 6);
}

/// The low eight bits as eight digits.
QString bits(int value) {
    return QString::number((value & 0xFF) | 0x100, 2).right(8);
}

/// Each pair of neighbours that the lines of a tag are made of, but for numbers out of all bounds.
QString tag_sample() {
    QString sample = QStringLiteral("ID: X: Y: X Radius: Y Radius: Buttons: inf: nan: -inf: -nan");
    const QString figures = QStringLiteral(" 0123456789.-+e");
    for (const QChar a : figures) {
        for (const QChar b : figures) {
            sample += a;
            sample += b;
        }
    }
    return sample;
}

/// Learnt with the first marker, in the GUI thread.
const Glyphs& tag_glyphs(const QFont& font) {
    static const Glyphs glyphs(font, tag_sample());
    return glyphs;
}

} // namespace

EventItem::EventItem(QPointF pos, QColor color) : Item(pos, 0.0F, 1.0F, 0), m_color(color) {
    m_font.setStyleHint(QFont::Times, QFont::PreferAntialias);
    m_font.setPixelSize(16);
    m_hittable = false;
    tag_glyphs(m_font);
}

EventItem::~EventItem() {
    update_end();
}

void EventItem::refresh(Osterly::Controls const& c) {
    m_pos = QPointF(c.x, c.y);
    set_transforms();
    m_radius_x = c.radius_x;
    m_radius_y = c.radius_y;
    m_buttons = c.buttons;
    m_contact_id = c.id;
    m_flags |= Everything;
}

void EventItem::rebuild() {
    // In single precision, so that a size too small for it counts as none; one that is not a number
    // counts as a size.
    const QVector2D size(static_cast<float>(m_radius_x), static_cast<float>(m_radius_y));
    const bool sized = size.lengthSquared() != 0.0F;
    const double rx = sized ? m_radius_x : kUnsizedRadius;
    const double ry = sized ? m_radius_y : kUnsizedRadius;
    const QPointF tag(-rx - kTag.width(), -ry - kTag.height());

    m_shape = QPainterPath();
    m_shape.addEllipse(QRectF(-rx, -ry, 2.0 * rx, 2.0 * ry));
    m_shape.addRect(QRectF(tag, kTag));

    add_tag(tag);

    m_cross = QPainterPath();
    m_cross.moveTo(0.0, -ry);
    m_cross.lineTo(0.0, ry);
    m_cross.moveTo(-rx, 0.0);
    m_cross.lineTo(rx, 0.0);

    set_outline(m_shape);
}

void EventItem::add_tag(QPointF corner) {
    const QString lines[] = {
        QStringLiteral("ID: ") + QString::number(m_contact_id),
        QStringLiteral("X: ") + number(m_pos.x()),
        QStringLiteral("Y: ") + number(m_pos.y()),
        QStringLiteral("X Radius: ") + number(m_radius_x),
        QStringLiteral("Y Radius: ") + number(m_radius_y),
        QStringLiteral("Buttons: ") + bits(m_buttons),
    };
    const Glyphs& known = tag_glyphs(m_font);
    const Glyphs& glyphs = known.font() == m_font ? known : Glyphs(m_font, QString());
    m_text.clear(); // keeps its memory
    m_lines.clear();
    for (const QString& line : lines) {
        const int n = static_cast<int>(m_lines.size()) + 1;
        const QPointF baseline(corner.x(), corner.y() + n * glyphs.line_height());
        glyphs.add_outlines(baseline, line, m_text);
        m_lines.push_back({baseline, line});
    }
}

void EventItem::redraw(QPainter& painter) {
    QPen pen(Qt::black, 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    pen.setCosmetic(true);
    painter.setPen(pen);
    painter.setBrush(m_color);
    painter.drawPath(m_shape);

    painter.setBrush(Qt::NoBrush);
    painter.drawPath(m_cross);

    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    draw_tag(painter);
}

/// Draws m_text, in pieces where they cannot meet: that is several times as fast. Each line's are
/// made for the moment, lest all markers' together push each other out of the cache.
void EventItem::draw_tag(QPainter& painter) const {
    const Glyphs& glyphs = tag_glyphs(m_font);
    const QTransform transform = painter.deviceTransform();
    if (transform.type() > QTransform::TxTranslate || glyphs.font() != m_font ||
        !glyphs.are_lines_apart()) {
        painter.drawPath(m_text);
        return;
    }
    const QPointF shift(transform.dx(), transform.dy());
    std::vector<QPainterPath> pieces;
    for (const TagLine& line : m_lines) {
        pieces.clear();
        glyphs.add_pieces(line.baseline, line.text, shift, pieces);
        for (const QPainterPath& piece : pieces)
            painter.drawPath(piece);
    }
}
