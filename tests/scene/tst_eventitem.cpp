#include "scene/item.h"
#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"
#include "tests/support/scene_path_recorder.h"
#include "tests/support/scene_pictures.h"

#include <QFontMetrics>
#include <QtTest>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <tuple>
#include <type_traits>

static_assert(std::is_base_of_v<Item, EventItem> && std::is_abstract_v<EventItem>);
static_assert(std::is_base_of_v<EventItem, Pen> && std::is_constructible_v<Pen, QPointF, QColor>);
static_assert(std::is_base_of_v<EventItem, Touch> &&
              std::is_constructible_v<Touch, QPointF, QColor>);
static_assert(std::is_base_of_v<EventItem, Erase> &&
              std::is_constructible_v<Erase, QPointF, QColor>);

namespace {

Controls report(double rx, double ry, double x = 200.0, double y = 180.0) {
    return {300, 0, 1, rx, ry, x, y, x, y};
}

std::shared_ptr<EventItem> marker(Controls const& c, QColor color = Qt::green) {
    const auto item = std::make_shared<Touch>(QPointF(), color);
    item->refresh(c);
    return item;
}

QFont tag_font() {
    QFont font;
    font.setStyleHint(QFont::Serif, QFont::PreferAntialias);
    font.setPixelSize(16);
    return font;
}

/// The glyphs of a tag whose box begins at `corner`.
QPainterPath tag_text(QPointF corner, QStringList const& lines) {
    const int line_height = QFontMetrics(tag_font()).height();
    QPainterPath path;
    for (int i = 0; i < lines.size(); ++i)
        path.addText(corner.x(), corner.y() + (i + 1) * line_height, tag_font(), lines[i]);
    return path;
}

} // namespace

class TestEventItem : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void a_new_marker_stands_upright_and_cannot_be_hit();
    void the_kinds_tell_apart();
    void a_report_is_taken_over_and_all_is_to_do();
    void a_marker_moves_with_its_reports();

    void the_shape_is_an_ellipse_and_a_box_data();
    void the_shape_is_an_ellipse_and_a_box();
    void the_paths_are_built_anew();
    void the_tag_tells_the_report_data();
    void the_tag_tells_the_report();
    void the_tag_tells_where_the_item_is();
    void the_buttons_are_eight_digits_data();
    void the_buttons_are_eight_digits();

    void the_paths_are_drawn_one_after_the_other();
    void text_that_may_meet_is_drawn_at_once_data();
    void text_that_may_meet_is_drawn_at_once();
    void text_in_pieces_is_the_same_picture_data();
    void text_in_pieces_is_the_same_picture();
    void a_marker_is_painted_data();
    void a_marker_is_painted();
    void text_beyond_the_image_is_cut_off();
    void contacts_pass_through_a_marker();
    void what_is_given_to_a_marker_is_ignored();
    void only_the_last_report_between_two_frames_is_shown();
    void a_marker_takes_any_report_data();
    void a_marker_takes_any_report();
};

void TestEventItem::initTestCase() {
    no_warnings::watch();
    QVERIFY(!tag_text({0, 0}, {QStringLiteral("X: 1")}).isEmpty()); // there are fonts
}

void TestEventItem::a_new_marker_stands_upright_and_cannot_be_hit() {
    const Pen pen({12.5, 34.25}, QColor(1, 2, 3, 4));
    QCOMPARE(pen.m_pos, QPointF(12.5, 34.25));
    QCOMPARE(pen.map_from({0, 0}), QPointF(12.5, 34.25));
    QVERIFY(pen.m_angle == 0.0F && pen.m_scale == 1.0F);
    QCOMPARE(pen.m_id, 0);
    QVERIFY(pen.m_radius_x == 0.0 && pen.m_radius_y == 0.0);
    QCOMPARE(pen.m_color, QColor(1, 2, 3, 4));
    QVERIFY(!pen.m_hittable);
    QCOMPARE(pen.m_flags, 15);
    QVERIFY(pen.m_shape.isEmpty() && pen.m_cross.isEmpty() && pen.m_text.isEmpty());
    QCOMPARE(pen.m_font.family(), QFont().family());
    QCOMPARE(pen.m_font.styleHint(), QFont::Times);
    QCOMPARE(pen.m_font.styleStrategy(), QFont::PreferAntialias);
    QCOMPARE(pen.m_font.pixelSize(), 16);
}

