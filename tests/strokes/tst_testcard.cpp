#include "strokes/testcard.h"

#include "tests/strokes/cards.h"
#include "tests/strokes/messages.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <QImage>
#include <QPainter>
#include <QTemporaryDir>

namespace {

using Toggle = void (StrokesView::*)();

struct Card {
    const char* name;
    int mode;
    Toggle toggle;
};

const Card kCards[] = {
    {"grid", 1, &StrokesView::toggle_grid},
    {"colours", 2, &StrokesView::toggle_colors},
    {"shapes", 3, &StrokesView::toggle_shapes},
    {"black", 4, &StrokesView::toggle_black},
    {"vertical bars", 5, &StrokesView::toggle_vcalib},
    {"horizontal bars", 6, &StrokesView::toggle_hcalib},
    {"help", 7, &StrokesView::toggle_help},
};

QImage card_of(int mode, QSize image_size, QSize view) {
    QImage image(image_size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    draw_test_card(image, view, mode);
    return image;
}

QImage card_of(int mode, QSize size) {
    return card_of(mode, size, size);
}

/// Notes where a widget is repainted.
class Repaints : public QObject {
public:
    explicit Repaints(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            m_region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
    QRegion m_region;
};

} // namespace

Q_DECLARE_METATYPE(Toggle)

class TestTestCard : public QuietTest {
    Q_OBJECT

private slots:
    void a_card_is_as_it_should_be_data();
    void a_card_is_as_it_should_be();
    void a_card_in_a_larger_image_is_as_it_should_be_data();
    void a_card_in_a_larger_image_is_as_it_should_be();
    void a_view_larger_than_the_image_is_cut_to_it_data();
    void a_view_larger_than_the_image_is_cut_to_it();
    void an_unknown_card_is_white_data();
    void an_unknown_card_is_white();
    void an_image_without_pixels_stays_as_it_is();
    void the_card_of_a_view_is_drawn_for_its_size_data();
    void the_card_of_a_view_is_drawn_for_its_size();

    void grid_lines_are_32_pixels_apart();
    void cells_are_red_blue_green_and_white();
    void bars_of_a_view_of_1700_pixels_are_100_wide();
    void the_first_ring_is_16_pixels_from_the_centre();
    void a_view_without_a_centre_has_no_shapes_data();
    void a_view_without_a_centre_has_no_shapes();
    void the_help_has_13_lines();
    void the_size_of_the_help_shows_it_whole();
    void the_help_follows_the_font();

    void a_target_is_in_whole_pixels_data();
    void a_target_is_in_whole_pixels();
    void a_target_leaves_the_painter_as_it_is();

    void a_toggle_shows_its_card_data();
    void a_toggle_shows_its_card();
    void a_toggle_replaces_any_card_data();
    void a_toggle_replaces_any_card();
    void a_toggle_repaints_the_whole_view_data() { a_toggle_shows_its_card_data(); }
    void a_toggle_repaints_the_whole_view();
    void a_toggle_leaves_strokes_and_items_data() { a_toggle_shows_its_card_data(); }
    void a_toggle_leaves_strokes_and_items();
    void a_toggle_before_the_first_resize_only_sets_the_mode();

    void a_wrong_reference_is_reported();
};

void TestTestCard::a_card_is_as_it_should_be_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<QSize>("size");
    const QSize sizes[] = {{1, 1},    {2, 1},     {2, 2},     {3, 2},      {1, 40},    {40, 1},
                           {16, 17},  {17, 16},   {31, 33},   {32, 32},    {65, 64},   {97, 211},
                           {211, 97}, {641, 479}, {640, 480}, {1700, 300}, {301, 1701}};
    for (int mode = 0; mode <= 7; ++mode) {
        for (QSize size : sizes)
            QTest::addRow("%s %dx%d", mode == 0 ? "white" : kCards[mode - 1].name, size.width(),
                          size.height())
                << mode << size;
    }
}

void TestTestCard::a_card_is_as_it_should_be() {
    QFETCH(const int, mode);
    QFETCH(const QSize, size);
    COMPARE_PICTURES(card_of(mode, size), expected_card(mode, size, size));
}

void TestTestCard::a_card_in_a_larger_image_is_as_it_should_be_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<QSize>("image");
    QTest::addColumn<QSize>("view");
    for (int mode = 0; mode <= 7; ++mode) {
        const auto row = [mode](const char* what, QSize image, QSize view) {
            QTest::addRow("%s, %s", mode == 0 ? "white" : kCards[mode - 1].name, what)
                << mode << image << view;
        };
        row("wider", {333, 150}, {201, 150});
        row("higher", {200, 222}, {200, 151});
        row("both", {333, 222}, {170, 119});
        row("a view of one pixel", {100, 80}, {1, 1});
        row("a view without pixels", {100, 80}, {0, 0});
    }
}

