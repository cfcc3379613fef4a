#include "scene/textpieces.h"

#include <algorithm>

bool are_lines_apart(const std::vector<QRectF>& lines) {
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].top() < lines[i - 1].bottom() + kPiecesApart_px)
            return false;
    }
    return true;
}

void TextPieces::add(const QPainterPath& outline, double left, double right) {
    if (m_rights.empty() || is_apart(left, m_rights.back())) {
        m_pieces.push_back(outline);
        m_rights.push_back(right);
        return;
    }
    // An outline that reaches back to pieces before the last one makes one piece of them all.
    while (m_rights.size() > 1 && !is_apart(left, m_rights[m_rights.size() - 2])) {
        const QPainterPath last = m_pieces.back();
        right = std::max(right, m_rights.back());
        m_pieces.pop_back();
        m_rights.pop_back();
        m_pieces.back().addPath(last);
    }
    m_pieces.back().addPath(outline);
    m_rights.back() = std::max(m_rights.back(), right);
}

void TextPieces::add_subpaths(const QPainterPath& outline) {
    int i = 0;
    while (i < outline.elementCount()) {
        QPainterPath subpath;
        subpath.setFillRule(outline.fillRule());
        subpath.moveTo(outline.elementAt(i));
        for (++i; i < outline.elementCount() && !outline.elementAt(i).isMoveTo(); ++i) {
            if (outline.elementAt(i).isLineTo()) {
                subpath.lineTo(outline.elementAt(i));
            } else {
                subpath.cubicTo(outline.elementAt(i), outline.elementAt(i + 1),
                                outline.elementAt(i + 2));
                i += 2;
            }
        }
        const QRectF bounds = subpath.boundingRect();
        add(subpath, bounds.left(), bounds.right());
    }
}