void TestEventItem::the_kinds_tell_apart() {
    Pen pen({}, Qt::red);
    Touch touch({}, Qt::green);
    Erase erase({}, Qt::black);
    for (QObject* item : {static_cast<QObject*>(&pen), static_cast<QObject*>(&touch),
                          static_cast<QObject*>(&erase)}) {
        QCOMPARE(qobject_cast<Pen*>(item) != nullptr, item == &pen);
        QCOMPARE(qobject_cast<Touch*>(item) != nullptr, item == &touch);
        QCOMPARE(qobject_cast<Erase*>(item) != nullptr, item == &erase);
        QVERIFY(qobject_cast<EventItem*>(item) != nullptr);
    }
}

void TestEventItem::a_report_is_taken_over_and_all_is_to_do() {
    Erase item({1, 1}, Qt::black);
    item.m_flags = 0;
    item.refresh({517, 1, 6, 10.5, 20.25, 300.5, 400.75, 1.0, 2.0});
    QVERIFY(item.m_pos.x() == 300.5 && item.m_pos.y() == 400.75);
    QCOMPARE(item.map_from({2, 3}), QPointF(302.5, 403.75));
    QCOMPARE(item.map_to({302.5, 403.75}), QPointF(2, 3));
    QVERIFY(item.m_radius_x == 10.5 && item.m_radius_y == 20.25);
    QCOMPARE(item.m_buttons, 6);
    QCOMPARE(item.m_contact_id, 517);
    QCOMPARE(item.m_flags, 15);
    QCOMPARE(item.m_id, 0);          // the item's, not the contact's
    QVERIFY(item.m_shape.isEmpty()); // built by the update

    item.m_flags = 16; // other bits stay
    item.refresh(report(1, 1));
    QCOMPARE(item.m_flags, 31);
}

void TestEventItem::a_marker_moves_with_its_reports() {
    ItemView view(0);
    const auto item = marker(report(0, 0, 200, 180));
    view.add_item(item);
    update(*item);
    // From the tag's corner (-175, -150) to the circle's (25, 25), and one pixel more.
    const QRect first(200 - 175 - 2, 180 - 150 - 2, 205, 180);
    QCOMPARE(view.get_dirty_region(), QRegion(first));
    item->refresh(report(0, 0, 260, 175));
    update(*item);
    QCOMPARE(view.get_dirty_region(), QRegion(first) + QRegion(first.translated(60, -5)));
}

void TestEventItem::the_shape_is_an_ellipse_and_a_box_data() {
    QTest::addColumn<double>("rx");
    QTest::addColumn<double>("ry");
    QTest::addColumn<QRectF>("ellipse");
    QTest::addColumn<QRectF>("tag");
    const QRectF circle(-25, -25, 50, 50);
    const QRectF circle_tag(-175, -150, 150, 125);
    QTest::newRow("no size") << 0.0 << 0.0 << circle << circle_tag;
    QTest::newRow("a size") << 10.0 << 20.0 << QRectF(-10, -20, 20, 40)
                            << QRectF(-160, -145, 150, 125);
    QTest::newRow("a fraction") << 0.5 << 0.25 << QRectF(-0.5, -0.25, 1, 0.5)
                                << QRectF(-150.5, -125.25, 150, 125);
    QTest::newRow("no width") << 0.0 << 20.0 << QRectF(0, -20, 0, 40)
                              << QRectF(-150, -145, 150, 125);
    QTest::newRow("no height") << 10.0 << 0.0 << QRectF(-10, 0, 20, 0)
                               << QRectF(-160, -125, 150, 125);
    QTest::newRow("negative") << -10.0 << -20.0 << QRectF(10, 20, -20, -40)
                              << QRectF(-140, -105, 150, 125);
    QTest::newRow("negative zero") << -0.0 << -0.0 << circle << circle_tag;
    QTest::newRow("not a number") << kNan << 20.0 << QRectF(kNan, -20, kNan, 40)
                                  << QRectF(kNan, -145, 150, 125);
    // Squared in single precision.
    QTest::newRow("too small to square") << 1e-25 << 1e-25 << circle << circle_tag;
    QTest::newRow("small") << 1e-18 << 0.0 << QRectF(-1e-18, 0, 2e-18, 0)
                           << QRectF(-150, -125, 150, 125);
    QTest::newRow("too small for single precision") << 1e-60 << 0.0 << circle << circle_tag;
}

