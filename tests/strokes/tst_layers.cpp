#include "strokes/strokesview.h"

#include "tests/strokes/messages.h"
#include "tests/strokes/own_process.h"
#include "tests/strokes/pictures.h"
#include "tests/strokes/records.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr QRgb kRed = 0xffff0000;
constexpr QRgb kMark = 0xff123456; // which no drawing leaves

std::unique_ptr<StrokesView> view_of(QSize size, int card = WhiteCard) {
    auto view = std::make_unique<StrokesView>();
    view->m_info_tags = false;
    view->m_test_mode = card;
    give_size(*view, size);
    return view;
}

void draw_dot(StrokesView& view, QPointF at) {
    draw(view, {{Qt::red, 4.0, {at}}});
}

bool is_empty(QImage const& layer) {
    QImage empty(layer.size(), layer.format());
    empty.fill(0U);
    return layer == empty;
}

/// The size of the layers, which is the same for both. Empty where there is none.
QSize layers_of(StrokesView const& view) {
    const auto size = [](auto const& layer) { return layer ? layer->size() : QSize(0, 0); };
    return size(view.m_strokes_image) == size(view.m_test_image) ? size(view.m_strokes_image)
                                                                 : QSize(-1, -1);
}

/// Where the black of a card ends.
int black_pixels_in_row(QImage const& card, int y) {
    int count = 0;
    for (int x = 0; x < card.width(); ++x)
        count += card.pixel(x, y) == 0xff000000 ? 1 : 0;
    return count;
}

} // namespace

/// The layers are as large as any view of the process has ever been.
class TestLayers : public QuietTest {
    Q_OBJECT

private slots:
    void the_first_resize_makes_them();
    void a_view_that_is_shown_has_them();
    void they_grow_on_each_axis_alone();
    void growing_redraws_the_finished_strokes();
    void growing_on_one_axis_redraws_data();
    void growing_on_one_axis_redraws();
    void they_stay_when_the_view_shrinks_and_grows_back();
    void strokes_keep_their_pixels_when_the_size_changes();
    void the_card_is_drawn_again_at_each_resize();
    void a_lost_card_comes_back_with_the_next_resize();
    void all_views_share_the_largest_size();
    void the_size_is_that_of_the_view_not_of_the_event();

    void strokes_from_before_the_first_resize_are_painted();
    void strokes_in_progress_before_the_first_resize_are_painted();
    void strokes_from_a_view_without_pixels_are_painted_data();
    void strokes_from_a_view_without_pixels_are_painted();

    void an_impossible_size_makes_no_layers_data();
    void an_impossible_size_makes_no_layers();
    void an_impossible_size_keeps_the_layers_data() { an_impossible_size_makes_no_layers_data(); }
    void an_impossible_size_keeps_the_layers();
    void a_long_size_is_possible_data();
    void a_long_size_is_possible();
    void the_most_pixels_bound_what_views_have_together();
    void a_card_is_drawn_in_the_layer_that_there_is();
    void a_view_is_white_beyond_its_layers();
};

