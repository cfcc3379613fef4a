#include "scene/glyphoutline.h"

#include <QFont>
#include <QImage>
#include <QPainter>
#include <QtTest>
#include <cmath>
#include <random>

namespace {

constexpr double kGrid = 64.0; // a font's points, in a pixel

QFont font(int pixels) {
    QFont font;
    font.setPixelSize(pixels);
    return font;
}

QPainterPath glyph(QChar character, const QFont& font, QPointF at = {}) {
    QPainterPath path;
    path.addText(at, font, character);
    return path;
}

GlyphOutline outline(QChar character, const QFont& font) {
    return GlyphOutline::of(glyph(character, font)).value_or(GlyphOutline());
}

QImage picture(const QPainterPath& path) {
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(0U);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(5.0, 50.0);
    painter.fillPath(path, Qt::black);
    return image;
}

bool has_curves(const QPainterPath& path) {
    for (int i = 0; i < path.elementCount(); ++i) {
        if (path.elementAt(i).isCurveTo())
            return true;
    }
    return false;
}

/// The elements that `is_equal` holds of, where both have as many of the same types; else none.
template <typename IsEqual>
int equal_elements(const QPainterPath& a, const QPainterPath& b, IsEqual is_equal) {
    if (a.elementCount() != b.elementCount())
        return 0;
    int count = 0;
    for (int i = 0; i < a.elementCount(); ++i)
        count += a.elementAt(i).type == b.elementAt(i).type &&
                 is_equal(QPointF(a.elementAt(i)), QPointF(b.elementAt(i)));
    return count;
}

bool are_near(QPointF a, QPointF b) {
    return (a - b).manhattanLength() < 1e-9;
}

bool are_equal(QPointF a, QPointF b) {
    return a.x() == b.x() && a.y() == b.y();
}

} // namespace

class TestGlyphOutline : public QObject {
    Q_OBJECT

private slots:
    void it_can_be_moved();
    void its_lines_are_the_toolkits_data();
    void its_lines_are_the_toolkits();
    void the_fast_lines_differ_in_roundings();
    void only_points_within_curves_are_rounded();
    void a_cubic_curve_on_the_grid_is_known();
    void a_path_off_the_grid_is_none_data();
    void a_path_off_the_grid_is_none();
    void a_blank_is_empty();
    void a_curve_at_the_bound_has_no_fast_lines();
};

void TestGlyphOutline::it_can_be_moved() {
    const QPointF place(31.0 / kGrid - 150.0, 7.0 / kGrid + 20.0);
    QPainterPath path = glyph(u'7', font(16));
    const int before = path.elementCount();
    outline(u'8', font(16)).add_to(path, place);
    QPainterPath all = glyph(u'7', font(16));
    all.addPath(glyph(u'8', font(16), place));
    QCOMPARE(equal_elements(path, all, are_near), all.elementCount());
    QVERIFY(path.elementCount() > before);
    QCOMPARE(outline(u'8', font(16)).bounds(), glyph(u'8', font(16)).boundingRect());
}

void TestGlyphOutline::its_lines_are_the_toolkits_data() {
    QTest::addColumn<int>("pixels");
    QTest::newRow("small") << 9;
    QTest::newRow("the tags'") << 16;
    QTest::newRow("large") << 41;
}

/// In places in which points of the curves lie in the middle between the toolkit's steps.
void TestGlyphOutline::its_lines_are_the_toolkits() {
    QFETCH(const int, pixels);
    std::mt19937 random(3);
    for (const QChar character : QStringLiteral("0235689aBdRs:.u-")) {
        const GlyphOutline learnt = outline(character, font(pixels));
        QVERIFY(!learnt.is_empty());
        for (int i = 0; i < 100; ++i) {
            const QPointF place(static_cast<double>(random() % 1024) / kGrid,
                                -static_cast<double>(random() % 512) / kGrid);
            const QPainterPath straight = learnt.straight_at(place);
            QVERIFY(!has_curves(straight));
            const QImage expected = picture(glyph(character, font(pixels), place));
            QCOMPARE(picture(straight), expected);
            QCOMPARE(picture(learnt.nearly_straight_at(place)), expected); // it is not moved on
        }
    }
}

