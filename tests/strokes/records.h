#pragma once

#include "strokes/strokesview.h"

#include <QtTest>
#include <array>
#include <memory>

/// The three kinds of contact, which the view treats alike but for these.
struct Kind {
    const char* name;
    int id;        ///< one of the kind's
    QColor stroke; ///< of its strokes
    QColor marker; ///< of its marker
    const char* item_class;
    void (*report)(StrokesView&, Osterly::Controls const&); ///< as the dialog does it
};

inline std::array<Kind, 3> const& kinds() {
    static const std::array<Kind, 3> all = {{
        {"pen", -3, QColor(255, 0, 0), QColor(255, 0, 0, 32), "Pen",
         [](StrokesView& view, Osterly::Controls const& record) { view.in_pen_event(record); }},
        {"touch", 258, QColor(0, 255, 0), QColor(0, 255, 0, 32), "Touch",
         [](StrokesView& view, Osterly::Controls const& record) { view.in_touch_event({record}); }},
        {"eraser", 514, QColor(255, 255, 255), QColor(0, 0, 255, 32), "Erase",
         [](StrokesView& view, Osterly::Controls const& record) { view.in_erase_event({record}); }},
    }};
    return all;
}

inline void add_kind_rows() {
    QTest::addColumn<int>("kind");
    for (int kind = 0; kind < 3; ++kind)
        QTest::newRow(kinds().at(kind).name) << kind;
}

inline Osterly::Controls record(int id, int buttons, double x, double y, double radius_x = 0.0,
                                double radius_y = 0.0) {
    return {id, 0, buttons, radius_x, radius_y, x, y, x, y};
}

inline Osterly::Controls down(int id, double x, double y, double radius_x = 0.0,
                              double radius_y = 0.0) {
    return record(id, 1, x, y, radius_x, radius_y);
}

inline Osterly::Controls up(int id, double x, double y, double radius_x = 0.0,
                            double radius_y = 0.0) {
    return record(id, 0, x, y, radius_x, radius_y);
}

/// Exactly, to the last bit.
inline bool is_segment(StrokesView::segment const& piece, QLineF const& line, float width) {
    return piece.line.x1() == line.x1() && piece.line.y1() == line.y1() &&
           piece.line.x2() == line.x2() && piece.line.y2() == line.y2() && piece.width == width;
}

/// Gives the view its size at once, without showing it.
inline void give_size(StrokesView& view, QSize size) {
    view.resize(size);
    QResizeEvent resized(view.size(), QSize());
    QApplication::sendEvent(&view, &resized);
}

constexpr QSize kView(120, 90);

/// A view of that size whose contacts have no markers.
inline std::unique_ptr<StrokesView> bare_view(int card = WhiteCard) {
    auto view = std::make_unique<StrokesView>();
    view->m_info_tags = false;
    view->m_test_mode = card;
    give_size(*view, kView);
    return view;
}

using Points = QVector<QPointF>;

/// A stroke to draw, and how it is to be painted.
struct Drawn {
    QColor color;
    double half_width; // as the contact's size
    Points points;
};
using Drawing = QVector<Drawn>;

/// Each stroke is one contact that lifts at its last point.
inline void draw(StrokesView& view, Drawing const& drawing) {
    int id = 1000;
    for (Drawn const& drawn : drawing) {
        const auto contact = [&](int buttons, QPointF at) {
            view.draw_stroke(
                record(id, buttons, at.x(), at.y(), drawn.half_width, drawn.half_width),
                drawn.color);
        };
        for (QPointF const& point : drawn.points)
            contact(1, point);
        contact(0, drawn.points.last());
        ++id;
    }
}
