#pragma once

#include <QPainterPath>
#include <QRectF>
#include <vector>

/// What has this much between its edges, in pixels, has no pixel in common wherever it lies. The
/// toolkit fills in steps of a 64th.
constexpr double kPiecesApart_px = 1.0 + 2.0 / 64.0;

/// Whether lines, from the top down, are that far from each other: what is apart in each of them is
/// apart from all others then.
bool are_lines_apart(const std::vector<QRectF>& lines);

/// Gathers the outlines of one line of text in pieces that are apart from the left to the right:
/// filled one by one, unscaled and unturned, they give the same pixels as at once, and several
/// times as fast, since the toolkit's time for filling a path grows faster than the path.
class TextPieces {
public:
    /// Appends to `pieces`, which outlives this. What is there already is of other lines.
    explicit TextPieces(std::vector<QPainterPath>& pieces) : m_pieces(pieces) {}

    /// `left` and `right` are the outline's, in pixels.
    void add(const QPainterPath& outline, double left, double right);
    /// Adds each subpath for itself.
    void add_subpaths(const QPainterPath& outline);

private:
    bool is_apart(double left, double right) const { return left >= right + kPiecesApart_px; }

    std::vector<QPainterPath>& m_pieces;
    std::vector<double> m_rights; ///< of this line's pieces
};
