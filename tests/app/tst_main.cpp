#include "app/kestrunedialog.h"

#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/no_warnings.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>
#include <functional>

/// The program's entry. The build renames it in the object that this test links.
int kestrune_main(int argc, char** argv);

namespace {

/// What the test does inside the program's run. A program object can only be reached from within
/// the program's own loop.
std::function<void()> s_while_running;

/// Whether both attributes still have the values of before, when the application has just been
/// made.
bool s_attributes_came_later = false;

/// The program's dialog, once it is in its loop.
KestruneDialog* dialog() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const found = qobject_cast<KestruneDialog*>(widget);
        if (found != nullptr && found->isModal())
            return found;
    }
    return nullptr;
}

void at_application_start() {
    s_attributes_came_later =
        QCoreApplication::testAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents) &&
        QCoreApplication::testAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents);
    auto* const poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll] {
        if (dialog() == nullptr)
            return;
        poll->stop();
        s_while_running();
    });
    poll->start();
    QTimer::singleShot(10000, qApp, [] { QCoreApplication::exit(-1); }); // where no loop begins
}

Q_COREAPP_STARTUP_FUNCTION(at_application_start)

/// Runs the program from its entry to its end.
int run(std::function<void()> while_running) {
    QCoreApplication::setAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents, true);
    QCoreApplication::setAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents, true);
    s_while_running = std::move(while_running);
    char name[] = "kestrune";
    char* arguments[] = {name, nullptr};
    return kestrune_main(1, arguments);
}

/// Counts the events of some types that any object gets.
class EventCounter : public QObject {
public:
    explicit EventCounter(QList<QEvent::Type> types) : m_types(std::move(types)) {
        qApp->installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (m_types.contains(event->type()))
            ++m_count;
        return false;
    }
    QList<QEvent::Type> m_types;
    int m_count = 0;
};

} // namespace

class TestMain : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { QVERIFY(are_dialog_warnings(no_warnings::taken())); }

    void the_dialog_runs_modal_and_full_screen();
    void the_exit_status_is_the_dialogs_result_data();
    void the_exit_status_is_the_dialogs_result();
    void escape_ends_the_program_with_0();
    void the_attributes_are_cleared_on_the_application();
    void a_touch_that_nobody_takes_becomes_no_mouse();
    void a_mouse_that_nobody_takes_becomes_no_touch();

private:
    QTemporaryDir m_runtime_dir;
};

void TestMain::initTestCase() {
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime_dir.path()));
    no_warnings::watch();
}

void TestMain::the_dialog_runs_modal_and_full_screen() {
    bool is_modal = false;
    bool is_full_screen = false;
    bool has_no_parent = false;
    run([&] {
        is_modal = dialog()->isModal();
        is_full_screen = dialog()->isVisible() && dialog()->isFullScreen();
        has_no_parent = dialog()->parent() == nullptr;
        dialog()->close();
    });
    QVERIFY(is_modal);
    QVERIFY(is_full_screen);
    QVERIFY(has_no_parent);
    QCOMPARE(qApp, nullptr);
}

void TestMain::the_exit_status_is_the_dialogs_result_data() {
    QTest::addColumn<int>("result");
    QTest::newRow("rejected") << 0;
    QTest::newRow("accepted") << 1;
    QTest::newRow("any other") << 42;
}

void TestMain::the_exit_status_is_the_dialogs_result() {
    QFETCH(const int, result);
    QCOMPARE(run([result] { dialog()->done(result); }), result);
}

void TestMain::escape_ends_the_program_with_0() {
    QCOMPARE(run([] {
                 dialog()->setResult(42);
                 QTest::keyClick(dialog(), Qt::Key_Escape);
             }),
             0);
}

void TestMain::the_attributes_are_cleared_on_the_application() {
    bool touch_for_mouse = true;
    bool mouse_for_touch = true;
    run([&] {
        touch_for_mouse =
            QCoreApplication::testAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents);
        mouse_for_touch =
            QCoreApplication::testAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents);
        dialog()->close();
    });
    QVERIFY(!touch_for_mouse);
    QVERIFY(!mouse_for_touch);
    QVERIFY(s_attributes_came_later);
}

void TestMain::a_touch_that_nobody_takes_becomes_no_mouse() {
    int touches = 0;
    int mice = 0;
    run([&] {
        QVERIFY(QTest::qWaitForWindowActive(dialog()));
        dialog()->m_strokes_view->hide();
        const EventCounter touch({QEvent::TouchBegin});
        const EventCounter mouse({QEvent::MouseButtonPress, QEvent::MouseButtonRelease});
        QTouchDevice* const device = QTest::createTouchDevice();
        QWindow* const window = dialog()->windowHandle();
        QTest::touchEvent(window, device).press(1, {100, 100}, window);
        QTest::touchEvent(window, device).release(1, {100, 100}, window);
        touches = touch.m_count;
        mice = mouse.m_count;
        dialog()->close();
    });
    QVERIFY(touches > 0);
    QCOMPARE(mice, 0);
}

void TestMain::a_mouse_that_nobody_takes_becomes_no_touch() {
    int touches = 0;
    int mice = 0;
    run([&] {
        QVERIFY(QTest::qWaitForWindowActive(dialog()));
        dialog()->m_strokes_view->hide();
        const EventCounter touch({QEvent::TouchBegin, QEvent::TouchEnd});
        const EventCounter mouse({QEvent::MouseButtonPress});
        QTest::mouseClick(dialog()->windowHandle(), Qt::LeftButton, {}, {100, 100});
        touches = touch.m_count;
        mice = mouse.m_count;
        dialog()->close();
    });
    QVERIFY(mice > 0);
    QCOMPARE(touches, 0);
}

QTEST_APPLESS_MAIN(TestMain)
#include "tst_main.moc"