void TestTestCard::a_card_in_a_larger_image_is_as_it_should_be() {
    QFETCH(const int, mode);
    QFETCH(const QSize, image);
    QFETCH(const QSize, view);
    COMPARE_PICTURES(card_of(mode, image, view), expected_card(mode, image, view));
}

void TestTestCard::a_view_larger_than_the_image_is_cut_to_it_data() {
    QTest::addColumn<int>("mode");
    for (int mode = 0; mode <= 7; ++mode)
        QTest::newRow(mode == 0 ? "white" : kCards[mode - 1].name) << mode;
}

void TestTestCard::a_view_larger_than_the_image_is_cut_to_it() {
    QFETCH(const int, mode);
    for (QSize view : {QSize(40000, 40000), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX)})
        COMPARE_PICTURES(card_of(mode, {170, 100}, view),
                         expected_card(mode, {170, 100}, {170, 100}));
}

void TestTestCard::an_unknown_card_is_white_data() {
    QTest::addColumn<int>("mode");
    for (int mode : {8, 9, 1000, -1, std::numeric_limits<int>::max()})
        QTest::addRow("%d", mode) << mode;
}

void TestTestCard::an_unknown_card_is_white() {
    QFETCH(const int, mode);
    COMPARE_PICTURES(card_of(mode, {200, 150}), white_image({200, 150}));
    StrokesView view;
    view.m_test_mode = mode;
    give_size(view, {200, 150});
    COMPARE_PICTURES(shot_of(view), white_image({200, 150}));
}

void TestTestCard::an_image_without_pixels_stays_as_it_is() {
    for (int mode = 0; mode <= 8; ++mode) {
        QImage image;
        draw_test_card(image, {100, 100}, mode);
        QVERIFY(image.isNull());
    }
}

void TestTestCard::the_card_of_a_view_is_drawn_for_its_size_data() {
    QTest::addColumn<int>("mode");
    for (int mode = 0; mode <= 7; ++mode)
        QTest::newRow(mode == 0 ? "white" : kCards[mode - 1].name) << mode;
}

void TestTestCard::the_card_of_a_view_is_drawn_for_its_size() {
    QFETCH(const int, mode);
    StrokesView view;
    view.m_test_mode = mode;
    for (QSize size : {QSize(255, 187), QSize(120, 221), QSize(51, 40)}) {
        give_size(view, size);
        const QSize image = view.m_test_image->size(); // as large as the rows before have made it
        QVERIFY(image.width() >= 255 && image.height() >= 187);
        const QImage expected = expected_card(mode, image, size);
        COMPARE_PICTURES(*view.m_test_image, expected);
        COMPARE_PICTURES(shot_of(view), expected.copy(QRect(QPoint(0, 0), size)));
    }
}

void TestTestCard::grid_lines_are_32_pixels_apart() {
    const QImage card = card_of(1, {130, 100});
    for (int y = 0; y < card.height(); ++y) {
        for (int x = 0; x < card.width(); ++x) {
            // An antialiased line on the border of two pixels is half in each.
            const auto near_line = [](int place) { return place % 32 == 0 || place % 32 == 31; };
            if (!near_line(x) && !near_line(y))
                QCOMPARE(card.pixel(x, y), kWhite);
        }
    }
    const auto ink = [&card](QRect const& place) {
        int pixels = 0;
        for (int y = place.top(); y <= place.bottom(); ++y) {
            for (int x = place.left(); x <= place.right(); ++x)
                pixels += card.pixel(x, y) != kWhite ? 1 : 0;
        }
        return pixels;
    };
    for (int line : {0, 32, 64, 96, 128}) { // dotted from one edge to the other
        QVERIFY(ink({line, 4, 1, 20}) > 5 && ink({line, 90, 1, 10}) > 2);
        const int dots = ink({line, 0, 1, 100});
        QVERIFY(dots > 25 && dots < 100);
    }
    for (int line : {0, 32, 64, 96}) {
        QVERIFY(ink({4, line, 20, 1}) > 5 && ink({120, line, 10, 1}) > 2);
        const int dots = ink({0, line, 130, 1});
        QVERIFY(dots > 30 && dots < 130);
    }
}

