#pragma once

#include "scene/glyphoutline.h"
#include "scene/subpixelsteps.h"

#include <QFont>
#include <QPainterPath>
#include <QPointF>
#include <QString>
#include <vector>

/// The outlines of a font's glyphs, for short texts that are drawn over and over on threads that
/// have never used the font: there, loading glyphs and shaping text would cost most of the drawing.
/// Loaded once, and only read from then on, by any thread.
class Glyphs {
public:
    /// Learns the characters of `sample` and each pair of neighbours in it. A font that shapes the
    /// sample by more than neighbours is not learnt at all.
    Glyphs(const QFont& font, const QString& sample);

    /// The same as path.addText(baseline, font, text), which is asked itself for a text of which
    /// something has not been learnt.
    void add_outlines(QPointF baseline, const QString& text, QPainterPath& path) const;
    /// Appends the same as TextPieces and in straight lines, for a painter that moves them by
    /// `shift`, in pixels; as one piece and as the toolkit has it where something has not been
    /// learnt.
    void add_pieces(QPointF baseline, const QString& text, QPointF shift,
                    std::vector<QPainterPath>& pieces) const;

    /// Whether lines of learnt text that are line_height() apart have a pixel between them, too.
    bool are_lines_apart() const { return m_are_lines_apart; }

    const QFont& font() const { return m_font; }
    int line_height() const { return m_line_height; } ///< in pixels

private:
    static constexpr int kUnknown = -1;

    int index(QChar character) const;
    std::size_t pair(int first, int second) const;
    bool knows(const QString& text) const;
    template <typename Place>
    void place(QPointF baseline, const QString& text, Place place_glyph) const;

    QFont m_font;
    int m_line_height;
    bool m_are_lines_apart = false;
    std::vector<GlyphOutline> m_outlines; ///< one for each character that has been learnt
    std::vector<int> m_indices;           ///< in m_outlines, by character, or kUnknown
    std::vector<double> m_advances; ///< in pixels, of each pair of glyphs; not a number: not learnt
    SubpixelSteps m_x_steps;        ///< of all rounded_points()
    SubpixelSteps m_y_steps;
};
