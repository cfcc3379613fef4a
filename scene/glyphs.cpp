#include "scene/glyphs.h"

#include "scene/textpieces.h"

#include <QFontMetrics>
#include <QGlyphRun>
#include <QTextLayout>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace {

// The toolkit places glyphs in 64ths of a pixel, cut off toward zero.
constexpr double kSteps = 64.0;

bool can_be_placed(QPointF point) {
    constexpr double farthest = std::numeric_limits<int>::max() / kSteps;
    return std::abs(point.x()) < farthest && std::abs(point.y()) < farthest;
}

double placed(double coordinate) {
    return static_cast<int>(coordinate * kSteps) / kSteps;
}

using Curve = std::array<QPointF, 4>; // cubic: start, two control points, end

QPainterPath text_path(QPointF baseline, const QFont& font, const QString& text) {
    QPainterPath path;
    path.addText(baseline, font, text);
    return path;
}

/// Where each character's glyph begins. Empty where the font makes more or fewer.
std::vector<double> glyph_positions(const QFont& font, const QString& text) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    std::vector<double> positions;
    for (const QGlyphRun& run : layout.glyphRuns()) {
        for (const QPointF& position : run.positions())
            positions.push_back(position.x());
    }
    if (positions.size() != static_cast<std::size_t>(text.size()))
        positions.clear();
    return positions;
}

/// Adds the curve in as many lines as the toolkit makes of one whenever it fills it unscaled: it
/// halves the curve until its control points are near enough to the line between its ends.
void add_straightened(QPainterPath& path, const Curve& curve, int most_halvings) {
    constexpr double near_enough = 0.25;
    const auto [start, first, second, end] = curve;
    const QPointF line = end - start;
    const double length = std::abs(line.x()) + std::abs(line.y());
    const auto off_line = [start = start, line](QPointF p) {
        return std::abs(line.x() * (start.y() - p.y()) - line.y() * (start.x() - p.x()));
    };
    const double off = length > 1.0
                           ? (off_line(first) + off_line(second)) / length
                           : (first - start).manhattanLength() + (second - start).manhattanLength();
    if (off < near_enough || most_halvings == 0) {
        path.lineTo(end);
        return;
    }
    const QPointF middle = (first + second) / 2.0;
    const QPointF to_first = (start + first) / 2.0;
    const QPointF from_second = (second + end) / 2.0;
    const QPointF before = (to_first + middle) / 2.0;
    const QPointF after = (middle + from_second) / 2.0;
    const QPointF half = (before + after) / 2.0;
    add_straightened(path, {start, to_first, before, half}, most_halvings - 1);
    add_straightened(path, {half, after, from_second, end}, most_halvings - 1);
}

QPainterPath straightened(const QPainterPath& outline) {
    constexpr int most_halvings = 9; // the toolkit's
    QPainterPath path;
    path.setFillRule(outline.fillRule());
    for (int i = 0; i < outline.elementCount(); ++i) {
        const QPainterPath::Element element = outline.elementAt(i);
        if (element.isMoveTo()) {
            path.moveTo(element);
        } else if (element.isLineTo()) {
            path.lineTo(element);
        } else {
            add_straightened(path,
                             {path.currentPosition(), element, outline.elementAt(i + 1),
                              outline.elementAt(i + 2)},
                             most_halvings);
            i += 2;
        }
    }
    return path;
}

} // namespace

Glyphs::Glyphs(const QFont& font, const QString& sample)
    : m_font(font), m_line_height(QFontMetrics(font).height()) {
    const std::vector<double> positions = glyph_positions(font, sample);
    if (positions.empty())
        return;
    QRectF all;
    for (const QChar character : sample) {
        const std::size_t at = character.unicode();
        if (at >= m_indices.size())
            m_indices.resize(at + 1, kUnknown);
        if (m_indices[at] != kUnknown)
            continue;
        const QPainterPath outline = text_path(QPointF(0.0, 0.0), font, character);
        m_indices[at] = static_cast<int>(m_glyphs.size());
        m_glyphs.push_back({outline, straightened(outline), outline.boundingRect()});
        all |= m_glyphs.back().bounds;
    }
    m_are_lines_apart = all.height() + kPiecesApart_px <= m_line_height;
    m_advances.assign(m_glyphs.size() * m_glyphs.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 1; i < positions.size(); ++i) {
        const int at = static_cast<int>(i);
        double& known = m_advances[pair(index(sample.at(at - 1)), index(sample.at(at)))];
        const double advance = positions[i] - positions[i - 1];
        if (!std::isnan(known) && known != advance) { // it is not the neighbours alone that count
            m_indices.clear();
            return;
        }
        known = advance;
    }
}

int Glyphs::index(QChar character) const {
    const std::size_t at = character.unicode();
    return at < m_indices.size() ? m_indices[at] : kUnknown;
}

std::size_t Glyphs::pair(int first, int second) const {
    return static_cast<std::size_t>(first) * m_glyphs.size() + static_cast<std::size_t>(second);
}

bool Glyphs::knows(const QString& text) const {
    int before = kUnknown;
    for (const QChar character : text) {
        const int at = index(character);
        if (at == kUnknown || (before != kUnknown && std::isnan(m_advances[pair(before, at)])))
            return false;
        before = at;
    }
    return true;
}

/// Calls `place_glyph` with each glyph that is seen and its place. The text is known.
template <typename Place>
void Glyphs::place(QPointF baseline, const QString& text, Place place_glyph) const {
    double x = placed(baseline.x());
    const double y = placed(baseline.y());
    int before = kUnknown;
    for (const QChar character : text) {
        const int at = index(character);
        if (before != kUnknown)
            x += m_advances[pair(before, at)];
        before = at;
        const Glyph& glyph = m_glyphs[static_cast<std::size_t>(at)];
        if (!glyph.outline.isEmpty())
            place_glyph(glyph, x, y);
    }
}

void Glyphs::add_outlines(QPointF baseline, const QString& text, QPainterPath& path) const {
    if (!knows(text) || !can_be_placed(baseline)) {
        path.addText(baseline, m_font, text);
        return;
    }
    place(baseline, text, [&path](const Glyph& glyph, double x, double y) {
        path.addPath(glyph.outline.translated(x, y));
    });
}

void Glyphs::add_pieces(QPointF baseline, const QString& text,
                        std::vector<QPainterPath>& pieces) const {
    if (!knows(text) || !can_be_placed(baseline)) {
        pieces.push_back(text_path(baseline, m_font, text));
        return;
    }
    TextPieces line(pieces);
    place(baseline, text, [&line](const Glyph& glyph, double x, double y) {
        line.add(glyph.straight.translated(x, y), x + glyph.bounds.left(),
                 x + glyph.bounds.right());
    });
}
