#include "tests/gui/expected_pictures.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <functional>

namespace expected {

namespace {

/// A picture that tells the colour of each of its pixels.
QImage computed(QSize view, const std::function<QRgb(int x, int y)>& color_at) {
    QImage picture(view, QImage::Format_RGB32);
    for (int y = 0; y < view.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < view.width(); ++x)
            line[x] = color_at(x, y);
    }
    return picture;
}

constexpr QRgb kWhite = qRgb(255, 255, 255);
constexpr QRgb kBlack = qRgb(0, 0, 0);

/// Eight black bars with as much white between them. What a 17th leaves over is white too.
QRgb bar_at(int position, int extent) {
    const int slot = position / (extent / 17);
    return slot % 2 == 1 && slot < 17 ? kBlack : kWhite;
}

/// Text in lines of the font's height, the first one height below `top_left`.
QPainterPath text_path(QPointF top_left, const QFont& font, const QStringList& lines) {
    QPainterPath path;
    for (int i = 0; i < lines.size(); ++i)
        path.addText(top_left.x(), top_left.y() + (i + 1) * QFontMetrics(font).height(), font,
                     lines[i]);
    return path;
}

QFont serif(int pixels) {
    QFont font;
    font.setStyleHint(QFont::Serif);
    font.setStyleStrategy(QFont::PreferAntialias);
    font.setPixelSize(pixels);
    return font;
}

QImage transparent(QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

QImage white(QSize view) {
    return computed(view, [](int, int) { return kWhite; });
}

QImage black(QSize view) {
    return computed(view, [](int, int) { return kBlack; });
}

QImage colors(QSize view) {
    return computed(view, [](int x, int y) {
        const bool is_even_column = x / 32 % 2 == 0;
        const bool is_even_row = y / 32 % 2 == 0;
        if (is_even_row)
            return is_even_column ? qRgb(255, 0, 0) : qRgb(0, 0, 255);
        return is_even_column ? qRgb(0, 255, 0) : kWhite;
    });
}

QImage vertical_bars(QSize view) {
    return computed(view, [view](int x, int) { return bar_at(x, view.width()); });
}

QImage horizontal_bars(QSize view) {
    return computed(view, [view](int, int y) { return bar_at(y, view.height()); });
}

QImage grid(QSize view) {
    QImage picture = white(view);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 0, Qt::DotLine, Qt::RoundCap, Qt::RoundJoin));
    for (int i = 0; 32 * i < view.width(); ++i)
        painter.drawLine(32 * i, 0, 32 * i, view.height());
    for (int i = 0; 32 * i < view.height(); ++i)
        painter.drawLine(0, 32 * i, view.width(), 32 * i);
    return picture;
}

QImage shapes(QSize view) {
    QImage picture = white(view);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::black, 0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPoint centre(view.width() / 2, view.height() / 2);
    const int reach = std::max(centre.x(), centre.y());
    const auto mark = [&](int dx, int dy, int diameter) {
        const auto cut = [](int at, double by) { return static_cast<int>(at + by); };
        const int x = centre.x() + dx;
        const int y = centre.y() + dy;
        painter.drawEllipse(cut(x, -diameter / 2.0), cut(y, -diameter / 2.0), diameter, diameter);
        painter.drawLine(cut(x, -diameter / 4.0), y, cut(x, diameter / 4.0), y);
        painter.drawLine(x, cut(y, -diameter / 4.0), x, cut(y, diameter / 4.0));
    };
    for (int offset = 0, diameter = 32; offset < centre.x();) {
        const int ring = offset + diameter / 2;
        for (int along = ring; along < reach + diameter / 2; along += diameter) {
            for (const int x : {along, -along}) {
                for (const int y : {ring, -ring})
                    mark(x, y, diameter);
            }
            for (const int x : {ring, -ring}) {
                for (const int y : {along, -along})
                    mark(x, y, diameter);
            }
        }
        offset += diameter;
        diameter += diameter / 2;
    }
    return picture;
}

