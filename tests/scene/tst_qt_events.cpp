#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"

#include <QMouseEvent>
#include <QTouchDevice>
#include <QTouchEvent>
#include <QtTest>
#include <memory>

Q_DECLARE_METATYPE(QEvent::Type)

namespace {

using TouchPoint = QTouchEvent::TouchPoint;

/// A view that tells which records the toolkit's events became, and which events it left to
/// QWidget.
class RecordingView : public ItemView {
public:
    RecordingView() : ItemView(0) {}
    using ItemView::event;

    void in_pen_event(Controls const& c) override { m_pens << text(c); }
    void in_touch_event(Contacts const& v) override { m_touches << text(v); }

    QStringList m_pens;
    QList<QStringList> m_touches;
    QList<QEvent::Type> m_left;

protected:
    void mousePressEvent(QMouseEvent* e) override { m_left << e->type(); }
    void mouseReleaseEvent(QMouseEvent* e) override { m_left << e->type(); }
    void mouseDoubleClickEvent(QMouseEvent* e) override { m_left << e->type(); }
    void mouseMoveEvent(QMouseEvent* e) override { m_left << e->type(); }
    void enterEvent(QEvent* e) override { m_left << e->type(); }
    void keyPressEvent(QKeyEvent* e) override { m_left << e->type(); }
};

QString mouse_record(int buttons, double x, double y) {
    return text(Controls{-1, 0, buttons, 0.0, 0.0, x, y, x, y});
}

QString touch_record(int id, int buttons, double x, double y) {
    return text(Controls{id, 0, buttons, 0.0, 0.0, x, y, x, y});
}

QTouchDevice* touch_screen() {
    static QTouchDevice* const device = QTest::createTouchDevice();
    return device;
}

/// An id that no point had before: the view keeps the hoops of all.
int fresh_id() {
    static int id = 1000;
    return ++id;
}

TouchPoint point(int id, Qt::TouchPointState state, QPointF pos) {
    TouchPoint p(id);
    p.setState(state);
    p.setPos(pos);
    return p;
}

/// Sends one report, of the event type that the states of its points make.
bool send(QWidget& view, QList<TouchPoint> const& points) {
    Qt::TouchPointStates states;
    for (TouchPoint const& p : points)
        states |= p.state();
    const QEvent::Type type = states == Qt::TouchPointPressed    ? QEvent::TouchBegin
                              : states == Qt::TouchPointReleased ? QEvent::TouchEnd
                                                                 : QEvent::TouchUpdate;
    QTouchEvent e(type, touch_screen(), Qt::NoModifier, states, points);
    return QApplication::sendEvent(&view, &e) && e.isAccepted();
}

} // namespace

class TestQtEvents : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void each_mouse_event_becomes_a_pen_record_data();
    void each_mouse_event_becomes_a_pen_record();
    void the_left_and_right_buttons_are_told_data();
    void the_left_and_right_buttons_are_told();
    void a_mouse_position_is_rounded_data();
    void a_mouse_position_is_rounded();
    void a_synthesised_mouse_event_is_ignored_data();
    void a_synthesised_mouse_event_is_ignored();
    void a_drag_of_the_middle_button_hovers();
    void a_mouse_moves_in_without_a_button();
    void the_mouse_shares_its_capture_with_the_first_pen();

    void each_touch_event_becomes_touch_records();
    void a_touch_point_tells_its_id_and_state_data();
    void a_touch_point_tells_its_id_and_state();
    void a_touch_point_is_told_at_its_hoop_data();
    void a_touch_point_is_told_at_its_hoop();
    void a_touch_point_pressed_again_jumps();
    void hoops_are_told_apart_by_id();
    void views_share_the_hoops();
    void touches_reach_the_items();
    void touches_come_from_the_window_system();
    void other_events_go_to_the_widget_data();
    void other_events_go_to_the_widget();
    void keys_go_to_the_widget();
    void any_position_is_taken_data();
    void any_position_is_taken();
};

void TestQtEvents::each_mouse_event_becomes_a_pen_record_data() {
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("press") << QEvent::MouseButtonPress;
    QTest::newRow("release") << QEvent::MouseButtonRelease;
    QTest::newRow("double click") << QEvent::MouseButtonDblClick;
    QTest::newRow("move") << QEvent::MouseMove;
}