void TestLayers::the_first_resize_makes_them() {
    StrokesView view;
    QVERIFY(!view.m_strokes_image && !view.m_test_image);
    view.m_test_mode = BlackCard;
    give_size(view, {300, 200});
    QCOMPARE(layers_of(view), QSize(300, 200));
    QCOMPARE(view.m_strokes_image->format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(view.m_test_image->format(), QImage::Format_RGB32);
    QVERIFY(is_empty(*view.m_strokes_image));
    QCOMPARE(black_pixels_in_row(*view.m_test_image, 199), 300);
}

void TestLayers::a_view_that_is_shown_has_them() {
    StrokesView view;
    view.resize(300, 200);
    QVERIFY(!view.m_strokes_image && !view.m_test_image);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QCOMPARE(layers_of(view), QSize(300, 200));
}

void TestLayers::they_grow_on_each_axis_alone() {
    const auto view = view_of({300, 200});
    give_size(*view, {400, 100});
    QCOMPARE(layers_of(*view), QSize(400, 200));
    give_size(*view, {100, 500});
    QCOMPARE(layers_of(*view), QSize(400, 500));
    give_size(*view, {10, 10});
    QCOMPARE(layers_of(*view), QSize(400, 500));
    give_size(*view, {401, 501});
    QCOMPARE(layers_of(*view), QSize(401, 501));
}

// In the way of a redraw: each piece replaces what is under it. Only what is finished.
void TestLayers::growing_redraws_the_finished_strokes() {
    const auto view = view_of({300, 200});
    const QColor pale(0, 0, 255, 100);
    draw(*view, {{Qt::red, 9.0, {{50.0, 50.0}}}, {pale, 3.0, {{50.0, 50.0}}}});
    view->in_pen_event(down(-1, 100.0, 100.0));
    view->in_pen_event(down(-1, 200.0, 100.0));
    QCOMPARE(qAlpha(view->m_strokes_image->pixel(50, 50)), 255); // blended
    QCOMPARE(view->m_strokes_image->pixel(150, 100), kRed);

    give_size(*view, {301, 200});
    QCOMPARE(view->m_strokes_image->format(), QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(qAlpha(view->m_strokes_image->pixel(50, 50)), 100); // replaced
    QCOMPARE(qRed(view->m_strokes_image->pixel(50, 50)), 0);
    QCOMPARE(view->m_strokes_image->pixel(50, 57), kRed);
    QCOMPARE(view->m_strokes_image->pixel(150, 100), 0U);

    // The stroke in progress goes on, and is kept whole.
    view->in_pen_event(up(-1, 200.0, 150.0));
    QCOMPARE(view->m_strokes_image->pixel(200, 130), kRed);
    QCOMPARE(view->m_strokes_image->pixel(150, 100), 0U);
    give_size(*view, {302, 200});
    QCOMPARE(view->m_strokes_image->pixel(150, 100), kRed);
}

void TestLayers::growing_on_one_axis_redraws_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("wider") << QSize(310, 200);
    QTest::newRow("wider, lower") << QSize(310, 20);
    QTest::newRow("higher") << QSize(300, 210);
    QTest::newRow("higher, narrower") << QSize(30, 210);
}

void TestLayers::growing_on_one_axis_redraws() {
    QFETCH(const QSize, size);
    const auto view = view_of({300, 200}, BlackCard);
    draw_dot(*view, {50.0, 50.0});
    view->m_strokes_image->setPixel(5, 5, kMark);
    give_size(*view, size);
    QCOMPARE(layers_of(*view), QSize(300, 200).expandedTo(size));
    QCOMPARE(view->m_strokes_image->pixel(50, 50), kRed);
    QCOMPARE(view->m_strokes_image->pixel(5, 5), 0U);
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 0), size.width());
    QCOMPARE(black_pixels_in_row(*view->m_test_image, size.height() - 1), size.width());
}

void TestLayers::they_stay_when_the_view_shrinks_and_grows_back() {
    const auto view = view_of({300, 200});
    draw_dot(*view, {50.0, 50.0});
    QImage const* const strokes = view->m_strokes_image.get();
    QImage const* const card = view->m_test_image.get();
    const qint64 pixels = view->m_strokes_image->cacheKey();
    for (QSize size : {QSize(150, 100), QSize(0, 0), QSize(300, 1), QSize(300, 200)}) {
        give_size(*view, size);
        QCOMPARE(static_cast<QImage const*>(view->m_strokes_image.get()), strokes);
        QCOMPARE(static_cast<QImage const*>(view->m_test_image.get()), card);
        QCOMPARE(view->m_strokes_image->cacheKey(), pixels); // nothing was drawn
    }
    QCOMPARE(view->m_strokes_image->pixel(50, 50), kRed);
}

void TestLayers::strokes_keep_their_pixels_when_the_size_changes() {
    const auto view = view_of({300, 200});
    draw_dot(*view, {250.0, 150.0});
    const QImage before = *view->m_strokes_image;
    give_size(*view, {100, 100});
    draw_dot(*view, {240.0, 150.0}); // beyond the view, within the layer
    give_size(*view, {600, 400});
    QCOMPARE(view->m_strokes_image->pixel(250, 150), kRed);
    QCOMPARE(view->m_strokes_image->pixel(240, 150), kRed);
    QCOMPARE(view->m_strokes.at(0).segments.at(0).line.p1(), QPointF(250.0, 150.0));
    QCOMPARE(before.pixel(250, 150), kRed);
}