void TestTestCard::cells_are_red_blue_green_and_white() {
    const QImage card = card_of(2, {200, 200});
    for (int y : {0, 31, 64, 95, 128}) {
        QCOMPARE(card.pixel(0, y), QColor(Qt::red).rgb());
        QCOMPARE(card.pixel(31, y), QColor(Qt::red).rgb());
        QCOMPARE(card.pixel(32, y), QColor(Qt::blue).rgb());
        QCOMPARE(card.pixel(199, y), QColor(Qt::red).rgb());
    }
    for (int y : {32, 63, 96}) {
        QCOMPARE(card.pixel(0, y), QColor(Qt::green).rgb());
        QCOMPARE(card.pixel(32, y), QColor(Qt::white).rgb());
        QCOMPARE(card.pixel(64, y), QColor(Qt::green).rgb());
    }
}

void TestTestCard::bars_of_a_view_of_1700_pixels_are_100_wide() {
    const QImage card = card_of(5, {1750, 20}, {1700, 10});
    QVector<int> edges; // where the colour changes
    for (int x = 1; x < card.width(); ++x) {
        if (card.pixel(x, 9) != card.pixel(x - 1, 9))
            edges << x;
    }
    QCOMPARE(edges, (QVector<int>{100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 1100, 1200,
                                  1300, 1400, 1500, 1600}));
    QCOMPARE(card.pixel(100, 9), kBlack);
    QCOMPARE(card.pixel(100, 10), kWhite);
}

void TestTestCard::the_first_ring_is_16_pixels_from_the_centre() {
    // 60 pixels are one ring of marks, those next to the centre.
    const QImage card = card_of(3, {60, 60});
    const auto is_ink = [&card](int x, int y) { return qGray(card.pixel(x, y)) < 200; };
    for (int x : {30 - 16, 30 + 16}) {
        for (int y : {30 - 16, 30 + 16}) {
            QVERIFY(is_ink(x, y));                         // the cross
            QVERIFY(is_ink(x - 8, y) && is_ink(x, y - 8)); // its ends
            QVERIFY(!is_ink(x - 10, y) && !is_ink(x, y - 10));
            QVERIFY(!is_ink(x - 5, y - 5) && !is_ink(x + 5, y + 5));
        }
    }
    QVERIFY(is_ink(30, 14) && is_ink(14, 30)); // where two circles touch
    QVERIFY(!is_ink(30, 30));
}

void TestTestCard::a_view_without_a_centre_has_no_shapes_data() {
    QTest::addColumn<QSize>("view");
    QTest::newRow("1 wide") << QSize(1, 500);
    QTest::newRow("1 by 1") << QSize(1, 1);
    QTest::newRow("0 wide") << QSize(0, 500);
}

void TestTestCard::a_view_without_a_centre_has_no_shapes() {
    QFETCH(const QSize, view);
    COMPARE_PICTURES(card_of(3, {500, 500}, view), white_image({500, 500}));
    QVERIFY(card_of(3, {500, 500}, {2, 1}) != white_image({500, 500}));
}

void TestTestCard::the_help_has_13_lines() {
    const int height = QFontMetrics(serif_font()).height();
    const QImage card = card_of(7, {700, 15 * height});
    QCOMPARE(static_cast<int>(std::size(kHelp)), 13);
    int ink_rows = 0; // of the rows that hold the baselines' letters
    for (int k = 1; k <= 14; ++k) {
        bool ink = false;
        for (int x = 0; x < card.width(); ++x)
            ink = ink || card.pixel(x, k * height - 4) != kWhite;
        ink_rows += ink ? 1 : 0;
        QCOMPARE(ink, k <= 13);
    }
    QCOMPARE(ink_rows, 13);
}

void TestTestCard::the_size_of_the_help_shows_it_whole() {
    const QSize size = help_card_size();
    QCOMPARE(StrokesView().sizeHint(), size);
    const QImage larger = card_of(7, size + QSize(100, 100));
    QImage expected = white_image(larger.size());
    QPainter painter(&expected);
    painter.drawImage(0, 0, card_of(7, size));
    painter.end();
    COMPARE_PICTURES(larger, expected);
    // And not more than that.
    QVERIFY(card_of(7, size - QSize(2, 0)) != larger.copy(QRect(QPoint(0, 0), size)));
    bool ink_right = false;
    bool ink_below = false;
    for (int y = 0; y < size.height(); ++y)
        ink_right = ink_right || larger.pixel(size.width() - 1, y) != kWhite ||
                    larger.pixel(size.width() - 2, y) != kWhite;
    for (int x = 0; x < size.width(); ++x)
        ink_below = ink_below || larger.pixel(x, size.height() - 1) != kWhite ||
                    larger.pixel(x, size.height() - 2) != kWhite;
    QVERIFY(ink_right && ink_below);
}

