#include "app/kestrunedialog.h"

#include "scene/item.h"
#include "strokes/strokesview.h"
#include "tests/app/dialog_warnings.h"
#include "tests/support/no_warnings.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>
#include <QtTest>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace {

/// A black square of 10 pixels.
class Square : public Item {
public:
    explicit Square(QPointF pos) : Item(pos, 0.0F, 1.0F, 0) {}
    void pen_event(Osterly::Controls const&) override {}
    void touch_event(std::vector<Osterly::Controls> const&) override {}
    void erase_event(std::vector<Osterly::Controls> const&) override {}
    void rebuild() override {
        if (m_on_rebuild)
            m_on_rebuild();
        QPainterPath path;
        path.addRect(0, 0, 10, 10);
        set_outline(path);
    }
    using Item::redraw;
    void redraw(QPainter& painter) override { painter.fillRect(0, 0, 10, 10, Qt::black); }

    std::function<void()> m_on_rebuild;
};

/// Calls at the end of its life.
struct AtEnd {
    std::function<void()> call;
    ~AtEnd() { call(); }
};

/// Where all of a number of threads have to arrive.
class Meeting {
public:
    explicit Meeting(int expected) : m_missing(expected) {}

    /// Waits for the others, for a minute at most. False when they did not come.
    bool arrive() {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_arrived.notify_all();
        return m_arrived.wait_for(lock, std::chrono::seconds(60),
                                  [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    int m_missing;
};

class PaintLog : public QObject {
public:
    explicit PaintLog(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            m_painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
    QRegion m_painted;
};

} // namespace

class TestFrameTick : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void init();
    void cleanup();

    void the_timer_is_started_again_with_its_interval();
    void the_timer_is_started_before_the_items_update();
    void all_items_begin_from_the_bottom_to_the_top_and_then_end();
    void all_views_begin_before_any_ends();
    void all_updates_run_at_the_same_time();
    void the_tick_waits_for_the_updates();
    void updated_items_are_shown();
    void dirty_regions_are_taken_and_painted();
    void nothing_dirty_paints_nothing();
    void only_the_dialogs_views_are_served();

private:
    std::shared_ptr<Square> add_square(ItemView* view, QPoint pos);
    std::shared_ptr<Square> add_begin_logger(ItemView* view, const QString& name);
    std::shared_ptr<Square> add_end_logger(ItemView* view, const QString& name);

    std::unique_ptr<KestruneDialog> m_dialog;
    StrokesView* m_view = nullptr;
    QStringList m_log;
};

void TestFrameTick::init() {
    m_dialog = std::make_unique<KestruneDialog>(nullptr);
    QVERIFY(are_dialog_warnings(no_warnings::taken()));
    m_view = m_dialog->m_strokes_view;
    QVERIFY(QTest::qWaitForWindowActive(m_dialog.get()));
    m_dialog->m_timer->stop();
    m_log.clear();
}

void TestFrameTick::cleanup() {
    m_dialog.reset();
    QCOMPARE(no_warnings::taken(), QStringList());
}

std::shared_ptr<Square> TestFrameTick::add_square(ItemView* view, QPoint pos) {
    auto square = std::make_shared<Square>(pos);
    view->add_item(square);
    return square;
}

/// An item that logs when update_begin() starts its update: that lets go of the future before.
std::shared_ptr<Square> TestFrameTick::add_begin_logger(ItemView* view, const QString& name) {
    auto square = add_square(view, {});
    const auto entry = std::make_shared<AtEnd>();
    entry->call = [this, name] {
        m_log += QStringLiteral("begin ") + name;
        m_log += m_dialog->m_timer->isActive() ? QStringLiteral("running") : QString();
    };
    square->m_update = std::async(std::launch::deferred, [entry] {});
    return square;
}

/// An item that logs when update_end() waits for its update: a pure move keeps the future before.
std::shared_ptr<Square> TestFrameTick::add_end_logger(ItemView* view, const QString& name) {
    auto square = add_square(view, {});
    square->m_flags = Item::Geometry;
    square->m_update =
        std::async(std::launch::deferred, [this, name] { m_log += QStringLiteral("end ") + name; });
    return square;
}

void TestFrameTick::the_timer_is_started_again_with_its_interval() {
    m_dialog->m_timer->setInterval(5000);
    QVERIFY(!m_dialog->m_timer->isActive());
    m_dialog->in_timer_update();
    QVERIFY(m_dialog->m_timer->isActive());
    QCOMPARE(m_dialog->m_timer->interval(), 16);
    QVERIFY(m_dialog->m_timer->isSingleShot());

    const QSignalSpy ticks(m_dialog->m_timer, &QTimer::timeout);
    QTRY_VERIFY(ticks.count() >= 2); // and so on
}

void TestFrameTick::the_timer_is_started_before_the_items_update() {
    add_begin_logger(m_view, QStringLiteral("item"));
    m_dialog->in_timer_update();
    QCOMPARE(m_log, (QStringList{QStringLiteral("begin item"), QStringLiteral("running")}));
}

void TestFrameTick::all_items_begin_from_the_bottom_to_the_top_and_then_end() {
    for (const char* const name : {"A", "B", "C"}) {
        add_end_logger(m_view, QLatin1String(name));
        add_begin_logger(m_view, QLatin1String(name));
    }
    m_dialog->in_timer_update();
    m_log.removeAll(QStringLiteral("running"));
    const QStringList expected = {QStringLiteral("begin A"), QStringLiteral("begin B"),
                                  QStringLiteral("begin C"), QStringLiteral("end A"),
                                  QStringLiteral("end B"),   QStringLiteral("end C")};
    QCOMPARE(m_log, expected);
}

void TestFrameTick::all_views_begin_before_any_ends() {
    ItemView other(0);
    m_dialog->m_views.push_back(&other);
    add_end_logger(m_view, QStringLiteral("A"));
    add_begin_logger(m_view, QStringLiteral("A"));
    add_end_logger(&other, QStringLiteral("B"));
    add_begin_logger(&other, QStringLiteral("B"));
    m_dialog->in_timer_update();
    m_log.removeAll(QStringLiteral("running"));
    const QStringList expected = {QStringLiteral("begin A"), QStringLiteral("begin B"),
                                  QStringLiteral("end A"), QStringLiteral("end B")};
    QCOMPARE(m_log, expected);
    QVERIFY(m_view->m_dirty_region.isEmpty());
    QVERIFY(other.m_dirty_region.isEmpty());
    m_dialog->m_views.pop_back();
}

void TestFrameTick::all_updates_run_at_the_same_time() {
    ItemView other(0);
    m_dialog->m_views.push_back(&other);
    Meeting meeting(3);
    std::atomic<int> met = 0;
    for (ItemView* const view : {static_cast<ItemView*>(m_view), &other, &other}) {
        add_square(view, {})->m_on_rebuild = [&] { met += meeting.arrive() ? 1 : 0; };
    }
    m_dialog->in_timer_update();
    QCOMPARE(met.load(), 3);
    m_dialog->m_views.pop_back();
}

void TestFrameTick::the_tick_waits_for_the_updates() {
    const auto square = add_square(m_view, {100, 100});
    std::atomic<bool> is_done = false;
    square->m_on_rebuild = [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // longer than a frame
        is_done = true;
    };
    m_dialog->in_timer_update();
    QVERIFY(is_done);
    QCOMPARE(square->m_flags, 0);
    QVERIFY(square->m_image != nullptr);
}

void TestFrameTick::updated_items_are_shown() {
    m_view->m_test_mode = 0;
    m_view->redraw_test();
    const auto square = add_square(m_view, {100, 100});
    PaintLog log(m_view);
    m_dialog->in_timer_update();
    QTRY_VERIFY(!log.m_painted.isEmpty());
    QVERIFY(log.m_painted.intersected(QRect(100, 100, 10, 10)) == QRect(100, 100, 10, 10));
    QVERIFY(log.m_painted.boundingRect().width() < 30);
    QCOMPARE(m_dialog->grab().toImage().pixel(105, 105), qRgb(0, 0, 0));

    log.m_painted = QRegion();
    square->m_pos = QPointF(300, 200);
    square->set_transforms();
    square->m_flags |= Item::Geometry;
    m_dialog->in_timer_update();
    QTRY_VERIFY(!log.m_painted.isEmpty());
    QVERIFY(log.m_painted.intersected(QRect(100, 100, 10, 10)) == QRect(100, 100, 10, 10));
    QVERIFY(log.m_painted.intersected(QRect(300, 200, 10, 10)) == QRect(300, 200, 10, 10));
    QCOMPARE(m_dialog->grab().toImage().pixel(105, 105), qRgb(255, 255, 255));
    QCOMPARE(m_dialog->grab().toImage().pixel(305, 205), qRgb(0, 0, 0));
}

void TestFrameTick::dirty_regions_are_taken_and_painted() {
    const QRegion dirty = QRegion(5, 6, 7, 8) + QRect(50, 60, 70, 80);
    for (QRect const& rect : dirty)
        m_view->add_dirty_region(rect);
    PaintLog log(m_view);
    m_dialog->in_timer_update();
    QVERIFY(m_view->m_dirty_region.isEmpty());
    QTRY_VERIFY(!log.m_painted.isEmpty());
    QCOMPARE(log.m_painted, dirty);
}

void TestFrameTick::nothing_dirty_paints_nothing() {
    PaintLog log(m_view);
    m_dialog->in_timer_update();
    // An update that is asked for afterwards is painted with all that has been asked for before.
    const QRect later(1, 2, 3, 4);
    m_view->update(later);
    QTRY_VERIFY(!log.m_painted.isEmpty());
    QCOMPARE(log.m_painted, QRegion(later));
}

void TestFrameTick::only_the_dialogs_views_are_served() {
    m_dialog->m_views.clear();
    const auto square = add_square(m_view, {100, 100});
    m_view->add_dirty_region(QRect(1, 2, 3, 4));
    m_dialog->in_timer_update();
    QVERIFY(m_dialog->m_timer->isActive());
    QCOMPARE(square->m_flags, int(Item::Everything));
    QCOMPARE(m_view->m_dirty_region, QRegion(1, 2, 3, 4));
}

QTEST_MAIN(TestFrameTick)
#include "tst_frame_tick.moc"