void TestGlyphOutline::the_fast_lines_differ_in_roundings() {
    std::mt19937 random(3);
    int differing = 0;
    for (const QChar character : QStringLiteral("0123456789abc")) {
        const GlyphOutline learnt = outline(character, font(16));
        for (int i = 0; i < 100; ++i) {
            const QPointF place(-static_cast<double>(random() % 16384) / kGrid,
                                -static_cast<double>(random() % 16384) / kGrid);
            const QPainterPath exact = learnt.straight_at(place);
            const QPainterPath fast = learnt.nearly_straight_at(place);
            QCOMPARE(equal_elements(exact, fast, are_near), exact.elementCount());
            const int rounded = exact.elementCount() - equal_elements(exact, fast, are_equal);
            QVERIFY(rounded <= static_cast<int>(learnt.rounded_points().size()));
            differing += rounded;
        }
    }
    QVERIFY(differing > 0);
}

void TestGlyphOutline::only_points_within_curves_are_rounded() {
    QVERIFY(outline(u'l', font(16)).rounded_points().empty());
    const GlyphOutline curved = outline(u'0', font(16));
    const QPainterPath path = glyph(u'0', font(16));
    int ends = 0;
    for (int i = 0; i < path.elementCount(); ++i)
        ends += path.elementAt(i).type == QPainterPath::CurveToDataElement ? 0 : 1;
    QVERIFY(!curved.rounded_points().empty());
    QVERIFY(static_cast<int>(curved.rounded_points().size()) <=
            curved.straight_at({}).elementCount() - ends);
}

void TestGlyphOutline::a_cubic_curve_on_the_grid_is_known() {
    QPainterPath path;
    path.moveTo(0.5, 0.0);
    path.cubicTo(4.25, -9.0, 11.5, 3.0, 20.0, -8.0);
    path.lineTo(0.5, 0.0);
    const auto known = GlyphOutline::of(path);
    QVERIFY(known.has_value());
    const QPointF place(3.0 / kGrid, 5.0);
    QCOMPARE(picture(known->straight_at(place)), picture(path.translated(place)));
}

void TestGlyphOutline::a_path_off_the_grid_is_none_data() {
    QTest::addColumn<QPointF>("control");
    QTest::addColumn<QPointF>("end");
    QTest::newRow("its end") << QPointF(1.0, 1.0) << QPointF(4.001, 2.0);
    QTest::newRow("its control point") << QPointF(1.001, 1.0) << QPointF(4.0, 2.0);
}

void TestGlyphOutline::a_path_off_the_grid_is_none() {
    QFETCH(const QPointF, control);
    QFETCH(const QPointF, end);
    QPainterPath path;
    path.cubicTo(control, QPointF(3.0, 1.0), end);
    QVERIFY(!GlyphOutline::of(path).has_value());
    QPainterPath line;
    line.lineTo(end);
    QCOMPARE(GlyphOutline::of(line).has_value(), end.x() == 4.0);
}

void TestGlyphOutline::a_blank_is_empty() {
    const GlyphOutline blank = outline(u' ', font(16));
    QVERIFY(blank.is_empty());
    QVERIFY(blank.straight_at({1.0, 2.0}).isEmpty());
    QVERIFY(GlyphOutline::of(QPainterPath())->is_empty());
    QVERIFY(!outline(u'1', font(16)).is_empty());
}

/// Whether it is halved at all depends on how its control points are rounded in its place.
void TestGlyphOutline::a_curve_at_the_bound_has_no_fast_lines() {
    const QPointF control(0.75, 0.5);
    const QPointF end(3.0, 1.0);
    QPainterPath path;
    path.moveTo(0.0, 0.0);
    path.cubicTo(2.0 * control / 3.0, (2.0 * control + end) / 3.0, end);
    const auto known = GlyphOutline::of(path);
    QVERIFY(known.has_value());
    std::mt19937 random(3);
    int halved = 0;
    for (int i = 0; i < 100; ++i) {
        const QPointF place(static_cast<double>(random() % 4096) / kGrid,
                            static_cast<double>(random() % 4096) / kGrid);
        const int elements = known->straight_at(place).elementCount();
        QCOMPARE(known->nearly_straight_at(place).elementCount(), elements);
        halved += elements == 3;
    }
    QVERIFY(halved > 0 && halved < 100);
}

QTEST_MAIN(TestGlyphOutline)
#include "tst_glyphoutline.moc"