void TestTestCard::the_help_follows_the_font() {
    const QFont font = QApplication::font();
    const QSize size = help_card_size();
    QFont bold = font;
    bold.setBold(true);
    QApplication::setFont(bold);
    const QSize bold_size = help_card_size();
    COMPARE_PICTURES(card_of(7, {900, 600}), painted_help({900, 600}));
    QApplication::setFont(font);
    QVERIFY(bold_size.width() > size.width());
    QCOMPARE(help_card_size(), size);
    COMPARE_PICTURES(card_of(7, {900, 600}), painted_help({900, 600}));
}

void TestTestCard::a_target_is_in_whole_pixels_data() {
    QTest::addColumn<QPointF>("at");
    QTest::addColumn<double>("diameter");
    QTest::addColumn<QRect>("circle");
    QTest::addColumn<QLine>("across");
    QTest::addColumn<QLine>("down");
    QTest::newRow("even") << QPointF(40, 30) << 32.0 << QRect(24, 14, 32, 32)
                          << QLine(32, 30, 48, 30) << QLine(40, 22, 40, 38);
    QTest::newRow("odd") << QPointF(40, 30) << 27.0 << QRect(26, 16, 27, 27)
                         << QLine(33, 30, 46, 30) << QLine(40, 23, 40, 36);
    QTest::newRow("with fractions") << QPointF(20.7, 30.2) << 15.9 << QRect(12, 22, 15, 15)
                                    << QLine(16, 30, 24, 30) << QLine(20, 26, 20, 34);
    QTest::newRow("below zero") << QPointF(-3.5, 2.5) << 10.0 << QRect(-8, -2, 10, 10)
                                << QLine(-6, 2, -1, 2) << QLine(-3, 0, -3, 5);
    QTest::newRow("less than a pixel") << QPointF(40.5, 30.5) << 0.9 << QRect(40, 30, 0, 0)
                                       << QLine(40, 30, 40, 30) << QLine(40, 30, 40, 30);
    QTest::newRow("243") << QPointF(70, 60) << 243.0 << QRect(-51, -61, 243, 243)
                         << QLine(9, 60, 130, 60) << QLine(70, 0, 70, 120);
}

void TestTestCard::a_target_is_in_whole_pixels() {
    QFETCH(const QPointF, at);
    QFETCH(const double, diameter);
    QFETCH(const QRect, circle);
    QFETCH(const QLine, across);
    QFETCH(const QLine, down);
    for (bool antialiased : {false, true}) {
        QImage shot = white_image({120, 90});
        QImage expected = white_image({120, 90});
        for (QImage* image : {&shot, &expected}) {
            QPainter painter(image);
            painter.setRenderHint(QPainter::Antialiasing, antialiased);
            painter.setPen(QPen(QColor(0, 0, 255, 120), 3.0)); // the caller's choice
            painter.setBrush(QColor(255, 255, 0, 120));
            if (image == &shot)
                target(painter, static_cast<float>(at.x()), static_cast<float>(at.y()),
                       static_cast<float>(diameter));
            else
                paint_mark(painter, circle, across, down);
        }
        COMPARE_PICTURES(shot, expected);
    }
}

void TestTestCard::a_target_leaves_the_painter_as_it_is() {
    QImage image = white_image({120, 90});
    QPainter painter(&image);
    const QPen pen(Qt::blue, 3.0);
    painter.setPen(pen);
    painter.setBrush(Qt::yellow);
    target(painter, 60.0F, 45.0F, 32.0F);
    QCOMPARE(painter.pen(), pen);
    QCOMPARE(painter.brush(), QBrush(Qt::yellow));
    QCOMPARE(painter.renderHints() & QPainter::Antialiasing, QPainter::RenderHints());
    QCOMPARE(painter.transform(), QTransform());
}

void TestTestCard::a_toggle_shows_its_card_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<Toggle>("toggle");
    for (Card const& card : kCards)
        QTest::newRow(card.name) << card.mode << card.toggle;
}

void TestTestCard::a_toggle_shows_its_card() {
    QFETCH(const int, mode);
    QFETCH(const Toggle, toggle);
    StrokesView view;
    view.m_test_mode = 0;
    give_size(view, {150, 140});
    const QSize image = view.m_test_image->size();
    (view.*toggle)();
    QCOMPARE(view.m_test_mode, mode);
    COMPARE_PICTURES(*view.m_test_image, expected_card(mode, image, view.size()));
    (view.*toggle)();
    QCOMPARE(view.m_test_mode, 0);
    COMPARE_PICTURES(*view.m_test_image, white_image(image));
    (view.*toggle)();
    QCOMPARE(view.m_test_mode, mode);
}

