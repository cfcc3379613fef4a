#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <limits>

namespace {

struct Piece {
    QLineF line;
    double half_width;
    QColor color;
};

/// The dot of the first point, the lines, and the dot of the lift at the last point.
std::vector<Piece> pieces_of(Drawing const& drawing) {
    std::vector<Piece> pieces;
    for (Drawn const& drawn : drawing) {
        const auto add = [&](QPointF a, QPointF b) {
            pieces.push_back({QLineF(a, b), drawn.half_width, drawn.color});
        };
        add(drawn.points.first(), drawn.points.first());
        for (int i = 1; i < drawn.points.size(); ++i)
            add(drawn.points[i - 1], drawn.points[i]);
        if (drawn.points.size() > 1)
            add(drawn.points.last(), drawn.points.last());
    }
    return pieces;
}

void paint(QPainter& painter, Piece const& piece) {
    if (piece.line.p1() == piece.line.p2()) {
        QPainterPath circle;
        circle.addEllipse(piece.line.p1(), piece.half_width, piece.half_width);
        painter.fillPath(circle, piece.color);
    } else {
        QPen pen;
        pen.setStyle(Qt::SolidLine);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        pen.setWidthF(piece.half_width + piece.half_width);
        pen.setColor(piece.color);
        painter.strokePath(
            [&] {
                QPainterPath line(piece.line.p1());
                line.lineTo(piece.line.p2());
                return line;
            }(),
            pen);
    }
}

enum Way { Live, Redrawn };

/// Each piece over what is there as it comes, or all but the first in place of it; white clears.
QImage painting(Drawing const& drawing, QSize size, Way way) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    bool first = true;
    for (Piece const& piece : pieces_of(drawing)) {
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing);
        if (piece.color.rgba() == 0xffffffff)
            painter.setCompositionMode(QPainter::CompositionMode_Clear);
        else if (way == Redrawn && !first)
            painter.setCompositionMode(QPainter::CompositionMode_Source);
        paint(painter, piece);
        first = false;
    }
    return image;
}

