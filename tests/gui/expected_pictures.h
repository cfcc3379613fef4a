#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QString>

/// What the program is expected to show, painted here in its own way. All pictures are as large as
/// the view.
namespace expected {

QImage white(QSize view);
QImage grid(QSize view);
QImage colors(QSize view);
QImage shapes(QSize view);
QImage black(QSize view);
QImage vertical_bars(QSize view);
QImage horizontal_bars(QSize view);
QImage help(QSize view);
QSize help_size(); ///< the smallest view that shows the help whole

/// Strokes on a card, red ones at first. `width` is half of the line's width in pixels.
class Strokes {
public:
    explicit Strokes(QSize view);
    /// Those that follow are of this color. White ones clear.
    Strokes& in(QColor color);
    Strokes& dot(QPoint at, double width);
    Strokes& line(QPoint from, QPoint to, double width);
    /// Of a contact that goes straight from one point to the other and leaves there.
    Strokes& stroke(QPoint from, QPoint to, double width);
    QImage on(QImage card) const;
    const QImage& layer() const { return m_layer; } ///< transparent where no stroke is

private:
    QColor m_color = Qt::red;
    QImage m_layer;
};

/// The marker of a mouse button's contact at a point, above the picture.
QImage with_marker(QImage picture, QPoint at, const QString& buttons);

} // namespace expected
