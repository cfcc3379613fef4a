#include "scene/glyphs.h"

#include <QFontMetrics>
#include <QGlyphRun>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

// The toolkit places glyphs in 64ths of a pixel, cut off toward zero.
constexpr double kSteps = 64.0;

// Edges that are a pixel apart have none in common, wherever they lie. They are filled in steps,
// too.
constexpr double kApart = 1.0 + 2.0 / kSteps;

bool can_be_placed(QPointF point) {
    constexpr double farthest = std::numeric_limits<int>::max() / kSteps;
    return std::abs(point.x()) < farthest && std::abs(point.y()) < farthest;
}

double placed(double coordinate) {
    return static_cast<int>(coordinate * kSteps) / kSteps;
}

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

} // namespace

Glyphs::Glyphs(const QFont& font, const QString& sample)
    : m_font(font), m_line_height(QFontMetrics(font).height()) {
    const std::vector<double> positions = glyph_positions(font, sample);
    if (positions.empty())
        return;
    QRectF all;
    for (const QChar character : sample) {
        if (m_characters.contains(character))
            continue;
        const QPainterPath outline = text_path(QPointF(0.0, 0.0), font, character);
        m_characters += character;
        m_glyphs.push_back({outline, outline.boundingRect()});
        all |= m_glyphs.back().bounds;
    }
    m_are_lines_apart = all.height() + kApart <= m_line_height;
    m_advances.assign(m_glyphs.size() * m_glyphs.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 1; i < positions.size(); ++i) {
        const int at = static_cast<int>(i);
        double& known = m_advances[pair(sample.at(at - 1), sample.at(at))];
        const double advance = positions[i] - positions[i - 1];
        if (!std::isnan(known) && known != advance) { // it is not the neighbours alone that count
            m_characters.clear();
            return;
        }
        known = advance;
    }
}

std::size_t Glyphs::pair(QChar first, QChar second) const {
    return static_cast<std::size_t>(m_characters.indexOf(first) * m_characters.size() +
                                    m_characters.indexOf(second));
}

bool Glyphs::knows(const QString& text) const {
    for (int i = 0; i < text.size(); ++i) {
        if (!m_characters.contains(text.at(i)) ||
            (i > 0 && std::isnan(m_advances[pair(text.at(i - 1), text.at(i))])))
            return false;
    }
    return true;
}

void Glyphs::add_pieces(QPointF baseline, const QString& text,
                        std::vector<QPainterPath>& pieces) const {
    if (!knows(text) || !can_be_placed(baseline)) {
        pieces.push_back(text_path(baseline, m_font, text));
        return;
    }
    double x = placed(baseline.x());
    const double y = placed(baseline.y());
    double right = -std::numeric_limits<double>::infinity(); // of the last piece
    for (int i = 0; i < text.size(); ++i) {
        if (i > 0)
            x += m_advances[pair(text.at(i - 1), text.at(i))];
        const Glyph& glyph = m_glyphs[static_cast<std::size_t>(m_characters.indexOf(text.at(i)))];
        if (glyph.outline.isEmpty())
            continue;
        if (x + glyph.bounds.left() >= right + kApart)
            pieces.push_back(glyph.outline.translated(x, y));
        else
            pieces.back().addPath(glyph.outline.translated(x, y));
        right = std::max(right, x + glyph.bounds.right());
    }
}
