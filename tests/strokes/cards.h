#pragma once

#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <functional>

// The test cards as they should be: computed pixel by pixel where that can be done, painted on
// their own where the toolkit decides on the pixels.

/// The colour of a pixel of the card, given its place, in a view of that size.
using Pixel = std::function<QRgb(int x, int y, QSize view)>;

constexpr QRgb kBlack = 0xff000000;
constexpr QRgb kWhite = 0xffffffff;

inline QRgb white_pixel(int, int, QSize) {
    return kWhite;
}

inline QRgb colors_pixel(int x, int y, QSize) {
    const bool even_row = (y / 32) % 2 == 0;
    const bool even_column = (x / 32) % 2 == 0;
    if (even_row)
        return even_column ? 0xffff0000 : 0xff0000ff;
    return even_column ? 0xff00ff00 : 0xffffffff;
}

inline QRgb black_pixel(int x, int y, QSize view) {
    return x < view.width() && y < view.height() ? kBlack : kWhite;
}

/// Which of the bars and gaps holds the place; the odd ones up to the 15th are bars.
inline bool in_a_bar(int place, int extent) {
    const int bar = extent / 17;
    return bar > 0 && place / bar <= 15 && place / bar % 2 == 1;
}

inline QRgb vertical_bars_pixel(int x, int y, QSize view) {
    return y < view.height() && in_a_bar(x, view.width()) ? kBlack : kWhite;
}

inline QRgb horizontal_bars_pixel(int x, int y, QSize view) {
    return x < view.width() && in_a_bar(y, view.height()) ? kBlack : kWhite;
}

inline QImage computed(QSize image_size, QSize view, Pixel const& pixel) {
    QImage image(image_size, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, pixel(x, y, view));
    }
    return image;
}

inline QImage white_image(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

inline QPen thin_pen(Qt::PenStyle style, QColor color = Qt::black) {
    QPen pen;
    pen.setBrush(QBrush(color, Qt::SolidPattern));
    pen.setWidth(0);
    pen.setStyle(style);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

inline QImage painted_grid(QSize image_size) {
    QImage image = white_image(image_size);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing);
    painter.setPen(thin_pen(Qt::DotLine));
    const double right = image_size.width();
    const double bottom = image_size.height();
    for (int column = 0; 32 * column < image_size.width(); ++column)
        painter.drawLine(QLineF(32.0 * column, 0.0, 32.0 * column, bottom));
    for (int row = 0; 32 * row < image_size.height(); ++row)
        painter.drawLine(QLineF(0.0, 32.0 * row, right, 32.0 * row));
    return image;
}

// Diameter and distance from the centre, from the innermost to the outermost one that a view of
// 2000 pixels has.
struct Ring {
    int diameter;
    int distance;
};
constexpr Ring kRings[] = {{32, 16},   {48, 56},   {72, 116}, {108, 206},
                           {162, 341}, {243, 543}, {364, 847}};

/// A circle with its cross.
inline void paint_mark(QPainter& painter, QRect const& circle, QLine const& across,
                       QLine const& down) {
    painter.drawEllipse(circle);
    painter.drawLine(across);
    painter.drawLine(down);
}

inline QImage painted_shapes(QSize image_size, QSize view) {
    QImage image = white_image(image_size);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing);
    painter.setPen(thin_pen(Qt::SolidLine));
    const QPoint centre(view.width() / 2, view.height() / 2);
    const int farther = std::max(centre.x(), centre.y());
    for (Ring const& ring : kRings) {
        const int inner = ring.distance - ring.diameter / 2;
        if (inner >= centre.x())
            break;
        for (int along = ring.distance; along < farther + ring.diameter / 2;
             along += ring.diameter) {
            for (QPoint offset : {QPoint(along, ring.distance), QPoint(ring.distance, along)}) {
                for (int sign_x : {1, -1}) {
                    for (int sign_y : {1, -1}) {
                        const int d = ring.diameter;
                        const double x = centre.x() + sign_x * offset.x();
                        const double y = centre.y() + sign_y * offset.y();
                        const auto whole = [](double value) { return static_cast<int>(value); };
                        paint_mark(painter, {whole(x - d / 2.0), whole(y - d / 2.0), d, d},
                                   {whole(x - d / 4.0), whole(y), whole(x + d / 4.0), whole(y)},
                                   {whole(x), whole(y - d / 4.0), whole(x), whole(y + d / 4.0)});
                    }
                }
            }
        }
    }
    return image;
}

constexpr const char* kHelp[] = {
    "Keyboard controls",
    "H to toggle this help screen",
    "ESC to exit",
    "ENTER to toggle full screen",
    "BACKSPACE to clear strokes",
    "SPACE to toggle info tag boxes",
    "G to toggle grid",
    "S to toggle shape field",
    "C to toggle colour field",
    "B to toggle all black",
    "<- to toggle vertical bars",
    "-> to toggle horizontal bars",
    "0-9 to select stroke width",
};

inline QFont serif_font() {
    QFont font;
    font.setStyleHint(QFont::Serif);
    font.setStyleStrategy(QFont::PreferAntialias);
    font.setPixelSize(32);
    return font;
}

/// Line by line, each painted on its own.
inline QImage painted_help(QSize image_size) {
    QImage image = white_image(image_size);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing);
    int baseline = 0;
    for (const char* line : kHelp) {
        baseline += QFontMetrics(serif_font()).height();
        QPainterPath glyphs;
        glyphs.addText(QPointF(0.0, baseline), serif_font(), QLatin1String(line));
        painter.fillPath(glyphs, QBrush(QColor(0, 0, 0)));
    }
    return image;
}

inline QImage expected_card(int mode, QSize image_size, QSize view) {
    switch (mode) {
    case 1:
        return painted_grid(image_size);
    case 2:
        return computed(image_size, view, colors_pixel);
    case 3:
        return painted_shapes(image_size, view);
    case 4:
        return computed(image_size, view, black_pixel);
    case 5:
        return computed(image_size, view, vertical_bars_pixel);
    case 6:
        return computed(image_size, view, horizontal_bars_pixel);
    case 7:
        return painted_help(image_size);
    default:
        return computed(image_size, view, white_pixel);
    }
}