void TestQtEvents::each_mouse_event_becomes_a_pen_record() {
    QFETCH(const QEvent::Type, type);
    RecordingView view;
    // The position in the view is the one that counts.
    QMouseEvent e(type, QPointF(12, 34), QPointF(112, 134), QPointF(212, 234), Qt::LeftButton,
                  Qt::LeftButton, Qt::ControlModifier);
    QVERIFY(QApplication::sendEvent(&view, &e));
    QVERIFY(e.isAccepted());
    QCOMPARE(view.m_pens, QStringList(mouse_record(1, 12, 34)));
    QVERIFY(view.m_left.isEmpty());
}

void TestQtEvents::the_left_and_right_buttons_are_told_data() {
    QTest::addColumn<int>("buttons");
    QTest::addColumn<int>("told");
    const auto row = [](const char* name, int buttons, int told) {
        QTest::newRow(name) << buttons << told;
    };
    row("none", Qt::NoButton, 0);
    row("left", Qt::LeftButton, 1);
    row("right", Qt::RightButton, 2);
    row("left and right", Qt::LeftButton | Qt::RightButton, 3);
    row("middle", Qt::MiddleButton, 0);
    row("back", Qt::BackButton, 0);
    row("middle and right", Qt::MiddleButton | Qt::RightButton, 2);
    row("all", Qt::AllButtons, 3);
}

void TestQtEvents::the_left_and_right_buttons_are_told() {
    QFETCH(const int, buttons);
    QFETCH(const int, told);
    RecordingView view;
    // Those that are held, not the one of the event.
    QMouseEvent e(QEvent::MouseMove, {1, 2}, Qt::LeftButton, Qt::MouseButtons(buttons), {});
    QVERIFY(QApplication::sendEvent(&view, &e));
    QCOMPARE(view.m_pens, QStringList(mouse_record(told, 1, 2)));
}

void TestQtEvents::a_mouse_position_is_rounded_data() {
    QTest::addColumn<double>("value");
    for (double value : {0.0, 0.49, 0.5, 1.5, 10.75, -0.4, -0.5, -0.6, -1.5, -10.75, 3839.5})
        QTest::addRow("%g", value) << value;
}

void TestQtEvents::a_mouse_position_is_rounded() {
    QFETCH(const double, value);
    RecordingView view;
    for (const QPointF pos : {QPointF(value, 7), QPointF(7, value)}) {
        QMouseEvent e(QEvent::MouseMove, pos, Qt::NoButton, Qt::NoButton, {});
        QVERIFY(QApplication::sendEvent(&view, &e));
    }
    QCOMPARE(view.m_pens,
             (QStringList{mouse_record(0, qRound(value), 7), mouse_record(0, 7, qRound(value))}));
}

void TestQtEvents::a_synthesised_mouse_event_is_ignored_data() {
    QTest::addColumn<int>("source");
    QTest::newRow("by the system") << int{Qt::MouseEventSynthesizedBySystem};
    QTest::newRow("by the toolkit") << int{Qt::MouseEventSynthesizedByQt};
    QTest::newRow("by the application") << int{Qt::MouseEventSynthesizedByApplication};
}

void TestQtEvents::a_synthesised_mouse_event_is_ignored() {
    QFETCH(const int, source);
    RecordingView view;
    for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                              QEvent::MouseButtonDblClick, QEvent::MouseMove}) {
        QMouseEvent e(type, {1, 2}, {1, 2}, {1, 2}, Qt::LeftButton, Qt::LeftButton, {},
                      static_cast<Qt::MouseEventSource>(source));
        e.accept();
        QVERIFY(!view.event(&e));
        QVERIFY(!e.isAccepted());
    }
    QVERIFY(view.m_pens.isEmpty());
    QVERIFY(view.m_left.isEmpty());
}

