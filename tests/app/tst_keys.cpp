#include "app/kestrunedialog.h"

#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/app/given_screen.h"
#include "tests/support/no_warnings.h"

#include <QKeyEvent>
#include <QPaintEvent>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QtTest>

namespace {

/// All that a key can change.
struct State {
    int card;
    float stroke_width;
    bool info_tags;
    std::size_t strokes;
    bool full_screen;
    Qt::WindowStates window;
    bool visible;
    int result;

    explicit State(KestruneDialog const& dialog)
        : card(dialog.m_strokes_view->m_test_mode),
          stroke_width(dialog.m_strokes_view->m_stroke_width),
          info_tags(dialog.m_strokes_view->m_info_tags),
          strokes(dialog.m_strokes_view->m_strokes.size()),
          full_screen(dialog.m_full_screen),
          window(dialog.windowState() & ~Qt::WindowActive),
          visible(dialog.isVisible()),
          result(dialog.result()) {}
};

bool operator==(State const& a, State const& b) {
    return a.card == b.card && a.stroke_width == b.stroke_width && a.info_tags == b.info_tags &&
           a.strokes == b.strokes && a.full_screen == b.full_screen && a.window == b.window &&
           a.visible == b.visible && a.result == b.result;
}

/// Gathers what of a widget is painted, and the types of its other events.
class EventLog : public QObject {
public:
    explicit EventLog(QObject* watched) { watched->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override {
        m_types += event->type();
        if (event->type() == QEvent::Paint)
            m_painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }

    QRegion m_painted;
    QList<QEvent::Type> m_types;
};

} // namespace

class TestKeys : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void init();
    void cleanup();

    void letters_and_arrows_toggle_their_card_data();
    void letters_and_arrows_toggle_their_card();
    void a_card_replaces_the_one_before();
    void digits_select_the_stroke_width_data();
    void digits_select_the_stroke_width();
    void a_selected_width_is_that_of_later_pen_segments();
    void space_toggles_the_info_tags();
    void backspace_clears_the_strokes();
    void space_and_digits_redraw_nothing_data();
    void space_and_digits_redraw_nothing();
    void cards_redraw_the_view_at_once();

    void escape_closes_the_dialog();
    void escape_ends_the_modal_loop();
    void return_toggles_full_screen();
    void return_goes_by_the_dialogs_own_flag();
    void a_window_stands_centred_on_its_screen_data();
    void a_window_stands_centred_on_its_screen();
    void full_screen_covers_the_screen();

    void other_keys_do_nothing_data();
    void other_keys_do_nothing();
    void other_codes_of_characters_do_nothing();
    void no_key_reaches_the_base_class_data();
    void no_key_reaches_the_base_class();
    void modifiers_change_nothing();
    void a_released_key_does_nothing();
    void keys_given_to_the_view_reach_the_dialog();

private:
    bool press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

    std::unique_ptr<KestruneDialog> m_dialog;
    StrokesView* m_view = nullptr;
};

void TestKeys::init() {
    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    m_view = m_dialog->m_strokes_view;
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
}

void TestKeys::cleanup() {
    m_dialog.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

/// Presses the key of a code and tells whether the dialog kept the event.
bool TestKeys::press(int key, Qt::KeyboardModifiers modifiers) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QCoreApplication::sendEvent(m_dialog.get(), &event);
    return event.isAccepted();
}

void TestKeys::letters_and_arrows_toggle_their_card_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("card");
    QTest::newRow("H") << 0x48 << 7;
    QTest::newRow("h") << 0x68 << 7;
    QTest::newRow("C") << 0x43 << 2;
    QTest::newRow("c") << 0x63 << 2;
    QTest::newRow("G") << 0x47 << 1;
    QTest::newRow("g") << 0x67 << 1;
    QTest::newRow("S") << 0x53 << 3;
    QTest::newRow("s") << 0x73 << 3;
    QTest::newRow("B") << 0x42 << 4;
    QTest::newRow("b") << 0x62 << 4;
    QTest::newRow("Left") << 0x01000012 << 5;
    QTest::newRow("Right") << 0x01000014 << 6;
}