QImage empty_layer(StrokesView const& view) {
    QImage image(view.m_strokes_image->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

Q_DECLARE_METATYPE(Drawing)

class TestRendering : public QuietTest {
    Q_OBJECT

private slots:
    void the_layers_have_their_formats();
    void a_segment_is_painted_as_it_comes_data();
    void a_segment_is_painted_as_it_comes();
    void a_redrawn_segment_replaces_what_is_under_it_data() {
        a_segment_is_painted_as_it_comes_data();
    }
    void a_redrawn_segment_replaces_what_is_under_it();
    void points_that_hardly_differ_are_a_dot();
    void points_that_differ_are_a_line_wherever_they_are();
    void a_dot_without_width_shows_nothing();
    void a_line_without_width_is_thin();
    void only_white_erases_data();
    void only_white_erases();
    void a_live_segment_has_the_colour_of_its_record();
    void a_contact_paints_as_its_kind_data() { add_kind_rows(); }
    void a_contact_paints_as_its_kind();
    void a_repeated_record_paints_nothing();
    void a_line_from_far_away_is_seen_where_it_comes_in();

    void a_segment_makes_its_place_dirty_data();
    void a_segment_makes_its_place_dirty();
    void a_dot_makes_its_place_dirty();
    void a_lift_makes_its_place_dirty();
    void an_eraser_makes_its_place_dirty();

    void redrawing_marks_nothing_dirty();
    void redrawing_leaves_out_the_strokes_in_progress();
    void clearing_empties_the_layer();
    void what_is_drawn_after_clearing_is_seen();
};

void TestRendering::the_layers_have_their_formats() {
    const auto view = bare_view();
    QCOMPARE(view->m_test_image->format(), QImage::Format_RGB32);
    QCOMPARE(view->m_strokes_image->format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(view->m_test_image->size(), view->m_strokes_image->size());
    COMPARE_PICTURES(*view->m_strokes_image, empty_layer(*view));
}

void TestRendering::a_segment_is_painted_as_it_comes_data() {
    QTest::addColumn<Drawing>("drawing");
    // An opaque piece looks the same either way: the toolkit blends its edge into what is there.
    QTest::addColumn<bool>("ways_differ");
    const QColor red(Qt::red);
    const QColor green(Qt::green);
    const QColor white(Qt::white);
    const QColor pale(0, 0, 255, 100);
    const Points one = {{40.0, 30.0}};
    const Points falling = {{20.3, 15.0}, {90.0, 70.6}};
    const Points rising = {{25.0, 75.5}, {95.2, 12.0}};
    const Points bent = {{20.0, 20.0}, {60.5, 70.5}, {100.0, 20.0}, {10.0, 60.0}};

    QTest::newRow("a dot") << Drawing{{red, 5.0, one}} << false;
    QTest::newRow("a dot within a pixel") << Drawing{{red, 0.3, {{40.4, 30.6}}}} << false;
    QTest::newRow("a dot between pixels") << Drawing{{red, 7.25, {{40.4, 30.6}}}} << false;
    QTest::newRow("a dot over the edge") << Drawing{{red, 9.0, {{-2.5, 89.0}}}} << false;
    QTest::newRow("a line") << Drawing{{red, 4.0, falling}} << false;
    QTest::newRow("a thin line") << Drawing{{green, 0.2, falling}} << false;
    QTest::newRow("a line from outside")
        << Drawing{{red, 6.0, {{-40.0, -9.5}, {60.0, 50.0}}}} << false;
    QTest::newRow("lines that are bent") << Drawing{{red, 3.0, bent}} << false;
    QTest::newRow("a touch across a pen")
        << Drawing{{red, 5.0, falling}, {green, 5.0, rising}} << false;
    QTest::newRow("translucent lines") << Drawing{{pale, 6.0, bent}} << true;
    QTest::newRow("translucent across opaque")
        << Drawing{{red, 5.0, falling}, {pale, 5.0, rising}} << true;
    QTest::newRow("an eraser on nothing") << Drawing{{white, 5.0, falling}} << false;
    QTest::newRow("an eraser across dots")
        << Drawing{{red, 8.0, {{40.0, 30.0}}}, {white, 5.0, {{44.5, 30.0}}}} << false;
    QTest::newRow("an eraser across a pen")
        << Drawing{{red, 5.0, falling}, {white, 6.5, rising}} << false;
    QTest::newRow("a pen after an eraser")
        << Drawing{{red, 5.0, falling}, {white, 6.5, rising}, {green, 3.0, bent}} << false;
    QTest::newRow("an eraser across translucent")
        << Drawing{{pale, 5.0, bent}, {white, 6.5, rising}, {pale, 3.0, falling}} << true;
    QTest::newRow("an eraser first") << Drawing{{white, 5.0, falling}, {red, 6.5, rising}} << false;
}

void TestRendering::a_segment_is_painted_as_it_comes() {
    QFETCH(const Drawing, drawing);
    QFETCH(const bool, ways_differ);
    const auto view = bare_view();
    draw(*view, drawing);
    const QSize layer = view->m_strokes_image->size();
    COMPARE_PICTURES(*view->m_strokes_image, painting(drawing, layer, Live));
    QCOMPARE(painting(drawing, layer, Live) != painting(drawing, layer, Redrawn), ways_differ);
}

void TestRendering::a_redrawn_segment_replaces_what_is_under_it() {
    QFETCH(const Drawing, drawing);
    const auto view = bare_view();
    draw(*view, drawing);
    view->m_strokes_image->fill(Qt::darkYellow); // goes
    view->redraw_strokes();
    COMPARE_PICTURES(*view->m_strokes_image,
                     painting(drawing, view->m_strokes_image->size(), Redrawn));
}

// A dot and the round caps of a line without length differ in some pixels.
void TestRendering::points_that_hardly_differ_are_a_dot() {
    const auto view = bare_view();
    view->m_strokes.push_back({{{QLineF(0.5, 0.5, 0.5 + 5e-13, 0.5 - 5e-13), 7.0F}}, Qt::red});
    view->redraw_strokes();
    const QSize layer = view->m_strokes_image->size();
    COMPARE_PICTURES(*view->m_strokes_image,
                     painting({{Qt::red, 7.0, {{0.5, 0.5}}}}, layer, Redrawn));
}

void TestRendering::points_that_differ_are_a_line_wherever_they_are() {
    const QPointF a(100.5, 60.5);
    const QPointF b(100.5 + 1e-10, 60.5); // the same for a tolerance of 1e-12 of the coordinate
    const auto view = bare_view();
    view->m_strokes.push_back({{{QLineF(a, b), 7.0F}}, Qt::red});
    view->redraw_strokes();
    QImage expected = empty_layer(*view);
    QPainter painter(&expected);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::red, 14.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(QLineF(a, b));
    painter.end();
    COMPARE_PICTURES(*view->m_strokes_image, expected);
    QVERIFY(expected != painting({{Qt::red, 7.0, {a}}}, expected.size(), Redrawn));
}

void TestRendering::a_dot_without_width_shows_nothing() {
    const auto view = bare_view();
    view->m_stroke_width = 0.0F;
    view->in_pen_event(down(-1, 40.5, 30.5));
    COMPARE_PICTURES(*view->m_strokes_image, empty_layer(*view));
    QCOMPARE(view->get_dirty_region(), QRegion(39, 29, 3, 3));
    view->in_pen_event(up(-1, 40.5, 30.5));
    QCOMPARE(view->m_strokes.at(0).segments.size(), 1U);
    view->redraw_strokes();
    COMPARE_PICTURES(*view->m_strokes_image, empty_layer(*view));
}

void TestRendering::a_line_without_width_is_thin() {
    const auto view = bare_view();
    view->m_stroke_width = 0.0F;
    view->in_pen_event(down(-1, 10.5, 30.5));
    view->in_pen_event(down(-1, 60.5, 30.5));
    // A width of 0 is one pixel of the device.
    for (int y = 28; y < 34; ++y)
        QCOMPARE(view->m_strokes_image->pixel(40, y), y == 30 ? 0xffff0000 : 0U);
    const Drawing drawing{{Qt::red, 0.0, {{10.5, 30.5}, {60.5, 30.5}}}};
    COMPARE_PICTURES(*view->m_strokes_image,
                     painting(drawing, view->m_strokes_image->size(), Live));
}

void TestRendering::only_white_erases_data() {
    QTest::addColumn<QColor>("color");
    QTest::addColumn<bool>("erases");
    QTest::newRow("white") << QColor(Qt::white) << true;
    QTest::newRow("white by its parts") << QColor(255, 255, 255) << true;
    QTest::newRow("nearly white") << QColor(255, 255, 254) << false;
    QTest::newRow("translucent white") << QColor(255, 255, 255, 254) << false;
    QTest::newRow("black") << QColor(Qt::black) << false;
}

void TestRendering::only_white_erases() {
    QFETCH(const QColor, color);
    QFETCH(const bool, erases);
    const auto view = bare_view();
    draw(*view, {{Qt::red, 9.0, {{40.0, 30.0}}}, {color, 5.0, {{40.0, 30.0}}}});
    QCOMPARE(view->m_strokes_image->pixel(40, 30) == 0U, erases);
    QVERIFY(view->m_strokes_image->pixel(40, 30) != 0xffff0000);
    QCOMPARE(view->m_strokes_image->pixel(40, 37), 0xffff0000);
    view->redraw_strokes();
    QCOMPARE(view->m_strokes_image->pixel(40, 30) == 0U, erases);
    QCOMPARE(view->m_strokes_image->pixel(40, 37), 0xffff0000);
}

void TestRendering::a_live_segment_has_the_colour_of_its_record() {
    const auto view = bare_view();
    const QColor blue(Qt::blue);
    view->draw_stroke(down(7, 20.0, 30.0, 4.0), Qt::red);
    view->draw_stroke(down(7, 60.0, 35.0, 4.0), blue);
    view->draw_stroke(up(7, 70.0, 60.0, 4.0), Qt::yellow);
    QImage expected = empty_layer(*view);
    const auto paint_over = [&](QLineF const& line, QColor color) {
        QPainter painter(&expected);
        painter.setRenderHint(QPainter::Antialiasing);
        paint(painter, {line, 4.0, color});
    };
    paint_over({20.0, 30.0, 20.0, 30.0}, Qt::red);
    paint_over({20.0, 30.0, 60.0, 35.0}, blue);
    paint_over({60.0, 35.0, 70.0, 60.0}, Qt::yellow);
    COMPARE_PICTURES(*view->m_strokes_image, expected);

    view->redraw_strokes(); // in that of its first point
    QCOMPARE(view->m_strokes_image->pixel(40, 32), 0xffff0000);
    QCOMPARE(view->m_strokes_image->pixel(65, 47), 0xffff0000);
}

void TestRendering::a_contact_paints_as_its_kind() {
    QFETCH(const int, kind);
    Kind const& k = kinds().at(kind);
    const auto view = bare_view();
    const Drawing before{{Qt::magenta, 12.0, {{40.0, 30.0}, {80.0, 30.0}}}};
    draw(*view, before);
    k.report(*view, down(k.id, 40.0, 20.0, 5.0, 2.0));
    k.report(*view, down(k.id, 60.0, 45.0, 5.0, 2.0));
    k.report(*view, up(k.id, 60.0, 45.0, 5.0, 2.0));
    Drawing all = before;
    all.append({k.stroke, 5.0, {{40.0, 20.0}, {60.0, 45.0}}});
    const QSize layer = view->m_strokes_image->size();
    COMPARE_PICTURES(*view->m_strokes_image, painting(all, layer, Live));
    view->redraw_strokes();
    COMPARE_PICTURES(*view->m_strokes_image, painting(all, layer, Redrawn));
}

void TestRendering::a_repeated_record_paints_nothing() {
    const auto view = bare_view();
    view->in_pen_event(down(-1, 40.0, 30.0));
    view->m_strokes_image->fill(0U);
    view->in_pen_event(down(-1, 40.0, 30.0));
    view->in_pen_event(up(-1, 40.0, 30.0));
    COMPARE_PICTURES(*view->m_strokes_image, empty_layer(*view));
}

void TestRendering::a_line_from_far_away_is_seen_where_it_comes_in() {
    for (double far : {1e5, 2e9}) {
        const auto view = bare_view();
        view->in_pen_event(down(-1, 50.0, 40.5));
        view->in_pen_event(down(-1, far, 40.5));
        QCOMPARE(view->m_strokes_image->pixel(100, 40), 0xffff0000);
        QCOMPARE(view->m_strokes_image->pixel(40, 40), 0U);
        view->in_pen_event(up(-1, far, 40.5));
        view->redraw_strokes();
        QCOMPARE(view->m_strokes_image->pixel(100, 40), 0xffff0000);
    }
}

void TestRendering::a_segment_makes_its_place_dirty_data() {
    QTest::addColumn<QPointF>("from");
    QTest::addColumn<QPointF>("to");
    QTest::addColumn<double>("half_width");
    QTest::addColumn<QPoint>("first"); // of the dirty pixels
    QTest::addColumn<QPoint>("last");
    const auto row = [](const char* name, QPointF from, QPointF to, double half_width, QPoint first,
                        QPoint last) {
        QTest::newRow(name) << from << to << half_width << first << last;
    };
    row("right and down", {10.2, 20.7}, {30.9, 40.1}, 3.0, {6, 16}, {34, 44});
    row("left and up", {30.9, 40.1}, {10.2, 20.7}, 3.0, {6, 16}, {34, 44});
    row("right and up", {10.2, 40.1}, {30.9, 20.7}, 3.0, {6, 16}, {34, 44});
    row("left and down", {30.9, 20.7}, {10.2, 40.1}, 3.0, {6, 16}, {34, 44});
    row("left by a pixel", {10.0, 20.0}, {9.0, 20.0}, 3.0, {5, 16}, {14, 24});
    row("up by a pixel", {10.0, 20.0}, {10.0, 19.0}, 3.0, {6, 15}, {14, 24});
    row("left and up by a pixel", {10.0, 20.0}, {9.9, 19.9}, 3.0, {5, 15}, {14, 24});
    row("right by a pixel", {9.0, 20.0}, {10.0, 20.0}, 3.0, {5, 16}, {14, 24});
    row("left by two pixels", {10.0, 20.0}, {8.0, 20.0}, 3.0, {4, 16}, {14, 24});
    row("within a pixel", {10.1, 20.9}, {10.9, 20.1}, 3.0, {6, 16}, {14, 24});
    row("below zero", {-1.1, -5.99}, {-0.9, -0.9}, 2.5, {-4, -8}, {3, 3});
    row("across zero", {-0.9, 10.0}, {0.9, 10.0}, 0.5, {-1, 9}, {1, 11});
    row("half-width 0", {50.0, 60.0}, {50.5, 60.0}, 0.0, {49, 59}, {51, 61});
    row("half-width 0.5", {50.0, 60.0}, {50.5, 60.0}, 0.5, {49, 59}, {51, 61});
    row("half-width 0.99", {50.0, 60.0}, {50.5, 60.0}, 0.99, {49, 59}, {51, 61});
    row("half-width 1", {50.0, 60.0}, {50.5, 60.0}, 1.0, {48, 58}, {52, 62});
    row("half-width 2.99", {50.0, 60.0}, {50.5, 60.0}, 2.99, {47, 57}, {53, 63});
    row("half-width 7", {50.0, 60.0}, {50.5, 60.0}, 7.0, {42, 52}, {58, 68});
    row("outside of the view", {500.5, -600.5}, {510.5, -620.5}, 3.0, {496, -624}, {514, -596});
    constexpr int farthest = std::numeric_limits<int>::max();
    row("as large as can be", {50.0, 60.0}, {50.5, 60.0}, farthest, {50 - farthest, 60 - farthest},
        {farthest, farthest});
}

void TestRendering::a_segment_makes_its_place_dirty() {
    QFETCH(const QPointF, from);
    QFETCH(const QPointF, to);
    QFETCH(const double, half_width);
    QFETCH(const QPoint, first);
    QFETCH(const QPoint, last);
    const auto view = bare_view();
    view->m_stroke_width = 0.0F; // for the rows without a half-width
    for (Kind const& k : kinds()) {
        k.report(*view, down(k.id, from.x(), from.y(), half_width));
        view->get_dirty_region();
        k.report(*view, down(k.id, to.x(), to.y(), half_width));
        const QRegion dirty = view->get_dirty_region();
        QCOMPARE(dirty.rectCount(), 1);
        QCOMPARE(dirty.boundingRect().topLeft(), first);
        QCOMPARE(dirty.boundingRect().bottomRight(), last);
    }
}

void TestRendering::a_dot_makes_its_place_dirty() {
    for (Kind const& k : kinds()) {
        const auto view = bare_view();
        view->get_dirty_region();
        k.report(*view, down(k.id, 50.7, 60.2, 1.0, 2.5));
        QCOMPARE(view->get_dirty_region(), QRegion(QRect(QPoint(47, 57), QPoint(53, 63))));
        k.report(*view, up(k.id, 50.7, 60.2, 1.0, 2.5)); // repeats it
        QVERIFY(view->get_dirty_region().isEmpty());
    }
}

void TestRendering::a_lift_makes_its_place_dirty() {
    const auto view = bare_view();
    view->in_pen_event(down(-1, 50.0, 60.0));
    view->get_dirty_region();
    view->in_pen_event(up(-1, 55.0, 50.0));
    QCOMPARE(view->get_dirty_region(), QRegion(QRect(QPoint(46, 46), QPoint(59, 64))));
}

void TestRendering::an_eraser_makes_its_place_dirty() {
    const auto view = bare_view();
    view->in_erase_event({down(512, 50.0, 60.0, 4.0, 7.0), down(513, 20.0, 10.0, 2.0, 1.0)});
    QCOMPARE(view->get_dirty_region(), QRegion(42, 52, 17, 17) + QRegion(17, 7, 7, 7));
}

void TestRendering::redrawing_marks_nothing_dirty() {
    const auto view = bare_view();
    draw(*view, {{Qt::red, 5.0, {{40.0, 30.0}}}});
    view->get_dirty_region();
    view->redraw_strokes();
    view->redraw_test();
    QVERIFY(view->get_dirty_region().isEmpty());
}

void TestRendering::redrawing_leaves_out_the_strokes_in_progress() {
    const auto view = bare_view();
    const Drawing finished{{Qt::red, 5.0, {{40.0, 30.0}}}};
    draw(*view, finished);
    view->in_pen_event(down(-1, 80.0, 60.0));
    QVERIFY(view->m_strokes_image->pixel(80, 60) != 0U);
    view->redraw_strokes();
    COMPARE_PICTURES(*view->m_strokes_image,
                     painting(finished, view->m_strokes_image->size(), Redrawn));
}

void TestRendering::clearing_empties_the_layer() {
    const auto view = bare_view();
    draw(*view, {{Qt::red, 5.0, {{40.0, 30.0}}}});
    view->in_pen_event(down(-1, 80.0, 60.0));
    view->clear_strokes();
    COMPARE_PICTURES(*view->m_strokes_image, empty_layer(*view));
}

void TestRendering::what_is_drawn_after_clearing_is_seen() {
    const auto view = bare_view();
    view->in_pen_event(down(-1, 20.0, 60.0));
    view->in_pen_event(down(-1, 50.0, 60.0));
    view->clear_strokes();
    view->in_pen_event(up(-1, 80.0, 60.0));
    QCOMPARE(view->m_strokes_image->pixel(30, 60), 0U);
    QCOMPARE(view->m_strokes_image->pixel(70, 60), 0xffff0000);
    view->redraw_strokes(); // the stroke is stored whole
    QCOMPARE(view->m_strokes_image->pixel(30, 60), 0xffff0000);
}

QTEST_MAIN(TestRendering)
#include "tst_rendering.moc"