void TestEventItem::the_shape_is_an_ellipse_and_a_box() {
    QFETCH(const double, rx);
    QFETCH(const double, ry);
    QFETCH(const QRectF, ellipse);
    QFETCH(const QRectF, tag);
    const auto item = marker(report(rx, ry));
    item->rebuild();

    QPainterPath shape;
    shape.addEllipse(ellipse);
    shape.addRect(tag);
    QCOMPARE(item->m_shape, shape);
    QCOMPARE(item->m_outline, shape);
    QCOMPARE(item->m_outline_bounds, shape.boundingRect());

    QPainterPath cross;
    cross.moveTo(0, ellipse.top());
    cross.lineTo(0, ellipse.bottom());
    cross.moveTo(ellipse.left(), 0);
    cross.lineTo(ellipse.right(), 0);
    QCOMPARE(item->m_cross, cross);

    const auto number = [](double value) { return QString::number(value, 'g', 6); };
    QCOMPARE(
        item->m_text,
        tag_text(tag.topLeft(),
                 {QStringLiteral("ID: 300"), QStringLiteral("X: 200"), QStringLiteral("Y: 180"),
                  QStringLiteral("X Radius: ") + number(rx),
                  QStringLiteral("Y Radius: ") + number(ry), QStringLiteral("Buttons: 00000001")}));
    QCOMPARE(item->m_flags, 15); // building asks for nothing and serves nothing
}

void TestEventItem::the_paths_are_built_anew() {
    const auto item = marker(report(40, 30));
    item->rebuild();
    item->refresh(report(10, 20));
    item->rebuild();
    const auto fresh = marker(report(10, 20));
    fresh->rebuild();
    QCOMPARE(item->m_shape, fresh->m_shape);
    QCOMPARE(item->m_cross, fresh->m_cross);
    QCOMPARE(item->m_text, fresh->m_text);
    QCOMPARE(item->m_outline, fresh->m_outline);
}

void TestEventItem::the_tag_tells_the_report_data() {
    QTest::addColumn<QVector<double>>("numbers"); // id, x, y, radii, buttons
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, QVector<double> numbers,
                        std::array<const char*, 6> lines) {
        QStringList list;
        for (const char* line : lines)
            list << QLatin1String(line);
        QTest::newRow(name) << numbers << list;
    };
    row("a touch", {256, 200, 180, 10, 20, 1},
        {"ID: 256", "X: 200", "Y: 180", "X Radius: 10", "Y Radius: 20", "Buttons: 00000001"});
    row("a pen", {-16, 0, -0.5, 0, 0, 3},
        {"ID: -16", "X: 0", "Y: -0.5", "X Radius: 0", "Y Radius: 0", "Buttons: 00000011"});
    row("six digits", {639, 1234.5678, 123456.7, 12.345678, 0.00012345678, 0},
        {"ID: 639", "X: 1234.57", "Y: 123457", "X Radius: 12.3457", "Y Radius: 0.000123457",
         "Buttons: 00000000"});
    row("exponents", {0, 10000000, -1e+300, 0.00001, 2.5e-7, 255},
        {"ID: 0", "X: 1e+07", "Y: -1e+300", "X Radius: 1e-05", "Y Radius: 2.5e-07",
         "Buttons: 11111111"});
    row("not numbers", {0, kNan, kInfinity, 1, 1, 0},
        {"ID: 0", "X: nan", "Y: inf", "X Radius: 1", "Y Radius: 1", "Buttons: 00000000"});
}