void TestKeys::letters_and_arrows_toggle_their_card() {
    QFETCH(const int, key);
    QFETCH(const int, card);
    m_view->m_test_mode = 0;
    QVERIFY(press(key));
    QCOMPARE(m_view->m_test_mode, card);
    QVERIFY(press(key));
    QCOMPARE(m_view->m_test_mode, 0);
}

void TestKeys::a_card_replaces_the_one_before() {
    press(Qt::Key_G);
    QCOMPARE(m_view->m_test_mode, 1);
    press(Qt::Key_C);
    QCOMPARE(m_view->m_test_mode, 2);
    press(Qt::Key_H);
    QCOMPARE(m_view->m_test_mode, 7);
}

void TestKeys::digits_select_the_stroke_width_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<float>("width");
    for (int digit = 0; digit <= 9; ++digit)
        QTest::addRow("%d", digit) << 0x30 + digit << float(digit);
}

void TestKeys::digits_select_the_stroke_width() {
    QFETCH(const int, key);
    QFETCH(const float, width);
    m_view->m_stroke_width = 99.0F;
    QVERIFY(press(key));
    QCOMPARE(m_view->m_stroke_width, width);
}

void TestKeys::a_selected_width_is_that_of_later_pen_segments() {
    Osterly::Controls pen;
    pen.id = Osterly::pen_id(2);
    pen.buttons = 1;
    pen.x = pen.y = 10.0;
    m_view->in_pen_event(pen);
    press(Qt::Key_5);
    pen.x = 20.0;
    m_view->in_pen_event(pen);
    press(Qt::Key_0);
    pen.x = 30.0;
    m_view->in_pen_event(pen);
    auto const& segments = m_view->m_id_to_draw_state_map.at(pen.id).segments;
    QCOMPARE(segments.size(), std::size_t{3});
    QCOMPARE(segments[0].width, 3.0F);
    QCOMPARE(segments[1].width, 5.0F);
    QCOMPARE(segments[2].width, 0.0F);
}

void TestKeys::space_toggles_the_info_tags() {
    QVERIFY(m_view->m_info_tags);
    QVERIFY(press(0x20));
    QVERIFY(!m_view->m_info_tags);
    QVERIFY(press(0x20));
    QVERIFY(m_view->m_info_tags);
}

void TestKeys::backspace_clears_the_strokes() {
    m_view->m_strokes.push_back({{{QLineF(1, 2, 3, 4), 3.0F}}, Qt::red});
    m_view->redraw_strokes();
    m_view->get_dirty_region();
    QVERIFY(press(0x01000003));
    QVERIFY(m_view->m_strokes.empty());
    QCOMPARE(m_view->m_strokes_image->pixel(2, 3), 0U);
    QCOMPARE(m_view->m_dirty_region, QRegion(m_view->rect()));
}

void TestKeys::space_and_digits_redraw_nothing_data() {
    QTest::addColumn<int>("key");
    QTest::newRow("Space") << int(Qt::Key_Space);
    for (int digit = 0; digit <= 9; ++digit)
        QTest::addRow("%d", digit) << int(Qt::Key_0) + digit;
}

void TestKeys::space_and_digits_redraw_nothing() {
    QFETCH(const int, key);
    QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
    EventLog log(m_view);
    press(key);
    QVERIFY(m_view->m_dirty_region.isEmpty());
    // An update that is asked for afterwards is painted with all that has been asked for before.
    const QRect later(1, 2, 3, 4);
    m_view->update(later);
    QTRY_VERIFY(!log.m_painted.isEmpty());
    QCOMPARE(log.m_painted, QRegion(later));
}

void TestKeys::cards_redraw_the_view_at_once() {
    QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
    m_dialog->m_timer->stop(); // not with the next frame
    EventLog log(m_view);
    press(Qt::Key_G);
    QTRY_COMPARE(log.m_painted, QRegion(m_view->rect()));
}

