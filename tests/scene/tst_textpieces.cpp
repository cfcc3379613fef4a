#include "scene/textpieces.h"

#include <QtTest>

namespace {

using Pieces = std::vector<QPainterPath>;

struct Span {
    double left;
    double right;
};

QPainterPath box(Span span) {
    QPainterPath path;
    path.addRect(span.left, 0.0, span.right - span.left, 10.0);
    return path;
}

/// Boxes as one path with a subpath each, in their order.
QPainterPath boxes(const QVector<Span>& spans) {
    QPainterPath path;
    for (const Span& span : spans)
        path.addPath(box(span));
    return path;
}

} // namespace

Q_DECLARE_METATYPE(Span)

class TestTextPieces : public QObject {
    Q_OBJECT

private slots:
    void what_is_apart_is_a_piece_of_its_own_data();
    void what_is_apart_is_a_piece_of_its_own();
    void subpaths_are_added_one_by_one();
    void subpaths_keep_their_curves_and_their_fill_rule();
    void another_lines_pieces_stay();
    void lines_are_apart_with_a_pixel_between_them();
};

void TestTextPieces::what_is_apart_is_a_piece_of_its_own_data() {
    QTest::addColumn<QVector<Span>>("spans");
    QTest::addColumn<QVector<Span>>("pieces");
    const double least = 1.0 + 2.0 / 64.0;
    QTest::newRow("none") << QVector<Span>{} << QVector<Span>{};
    QTest::newRow("one") << QVector<Span>{{0, 5}} << QVector<Span>{{0, 5}};
    QTest::newRow("just apart") << QVector<Span>{{0, 5}, {5 + least, 9}}
                                << QVector<Span>{{0, 5}, {5 + least, 9}};
    QTest::newRow("not quite apart") << QVector<Span>{{0, 5}, {6, 9}} << QVector<Span>{{0, 9}};
    QTest::newRow("one in another")
        << QVector<Span>{{0, 9}, {3, 5}, {7, 12}} << QVector<Span>{{0, 12}};
    QTest::newRow("back to the one before")
        << QVector<Span>{{0, 5}, {10, 15}, {4, 6}} << QVector<Span>{{0, 15}};
    QTest::newRow("back to the first")
        << QVector<Span>{{0, 5}, {10, 15}, {20, 25}, {3, 4}} << QVector<Span>{{0, 25}};
    QTest::newRow("back, then on")
        << QVector<Span>{{0, 5}, {10, 15}, {4, 6}, {13, 16}} << QVector<Span>{{0, 16}};
    QTest::newRow("back between") << QVector<Span>{{0, 5}, {10, 15}, {20, 25}, {12, 13}, {27, 30}}
                                  << QVector<Span>{{0, 5}, {10, 25}, {27, 30}};
}

void TestTextPieces::what_is_apart_is_a_piece_of_its_own() {
    QFETCH(const QVector<Span>, spans);
    QFETCH(const QVector<Span>, pieces);
    Pieces actual;
    TextPieces line(actual);
    int elements = 0;
    for (const Span& span : spans) {
        line.add(box(span), span.left, span.right);
        elements += box(span).elementCount();
    }
    QCOMPARE(static_cast<int>(actual.size()), pieces.size());
    for (int i = 0; i < pieces.size(); ++i) {
        const QRectF bounds = actual[static_cast<std::size_t>(i)].boundingRect();
        QCOMPARE(bounds.left(), pieces[i].left);
        QCOMPARE(bounds.right(), pieces[i].right);
        elements -= actual[static_cast<std::size_t>(i)].elementCount();
    }
    QCOMPARE(elements, 0); // all are somewhere
}

void TestTextPieces::subpaths_are_added_one_by_one() {
    Pieces actual;
    TextPieces(actual).add_subpaths(boxes({{0, 5}, {2, 3}, {10, 15}}));
    QCOMPARE(actual.size(), std::size_t{2});
    QCOMPARE(actual[0], boxes({{0, 5}, {2, 3}}));
    QCOMPARE(actual[1], box({10, 15}));
}

void TestTextPieces::subpaths_keep_their_curves_and_their_fill_rule() {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    path.addEllipse(0.0, 0.0, 8.0, 6.0);
    path.addRect(20.0, 0.0, 8.0, 6.0);
    Pieces actual;
    TextPieces(actual).add_subpaths(path);
    QCOMPARE(actual.size(), std::size_t{2});
    QPainterPath ellipse;
    ellipse.setFillRule(Qt::WindingFill);
    ellipse.addEllipse(0.0, 0.0, 8.0, 6.0);
    QCOMPARE(actual[0], ellipse);
}

void TestTextPieces::another_lines_pieces_stay() {
    Pieces actual = {box({0, 50})};
    TextPieces line(actual);
    line.add(box({10, 15}), 10, 15);
    line.add(box({5, 20}), 5, 20);
    QCOMPARE(actual.size(), std::size_t{2});
    QCOMPARE(actual[0], box({0, 50}));
}

void TestTextPieces::lines_are_apart_with_a_pixel_between_them() {
    const QRectF line(3.0, 10.0, 50.0, 12.0);
    const double least = 12.0 + 1.0 + 2.0 / 64.0;
    QVERIFY(are_lines_apart({}));
    QVERIFY(are_lines_apart({line}));
    QVERIFY(are_lines_apart({line, line.translated(0, least), line.translated(9, 2 * least)}));
    QVERIFY(!are_lines_apart({line, line.translated(0, 12.5)}));
    QVERIFY(!are_lines_apart({line, line.translated(0, 20), line.translated(60, 30)}));
}

QTEST_MAIN(TestTextPieces)
#include "tst_textpieces.moc"