void TestLayers::the_card_is_drawn_again_at_each_resize() {
    const auto view = view_of({340, 200}, VerticalBarsCard);
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 0), 8 * 20);
    give_size(*view, {170, 100});
    QCOMPARE(layers_of(*view), QSize(340, 200));
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 99), 8 * 10);
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 100), 0);
    view->m_test_image->setPixel(0, 0, kMark);
    give_size(*view, {170, 100}); // even where nothing changes
    QCOMPARE(view->m_test_image->pixel(0, 0), 0xffffffff);
    give_size(*view, {680, 300});
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 299), 8 * 40);
}

void TestLayers::a_lost_card_comes_back_with_the_next_resize() {
    const auto view = view_of({300, 200}, BlackCard);
    QImage const* const strokes = view->m_strokes_image.get();
    view->m_test_image.reset();
    give_size(*view, {200, 100});
    QCOMPARE(layers_of(*view), QSize(300, 200));
    QCOMPARE(black_pixels_in_row(*view->m_test_image, 0), 200);
    QCOMPARE(static_cast<QImage const*>(view->m_strokes_image.get()), strokes);

    view->m_test_image = std::make_unique<QImage>(300, 199, QImage::Format_RGB32);
    give_size(*view, {200, 100});
    QCOMPARE(layers_of(*view), QSize(300, 200));
    draw_dot(*view, {50.0, 50.0});
    view->m_strokes_image.reset();
    give_size(*view, {200, 100});
    QCOMPARE(layers_of(*view), QSize(300, 200));
    QCOMPARE(view->m_strokes_image->pixel(50, 50), kRed);
}

void TestLayers::all_views_share_the_largest_size() {
    const auto first = view_of({300, 200});
    const auto second = view_of({100, 250});
    QCOMPARE(layers_of(*second), QSize(300, 250));
    QCOMPARE(layers_of(*first), QSize(300, 200)); // until its next resize
    draw_dot(*first, {50.0, 50.0});
    give_size(*first, {20, 20});
    QCOMPARE(layers_of(*first), QSize(300, 250));
    QCOMPARE(first->m_strokes_image->pixel(50, 50), kRed);
    QVERIFY(is_empty(*second->m_strokes_image));
    {
        const auto third = view_of({500, 10});
        QCOMPARE(layers_of(*third), QSize(500, 250));
    }
    const auto fourth = view_of({1, 1}); // though the third is no more
    QCOMPARE(layers_of(*fourth), QSize(500, 250));
}

void TestLayers::the_size_is_that_of_the_view_not_of_the_event() {
    const auto view = view_of({300, 200});
    for (QSize size : {QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX), QSize(-1, -1), QSize(600, 600)}) {
        QResizeEvent resized(size, QSize());
        QApplication::sendEvent(view.get(), &resized);
        QCOMPARE(layers_of(*view), QSize(300, 200));
    }
}

void TestLayers::strokes_from_before_the_first_resize_are_painted() {
    StrokesView view;
    view.m_info_tags = false;
    draw_dot(view, {50.0, 50.0});
    QVERIFY(!view.m_strokes_image);
    QCOMPARE(view.m_strokes.size(), 1U);
    QCOMPARE(view.get_dirty_region(), QRegion(QRect(QPoint(45, 45), QPoint(55, 55))));
    view.redraw_strokes();
    give_size(view, {300, 200});
    QCOMPARE(view.m_strokes_image->pixel(50, 50), kRed);

    StrokesView cleared;
    draw_dot(cleared, {50.0, 50.0});
    cleared.clear_strokes();
    give_size(cleared, {300, 200});
    QVERIFY(is_empty(*cleared.m_strokes_image));
}

