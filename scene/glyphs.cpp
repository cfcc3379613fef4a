#include "scene/glyphs.h"

#include "scene/textpieces.h"

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
    if (positions.empty())
        return;
    QRectF all;
    for (const QChar character : sample) {
        const std::size_t at = character.unicode();
        if (at >= m_indices.size())
            m_indices.resize(at + 1, kUnknown);
        if (m_indices[at] != kUnknown)
            continue;
        const auto outline = GlyphOutline::of(text_path(QPointF(0.0, 0.0), font, character));
        if (!outline) {
            m_indices.clear();
            return;
        }
        m_indices[at] = static_cast<int>(m_outlines.size());
        m_outlines.push_back(*outline);
        all |= outline->bounds();
        for (const QPointF& point : outline->rounded_points()) {
            m_x_steps.add(point.x());
            m_y_steps.add(point.y());
        }
    }
    m_are_lines_apart = all.height() + kPiecesApart_px <= m_line_height;
    m_advances.assign(m_outlines.size() * m_outlines.size(),
                      std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 1; i < positions.size(); ++i) {
        const int at = static_cast<int>(i);
        double& known = m_advances[pair(index(sample.at(at - 1)), index(sample.at(at)))];
        const double advance = positions[i] - positions[i - 1];
        const bool is_placed = advance * kSteps == std::floor(advance * kSteps);
        // Else it is not the neighbours alone that count.
        if (!is_placed || (!std::isnan(known) && known != advance)) {
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
    return static_cast<std::size_t>(first) * m_outlines.size() + static_cast<std::size_t>(second);
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

/// Calls `place_glyph` with the outline of each glyph that is seen and its place. The text is
/// known.
template <typename Place>
void Glyphs::place(QPointF baseline, const QString& text, Place place_glyph) const {
    QPointF at(placed(baseline.x()), placed(baseline.y()));
    int before = kUnknown;
    for (const QChar character : text) {
        const int i = index(character);
        if (before != kUnknown)
            at.rx() += m_advances[pair(before, i)];
        before = i;
        const GlyphOutline& outline = m_outlines[static_cast<std::size_t>(i)];
        if (!outline.is_empty())
            place_glyph(outline, at);
    }
}

void Glyphs::add_outlines(QPointF baseline, const QString& text, QPainterPath& path) const {
    if (!knows(text) || !can_be_placed(baseline)) {
        path.addText(baseline, m_font, text);
        return;
    }
    place(baseline, text,
          [&path](const GlyphOutline& outline, QPointF at) { outline.add_to(path, at); });
}

void Glyphs::add_pieces(QPointF baseline, const QString& text, QPointF shift,
                        std::vector<QPainterPath>& pieces) const {
    if (!knows(text) || !can_be_placed(baseline)) {
        pieces.push_back(text_path(baseline, m_font, text));
        return;
    }
    // The glyphs' places are whole steps.
    const bool is_near_enough = m_x_steps.are_middles_missed_after(shift.x()) &&
                                m_y_steps.are_middles_missed_after(shift.y());
    TextPieces line(pieces);
    place(baseline, text, [&line, is_near_enough](const GlyphOutline& outline, QPointF at) {
        line.add(is_near_enough ? outline.nearly_straight_at(at) : outline.straight_at(at),
                 at.x() + outline.bounds().left(), at.x() + outline.bounds().right());
    });
}
