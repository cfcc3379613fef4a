#include "strokes/segmentpainter.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <QPainterPath>
#include <vector>

namespace {

struct Piece {
    StrokesView::segment segment;
    QColor color;
    QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver;
};

QImage layer() {
    QImage image(kView, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(255, 0, 255, 100)); // shows what clears, and what replaces
    return image;
}

/// As the toolkit paints it with a painter of its own.
void paint_alone(QImage& image, Piece const& piece) {
    const double half_width = piece.segment.width;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(piece.color == Qt::white ? QPainter::CompositionMode_Clear
                                                        : piece.mode);
    if (piece.segment.line.p1() == piece.segment.line.p2()) {
        QPainterPath dot;
        dot.addEllipse(piece.segment.line.p1(), half_width, half_width);
        painter.fillPath(dot, piece.color);
    } else {
        painter.setPen(
            QPen(piece.color, 2.0 * half_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawLine(piece.segment.line);
    }
}

} // namespace

class TestSegmentPainter : public QuietTest {
    Q_OBJECT

private slots:
    void segments_do_not_mind_those_before_them_data();
    void segments_do_not_mind_those_before_them();
    void the_contacts_of_a_report_paint_as_if_alone();
    void nothing_stays_open();
};

void TestSegmentPainter::segments_do_not_mind_those_before_them_data() {
    QTest::addColumn<QVector<int>>("order");
    QTest::newRow("lines") << QVector<int>{0, 1};
    QTest::newRow("lines of two widths") << QVector<int>{0, 2};
    QTest::newRow("lines of two colours") << QVector<int>{0, 3};
    QTest::newRow("a dot, then a line") << QVector<int>{4, 0};
    QTest::newRow("a line, a dot, the line") << QVector<int>{0, 4, 0};
    QTest::newRow("dots of two colours") << QVector<int>{4, 5};
    QTest::newRow("an eraser, then a line") << QVector<int>{6, 1};
    QTest::newRow("an eraser twice, then a dot") << QVector<int>{6, 7, 4};
    QTest::newRow("a replacing line, then a blending one") << QVector<int>{8, 3};
    // A colour and a width that no pen has, too.
    QTest::newRow("a black line a pixel wide") << QVector<int>{9};
    QTest::newRow("a dot, then such a line") << QVector<int>{4, 9};
}

void TestSegmentPainter::segments_do_not_mind_those_before_them() {
    QFETCH(const QVector<int>, order);
    const QLineF falling(20.3, 15.0, 90.0, 70.6);
    const QLineF rising(25.0, 75.5, 95.2, 12.0);
    const QLineF point(50.4, 40.6, 50.4, 40.6);
    const QColor pale(0, 0, 255, 100);
    const std::vector<Piece> pieces = {
        {{falling, 5.0F}, Qt::red},
        {{rising, 5.0F}, Qt::red},
        {{rising, 2.5F}, Qt::red},
        {{rising, 5.0F}, pale},
        {{point, 12.0F}, Qt::green},
        {{point, 7.0F}, Qt::blue},
        {{falling, 6.0F}, Qt::white},
        {{point, 9.0F}, Qt::white},
        {{falling, 5.0F}, pale, QPainter::CompositionMode_Source},
        {{falling, 0.5F}, Qt::black},
    };
    QImage actual = layer();
    QImage expected = layer();
    {
        SegmentPainter painter(actual);
        for (const int i : order) {
            Piece const& piece = pieces.at(static_cast<std::size_t>(i));
            painter.paint(piece.segment, piece.color, piece.mode);
            paint_alone(expected, piece);
        }
    }
    QVERIFY(expected != layer());
    COMPARE_PICTURES(actual, expected);
}

void TestSegmentPainter::the_contacts_of_a_report_paint_as_if_alone() {
    const auto together = bare_view();
    const auto alone = bare_view();
    const auto report = [&](int kind, std::vector<Osterly::Controls> const& records) {
        if (kind == 1)
            together->in_touch_event(records);
        else
            together->in_erase_event(records);
        for (Osterly::Controls const& record : records)
            alone->draw_stroke(record, kinds().at(static_cast<std::size_t>(kind)).stroke);
    };
    report(1, {down(256, 20, 20, 4), down(257, 60, 30, 9), down(258, 90, 60, 4)});
    report(1, {down(256, 80, 70, 4), down(257, 60, 30, 9), down(258, 20, 65, 7)});
    report(2, {down(512, 10, 40, 5), down(513, 40, 10, 5)});
    report(2, {down(512, 110, 50, 5), down(513, 50, 80, 8)});
    report(1, {up(256, 80, 20, 4), down(257, 30, 30, 3), down(259, 90, 60, 4)});
    COMPARE_PICTURES(*together->m_strokes_image, *alone->m_strokes_image);
    QCOMPARE(together->get_dirty_region(), alone->get_dirty_region());
}

void TestSegmentPainter::nothing_stays_open() {
    const auto view = bare_view();
    QImage& image = *view->m_strokes_image;
    view->in_pen_event(down(-1, 20, 20));
    QVERIFY(!image.paintingActive());
    view->in_touch_event({down(256, 20, 20), down(257, 60, 30)});
    QVERIFY(!image.paintingActive());
    view->in_erase_event({down(512, 20, 20), down(513, 60, 30)});
    QVERIFY(!image.paintingActive());
    view->draw_stroke(down(5, 30, 30), Qt::red);
    QVERIFY(!image.paintingActive());
    view->redraw_strokes();
    QVERIFY(!image.paintingActive());
}

QTEST_MAIN(TestSegmentPainter)
#include "tst_segmentpainter.moc"