// As they would have been painted live, over the finished ones.
void TestLayers::strokes_in_progress_before_the_first_resize_are_painted() {
    const auto draw_both = [](StrokesView& view) {
        view.m_info_tags = false;
        draw_dot(view, {20.0, 100.0});
        view.in_touch_event({down(256, 20.0, 100.0, 8.0, 8.0)});
        view.in_touch_event({down(256, 100.0, 110.0, 8.0, 8.0)});
        view.in_erase_event({down(512, 60.0, 80.0, 5.0, 5.0)});
        view.in_erase_event({down(512, 60.0, 150.0, 5.0, 5.0)});
    };
    StrokesView early;
    draw_both(early);
    QVERIFY(!early.m_strokes_image);
    give_size(early, {300, 200});
    const auto usual = view_of({300, 200});
    draw_both(*usual);
    QVERIFY(!is_empty(*usual->m_strokes_image));
    COMPARE_PICTURES(*early.m_strokes_image, *usual->m_strokes_image);

    early.in_touch_event({up(256, 100.0, 110.0, 8.0, 8.0)});
    QCOMPARE(early.m_strokes.at(1).segments.size(), 3U);
    QCOMPARE(early.m_id_to_draw_state_map.at(512).state, 1);
}

void TestLayers::strokes_from_a_view_without_pixels_are_painted_data() {
    QTest::addColumn<QSize>("none");
    QTest::newRow("0 x 0") << QSize(0, 0);
    QTest::newRow("0 x 200") << QSize(0, 200);
    QTest::newRow("300 x 0") << QSize(300, 0);
}

void TestLayers::strokes_from_a_view_without_pixels_are_painted() {
    QFETCH(const QSize, none);
    const auto view = view_of(none);
    QVERIFY(layers_of(*view).isEmpty());
    draw_dot(*view, {50.0, 50.0});
    view->redraw_strokes();
    view->clear_strokes();
    draw_dot(*view, {20.0, 50.0});
    view->in_pen_event(down(-1, 100.0, 50.0));
    shot_of(*view);
    give_size(*view, {300, 200});
    QCOMPARE(layers_of(*view), QSize(300, 200));
    QCOMPARE(view->m_strokes_image->pixel(50, 50), 0U);
    QCOMPARE(view->m_strokes_image->pixel(20, 50), kRed);
    QCOMPARE(view->m_strokes_image->pixel(100, 50), kRed);
}

void TestLayers::an_impossible_size_makes_no_layers_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("the toolkit's largest") << QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    QTest::newRow("the toolkit's widest") << QSize(QWIDGETSIZE_MAX, 1);
    QTest::newRow("the toolkit's highest") << QSize(1, QWIDGETSIZE_MAX);
    QTest::newRow("40000 x 40000") << QSize(40000, 40000);
    QTest::newRow("too wide") << QSize(32768, 10);
    QTest::newRow("too high") << QSize(10, 32768);
    QTest::newRow("too many pixels") << QSize(32767, 8194);
    QTest::newRow("the longest sides") << QSize(32767, 32767);
}

void TestLayers::an_impossible_size_makes_no_layers() {
    QFETCH(const QSize, size);
    QWidget window; // which need not be as large
    window.resize(100, 100);
    StrokesView view;
    view.m_test_mode = BlackCard;
    view.setParent(&window);
    give_size(view, size);
    QCOMPARE(view.size(), size);
    QVERIFY(layers_of(view).isEmpty());
    draw_dot(view, {50.0, 50.0});
    view.in_pen_event(down(-1, 90.0, 50.0));
    shot_of(window);
    view.toggle_grid();
    view.toggle_black();

    give_size(view, {300, 200});
    QCOMPARE(layers_of(view), QSize(300, 200));
    QCOMPARE(view.m_strokes_image->pixel(50, 50), kRed);
    QCOMPARE(view.m_strokes_image->pixel(90, 50), kRed);
    QCOMPARE(black_pixels_in_row(*view.m_test_image, 199), 300);
    view.setParent(nullptr);
}