namespace {

QPainterPath help_text() {
    const QStringList lines = {
        QStringLiteral("Keyboard controls"),
        QStringLiteral("H to toggle this help screen"),
        QStringLiteral("ESC to exit"),
        QStringLiteral("ENTER to toggle full screen"),
        QStringLiteral("BACKSPACE to clear strokes"),
        QStringLiteral("SPACE to toggle info tag boxes"),
        QStringLiteral("G to toggle grid"),
        QStringLiteral("S to toggle shape field"),
        QStringLiteral("C to toggle colour field"),
        QStringLiteral("B to toggle all black"),
        QStringLiteral("<- to toggle vertical bars"),
        QStringLiteral("-> to toggle horizontal bars"),
        QStringLiteral("0-9 to select stroke width"),
    };
    return text_path({0, 0}, serif(32), lines);
}

} // namespace

QImage help(QSize view) {
    QImage picture = white(view);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(help_text(), Qt::black);
    return picture;
}

QSize help_size() {
    const QRectF bounds = help_text().boundingRect();
    return QSizeF(bounds.right() + 0.5, bounds.bottom() + 0.5).toSize();
}

Strokes::Strokes(QSize view) : m_layer(transparent(view)) {}

Strokes& Strokes::in(QColor color) {
    m_color = color;
    return *this;
}

Strokes& Strokes::dot(QPoint at, double width) {
    QPainter painter(&m_layer);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_color == Qt::white)
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
    QPainterPath path;
    path.addEllipse(QPointF(at), width, width);
    painter.fillPath(path, m_color);
    return *this;
}

Strokes& Strokes::line(QPoint from, QPoint to, double width) {
    QPainter painter(&m_layer);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_color == Qt::white)
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setPen(QPen(m_color, 2 * width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(QLineF(from, to));
    return *this;
}

Strokes& Strokes::stroke(QPoint from, QPoint to, double width) {
    return dot(from, width).line(from, to, width).dot(to, width);
}

QImage Strokes::on(QImage card) const {
    QPainter(&card).drawImage(0, 0, m_layer);
    return card;
}

QImage with_marker(QImage picture, QPoint at, const QString& buttons) {
    // A circle of 50 pixels for a contact without a size, and the tag's box at its upper left.
    const QRect circle(-25, -25, 50, 50);
    const QRect tag(-175, -150, 150, 125);
    const QStringList lines = {
        QStringLiteral("ID: -1"),
        QStringLiteral("X: %1").arg(at.x()),
        QStringLiteral("Y: %1").arg(at.y()),
        QStringLiteral("X Radius: 0"),
        QStringLiteral("Y Radius: 0"),
        QStringLiteral("Buttons: ") + buttons,
    };

    // An image of its own, which cuts off text that is wider than the tag: it ends 3 pixels beyond
    // the shapes at the right and below, and 1 pixel beyond them at the left and above.
    const QRect bounds = circle.united(tag).adjusted(-1, -1, 3, 3);
    QImage marker = transparent(bounds.size());
    QPainter painter(&marker);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-bounds.topLeft());
    QPen thin(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    thin.setCosmetic(true);
    painter.setPen(thin);
    painter.setBrush(QColor(255, 0, 0, 32));
    QPainterPath shape;
    shape.addEllipse(circle);
    shape.addRect(tag);
    painter.drawPath(shape);
    painter.setBrush(Qt::NoBrush);
    QPainterPath cross(QPointF(0, -25));
    cross.lineTo(0, 25);
    cross.moveTo(-25, 0);
    cross.lineTo(25, 0);
    painter.drawPath(cross);
    painter.fillPath(text_path(tag.topLeft(), serif(16), lines), Qt::black);
    painter.end();

    QPainter(&picture).drawImage(at + bounds.topLeft(), marker);
    return picture;
}

} // namespace expected