void TestEventItem::the_tag_tells_the_report() {
    QFETCH(const QVector<double>, numbers);
    QFETCH(const QStringList, lines);
    const double rx = numbers[3];
    const double ry = numbers[4];
    const auto item = marker({static_cast<int>(numbers[0]), 0, static_cast<int>(numbers[5]), rx, ry,
                              numbers[1], numbers[2], 77.0, 88.0});
    item->rebuild();
    const QPointF corner = rx == 0.0 ? QPointF(-175, -150) : QPointF(-rx - 150, -ry - 125);
    QCOMPARE(item->m_text, tag_text(corner, lines));
}

void TestEventItem::the_tag_tells_where_the_item_is() {
    const auto item = marker(report(0, 0, 200, 180));
    item->m_pos = QPointF(5, 6);
    item->rebuild();
    QCOMPARE(item->m_text,
             tag_text({-175, -150},
                      {QStringLiteral("ID: 300"), QStringLiteral("X: 5"), QStringLiteral("Y: 6"),
                       QStringLiteral("X Radius: 0"), QStringLiteral("Y Radius: 0"),
                       QStringLiteral("Buttons: 00000001")}));
}

void TestEventItem::the_buttons_are_eight_digits_data() {
    QTest::addColumn<int>("buttons");
    QTest::addColumn<QString>("digits");
    QTest::newRow("0") << 0 << QStringLiteral("00000000");
    QTest::newRow("5") << 5 << QStringLiteral("00000101");
    QTest::newRow("128") << 128 << QStringLiteral("10000000");
    QTest::newRow("255") << 255 << QStringLiteral("11111111");
    QTest::newRow("256") << 256 << QStringLiteral("00000000");
    QTest::newRow("257") << 257 << QStringLiteral("00000001");
    QTest::newRow("-1") << -1 << QStringLiteral("11111111");
    QTest::newRow("-300") << -300 << QStringLiteral("11010100");
    QTest::newRow("highest") << std::numeric_limits<int>::max() << QStringLiteral("11111111");
    QTest::newRow("lowest") << std::numeric_limits<int>::min() << QStringLiteral("00000000");
}

void TestEventItem::the_buttons_are_eight_digits() {
    QFETCH(const int, buttons);
    QFETCH(const QString, digits);
    Controls c = report(0, 0);
    c.buttons = buttons;
    const auto item = marker(c);
    item->rebuild();
    QCOMPARE(item->m_text,
             tag_text({-175, -150},
                      {QStringLiteral("ID: 300"), QStringLiteral("X: 200"),
                       QStringLiteral("Y: 180"), QStringLiteral("X Radius: 0"),
                       QStringLiteral("Y Radius: 0"), QStringLiteral("Buttons: ") + digits}));
}

void TestEventItem::the_paths_are_drawn_one_after_the_other() {
    const auto item = marker(report(10, 20), QColor(1, 2, 3, 4));
    item->rebuild();
    PathRecorder recorder;
    QPainter painter(&recorder);
    painter.setPen(QPen(Qt::red, 5)); // whatever the painter brings along
    painter.setBrush(Qt::yellow);
    item->redraw(painter);
    painter.end();

    QVERIFY(recorder.drawn().size() > 2 + 6); // and the text, more than line by line
    const auto& [shape, cross] = std::tie(recorder.drawn()[0], recorder.drawn()[1]);
    for (QPen const& line : {shape.pen, cross.pen}) {
        QCOMPARE(line.color(), QColor(Qt::black));
        QCOMPARE(line.style(), Qt::SolidLine);
        QVERIFY(line.widthF() == 1.0 && line.isCosmetic());
        QCOMPARE(line.capStyle(), Qt::FlatCap);
        QCOMPARE(line.joinStyle(), Qt::MiterJoin);
    }
    QCOMPARE(shape.path, item->m_shape);
    QCOMPARE(shape.brush, QBrush(QColor(1, 2, 3, 4)));
    QCOMPARE(cross.path, item->m_cross);
    QCOMPARE(cross.brush, QBrush(Qt::NoBrush));
    QRectF text;
    for (int i = 2; i < recorder.drawn().size(); ++i) {
        const auto& piece = recorder.drawn()[i];
        text |= piece.path.boundingRect();
        QCOMPARE(piece.pen, QPen(Qt::NoPen));
        QCOMPARE(piece.brush, QBrush(Qt::black));
    }
    QCOMPARE(text, item->m_text.boundingRect());
}

