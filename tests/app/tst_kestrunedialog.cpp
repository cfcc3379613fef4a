#include "app/kestrunedialog.h"

#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/no_warnings.h"

#include <QMetaMethod>
#include <QScreen>
#include <QStackedLayout>
#include <QTimer>
#include <QtTest>
#include <functional>

using Controls = Osterly::Controls;

namespace {

/// Where a member lies in its object.
template <typename Member>
char const* place_of(Member const& member) {
    return reinterpret_cast<char const*>(&member);
}

/// A contact in the middle of the screen.
Controls contact(int id) {
    Controls record;
    record.id = id;
    record.buttons = 1;
    record.x = record.y = 0.5;
    return record;
}

} // namespace

class TestKestruneDialog : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void init();
    void cleanup();
    void it_opens_full_screen_with_the_help();
    void it_is_a_plain_dialog_of_its_parent();
    void it_is_translucent();
    void the_strokes_view_fills_it_in_a_stack_that_shows_all();
    void its_members_stand_in_their_order();
    void it_begins_without_contacts();
    void its_children_are_made_in_their_order();
    void the_input_source_is_its_child();
    void the_frame_timer_is_single_shot_and_runs();
    void the_frames_go_on();
    void it_declares_the_four_slots_only();
    void each_report_reaches_its_slot_once_and_at_once();
    void the_input_source_goes_first();

private:
    std::unique_ptr<KestruneDialog> m_dialog;
};

void TestKestruneDialog::init() {
    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
}

void TestKestruneDialog::cleanup() {
    m_dialog.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

void TestKestruneDialog::it_opens_full_screen_with_the_help() {
    QVERIFY(m_dialog->isVisible());
    QVERIFY(m_dialog->isFullScreen());
    QVERIFY(m_dialog->m_full_screen);
    QCOMPARE(m_dialog->m_strokes_view->m_test_mode, static_cast<int>(HelpCard));
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    QCOMPARE(m_dialog->geometry(), m_dialog->screen()->geometry());
}

void TestKestruneDialog::it_is_a_plain_dialog_of_its_parent() {
    QCOMPARE(m_dialog->parent(), nullptr);
    QCOMPARE(m_dialog->windowFlags(), QDialog().windowFlags());

    QWidget parent;
    const KestruneDialog child(&parent);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
    QCOMPARE(child.parent(), &parent);
    QVERIFY(child.isWindow());
}

void TestKestruneDialog::it_is_translucent() {
    QVERIFY(m_dialog->testAttribute(Qt::WA_TranslucentBackground));
}

void TestKestruneDialog::the_strokes_view_fills_it_in_a_stack_that_shows_all() {
    auto const* const layout = qobject_cast<QStackedLayout*>(m_dialog->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->stackingMode(), QStackedLayout::StackAll);
    QCOMPARE(layout->count(), 1);
    QCOMPARE(layout->widget(0), m_dialog->m_strokes_view);
    QCOMPARE(m_dialog->m_strokes_view->parent(), m_dialog.get());
    QCOMPARE(m_dialog->m_views, std::vector<ItemView*>{m_dialog->m_strokes_view});

    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    QVERIFY(m_dialog->m_strokes_view->isVisible());
    QCOMPARE(m_dialog->m_strokes_view->geometry(), m_dialog->rect());
    m_dialog->showNormal();
    m_dialog->resize(300, 200);
    QTRY_COMPARE(m_dialog->m_strokes_view->geometry(), QRect(0, 0, 300, 200));
}

void TestKestruneDialog::its_members_stand_in_their_order() {
    const std::vector<char const*> places = {
        place_of(m_dialog->m_osterly),
        place_of(m_dialog->m_id_to_pen_widget_map),
        place_of(m_dialog->m_id_to_touch_widget_map),
        place_of(m_dialog->m_id_to_erase_widget_map),
        place_of(m_dialog->m_widget_to_touches_map),
        place_of(m_dialog->m_widget_to_erases_map),
        place_of(m_dialog->m_strokes_view),
        place_of(m_dialog->m_views),
        place_of(m_dialog->m_timer),
        place_of(m_dialog->m_full_screen),
    };
    QVERIFY(std::is_sorted(places.begin(), places.end(), std::less<>()));
}

void TestKestruneDialog::it_begins_without_contacts() {
    QVERIFY(m_dialog->m_id_to_pen_widget_map.empty());
    QVERIFY(m_dialog->m_id_to_touch_widget_map.empty());
    QVERIFY(m_dialog->m_id_to_erase_widget_map.empty());
    QVERIFY(m_dialog->m_widget_to_touches_map.empty());
    QVERIFY(m_dialog->m_widget_to_erases_map.empty());
}

void TestKestruneDialog::its_children_are_made_in_their_order() {
    const QObjectList& children = m_dialog->children();
    const int layout = children.indexOf(m_dialog->layout());
    const int view = children.indexOf(m_dialog->m_strokes_view);
    const int osterly = children.indexOf(m_dialog->m_osterly.get());
    const int timer = children.indexOf(m_dialog->m_timer);
    QVERIFY(0 <= layout && layout < view && view < osterly && osterly < timer);
}

void TestKestruneDialog::the_input_source_is_its_child() {
    QVERIFY(m_dialog->m_osterly != nullptr);
    QCOMPARE(m_dialog->m_osterly->parent(), m_dialog.get());
    QCOMPARE(m_dialog->m_osterly->thread(), m_dialog->thread());
}

void TestKestruneDialog::the_frame_timer_is_single_shot_and_runs() {
    QCOMPARE(m_dialog->m_timer->parent(), m_dialog.get());
    QVERIFY(m_dialog->m_timer->isSingleShot());
    QCOMPARE(m_dialog->m_timer->interval(), 16);
    QVERIFY(m_dialog->m_timer->isActive());
}

void TestKestruneDialog::the_frames_go_on() {
    const QSignalSpy ticks(m_dialog->m_timer, &QTimer::timeout);
    QTRY_VERIFY(ticks.count() >= 3);

    const QRect dirty(1, 2, 3, 4);
    m_dialog->m_strokes_view->add_dirty_region(dirty);
    QTRY_VERIFY(m_dialog->m_strokes_view->m_dirty_region.isEmpty());
}

void TestKestruneDialog::it_declares_the_four_slots_only() {
    QMetaObject const& meta = KestruneDialog::staticMetaObject;
    QCOMPARE(meta.superClass(), &QDialog::staticMetaObject);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());

    const QList<QByteArray> slots_in_order = {
        "in_osterly_pen(Osterly::Controls&)",
        "in_osterly_touch(std::vector<Osterly::Controls>&)",
        "in_osterly_erase(std::vector<Osterly::Controls>&)",
        "in_timer_update()",
    };
    QList<QByteArray> declared;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
        declared += meta.method(i).methodSignature();
    }
    QCOMPARE(declared, slots_in_order);
}

