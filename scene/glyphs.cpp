#include "scene/glyphs.h"

#include <QFontMetrics>
#include <QGlyphRun>
#include <QTextLayout>
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
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const QChar character = sample.at(static_cast<int>(i));
        if (m_outlines.count(character) == 0)
            m_outlines[character] = text_path(QPointF(0.0, 0.0), font, character);
        if (i == 0)
            continue;
        const Pair neighbours(sample.at(static_cast<int>(i) - 1), character);
        const double advance = positions[i] - positions[i - 1];
        const auto [known, is_new] = m_advances.emplace(neighbours, advance);
        if (!is_new && known->second != advance) { // it is not the neighbours alone that count
            m_outlines.clear();
            return;
        }
    }
}

bool Glyphs::knows(const QString& text) const {
    for (int i = 0; i < text.size(); ++i) {
        if (m_outlines.count(text.at(i)) == 0 ||
            (i > 0 && m_advances.count(Pair(text.at(i - 1), text.at(i))) == 0))
            return false;
    }
    return true;
}

QPainterPath Glyphs::outlines(QPointF baseline, const QString& text) const {
    if (!knows(text) || !can_be_placed(baseline))
        return text_path(baseline, m_font, text);
    QPainterPath path;
    double x = placed(baseline.x());
    const double y = placed(baseline.y());
    for (int i = 0; i < text.size(); ++i) {
        if (i > 0)
            x += m_advances.at(Pair(text.at(i - 1), text.at(i)));
        path.addPath(m_outlines.at(text.at(i)).translated(x, y));
    }
    return path;
}
