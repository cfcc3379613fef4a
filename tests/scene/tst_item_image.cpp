#include "scene/item.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"
#include "tests/support/scene_pictures.h"

#include <QtTest>
#include <cmath>
#include <memory>

Q_DECLARE_METATYPE(QPainterPath)

namespace {

QPainterPath polygon(QVector<QPointF> points) {
    QPainterPath path;
    path.addPolygon(points);
    path.closeSubpath();
    return path;
}

/// A shape without symmetry, with edges that antialiasing shows.
const QPainterPath kFlag = polygon({{-12, -8}, {20, -5}, {9, 3}, {17, 14}, {-12, 10}});

void draw_flag(QPainter& painter) {
    QPen pen(Qt::darkBlue, 1.0, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin);
    pen.setCosmetic(true); // wider ones and pointed corners reach beyond the margins
    painter.setPen(pen);
    painter.setBrush(QColor(255, 128, 0, 160));
    painter.drawPath(kFlag);
    painter.drawLine(QPointF(-12, -8), QPointF(17, 14));
}

/// Which pixels of an image an item draws, and where: each pixel of this picture tells its place.
QImage map_of_pixels(int width, int height) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y, QColor(8 * x, 8 * y, 100));
    }
    return image;
}

/// The rebuffer of an item that is turned and scaled, without the rest of an update.
void rebuffer(ProbeItem& item, QPainterPath const& outline, float angle = 0.0F,
              float scale = 1.0F) {
    item.set_outline(outline);
    item.m_shown_angle = angle;
    item.m_shown_scale = scale;
    item.rebuffer();
}

} // namespace

class TestItemImage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_wrong_picture_is_told();

    void the_bounds_hold_the_turned_and_scaled_outline_data();
    void the_bounds_hold_the_turned_and_scaled_outline();
    void the_image_has_the_whole_pixels_of_the_bounds_data();
    void the_image_has_the_whole_pixels_of_the_bounds();
    void the_bounds_are_those_of_what_is_shown();
    void an_image_that_is_large_enough_is_kept_data();
    void an_image_that_is_large_enough_is_kept();
    void a_fraction_of_a_pixel_makes_a_new_image_each_time_data();
    void a_fraction_of_a_pixel_makes_a_new_image_each_time();
    void a_cleared_image_is_made_anew();
    void an_image_too_large_is_not_made_data();
    void an_image_too_large_is_not_made();

    void a_redraw_begins_with_nothing();
    void the_painter_stands_at_the_item_data();
    void the_painter_stands_at_the_item();
    void no_image_is_not_redrawn();

    void the_image_is_drawn_at_whole_pixels_data();
    void the_image_is_drawn_at_whole_pixels();
    void only_the_part_in_the_bounds_is_drawn_data();
    void only_the_part_in_the_bounds_is_drawn();
    void an_item_without_image_draws_nothing();
    void an_item_is_drawn_where_its_image_was_made_for();
    void an_item_looks_as_if_it_were_painted_in_place_data();
    void an_item_looks_as_if_it_were_painted_in_place();
    void a_smaller_item_leaves_nothing_of_the_larger();
};

void TestItemImage::a_wrong_picture_is_told() {
    const QImage white = blank({5, 4}, Qt::white);
    QImage other = white;
    QCOMPARE(difference(other, white), QString());
    other.setPixelColor(3, 2, QColor(255, 254, 255));
    QVERIFY(difference(other, white).startsWith(QStringLiteral("pixel (3, 2)")));
    QCOMPARE(difference(other, white, 1), QString());
    QVERIFY(!difference(blank({4, 5}, Qt::white), white).isEmpty());
}

