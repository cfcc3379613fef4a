#include "tests/gui/desktop.h"
#include "tests/gui/expected_pictures.h"

#include <QtTest>

namespace {

using Picture = QImage (*)(QSize view);

const QString operator""_s(const char* text, std::size_t size) {
    return QString::fromLatin1(text, static_cast<int>(size));
}

/// How many pixels across a line is at a column of a white picture.
double thickness(const QImage& picture, int x) {
    double ink = 0.0;
    for (int y = 0; y < picture.height(); ++y)
        ink += (255 - qGreen(picture.pixel(x, y))) / 255.0;
    return ink;
}

} // namespace

Q_DECLARE_METATYPE(Picture)

/// The program as a person starts it, on a screen that is looked at pixel by pixel.
class TestProgram : public QObject {
    Q_OBJECT

private slots:
    void a_wrong_pixel_is_seen();
    void it_covers_the_screen_with_the_help_data();
    void it_covers_the_screen_with_the_help();
    void keys_toggle_their_card_data();
    void keys_toggle_their_card();

    void a_mouse_draws_in_red();
    void digits_select_the_width_of_strokes_data();
    void digits_select_the_width_of_strokes();
    void a_marker_follows_the_pressed_pointer();
    void space_switches_the_markers_off_and_on();
    void the_tag_tells_the_buttons_data();
    void the_tag_tells_the_buttons();
    void the_middle_button_draws_nothing();
    void strokes_lie_on_every_card();
    void backspace_clears_the_strokes();

    void return_leaves_and_enters_full_screen_data();
    void return_leaves_and_enters_full_screen();
    void a_mouse_draws_under_the_pointer_of_a_window();
    void another_window_takes_the_keyboard_for_a_while();
};

void TestProgram::a_wrong_pixel_is_seen() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QImage picture = expected::help(desktop.screen());
    QVERIFY(desktop.shot() == picture);
    picture.setPixel(1279, 719, qRgb(255, 255, 254));
    QVERIFY(desktop.shot() != picture);
}

void TestProgram::it_covers_the_screen_with_the_help_data() {
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("manager");
    QTest::newRow("1920x1080") << QSize(1920, 1080) << int(XSession::Openbox);
    QTest::newRow("higher than wide") << QSize(600, 800) << int(XSession::Openbox);
    QTest::newRow("without a window manager") << QSize(1280, 720) << int(XSession::NoManager);
}