void TestKestruneDialog::each_report_reaches_its_slot_once_and_at_once() {
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    StrokesView const* const view = m_dialog->m_strokes_view;
    QList<QByteArray> reports;
    connect(view, &ItemView::out_pen_event, this, [&] { reports += "pen"; });
    connect(view, &ItemView::out_touch_event, this, [&] { reports += "touch"; });
    connect(view, &ItemView::out_erase_event, this, [&] { reports += "erase"; });

    Controls pen = contact(Osterly::pen_id(0));
    emit m_dialog->m_osterly->out_osterly_pen_event(pen);
    QCOMPARE(reports, QList<QByteArray>{"pen"});
    QCOMPARE(pen.accepted, 1);

    std::vector<Controls> touches = {contact(Osterly::touch_id(0))};
    emit m_dialog->m_osterly->out_osterly_touch_event(touches);
    QCOMPARE(reports, (QList<QByteArray>{"pen", "touch"}));
    QCOMPARE(touches[0].accepted, 1);

    std::vector<Controls> erasers = {contact(Osterly::erase_id(0))};
    emit m_dialog->m_osterly->out_osterly_erase_event(erasers);
    QCOMPARE(reports, (QList<QByteArray>{"pen", "touch", "erase"}));
    QCOMPARE(erasers[0].accepted, 1);
}

void TestKestruneDialog::the_input_source_goes_first() {
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    Controls pen = contact(Osterly::pen_id(0));
    std::vector<Controls> touches = {contact(Osterly::touch_id(0))};
    std::vector<Controls> erasers = {contact(Osterly::erase_id(0))};
    m_dialog->in_osterly_pen(pen);
    m_dialog->in_osterly_touch(touches);
    m_dialog->in_osterly_erase(erasers);

    QList<QByteArray> order;
    bool is_emptied = false;
    KestruneDialog* const dialog = m_dialog.get();
    connect(dialog->m_osterly.get(), &QObject::destroyed, this, [&] {
        order += "input";
        is_emptied =
            dialog->m_views.empty() && dialog->m_id_to_pen_widget_map.empty() &&
            dialog->m_id_to_touch_widget_map.empty() && dialog->m_id_to_erase_widget_map.empty() &&
            dialog->m_widget_to_touches_map.empty() && dialog->m_widget_to_erases_map.empty();
    });
    connect(dialog->m_strokes_view, &QObject::destroyed, this, [&] { order += "view"; });
    connect(dialog->m_timer, &QObject::destroyed, this, [&] { order += "timer"; });
    m_dialog.reset();
    QCOMPARE(order.value(0), QByteArray("input"));
    QCOMPARE(order.size(), 3);
    QVERIFY(is_emptied);
}

QTEST_MAIN(TestKestruneDialog)
#include "tst_kestrunedialog.moc"
