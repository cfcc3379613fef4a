#pragma once

#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <array>
#include <optional>
#include <vector>

/// The outline of one glyph, with the baseline's start at the origin. The font has its points on a
/// grid of 64ths of a pixel; the toolkit computes the control points of its curves from them where
/// the glyph stands, so that they differ in the last bits from place to place. This outline does
/// the same where the last bits matter.
class GlyphOutline {
public:
    /// Nothing where `path` is none that the toolkit makes of points on the grid.
    static std::optional<GlyphOutline> of(const QPainterPath& path);

    bool is_empty() const { return m_elements.empty(); } ///< a blank
    const QRectF& bounds() const { return m_bounds; }    ///< without control points

    /// Appends what the toolkit makes of the glyph at `place`, which is on the grid, up to the last
    /// bits.
    void add_to(QPainterPath& path, QPointF place) const;

    /// The straight lines that the toolkit makes of it there whenever it fills it unscaled, to the
    /// last bit.
    QPainterPath straight_at(QPointF place) const;
    /// The same and faster, up to the last bits of rounded_points(): even the last bit is the same
    /// of points in the middle between two of the toolkit's steps in filling, which are the grid's.
    QPainterPath nearly_straight_at(QPointF place) const;
    /// Without the move to `place`.
    const std::vector<QPointF>& rounded_points() const { return m_rounded_points; }

private:
    /// From the end of the element before.
    struct Element {
        enum class Kind { Move, Line, Quadratic, Cubic };

        Kind kind;
        QPointF end;
        QPointF control; ///< of a curve
        QPointF second_control;
    };

    /// A curve with a point in such a middle between two of its lines.
    struct MiddleCurve {
        Element element;
        QPointF start;
        int index; ///< of its first line in m_straight
    };

    static std::optional<Element> curve(const QPainterPath& path, int index, QPointF start);
    static std::array<QPointF, 4> cubic(const Element& element, QPointF start, QPointF place);
    void straighten();
    template <typename AddCurve>
    void add_to(QPainterPath& path, QPointF place, AddCurve add_curve) const;

    std::vector<Element> m_elements;
    QRectF m_bounds;
    QPainterPath m_path;
    QPainterPath m_straight; ///< empty where rounding decides about its lines
    std::vector<QPointF> m_rounded_points;
    std::vector<MiddleCurve> m_middle_curves;
};
