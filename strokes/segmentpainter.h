#pragma once

#include "strokes/strokesview.h"

#include <QPainter>

/// Paints segments into a layer, antialiased. Keep one for as long as segments follow each other:
/// opening it takes as long as a short segment. The layer is not to be touched otherwise meanwhile.
class SegmentPainter {
public:
    /// REQUIRES: the layer has pixels.
    explicit SegmentPainter(QImage& layer);

    /// White clears, in whatever mode.
    void paint(StrokesView::segment const& piece, QColor const& color,
               QPainter::CompositionMode mode);

private:
    void paint_dot(QPointF centre, double radius, QColor const& color);
    void paint_line(QLineF const& line, double width, QColor const& color);

    QPainter m_painter;
};