void TestItemImage::the_bounds_hold_the_turned_and_scaled_outline_data() {
    QTest::addColumn<QPainterPath>("outline");
    QTest::addColumn<float>("angle");
    QTest::addColumn<float>("scale");
    QTest::addColumn<QRectF>("bounds");
    const auto row = [](const char* name, QPainterPath const& outline, float angle, float scale,
                        QRectF bounds) {
        QTest::newRow(name) << outline << angle << scale << bounds;
    };
    row("as it is", box(0, 0, 10, 10), 0, 1, {-1, -1, 14, 14});
    row("fractions", box(0.25, -0.5, 10.5, 7.75), 0, 1, {-0.75, -1.5, 14.5, 11.75});
    row("scaled", box(1, 2, 10, 20), 0, 2.5F, {1.5, 4, 29, 54});
    row("turned", box(1, 2, 10, 20), 90, 1, {-23, 0, 24, 14});
    row("turned to (0, 0, 10, 10)", box(0, -10, 10, 10), 90, 1, {-1, -1, 14, 14});
    row("turned and scaled", box(1, 2, 10, 20), -90, 2, {3, -23, 44, 24});
    row("mirrored", box(1, 2, 10, 20), 0, -1, {-12, -23, 14, 24});
    row("nothing", QPainterPath(), 30, 2, {-1, -1, 4, 4});
    row("no scale", box(1, 2, 10, 20), 30, 0, {-1, -1, 4, 4});
    // Of the outline itself, not of its turned bounding box.
    const double leg = 10.0 * std::sqrt(0.5);
    row("a rhomb, turned to a square", polygon({{0, -10}, {10, 0}, {0, 10}, {-10, 0}}), 45, 1,
        {-leg - 1, -leg - 1, 2 * leg + 4, 2 * leg + 4});
}

void TestItemImage::the_bounds_hold_the_turned_and_scaled_outline() {
    QFETCH(const QPainterPath, outline);
    QFETCH(const float, angle);
    QFETCH(const float, scale);
    QFETCH(const QRectF, bounds);
    ProbeItem item;
    rebuffer(item, outline, angle, scale);
    for (double off :
         {item.m_bounds.left() - bounds.left(), item.m_bounds.top() - bounds.top(),
          item.m_bounds.width() - bounds.width(), item.m_bounds.height() - bounds.height()})
        QVERIFY2(std::abs(off) < 1e-9, qPrintable(QString::number(off)));
}

void TestItemImage::the_image_has_the_whole_pixels_of_the_bounds_data() {
    QTest::addColumn<QPainterPath>("outline");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPointF>("origin");
    QTest::newRow("whole") << box(0, 0, 10, 10) << QSize(14, 14) << QPointF(-1, -1);
    QTest::newRow("truncated") << box(0, 0, 10.5, 7.875) << QSize(14, 11) << QPointF(-1, -1);
    QTest::newRow("floor of a fraction") << box(0.25, 3.75, 5, 5) << QSize(9, 9) << QPointF(-1, 2);
    QTest::newRow("floor of a negative")
        << box(-7.25, -0.5, 5, 5) << QSize(9, 9) << QPointF(-9, -2);
    QTest::newRow("nothing") << QPainterPath() << QSize(4, 4) << QPointF(-1, -1);
}

void TestItemImage::the_image_has_the_whole_pixels_of_the_bounds() {
    QFETCH(const QPainterPath, outline);
    ProbeItem item;
    rebuffer(item, outline);
    QVERIFY(item.m_image != nullptr);
    QTEST(item.m_image->size(), "size");
    QCOMPARE(item.m_image->format(), QImage::Format_ARGB32_Premultiplied);
    QTEST(item.m_image_origin, "origin");
}

void TestItemImage::the_bounds_are_those_of_what_is_shown() {
    ProbeItem item(QPainterPath(), {0, 0}, 45.0F, 7.0F);
    rebuffer(item, box(0, 0, 10, 10), 0.0F, 2.0F);
    QCOMPARE(item.m_bounds, QRectF(-1, -1, 24, 24));
}

void TestItemImage::an_image_that_is_large_enough_is_kept_data() {
    QTest::addColumn<QPainterPath>("outline");
    QTest::addColumn<QSize>("size"); // of the image then; it was 24x34
    QTest::newRow("the same") << box(0, 0, 20, 30) << QSize(24, 34);
    QTest::newRow("elsewhere") << box(-50, 70, 20, 30) << QSize(24, 34);
    QTest::newRow("much smaller") << box(0, 0, 1, 1) << QSize(24, 34);
    QTest::newRow("smaller by a fraction") << box(0, 0, 19.5, 29.5) << QSize(24, 34);
    QTest::newRow("wider") << box(0, 0, 21, 30) << QSize(25, 34);
    QTest::newRow("wider, but less high") << box(0, 0, 21, 5) << QSize(25, 9);
    QTest::newRow("higher") << box(0, 0, 20, 31) << QSize(24, 35);
    QTest::newRow("higher, but less wide") << box(0, 0, 5, 31) << QSize(9, 35);
}