void TestEventItem::text_that_may_meet_is_drawn_at_once_data() {
    QTest::addColumn<QTransform>("transform");
    QTest::addColumn<int>("pixel_size");
    QTest::newRow("turned") << QTransform().rotate(30) << 16;
    QTest::newRow("scaled") << QTransform::fromScale(0.1, 0.1) << 16;
    QTest::newRow("in another font") << QTransform() << 17;
}

void TestEventItem::text_that_may_meet_is_drawn_at_once() {
    QFETCH(const QTransform, transform);
    QFETCH(const int, pixel_size);
    const auto item = marker(report(10, 20));
    item->m_font.setPixelSize(pixel_size);
    item->rebuild();
    PathRecorder recorder;
    QPainter painter(&recorder);
    painter.setTransform(transform);
    item->redraw(painter);
    painter.end();
    QCOMPARE(recorder.drawn().size(), 2 + 1);
    QCOMPARE(recorder.drawn().back().path, item->m_text);
}

void TestEventItem::text_in_pieces_is_the_same_picture_data() {
    QTest::addColumn<double>("steps"); // of a pixel; 0: anywhere
    QTest::newRow("anywhere") << 0.0;
    QTest::newRow("on quarters of a pixel") << 4.0;
    QTest::newRow("on the toolkit's steps") << 64.0;
}

