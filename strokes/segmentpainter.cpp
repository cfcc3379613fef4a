#include "strokes/segmentpainter.h"

#include "input/tolerance.h"

#include <QImage>
#include <QPainterPath>
#include <QPen>

namespace {

bool is_dot(QLineF const& line) {
    return same_point(line.x1(), line.y1(), line.x2(), line.y2());
}

} // namespace

SegmentPainter::SegmentPainter(QImage& layer) : m_painter(&layer) {
    m_painter.setRenderHint(QPainter::Antialiasing);
    m_painter.setPen(Qt::NoPen);
}

void SegmentPainter::paint(StrokesView::segment const& piece, QColor const& color,
                           QPainter::CompositionMode mode) {
    m_painter.setCompositionMode(color == Qt::white ? QPainter::CompositionMode_Clear : mode);
    if (is_dot(piece.line))
        paint_dot(piece.line.p1(), piece.width, color);
    else
        paint_line(piece.line, 2.0 * piece.width, color);
}

void SegmentPainter::paint_dot(QPointF centre, double radius, QColor const& color) {
    QPainterPath dot;
    dot.addEllipse(QRectF(centre.x() - radius, centre.y() - radius, 2.0 * radius, 2.0 * radius));
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(color);
    m_painter.drawPath(dot);
}

void SegmentPainter::paint_line(QLineF const& line, double width, QColor const& color) {
    QPen const& pen = m_painter.pen(); // that of the last line, or none
    if (pen.style() == Qt::NoPen || pen.color() != color || pen.widthF() != width)
        m_painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    m_painter.drawLine(line);
}