void TestItemImage::an_image_that_is_large_enough_is_kept() {
    QFETCH(const QPainterPath, outline);
    QFETCH(const QSize, size);
    ProbeItem item;
    rebuffer(item, box(0, 0, 20, 30));
    const QImage* const image = item.m_image.get();
    const qint64 key = image->cacheKey();
    rebuffer(item, outline);
    QCOMPARE(item.m_image->size(), size);
    QCOMPARE(item.m_image->cacheKey() == key, size == QSize(24, 34));
    if (size == QSize(24, 34))
        QVERIFY(item.m_image.get() == image);
}

void TestItemImage::a_fraction_of_a_pixel_makes_a_new_image_each_time_data() {
    QTest::addColumn<QPainterPath>("outline");
    QTest::addColumn<QSize>("size");
    QTest::newRow("wide") << box(0, 0, 10.5, 10) << QSize(14, 14);
    QTest::newRow("high") << box(0, 0, 10, 10.25) << QSize(14, 14);
}

void TestItemImage::a_fraction_of_a_pixel_makes_a_new_image_each_time() {
    QFETCH(const QPainterPath, outline);
    ProbeItem item;
    rebuffer(item, outline);
    QTEST(item.m_image->size(), "size");
    for (int i = 0; i < 3; ++i) {
        const qint64 key = item.m_image->cacheKey();
        item.rebuffer();
        QVERIFY(item.m_image->cacheKey() != key);
        QTEST(item.m_image->size(), "size");
    }
}

void TestItemImage::a_cleared_image_is_made_anew() {
    ProbeItem item;
    rebuffer(item, box(0, 0, 10, 10));
    item.clear_image_cache();
    QVERIFY(item.m_image == nullptr);
    item.clear_image_cache();
    item.rebuffer();
    QVERIFY(item.m_image != nullptr);
    QCOMPARE(item.m_image->size(), QSize(14, 14));
}

void TestItemImage::an_image_too_large_is_not_made_data() {
    QTest::addColumn<QPainterPath>("outline");
    QTest::addColumn<bool>("made");
    QTest::newRow("of the most pixels") << box(0, 0, 8188, 8188) << true;
    QTest::newRow("of a row more") << box(0, 0, 8188, 8189) << false;
    QTest::newRow("as wide as can be") << box(0, 0, 32763, 1) << true;
    QTest::newRow("too wide") << box(0, 0, 32764, 1) << false;
    QTest::newRow("too high") << box(0, 0, 1, 32764) << false;
    QTest::newRow("too large for integers") << box(0, 0, 1e100, 1e100) << false;
}

void TestItemImage::an_image_too_large_is_not_made() {
    QFETCH(const QPainterPath, outline);
    ProbeItem item;
    rebuffer(item, box(0, 0, 10, 10));
    rebuffer(item, outline);
    QTEST(item.m_image != nullptr, "made"); // not the old one either

    rebuffer(item, box(0, 0, 10, 10));
    QVERIFY(item.m_image != nullptr);
}

void TestItemImage::a_redraw_begins_with_nothing() {
    ProbeItem item;
    item.m_on_redraw = [](QPainter&) {};
    rebuffer(item, box(0, 0, 10, 10));
    item.m_image->fill(Qt::red);
    item.redraw();
    QCOMPARE(difference(*item.m_image, blank({14, 14}, Qt::transparent)), QString());
    QCOMPARE(item.m_steps, QByteArray("rebuffer redraw"));
}

void TestItemImage::the_painter_stands_at_the_item_data() {
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<float>("angle");
    QTest::addColumn<float>("scale");
    QTest::addColumn<QTransform>("transform");
    // The image's origin is (-1, -1) in each.
    QTest::newRow("whole") << QPointF(100, -50) << 0.0F << 1.0F << QTransform(1, 0, 0, 1, 1, 1);
    QTest::newRow("fraction") << QPointF(7.25, -0.25) << 0.0F << 1.0F
                              << QTransform(1, 0, 0, 1, 1.25, 1.75);
    QTest::newRow("turned") << QPointF(7.5, 3) << 90.0F << 1.0F << QTransform(0, 1, -1, 0, 1.5, 1);
    QTest::newRow("scaled") << QPointF(7, 3) << 0.0F << 2.5F << QTransform(2.5, 0, 0, 2.5, 1, 1);
    QTest::newRow("both") << QPointF(7, 3) << -90.0F << 3.0F << QTransform(0, -3, 3, 0, 1, 1);
}