void TestEventItem::text_in_pieces_is_the_same_picture() {
    QFETCH(const double, steps);
    std::mt19937 random(11);
    // Digits of the most curves, in which rounding tells first.
    const auto number = [&random] {
        QString digits;
        for (int i = 0; i < 6; ++i)
            digits += QStringLiteral("268").at(static_cast<int>(random() % 3));
        return digits.insert(4, QLatin1Char('.'));
    };
    for (int i = 0; i < 150; ++i) {
        const QString x = number();
        const QString y = number();
        const double radius = static_cast<double>(random() % 4096) / 128.0;
        const auto some = [&random, steps] {
            const double pixels = static_cast<double>(random() % 100000) / 99991.0;
            return steps > 0.0 ? std::floor(pixels * steps) / steps : pixels;
        };
        const QPointF shift(190.0 + some(), 160.0 + some());
        const auto item =
            marker(report(radius, radius, x.toDouble(), y.toDouble()), QColor(0, 255, 0, 32));
        item->rebuild();
        const auto picture = [&shift](auto draw) {
            QImage image = blank({250, 200}, Qt::transparent);
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.translate(shift);
            draw(painter);
            return image;
        };
        const QImage in_pieces = picture([&](QPainter& painter) { item->redraw(painter); });
        const QImage at_once = picture([&](QPainter& painter) {
            QPen pen(Qt::black, 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
            pen.setCosmetic(true);
            painter.setPen(pen);
            painter.setBrush(item->m_color);
            painter.drawPath(item->m_shape);
            painter.setBrush(Qt::NoBrush);
            painter.drawPath(item->m_cross);
            const double drawn = radius == 0.0 ? 25.0 : radius;
            const QStringList lines{QStringLiteral("ID: 300"),
                                    QStringLiteral("X: ") + x,
                                    QStringLiteral("Y: ") + y,
                                    QStringLiteral("X Radius: %1").arg(radius),
                                    QStringLiteral("Y Radius: %1").arg(radius),
                                    QStringLiteral("Buttons: 00000001")};
            painter.fillPath(tag_text({-drawn - 150.0, -drawn - 125.0}, lines), Qt::black);
        });
        QCOMPARE(in_pieces, at_once);
    }
}

void TestEventItem::a_marker_is_painted_data() {
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("rx");
    QTest::addColumn<double>("ry");
    QTest::addColumn<QColor>("color");
    QTest::newRow("no size") << 200.0 << 180.0 << 0.0 << 0.0 << QColor(Qt::green);
    QTest::newRow("a size") << 200.0 << 180.0 << 10.0 << 20.0 << QColor(Qt::red);
    QTest::newRow("between pixels") << 200.25 << 180.75 << 0.0 << 0.0 << QColor(Qt::green);
    QTest::newRow("a size between pixels")
        << 200.5 << 180.125 << 30.5 << 12.25 << QColor(Qt::green);
    QTest::newRow("see-through") << 200.0 << 180.0 << 30.0 << 15.0 << QColor(0, 0, 255, 100);
    QTest::newRow("on the corner of the screen") << 0.0 << 0.0 << 0.0 << 0.0 << QColor(Qt::green);
}

void TestEventItem::a_marker_is_painted() {
    QFETCH(const double, x);
    QFETCH(const double, y);
    QFETCH(const double, rx);
    QFETCH(const double, ry);
    QFETCH(const QColor, color);
    const QSize size(300, 260);
    ItemView view(0);
    const auto item = marker(report(rx, ry, x, y), color);
    view.add_item(item);
    update(*item);
    QImage screen = blank(size, Qt::white);
    QPainter painter(&screen);
    item->paint(painter);
    painter.end();

    const bool sized = rx != 0.0;
    const double width = sized ? rx : 25.0; // half of it
    const double height = sized ? ry : 25.0;
    const QRectF tag(-width - 150, -height - 125, 150, 125);
    const QPoint beyond(200, 200); // larger than the screen, on every side
    QImage layer = blank({700, 660}, Qt::transparent);
    QPainter own(&layer);
    own.setRenderHint(QPainter::Antialiasing);
    own.translate(beyond + QPointF(x, y));
    QPen black(Qt::black, 0.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    own.setPen(black);
    own.setBrush(color);
    own.drawEllipse(QPointF(0, 0), width, height);
    own.drawRect(tag);
    own.drawLine(QPointF(0, -height), QPointF(0, height));
    own.drawLine(QPointF(-width, 0), QPointF(width, 0));
    const QStringList lines{QStringLiteral("ID: 300"),
                            QStringLiteral("X: %1").arg(x),
                            QStringLiteral("Y: %1").arg(y),
                            QStringLiteral("X Radius: %1").arg(rx),
                            QStringLiteral("Y Radius: %1").arg(ry),
                            QStringLiteral("Buttons: 00000001")};
    own.fillPath(tag_text(tag.topLeft(), lines), Qt::black);
    own.end();
    const QImage expected = laid_on(Qt::white, layer).copy(QRect(beyond, size));
    QCOMPARE(difference(screen, expected, 1), QString());
}

void TestEventItem::text_beyond_the_image_is_cut_off() {
    ItemView view(0);
    // So small a contact that the longest line reaches beyond the right end of the image.
    const auto item = marker(report(1.0, -1.23456e-300, 200, 180));
    view.add_item(item);
    update(*item);
    QVERIFY(item->m_text.boundingRect().right() > item->m_bounds.right());
    QImage screen = blank({300, 260}, Qt::white);
    QPainter painter(&screen);
    item->paint(painter);
    painter.end();
    // The image begins at 200 - 151 - 1 and is 152 + 4 pixels wide.
    const QRect right(204, 0, 300 - 204, 260);
    QCOMPARE(difference(screen.copy(right), blank(right.size(), Qt::white)), QString());
}

void TestEventItem::contacts_pass_through_a_marker() {
    ItemView view(0);
    const auto below = std::make_shared<ProbeItem>(box(0, 0, 400, 400));
    view.add_item(below);
    update(*below);
    for (const Controls& c : {report(40, 40), report(0, 0)}) {
        const auto item = marker(c);
        view.add_item(item);
        update(*item);
        QVERIFY(item->hit({0, 0}));
        QVERIFY(view.hit_item(contact(1, 200, 180)) == below);
    }
}

void TestEventItem::what_is_given_to_a_marker_is_ignored() {
    Pen pen({1, 2}, Qt::red);
    Touch touch({1, 2}, Qt::red);
    Erase erase({1, 2}, Qt::red);
    for (EventItem* item : {static_cast<EventItem*>(&pen), static_cast<EventItem*>(&touch),
                            static_cast<EventItem*>(&erase)}) {
        item->refresh(report(10, 20, 30, 40));
        item->m_flags = 0;
        Item* const base = item;
        base->pen_event(contact(7, 8, 9));
        base->touch_event({contact(7, 8, 9), contact(8, 9, 10)});
        base->erase_event({contact(7, 8, 9)});
        QCOMPARE(item->m_flags, 0);
        QCOMPARE(item->m_pos, QPointF(30, 40));
        QCOMPARE(item->m_contact_id, 300);
        QVERIFY(item->m_radius_x == 10.0 && item->m_radius_y == 20.0);
        QCOMPARE(item->m_buttons, 1);
    }
}

void TestEventItem::only_the_last_report_between_two_frames_is_shown() {
    ItemView view(0);
    const auto item = marker(report(0, 0, 10, 10));
    view.add_item(item);
    item->refresh(report(70, 80, 20, 20));
    item->refresh(report(10, 20, 200, 180));
    update(*item);
    QCOMPARE(item->m_shown_pos, QPointF(200, 180));
    QCOMPARE(item->m_outline_bounds, QRectF(-160, -145, 170, 165));
    QCOMPARE(view.get_dirty_region(), QRegion(200 - 162, 180 - 147, 175, 170));
}

void TestEventItem::a_marker_takes_any_report_data() {
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("rx");
    QTest::addColumn<double>("ry");
    for (double number : {1e-300, -1.0, 5000.0, 16000.0, 1e6, 2147483648.0, -2147483649.0, 1e18,
                          1e38, 1e100, 1e127, 1e300, -1e300, kNan, kInfinity, -kInfinity}) {
        QTest::addRow("at x %g", number) << number << 5.0 << 10.0 << 20.0;
        QTest::addRow("at y %g", number) << 5.0 << number << 10.0 << 20.0;
        QTest::addRow("at %g, no size", number) << number << number << 0.0 << 0.0;
        QTest::addRow("%g wide", number) << 5.0 << 5.0 << number << 20.0;
        QTest::addRow("%g high", number) << 5.0 << 5.0 << 10.0 << number;
        QTest::addRow("%g wide and high", number) << 5.0 << 5.0 << number << number;
        QTest::addRow("%g in all", number) << number << number << number << number;
    }
}

/// The test's time limit ends what goes on for ever.
void TestEventItem::a_marker_takes_any_report() {
    QFETCH(const double, x);
    QFETCH(const double, y);
    QFETCH(const double, rx);
    QFETCH(const double, ry);
    ItemView view(0);
    const auto item = marker(report(rx, ry, x, y));
    view.add_item(item);
    QImage screen = blank({100, 100}, Qt::white);
    for (int turn = 0; turn < 2; ++turn) {
        item->refresh(report(rx, ry, x, y));
        update(*item);
        QCOMPARE(item->m_flags, 0);
        QPainter painter(&screen);
        item->paint(painter);
        view.hit_item(contact(1, 5, 5));
    }
    view.sub_item(item.get());
}

QTEST_MAIN(TestEventItem)
#include "tst_eventitem.moc"