void TestTestCard::a_toggle_replaces_any_card_data() {
    QTest::addColumn<int>("before");
    QTest::addColumn<Toggle>("toggle");
    QTest::addColumn<int>("after");
    for (Card const& card : kCards) {
        for (int before : {0, 1, 2, 3, 4, 5, 6, 7, 8, -1})
            QTest::addRow("%s at %d", card.name, before)
                << before << card.toggle << (before == card.mode ? 0 : card.mode);
    }
}

void TestTestCard::a_toggle_replaces_any_card() {
    QFETCH(const int, before);
    QFETCH(const Toggle, toggle);
    QFETCH(const int, after);
    StrokesView view;
    view.m_test_mode = before;
    give_size(view, {150, 140});
    (view.*toggle)();
    QCOMPARE(view.m_test_mode, after);
    COMPARE_PICTURES(*view.m_test_image,
                     expected_card(after, view.m_test_image->size(), view.size()));
}

void TestTestCard::a_toggle_repaints_the_whole_view() {
    QFETCH(const Toggle, toggle);
    StrokesView view;
    view.resize(150, 140);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QCoreApplication::processEvents();
    for (int press = 0; press < 2; ++press) {
        const Repaints repaints(view);
        view.get_dirty_region();
        (view.*toggle)();
        QTRY_COMPARE(repaints.m_region, QRegion(view.rect()));
        QVERIFY(view.get_dirty_region().isEmpty()); // it waits for no frame
    }
}

void TestTestCard::a_toggle_leaves_strokes_and_items() {
    QFETCH(const Toggle, toggle);
    StrokesView view;
    give_size(view, {150, 140});
    view.in_touch_event({down(256, 100.0, 100.0), down(257, 50.0, 50.0)});
    view.in_touch_event({up(257, 55.0, 50.0)});
    const QImage strokes = *view.m_strokes_image;
    (view.*toggle)();
    COMPARE_PICTURES(*view.m_strokes_image, strokes);
    QCOMPARE(view.m_strokes.size(), 1U);
    QCOMPARE(view.m_items.size(), 1U);
    QCOMPARE(view.m_id_to_item_map.size(), 1U);
    QCOMPARE(view.m_id_to_draw_state_map.at(256).state, 1);
}

void TestTestCard::a_toggle_before_the_first_resize_only_sets_the_mode() {
    for (Card const& card : kCards) {
        StrokesView view;
        view.m_test_mode = 0;
        (view.*card.toggle)();
        QCOMPARE(view.m_test_mode, card.mode);
        QVERIFY(!view.m_test_image);
        give_size(view, {150, 140});
        COMPARE_PICTURES(*view.m_test_image,
                         expected_card(card.mode, view.m_test_image->size(), view.size()));
    }
}

void TestTestCard::a_wrong_reference_is_reported() {
    QTemporaryDir folder;
    const QImage shot = card_of(2, {100, 80});
    QVERIFY(difference(shot, shot, QStringLiteral("same"), folder.path()).isEmpty());
    QVERIFY(QDir(folder.path()).isEmpty());

    QImage wrong = shot;
    wrong.setPixel(70, 40, shot.pixel(70, 40) ^ 1U); // by the least that there is
    const QString report = difference(shot, wrong, QStringLiteral("a/wrong one"), folder.path());
    QVERIFY2(report.contains(QStringLiteral("1 pixels differ; (70, 40) is")), qPrintable(report));
    const auto written = [&folder](const char* what) {
        return QImage(folder.filePath(QStringLiteral("a_wrong_one.") + QLatin1String(what) +
                                      QStringLiteral(".png")));
    };
    QVERIFY(difference(written("shot"), shot, QStringLiteral("s"), folder.path()).isEmpty());
    QVERIFY(difference(written("expected"), wrong, QStringLiteral("e"), folder.path()).isEmpty());
    QImage spot(100, 80, QImage::Format_RGB32);
    spot.fill(Qt::black);
    spot.setPixel(70, 40, 0xffffff);
    QVERIFY(difference(written("difference"), spot, QStringLiteral("d"), folder.path()).isEmpty());

    // A size, too, and what only the alpha tells.
    QVERIFY(!difference(shot, shot.copy(0, 0, 100, 79), QStringLiteral("size"), folder.path())
                 .isEmpty());
    QImage clear(10, 10, QImage::Format_ARGB32_Premultiplied);
    clear.fill(0U);
    QImage black = clear;
    black.setPixel(9, 9, 0x01000000);
    QVERIFY(!difference(clear, black, QStringLiteral("alpha"), folder.path()).isEmpty());
}

QTEST_MAIN(TestTestCard)
#include "tst_testcard.moc"