void TestQtEvents::a_drag_of_the_middle_button_hovers() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    std::vector<Delivery> deliveries;
    item->m_deliveries = &deliveries;
    item->set_outline(item->m_shape);
    view.add_item(item);
    QMouseEvent e(QEvent::MouseMove, {5, 5}, Qt::NoButton, Qt::MiddleButton, {});
    QVERIFY(QApplication::sendEvent(&view, &e));
    QVERIFY(view.m_pen_grab_map.empty());
    QVERIFY(view.m_pen_hover_map.at(-1) == item);
    QCOMPARE(deliveries.size(), std::size_t{2});
}

void TestQtEvents::a_mouse_moves_in_without_a_button() {
    RecordingView view;
    view.resize(100, 100);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    view.m_pens.clear();
    QTest::mousePress(&view, Qt::RightButton, Qt::NoModifier, {10, 11});
    QTest::mouseRelease(&view, Qt::RightButton, Qt::NoModifier, {12, 13});
    QTest::mouseMove(view.windowHandle(), {20, 21});
    QCOMPARE(view.m_pens, (QStringList{mouse_record(2, 10, 11), mouse_record(0, 12, 13),
                                       mouse_record(0, 20, 21)}));
}

void TestQtEvents::the_mouse_shares_its_capture_with_the_first_pen() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    std::vector<Delivery> deliveries;
    item->m_deliveries = &deliveries;
    item->set_outline(item->m_shape);
    view.add_item(item);
    QMouseEvent e(QEvent::MouseButtonPress, {50, 50}, Qt::LeftButton, Qt::LeftButton, {});
    QVERIFY(QApplication::sendEvent(&view, &e));
    view.in_pen_event(contact(Osterly::pen_id(0), 5, 5));
    QVERIFY(deliveries.empty());
    view.in_pen_event(contact(Osterly::pen_id(1), 5, 5));
    QCOMPARE(deliveries.size(), std::size_t{1});
}

void TestQtEvents::each_touch_event_becomes_touch_records() {
    RecordingView view;
    const int a = fresh_id();
    const int b = fresh_id();
    QVERIFY(send(view, {point(a, Qt::TouchPointPressed, {10, 20})}));
    QVERIFY(send(view, {point(a, Qt::TouchPointMoved, {30, 20}),
                        point(b, Qt::TouchPointPressed, {50.5, 60.25})}));
    QVERIFY(send(view, {point(b, Qt::TouchPointReleased, {50.5, 60.25}),
                        point(a, Qt::TouchPointReleased, {27, 20})}));
    QCOMPARE(view.m_touches,
             (QList<QStringList>{{touch_record(a, 1, 10, 20)},
                                 {touch_record(a, 1, 27, 20), touch_record(b, 1, 50.5, 60.25)},
                                 {touch_record(b, 0, 50.5, 60.25), touch_record(a, 0, 27, 20)}}));
}

void TestQtEvents::a_touch_point_tells_its_id_and_state_data() {
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("buttons");
    QTest::newRow("pressed") << int{Qt::TouchPointPressed} << 1;
    QTest::newRow("moved") << int{Qt::TouchPointMoved} << 1;
    QTest::newRow("stationary") << int{Qt::TouchPointStationary} << 1;
    QTest::newRow("released") << int{Qt::TouchPointReleased} << 0;
}

void TestQtEvents::a_touch_point_tells_its_id_and_state() {
    QFETCH(const int, state);
    QFETCH(const int, buttons);
    RecordingView view;
    const int id = fresh_id();
    TouchPoint p = point(id, static_cast<Qt::TouchPointState>(state), {10, 20});
    p.setEllipseDiameters({30, 40}); // its size is not told
    p.setPressure(0.5);
    QTouchEvent e(QEvent::TouchBegin, touch_screen(), Qt::NoModifier, p.state(), {p});
    QVERIFY(view.event(&e));
    QCOMPARE(view.m_touches, QList<QStringList>{{touch_record(id, buttons, 10, 20)}});
}