void TestItemImage::the_painter_stands_at_the_item() {
    QFETCH(const QPointF, pos);
    QFETCH(const float, angle);
    QFETCH(const float, scale);
    // Where the item has moved to since plays no part.
    ProbeItem item(QPainterPath(), {31.4, 15.9}, 26.0F, 5.3F);
    QTransform transform;
    bool antialiased = false;
    item.m_on_redraw = [&](QPainter& painter) {
        transform = painter.worldTransform();
        antialiased = painter.testRenderHint(QPainter::Antialiasing);
    };
    item.m_shown_pos = pos;
    rebuffer(item, QPainterPath(), angle, scale);
    item.redraw();
    QTEST(transform, "transform");
    QVERIFY(antialiased);
}

void TestItemImage::no_image_is_not_redrawn() {
    ProbeItem item;
    item.redraw();
    QVERIFY(item.m_steps.isEmpty());
}

void TestItemImage::the_image_is_drawn_at_whole_pixels_data() {
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<QPointF>("origin");
    QTest::addColumn<QPoint>("target");
    QTest::newRow("whole") << QPointF(10, 5) << QPointF(-1, -2) << QPoint(9, 3);
    QTest::newRow("floor of a fraction") << QPointF(10.99, 5.5) << QPointF(-1, -2) << QPoint(9, 3);
    QTest::newRow("floor of a negative") << QPointF(-0.25, -2.5) << QPointF(3, 4) << QPoint(2, 1);
    QTest::newRow("floor beyond the edge")
        << QPointF(-0.25, -2.5) << QPointF(-1, -2) << QPoint(-2, -5);
    QTest::newRow("partly out of sight") << QPointF(-3, 28) << QPointF(-1, -2) << QPoint(-4, 26);
}

void TestItemImage::the_image_is_drawn_at_whole_pixels() {
    QFETCH(const QPointF, pos);
    QFETCH(const QPointF, origin);
    QFETCH(const QPoint, target);
    ProbeItem item(QPainterPath(), {17, 17});
    item.m_shown_pos = pos;
    item.m_image_origin = origin;
    item.m_bounds = QRectF(0, 0, 12, 8);
    item.m_image = std::make_unique<QImage>(map_of_pixels(12, 8));
    QImage screen = blank({30, 30}, Qt::white);
    QPainter painter(&screen);
    item.paint(painter);
    painter.end();

    QImage expected = blank({30, 30}, Qt::white);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 12; ++x) {
            if (expected.rect().contains(target + QPoint(x, y)))
                expected.setPixelColor(target + QPoint(x, y), QColor(8 * x, 8 * y, 100));
        }
    }
    QCOMPARE(difference(screen, expected), QString());
}

void TestItemImage::only_the_part_in_the_bounds_is_drawn_data() {
    QTest::addColumn<QSizeF>("bounds");
    QTest::addColumn<QSize>("drawn"); // of an image of 20x16 pixels
    QTest::newRow("all") << QSizeF(20, 16) << QSize(20, 16);
    QTest::newRow("a part") << QSizeF(7, 11) << QSize(7, 11);
    QTest::newRow("truncated") << QSizeF(7.75, 11.5) << QSize(7, 11);
    QTest::newRow("no width") << QSizeF(0.5, 11) << QSize(0, 0);
    QTest::newRow("no height") << QSizeF(7, 0) << QSize(0, 0);
    QTest::newRow("both -1: all") << QSizeF(-1, -1) << QSize(20, 16);
    QTest::newRow("both truncated to -1: all") << QSizeF(-1.5, -1.75) << QSize(20, 16);
    QTest::newRow("both -2") << QSizeF(-2, -2) << QSize(0, 0);
}

void TestItemImage::only_the_part_in_the_bounds_is_drawn() {
    QFETCH(const QSizeF, bounds);
    QFETCH(const QSize, drawn);
    ProbeItem item;
    item.m_shown_pos = QPointF(5, 6);
    item.m_bounds = QRectF(QPointF(-3, -3), bounds);
    item.m_image = std::make_unique<QImage>(map_of_pixels(20, 16));
    QImage screen = blank({30, 30}, Qt::white);
    QPainter painter(&screen);
    item.paint(painter);
    painter.end();

    QImage expected = blank({30, 30}, Qt::white);
    for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x)
            expected.setPixelColor(5 + x, 6 + y, QColor(8 * x, 8 * y, 100));
    }
    QCOMPARE(difference(screen, expected), QString());
}