void TestKeys::escape_closes_the_dialog() {
    const EventLog log(m_dialog.get());
    m_dialog->setResult(42);
    QVERIFY(press(0x01000000));
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), 0);
    QCOMPARE(log.m_types.count(QEvent::Close), 1);
}

void TestKeys::escape_ends_the_modal_loop() {
    QTimer::singleShot(0, m_dialog.get(), [this] { press(Qt::Key_Escape); });
    QCOMPARE(m_dialog->exec(), 0);
}

void TestKeys::return_toggles_full_screen() {
    for (int i = 0; i < 2; ++i) {
        QVERIFY(press(0x01000004));
        QVERIFY(!m_dialog->m_full_screen);
        QVERIFY(!m_dialog->isFullScreen());
        QVERIFY(m_dialog->isVisible());
        QVERIFY(press(0x01000004));
        QVERIFY(m_dialog->m_full_screen);
        QVERIFY(m_dialog->isFullScreen());
        QVERIFY(m_dialog->isVisible());
    }
}

void TestKeys::return_goes_by_the_dialogs_own_flag() {
    m_dialog->showNormal(); // not by the key
    press(Qt::Key_Return);
    QVERIFY(!m_dialog->isFullScreen());
    QVERIFY(!m_dialog->m_full_screen);
    m_dialog->showFullScreen();
    press(Qt::Key_Return);
    QVERIFY(m_dialog->isFullScreen());
    QVERIFY(m_dialog->m_full_screen);
}

void TestKeys::a_window_stands_centred_on_its_screen_data() {
    QTest::addColumn<QRect>("available");
    QTest::addColumn<QRect>("window");
    const QSize help = help_card_size();
    const int width = help.width();
    const int height = help.height();

    QTest::newRow("three quarters of it") << QRect(0, 0, 1920, 1080) << QRect(240, 135, 1440, 810);
    QTest::newRow("beside a panel and on another screen")
        << QRect(2000, 100, 1600, 1000) << QRect(2200, 225, 1200, 750);
    QTest::newRow("high enough for the help")
        << QRect(0, 0, 1920, height + 20) << QRect(240, 10, 1440, height);
    QTest::newRow("wide enough for the help")
        << QRect(0, 0, width + 20, 1000) << QRect(10, 125, width, 750);
    QTest::newRow("not larger than the screen")
        << QRect(10, 20, 320, 240) << QRect(10, 20, 320, 240);
}

void TestKeys::a_window_stands_centred_on_its_screen() {
    QFETCH(const QRect, available);
    QFETCH(const QRect, window);
    const GivenScreen screen(QRect(0, 0, 4000, 3000), available);
    press(Qt::Key_Return);
    QCOMPARE(m_dialog->geometry(), window);
    QCoreApplication::processEvents();
    QCOMPARE(m_view->size(), window.size());
}

void TestKeys::full_screen_covers_the_screen() {
    const QRect screen = m_dialog->screen()->geometry();
    QCoreApplication::processEvents();
    QCOMPARE(m_dialog->geometry(), screen);
    press(Qt::Key_Return);
    QCoreApplication::processEvents();
    QVERIFY(m_dialog->geometry() != screen);
    press(Qt::Key_Return);
    QCoreApplication::processEvents();
    QCOMPARE(m_dialog->geometry(), screen);
    QCOMPARE(m_view->geometry(), m_dialog->rect());
}