void TestQtEvents::a_touch_point_is_told_at_its_hoop_data() {
    QTest::addColumn<QVector<QPointF>>("points");
    QTest::addColumn<QVector<QPointF>>("centres");
    const auto row = [](const char* name, QVector<QPointF> points, QVector<QPointF> centres) {
        QTest::newRow(name) << points << centres;
    };
    row("rests", {{10, 20}, {10, 20}}, {{10, 20}, {10, 20}});
    row("moves by 2", {{10, 20}, {12, 20}}, {{10, 20}, {10, 20}});
    row("moves by 3", {{10, 20}, {10, 17}}, {{10, 20}, {10, 20}});
    row("moves by 5", {{10, 20}, {15, 20}}, {{10, 20}, {12, 20}});
    row("moves by 5 upward", {{10, 20}, {10, 15}}, {{10, 20}, {10, 18}});
    row("moves aslant", {{10, 20}, {16, 28}}, {{10, 20}, {14.2, 25.6}});
    // Each step is small, but the hoop remembers.
    row("creeps away", {{10, 20}, {12, 20}, {14, 20}, {16, 20}},
        {{10, 20}, {10, 20}, {11, 20}, {13, 20}});
    row("turns round", {{10, 20}, {18, 20}, {13, 20}, {10, 20}},
        {{10, 20}, {15, 20}, {15, 20}, {13, 20}});
    // In single precision, this is 3.
    row("moves by a little more than 3", {{10, 20}, {13.00000001, 20}}, {{10, 20}, {10, 20}});
}

void TestQtEvents::a_touch_point_is_told_at_its_hoop() {
    QFETCH(const QVector<QPointF>, points);
    QFETCH(const QVector<QPointF>, centres);
    class Hoops : public ItemView {
    public:
        Hoops() : ItemView(0) {}
        void in_touch_event(Contacts const& v) override {
            m_centres << QPointF(v.at(0).x, v.at(0).y);
            m_hoops << QPointF(v.at(0).hoop_x, v.at(0).hoop_y);
        }
        QVector<QPointF> m_centres;
        QVector<QPointF> m_hoops;
    } view;
    const int id = fresh_id();
    send(view, {point(id, Qt::TouchPointPressed, points[0])});
    for (QPointF const& p : points.mid(1))
        send(view, {point(id, Qt::TouchPointMoved, p)});
    QCOMPARE(view.m_centres, centres); // QPointF compares with a tolerance
    QCOMPARE(view.m_hoops, view.m_centres);
}

void TestQtEvents::a_touch_point_pressed_again_jumps() {
    RecordingView view;
    const int id = fresh_id();
    send(view, {point(id, Qt::TouchPointPressed, {10, 20})});
    send(view, {point(id, Qt::TouchPointReleased, {11, 20})}); // dragged, too
    send(view, {point(id, Qt::TouchPointPressed, {12, 21})});
    QCOMPARE(view.m_touches, (QList<QStringList>{{touch_record(id, 1, 10, 20)},
                                                 {touch_record(id, 0, 10, 20)},
                                                 {touch_record(id, 1, 12, 21)}}));
}

void TestQtEvents::hoops_are_told_apart_by_id() {
    RecordingView view;
    const int a = fresh_id();
    const int b = fresh_id();
    send(view,
         {point(a, Qt::TouchPointPressed, {10, 20}), point(b, Qt::TouchPointPressed, {11, 20})});
    send(view, {point(b, Qt::TouchPointMoved, {12, 20}), point(a, Qt::TouchPointMoved, {15, 20})});
    QCOMPARE(view.m_touches.last(),
             (QStringList{touch_record(b, 1, 11, 20), touch_record(a, 1, 12, 20)}));
}

void TestQtEvents::views_share_the_hoops() {
    RecordingView one;
    RecordingView other;
    const int id = fresh_id();
    send(one, {point(id, Qt::TouchPointPressed, {10, 20})});
    QTouchEvent e(QEvent::TouchUpdate, touch_screen(), Qt::NoModifier, Qt::TouchPointMoved,
                  {point(id, Qt::TouchPointMoved, {15, 20})});
    QVERIFY(other.event(&e));
    QCOMPARE(other.m_touches, QList<QStringList>{{touch_record(id, 1, 12, 20)}});
}

void TestQtEvents::touches_reach_the_items() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 20, 20), QPointF(100, 50), 0.0F, 2.0F);
    std::vector<Delivery> deliveries;
    item->m_deliveries = &deliveries;
    item->set_outline(item->m_shape);
    view.add_item(item);
    const int id = fresh_id();
    QVERIFY(send(view, {point(id, Qt::TouchPointPressed, {110, 60})}));
    QCOMPARE(deliveries.size(), std::size_t{1});
    QCOMPARE(text(deliveries[0].contacts),
             QStringList(text(Controls{id, 0, 1, 0, 0, 5, 5, 110, 60})));
}

