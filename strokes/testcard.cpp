#include "strokes/testcard.h"

#include "scene/textpieces.h"

#include <QBrush>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr int kPitch_px = 32; // of the grid and of the colour field

QPen thin_black_pen(Qt::PenStyle style) {
    return {Qt::black, 0.0, style, Qt::RoundCap, Qt::RoundJoin};
}

void draw_grid(QPainter& painter, QSize image) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(thin_black_pen(Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    for (int x = 0; x < image.width(); x += kPitch_px)
        painter.drawLine(x, 0, x, image.height());
    for (int y = 0; y < image.height(); y += kPitch_px)
        painter.drawLine(0, y, image.width(), y);
}

void draw_colors(QPainter& painter, QSize image) {
    static const std::array<QBrush, 4> brushes = {QBrush(Qt::red), QBrush(Qt::green),
                                                  QBrush(Qt::blue), QBrush(Qt::white)};
    for (int y = 0; y < image.height(); y += kPitch_px) {
        for (int x = 0; x < image.width(); x += kPitch_px) {
            const int brush = 2 * ((x / kPitch_px) % 2) + (y / kPitch_px) % 2;
            painter.fillRect(x, y, kPitch_px, kPitch_px, brushes.at(brush));
        }
    }
}

/// Rings of marks around the centre, each of the marks' diameter `d` wide and reaching from the
/// ring inside it outward; every ring's marks are half again as large as those of the one before.
void draw_shapes(QPainter& painter, QSize view) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(thin_black_pen(Qt::SolidLine));
    painter.setBrush(Qt::NoBrush);

    const int cx = view.width() / 2;
    const int cy = view.height() / 2;
    const int reach = std::max(cx, cy);
    const auto mark = [&](int x, int y, int diameter) {
        target(painter, static_cast<float>(x), static_cast<float>(y), static_cast<float>(diameter));
    };
    int d = 32;
    for (int r = 0; r < cx; r += d, d = static_cast<int>(d * 1.5)) {
        const int h = d / 2;
        const int a = r + h; // of the ring's rows and columns from the centre
        for (int t = a; t < reach + h; t += d) {
            mark(cx + t, cy + a, d);
            mark(cx + t, cy - a, d);
            mark(cx - t, cy + a, d);
            mark(cx - t, cy - a, d);
            mark(cx + a, cy + t, d);
            mark(cx + a, cy - t, d);
            mark(cx - a, cy + t, d);
            mark(cx - a, cy - t, d);
        }
    }
}

/// Eight black bars on white, each a 17th of the view wide and as far from the next, across or
/// down.
void draw_bars(QPainter& painter, QSize view, Qt::Orientation bars) {
    constexpr int slots_across = 17;
    painter.fillRect(QRect(QPoint(0, 0), view), Qt::white);
    const int bar = (bars == Qt::Vertical ? view.width() : view.height()) / slots_across;
    for (int i = 1; i < slots_across; i += 2) {
        if (bars == Qt::Vertical)
            painter.fillRect(i * bar, 0, bar, view.height(), Qt::black);
        else
            painter.fillRect(0, i * bar, view.width(), bar, Qt::black);
    }
}

QFont help_font() {
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(32);
    return font;
}

/// The help card's text, laid out for one font.
struct HelpText {
    explicit HelpText(const QFont& with_font);

    QFont font;
    QRectF bounds;
    std::vector<QPainterPath> pieces; ///< that can be filled one by one
};

HelpText::HelpText(const QFont& with_font) : font(with_font) {
    const QString lines[] = {
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
    const int line_height = QFontMetrics(font).height();
    QPainterPath text;
    std::vector<QRectF> line_bounds;
    int k = 0;
    for (const QString& line : lines) {
        QPainterPath outline;
        outline.addText(0.0, ++k * line_height, font, line);
        line_bounds.push_back(outline.boundingRect());
        TextPieces(pieces).add_subpaths(outline);
        text.addPath(outline);
    }
    bounds = text.boundingRect();
    if (!are_lines_apart(line_bounds))
        pieces = {text};
}

/// Kept, since the start alone asks for it twice.
const HelpText& help_text() {
    static HelpText text(help_font());
    if (text.font != help_font())
        text = HelpText(help_font());
    return text;
}

void draw_help(QPainter& painter) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    for (const QPainterPath& piece : help_text().pieces)
        painter.drawPath(piece);
}

} // namespace

void target(QPainter& painter, float x, float y, float diameter) {
    const auto whole = [](float value) { return static_cast<int>(value); };
    const float half = diameter / 2.0F;
    const float quarter = diameter / 4.0F;
    painter.drawEllipse(whole(x - half), whole(y - half), whole(diameter), whole(diameter));
    painter.drawLine(whole(x - quarter), whole(y), whole(x + quarter), whole(y));
    painter.drawLine(whole(x), whole(y - quarter), whole(x), whole(y + quarter));
}

void draw_test_card(QImage& image, QSize view, int card) {
    if (image.isNull())
        return;
    image.fill(0xffffffU);
    if (card == WhiteCard)
        return;

    const QSize seen = view.boundedTo(image.size());
    QPainter painter(&image);
    switch (card) {
    case GridCard:
        draw_grid(painter, image.size());
        break;
    case ColorsCard:
        draw_colors(painter, image.size());
        break;
    case ShapesCard:
        draw_shapes(painter, seen);
        break;
    case BlackCard:
        painter.fillRect(QRect(QPoint(0, 0), seen), Qt::black);
        break;
    case VerticalBarsCard:
        draw_bars(painter, seen, Qt::Vertical);
        break;
    case HorizontalBarsCard:
        draw_bars(painter, seen, Qt::Horizontal);
        break;
    case HelpCard:
        draw_help(painter);
        break;
    default:
        break;
    }
}

QSize help_card_size() {
    const QRectF text = help_text().bounds;
    return {static_cast<int>(std::ceil(text.right())), static_cast<int>(std::ceil(text.bottom()))};
}