void TestKeys::other_keys_do_nothing_data() {
    QTest::addColumn<int>("key");
    QTest::newRow("keypad Enter") << int(Qt::Key_Enter);
    QTest::newRow("Tab") << int(Qt::Key_Tab);
    QTest::newRow("Backtab") << int(Qt::Key_Backtab);
    QTest::newRow("Insert") << int(Qt::Key_Insert);
    QTest::newRow("Delete") << int(Qt::Key_Delete);
    QTest::newRow("Home") << int(Qt::Key_Home);
    QTest::newRow("End") << int(Qt::Key_End);
    QTest::newRow("Up") << int(Qt::Key_Up);
    QTest::newRow("Down") << int(Qt::Key_Down);
    QTest::newRow("F1") << int(Qt::Key_F1);
    QTest::newRow("F11") << int(Qt::Key_F11);
    QTest::newRow("Shift") << int(Qt::Key_Shift);
    QTest::newRow("Cancel") << int(Qt::Key_Cancel);
    QTest::newRow("H above the special keys") << 0x01000048;
    QTest::newRow("Left without its special bit") << 0x12;
    QTest::newRow("Escape with bit 0x20") << 0x01000020;
    QTest::newRow("beyond Latin 1") << 0x0148;
    QTest::newRow("unknown") << int(Qt::Key_unknown);
    QTest::newRow("lowest") << std::numeric_limits<int>::min();
    QTest::newRow("highest") << std::numeric_limits<int>::max();
}

void TestKeys::other_keys_do_nothing() {
    QFETCH(const int, key);
    m_view->m_strokes.push_back({{{QLineF(1, 2, 3, 4), 3.0F}}, Qt::red});
    m_dialog->setResult(42);
    const State before(*m_dialog);
    QVERIFY(press(key));
    QVERIFY(State(*m_dialog) == before);
    QVERIFY(m_view->m_dirty_region.isEmpty());
}

void TestKeys::other_codes_of_characters_do_nothing() {
    const QByteArray known = QByteArrayLiteral(" 0123456789HhCcGgSsBb");
    const State before(*m_dialog);
    for (int code = 0; code < 0x100; ++code) {
        if (code < 0x80 && known.contains(static_cast<char>(code)))
            continue;
        QVERIFY2(press(code), qPrintable(QString::number(code, 16)));
        QVERIFY2(State(*m_dialog) == before, qPrintable(QString::number(code, 16)));
    }
}

void TestKeys::no_key_reaches_the_base_class_data() {
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
    QTest::newRow("Tab") << int(Qt::Key_Tab);
    QTest::newRow("Up") << int(Qt::Key_Up);
    QTest::newRow("A") << int(Qt::Key_A);
}

void TestKeys::no_key_reaches_the_base_class() {
    QFETCH(const int, key);
    // The base class has Return and Enter press the default button, and ignores what it does not
    // know.
    QPushButton button(m_dialog.get());
    button.setDefault(true);
    button.show();
    const QSignalSpy clicks(&button, &QPushButton::clicked);
    QVERIFY(press(key));
    QCOMPARE(clicks.count(), 0);
}

void TestKeys::modifiers_change_nothing() {
    press(Qt::Key_G, Qt::ShiftModifier);
    QCOMPARE(m_view->m_test_mode, 1);
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(m_view->m_test_mode, 2);
    press(Qt::Key_4, Qt::KeypadModifier);
    QCOMPARE(m_view->m_stroke_width, 4.0F);
}

void TestKeys::a_released_key_does_nothing() {
    const State before(*m_dialog);
    for (const Qt::Key key :
         {Qt::Key_Escape, Qt::Key_Return, Qt::Key_G, Qt::Key_Space, Qt::Key_5}) {
        QKeyEvent event(QEvent::KeyRelease, key, Qt::NoModifier);
        QCoreApplication::sendEvent(m_dialog.get(), &event);
        QVERIFY(State(*m_dialog) == before);
    }
}

void TestKeys::keys_given_to_the_view_reach_the_dialog() {
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    QTest::keyClick(m_view, Qt::Key_G);
    QCOMPARE(m_view->m_test_mode, 1);
    QTest::keyClick(m_dialog->windowHandle(), Qt::Key_C);
    QCOMPARE(m_view->m_test_mode, 2);
}

QTEST_MAIN(TestKeys)
#include "tst_keys.moc"