void TestQtEvents::touches_come_from_the_window_system() {
    RecordingView view;
    view.resize(100, 100);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QTest::touchEvent(&view, touch_screen()).press(fresh_id(), {10, 20}, &view);
    QTRY_COMPARE(view.m_touches.size(), 1);
    QVERIFY(view.m_touches[0][0].contains(QStringLiteral("buttons 1")));
    QVERIFY(view.m_touches[0][0].endsWith(QStringLiteral("at 10 20 hoop 10 20")));
}

void TestQtEvents::other_events_go_to_the_widget_data() {
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("cancelled touch") << QEvent::TouchCancel;
    QTest::newRow("enter") << QEvent::Enter;
    QTest::newRow("help clicked") << QEvent::WhatsThisClicked;
    QTest::newRow("one of nobody's") << QEvent::User;
}

void TestQtEvents::other_events_go_to_the_widget() {
    QFETCH(const QEvent::Type, type);
    class Bare : public QWidget {
    public:
        using QWidget::event;
    } bare;
    RecordingView view;
    const auto made = [type]() -> std::unique_ptr<QEvent> {
        if (type != QEvent::TouchCancel)
            return std::make_unique<QEvent>(type);
        return std::make_unique<QTouchEvent>(
            type, touch_screen(), Qt::NoModifier, Qt::TouchPointReleased,
            QList<TouchPoint>{point(fresh_id(), Qt::TouchPointReleased, {10, 20})});
    };
    const auto to_bare = made();
    const auto to_view = made();
    QCOMPARE(view.event(to_view.get()), bare.event(to_bare.get()));
    QCOMPARE(to_view->isAccepted(), to_bare->isAccepted());
    QVERIFY(view.m_pens.isEmpty() && view.m_touches.isEmpty());
    QCOMPARE(view.m_left.size(), type == QEvent::Enter ? 1 : 0);
}

void TestQtEvents::keys_go_to_the_widget() {
    RecordingView view;
    QKeyEvent e(QEvent::KeyPress, Qt::Key_A, {});
    QApplication::sendEvent(&view, &e);
    QCOMPARE(view.m_left, QList<QEvent::Type>{QEvent::KeyPress});
}

void TestQtEvents::any_position_is_taken_data() {
    QTest::addColumn<double>("number");
    QTest::addColumn<double>("pixel");
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    QTest::newRow("1e300") << 1e300 << highest;
    QTest::newRow("-1e300") << -1e300 << lowest;
    QTest::newRow("infinity") << kInfinity << highest;
    QTest::newRow("-infinity") << -kInfinity << lowest;
    QTest::newRow("not a number") << kNan << 0.0;
    QTest::newRow("2^31") << 2147483648.0 << highest;
}

void TestQtEvents::any_position_is_taken() {
    QFETCH(const double, number);
    QFETCH(const double, pixel);
    RecordingView view;
    QMouseEvent e(QEvent::MouseMove, {number, 5}, Qt::NoButton, Qt::NoButton, {});
    QVERIFY(view.event(&e));
    QCOMPARE(view.m_pens, QStringList(mouse_record(0, pixel, 5)));

    const int id = fresh_id();
    QVERIFY(send(view, {point(id, Qt::TouchPointPressed, {number, number})}));
    for (const QPointF pos : {QPointF(number, 5), QPointF(10, 20), QPointF(10, number)})
        QVERIFY(send(view, {point(id, Qt::TouchPointMoved, pos)}));
    QCOMPARE(view.m_touches.size(), 4);
    QVERIFY(send(view, {point(id, Qt::TouchPointReleased, {10, 20})}));
    QVERIFY(send(view, {point(id, Qt::TouchPointPressed, {10, 20})}));
    QCOMPARE(view.m_touches.last(), QStringList(touch_record(id, 1, 10, 20)));
}

QTEST_MAIN(TestQtEvents)
#include "tst_qt_events.moc"
