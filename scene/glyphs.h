#pragma once

#include <QFont>
#include <QPainterPath>
#include <QPointF>
#include <QString>
#include <map>
#include <utility>

/// The outlines of a font's glyphs, for short texts that are drawn over and over on threads that
/// have never used the font: there, loading glyphs and shaping text would cost most of the drawing.
/// Loaded once, and only read from then on, by any thread.
class Glyphs {
public:
    /// Learns the characters of `sample` and each pair of neighbours in it. A font that shapes the
    /// sample by more than neighbours is not learnt at all.
    Glyphs(const QFont& font, const QString& sample);

    /// The same as QPainterPath::addText(baseline, font, text), which is asked itself for a text of
    /// which something has not been learnt.
    QPainterPath outlines(QPointF baseline, const QString& text) const;

    const QFont& font() const { return m_font; }
    int line_height() const { return m_line_height; } ///< in pixels

private:
    using Pair = std::pair<QChar, QChar>;

    bool knows(const QString& text) const;

    QFont m_font;
    int m_line_height;
    std::map<QChar, QPainterPath> m_outlines; ///< with the baseline's start at the origin
    std::map<Pair, double>
        m_advances; ///< in pixels, from the first of two neighbours to the second
};