void TestLayers::an_impossible_size_keeps_the_layers() {
    QFETCH(const QSize, size);
    QWidget window;
    window.resize(100, 100);
    StrokesView view;
    view.m_test_mode = BlackCard;
    view.setParent(&window);
    give_size(view, {300, 200});
    draw_dot(view, {50.0, 50.0});
    QImage const* const strokes = view.m_strokes_image.get();
    give_size(view, size);
    QCOMPARE(layers_of(view), QSize(300, 200));
    QCOMPARE(static_cast<QImage const*>(view.m_strokes_image.get()), strokes);
    draw_dot(view, {90.0, 50.0});
    draw_dot(view, {30000.0, 50.0}); // where there is no layer
    QCOMPARE(view.m_strokes_image->pixel(90, 50), kRed);
    shot_of(window);

    give_size(view, {310, 210});
    QCOMPARE(layers_of(view), QSize(310, 210));
    QCOMPARE(view.m_strokes_image->pixel(50, 50), kRed);
    QCOMPARE(view.m_strokes_image->pixel(90, 50), kRed);
    QCOMPARE(black_pixels_in_row(*view.m_test_image, 209), 310);
    view.setParent(nullptr);
}

void TestLayers::a_long_size_is_possible_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("wide") << QSize(32767, 12);
    QTest::newRow("high") << QSize(12, 32767);
}

void TestLayers::a_long_size_is_possible() {
    QFETCH(const QSize, size);
    QWidget window;
    StrokesView view;
    view.m_test_mode = BlackCard;
    view.setParent(&window);
    give_size(view, size);
    QCOMPARE(layers_of(view), size);
    draw_dot(view, {size.width() - 6.0, size.height() - 6.0});
    QCOMPARE(view.m_strokes_image->pixel(size.width() - 6, size.height() - 6), kRed);
    for (int card = WhiteCard; card <= HelpCard; ++card) {
        view.m_test_mode = card;
        view.redraw_test();
    }
    view.setParent(nullptr);
}

/// Each size alone is possible, and the larger one of both axes is not.
void TestLayers::the_most_pixels_bound_what_views_have_together() {
    QWidget window;
    StrokesView view;
    view.m_test_mode = WhiteCard;
    view.setParent(&window);
    give_size(view, {32767, 12});
    give_size(view, {12, 32767});
    QCOMPARE(layers_of(view), QSize(32767, 12));
    give_size(view, {300, 200});
    QCOMPARE(layers_of(view), QSize(32767, 200));
    view.setParent(nullptr);
}

void TestLayers::a_card_is_drawn_in_the_layer_that_there_is() {
    QWidget window;
    StrokesView view;
    view.m_test_mode = VerticalBarsCard;
    view.setParent(&window);
    give_size(view, {340, 200});
    give_size(view, {40000, 40000});
    QCOMPARE(black_pixels_in_row(*view.m_test_image, 199), 8 * 20);
    for (int card = WhiteCard; card <= HelpCard; ++card) {
        view.m_test_mode = card;
        view.redraw_test();
        QCOMPARE(layers_of(view), QSize(340, 200));
    }
    view.setParent(nullptr);
}

void TestLayers::a_view_is_white_beyond_its_layers() {
    QWidget window;
    window.setStyleSheet(QStringLiteral("background-color: yellow;"));
    window.resize(400, 300);
    StrokesView view;
    view.m_info_tags = false;
    view.m_test_mode = BlackCard;
    view.setParent(&window);
    give_size(view, {300, 200});
    draw_dot(view, {50.0, 50.0});
    give_size(view, {40000, 40000});
    view.show();
    QImage expected(400, 300, QImage::Format_RGB32);
    expected.fill(Qt::white);
    QPainter painter(&expected);
    painter.drawImage(0, 0, *view.m_test_image);
    painter.drawImage(0, 0, *view.m_strokes_image);
    painter.end();
    QCOMPARE(expected.pixel(299, 199), 0xff000000);
    COMPARE_PICTURES(shot_of(window), expected);
    view.setParent(nullptr);
}

int main(int argc, char** argv) {
    return run_each_in_its_own_process<TestLayers>(argc, argv);
}

#include "tst_layers.moc"