void TestItemImage::an_item_without_image_draws_nothing() {
    ProbeItem item;
    item.m_bounds = QRectF(0, 0, 14, 14);
    QImage screen = blank({30, 30}, Qt::white);
    QPainter painter(&screen);
    item.paint(painter);
    painter.end();
    QCOMPARE(difference(screen, blank({30, 30}, Qt::white)), QString());
}

void TestItemImage::an_item_is_drawn_where_its_image_was_made_for() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 10, 10), QPointF(10, 10));
    view.add_item(item);
    update(*item);
    item->m_pos = QPointF(25, 25); // not updated yet
    item->set_transforms();
    QImage screen = blank({40, 40}, Qt::white);
    QPainter painter(&screen);
    item->paint(painter);
    painter.end();

    QImage expected = blank({40, 40}, Qt::white);
    QPainter(&expected).fillRect(10, 10, 10, 10, Qt::red);
    QCOMPARE(difference(screen, expected), QString());
}

void TestItemImage::an_item_looks_as_if_it_were_painted_in_place_data() {
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<float>("angle");
    QTest::addColumn<float>("scale");
    QTest::newRow("at a pixel") << QPointF(40, 30) << 0.0F << 1.0F;
    QTest::newRow("between pixels") << QPointF(40.25, 30.625) << 0.0F << 1.0F;
    QTest::newRow("just before a pixel") << QPointF(39.984375, 29.984375) << 0.0F << 1.0F;
    QTest::newRow("turned by a quarter") << QPointF(40, 30) << 90.0F << 1.0F;
    QTest::newRow("turned") << QPointF(40, 30) << 33.0F << 1.0F;
    QTest::newRow("larger") << QPointF(40, 30) << 0.0F << 2.5F;
    QTest::newRow("smaller") << QPointF(40, 30) << 0.0F << 0.375F;
    QTest::newRow("mirrored") << QPointF(40, 30) << 0.0F << -1.0F;
    QTest::newRow("all at once") << QPointF(40.25, 30.625) << -57.0F << 1.75F;
    QTest::newRow("partly out of sight") << QPointF(-3.25, 58.5) << 12.0F << 2.0F;
}

void TestItemImage::an_item_looks_as_if_it_were_painted_in_place() {
    QFETCH(const QPointF, pos);
    QFETCH(const float, angle);
    QFETCH(const float, scale);
    const QSize size(80, 60);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(kFlag, pos, angle, scale);
    item->m_on_redraw = draw_flag;
    view.add_item(item);
    update(*item);
    QImage screen = blank(size, Qt::white);
    QPainter painter(&screen);
    item->paint(painter);
    painter.end();

    const double radians = static_cast<double>(angle) * std::acos(-1.0) / 180.0;
    const double cosine = static_cast<double>(scale) * std::cos(radians);
    const double sine = static_cast<double>(scale) * std::sin(radians);
    // Larger than the screen: at its edges, the toolkit cuts lines a little differently.
    const QPoint beyond(60, 60);
    QImage layer = blank({200, 180}, Qt::transparent);
    QPainter own(&layer);
    own.setRenderHint(QPainter::Antialiasing);
    own.setTransform(
        QTransform(cosine, sine, -sine, cosine, pos.x() + beyond.x(), pos.y() + beyond.y()));
    draw_flag(own);
    own.end();
    const QImage expected = laid_on(Qt::white, layer).copy(QRect(beyond, size));
    QVERIFY(expected != blank(size, Qt::white));
    QCOMPARE(difference(screen, expected, 1), QString());
}

void TestItemImage::a_smaller_item_leaves_nothing_of_the_larger() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 30, 20), QPointF(5, 5));
    view.add_item(item);
    update(*item);
    const QSize large = item->m_image->size();
    item->m_shape = box(0, 0, 4, 3);
    item->m_color = Qt::blue;
    item->m_flags = 15;
    update(*item);
    QCOMPARE(item->m_image->size(), large);
    QImage screen = blank({50, 40}, Qt::white);
    QPainter painter(&screen);
    item->paint(painter);
    painter.end();

    QImage expected = blank({50, 40}, Qt::white);
    QPainter(&expected).fillRect(5, 5, 4, 3, Qt::blue);
    QCOMPARE(difference(screen, expected), QString());
}

QTEST_MAIN(TestItemImage)
#include "tst_item_image.moc"