void TestProgram::it_covers_the_screen_with_the_help() {
    QFETCH(const QSize, screen);
    QFETCH(const int, manager);
    Desktop desktop;
    QVERIFY2(desktop.start(screen, XSession::WindowManager(manager)), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::keys_toggle_their_card_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<Picture>("picture");
    QTest::newRow("help") << "h"_s << &expected::help;
    QTest::newRow("grid") << "g"_s << &expected::grid;
    QTest::newRow("colour field") << "c"_s << &expected::colors;
    QTest::newRow("shape field") << "s"_s << &expected::shapes;
    QTest::newRow("all black") << "b"_s << &expected::black;
    QTest::newRow("vertical bars") << "Left"_s << &expected::vertical_bars;
    QTest::newRow("horizontal bars") << "Right"_s << &expected::horizontal_bars;
}

void TestProgram::keys_toggle_their_card() {
    QFETCH(const QString, key);
    QFETCH(const Picture, picture);
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QVERIFY2(desktop.drive("key h"_s), desktop.why());
    QVERIFY2(desktop.shows(expected::white(desktop.screen())), desktop.why());
    QVERIFY2(desktop.drive("key "_s + key), desktop.why());
    QVERIFY2(desktop.shows(picture(desktop.screen())), desktop.why());
    QVERIFY2(desktop.drive("key "_s + key), desktop.why());
    QVERIFY2(desktop.shows(expected::white(desktop.screen())), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::a_mouse_draws_in_red() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QImage white = expected::white(desktop.screen());
    const QPoint a(200, 300);
    const QPoint b(700, 450);
    expected::Strokes strokes(desktop.screen());

    QVERIFY2(desktop.drive("key h key space mousemove 200 300 mousedown 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.dot(a, 3).on(white)), desktop.why());
    QVERIFY2(desktop.drive("mousemove 700 450"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.line(a, b, 3).on(white)), desktop.why());
    QVERIFY2(desktop.drive("mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.dot(b, 3).on(white)), desktop.why());

    QVERIFY2(desktop.drive("mousemove 900 100 mousedown 1"_s), desktop.why()); // hovers there
    QVERIFY2(desktop.shows(strokes.dot({900, 100}, 3).on(white)), desktop.why());
    QVERIFY2(desktop.drive("mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::digits_select_the_width_of_strokes_data() {
    QTest::addColumn<int>("digit");
    QTest::addColumn<int>("thickness_px");
    QTest::newRow("0, the thinnest line") << 0 << 1;
    for (int digit = 1; digit <= 9; ++digit)
        QTest::addRow("%d", digit) << digit << 2 * digit;
}

void TestProgram::digits_select_the_width_of_strokes() {
    QFETCH(const int, digit);
    QFETCH(const int, thickness_px);
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QImage white = expected::white(desktop.screen());
    const QPoint a(200, 300);
    const QPoint b(700, 300);
    expected::Strokes strokes(desktop.screen());

    QVERIFY2(desktop.drive("key h key space key %1 mousemove 200 300 mousedown 1"_s.arg(digit)),
             desktop.why());
    QVERIFY2(desktop.shows(strokes.dot(a, digit).on(white)), desktop.why());
    QVERIFY2(desktop.drive("mousemove 700 300 mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.line(a, b, digit).dot(b, digit).on(white)), desktop.why());
    QCOMPARE(thickness(desktop.shot(), 450), double(thickness_px));
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::a_marker_follows_the_pressed_pointer() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QImage white = expected::white(desktop.screen());
    const QPoint a(300, 300);
    const QPoint b(1000, 650);
    expected::Strokes strokes(desktop.screen());

    QVERIFY2(desktop.drive("key h mousemove 300 300 mousedown 1"_s), desktop.why());
    strokes.dot(a, 3);
    QVERIFY2(desktop.shows(expected::with_marker(strokes.on(white), a, "00000001"_s)),
             desktop.why());
    QVERIFY2(desktop.drive("mousemove 1000 650"_s), desktop.why());
    strokes.line(a, b, 3);
    QVERIFY2(desktop.shows(expected::with_marker(strokes.on(white), b, "00000001"_s)),
             desktop.why());
    QVERIFY2(desktop.drive("mouseup 1"_s), desktop.why());
    strokes.dot(b, 3);
    QVERIFY2(desktop.shows(strokes.on(white)), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::space_switches_the_markers_off_and_on() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QImage help = expected::help(desktop.screen());
    expected::Strokes strokes(desktop.screen());

    QVERIFY2(desktop.drive("key space mousemove 300 300 mousedown 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.dot({300, 300}, 3).on(help)), desktop.why());
    // On again: not for the contact that is there, but for the next.
    QVERIFY2(desktop.drive("key space mouseup 1 mousemove 600 500 mousedown 1"_s), desktop.why());
    strokes.dot({600, 500}, 3);
    QVERIFY2(desktop.shows(expected::with_marker(strokes.on(help), {600, 500}, "00000001"_s)),
             desktop.why());
    QVERIFY2(desktop.drive("mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.on(help)), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::the_tag_tells_the_buttons_data() {
    QTest::addColumn<QString>("press");
    QTest::addColumn<QString>("release");
    QTest::addColumn<QString>("told");
    QTest::newRow("right") << "mousedown 3"_s
                           << "mouseup 3"_s
                           << "00000010"_s;
    QTest::newRow("left and right") << "mousedown 1 mousedown 3"_s
                                    << "mouseup 3 mouseup 1"_s
                                    << "00000011"_s;
    QTest::newRow("right and middle") << "mousedown 2 mousedown 3"_s
                                      << "mouseup 3 mouseup 2"_s
                                      << "00000010"_s;
}

void TestProgram::the_tag_tells_the_buttons() {
    QFETCH(const QString, press);
    QFETCH(const QString, release);
    QFETCH(const QString, told);
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QImage white = expected::white(desktop.screen());
    const QPoint a(300, 300);
    const QPoint b(800, 400);
    expected::Strokes strokes(desktop.screen());

    QVERIFY2(desktop.drive("key h mousemove 300 300 "_s + press), desktop.why());
    strokes.dot(a, 3);
    QVERIFY2(desktop.shows(expected::with_marker(strokes.on(white), a, told)), desktop.why());
    QVERIFY2(desktop.drive("mousemove 800 400"_s), desktop.why());
    strokes.line(a, b, 3);
    QVERIFY2(desktop.shows(expected::with_marker(strokes.on(white), b, told)), desktop.why());
    QVERIFY2(desktop.drive(release), desktop.why());
    strokes.dot(b, 3);
    QVERIFY2(desktop.shows(strokes.on(white)), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::the_middle_button_draws_nothing() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QVERIFY2(desktop.drive("key h key space mousemove 300 300 mousedown 2 mousemove 500 400 "
                           "mouseup 2 mousemove 800 600 mousedown 1"_s),
             desktop.why());
    const QImage white = expected::white(desktop.screen());
    // The dot of the left button comes after all that the middle one may have drawn.
    const QImage dot = expected::Strokes(desktop.screen()).dot({800, 600}, 3).on(white);
    QVERIFY2(desktop.shows(dot), desktop.why());
    QVERIFY2(desktop.drive("mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::strokes_lie_on_every_card() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QVERIFY2(desktop.drive("key space key 9 mousemove 500 300 mousedown 1 mouseup 1"_s),
             desktop.why());
    const auto strokes = expected::Strokes(desktop.screen()).dot({500, 300}, 9);
    QVERIFY2(desktop.shows(strokes.on(expected::help(desktop.screen()))), desktop.why());
    QVERIFY2(desktop.drive("key c"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.on(expected::colors(desktop.screen()))), desktop.why());
    QVERIFY2(desktop.drive("key b"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.on(expected::black(desktop.screen()))), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::backspace_clears_the_strokes() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QVERIFY2(desktop.drive("key space mousemove 500 300 mousedown 1 mouseup 1"_s), desktop.why());
    const QImage help = expected::help(desktop.screen());
    const QImage dot = expected::Strokes(desktop.screen()).dot({500, 300}, 3).on(help);
    QVERIFY2(desktop.shows(dot), desktop.why());
    QVERIFY2(desktop.drive("key BackSpace"_s), desktop.why());
    QVERIFY2(desktop.shows(help), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::return_leaves_and_enters_full_screen_data() {
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QRect>("window");
    const QSize help = expected::help_size();
    QTest::newRow("1280x720") << QSize(1280, 720) << QRect(160, 90, 960, 540);
    QTest::newRow("1920x1080") << QSize(1920, 1080) << QRect(240, 135, 1440, 810);
    QTest::newRow("one that is a little larger than the help")
        << QSize(help.width() + 100, help.height() + 60) << QRect(QPoint(50, 30), help);
}

void TestProgram::return_leaves_and_enters_full_screen() {
    QFETCH(const QSize, screen);
    QFETCH(const QRect, window);
    Desktop desktop;
    QVERIFY2(desktop.start(screen), desktop.why());
    const QImage help = expected::help(screen);
    const QImage desk = expected::black(screen); // what is behind the window

    QVERIFY2(desktop.drive("key Return"_s), desktop.why());
    QVERIFY2(desktop.shows(expected::help(window.size()), window), desktop.why());
    for (const QPoint corner : {QPoint(0, 0), QPoint(screen.width() - 20, screen.height() - 10)})
        QVERIFY2(desktop.shows(desk.copy(0, 0, 20, 10), QRect(corner, QSize(20, 10))),
                 desktop.why());
    QVERIFY2(desktop.drive("key Return"_s), desktop.why());
    QVERIFY2(desktop.shows(help), desktop.why());
    QVERIFY2(desktop.drive("key Return"_s), desktop.why()); // and again
    QVERIFY2(desktop.shows(expected::help(window.size()), window), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::a_mouse_draws_under_the_pointer_of_a_window() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    const QRect window(160, 90, 960, 540);
    const QImage help = expected::help(window.size());
    QVERIFY2(desktop.drive("key Return"_s), desktop.why());
    QVERIFY2(desktop.shows(help, window), desktop.why());

    QVERIFY2(desktop.drive("mousemove 760 490 mousedown 1"_s), desktop.why());
    expected::Strokes strokes(window.size());
    strokes.dot({600, 400}, 3);
    QVERIFY2(
        desktop.shows(expected::with_marker(strokes.on(help), {600, 400}, "00000001"_s), window),
        desktop.why());
    // The contact goes on beyond the window's edge.
    QVERIFY2(desktop.drive("mousemove 760 700 mouseup 1"_s), desktop.why());
    QVERIFY2(desktop.shows(strokes.line({600, 400}, {600, 610}, 3).on(help), window),
             desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

void TestProgram::another_window_takes_the_keyboard_for_a_while() {
    Desktop desktop;
    QVERIFY2(desktop.start(), desktop.why());
    QVERIFY2(desktop.drive("key g"_s), desktop.why());
    QVERIFY2(desktop.shows(expected::grid(desktop.screen())), desktop.why());

    const auto other = desktop.start_another();
    QVERIFY2(desktop.shows(expected::help(desktop.screen())), desktop.why());
    QVERIFY2(desktop.has_keyboard(*other), desktop.why());
    QVERIFY2(desktop.drive("key b"_s), desktop.why());
    QVERIFY2(desktop.shows(expected::black(desktop.screen())), desktop.why());
    QVERIFY2(desktop.escape_ends(*other), desktop.why());

    QVERIFY2(desktop.shows(expected::grid(desktop.screen())), desktop.why());
    QVERIFY2(desktop.has_keyboard(), desktop.why());
    QVERIFY2(desktop.drive("key c"_s), desktop.why());
    QVERIFY2(desktop.shows(expected::colors(desktop.screen())), desktop.why());
    QVERIFY2(desktop.escape_ends(), desktop.why());
}

QTEST_MAIN(TestProgram)
#include "tst_program.moc"
