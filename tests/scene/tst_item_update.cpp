#include "scene/item.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"

#include <QtTest>
#include <atomic>
#include <chrono>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <system_error>

using namespace std::chrono_literals;

namespace {

constexpr QRectF kBounds(-1.0, -1.0, 14.0, 14.0); // of ProbeItem's box

/// What the updates of an item did since m_steps was emptied and its view's region taken.
QByteArray steps_of(ProbeItem const& item, ItemView& view) {
    QByteArrayList steps;
    if (!item.m_steps.isEmpty())
        steps << item.m_steps;
    if (!view.get_dirty_region().isEmpty())
        steps << "geometry";
    return steps.join(' ');
}

bool is_ready(std::future<void> const& future) {
    return future.wait_for(0s) == std::future_status::ready;
}

/// While it lives, no thread can be started: none has room for such a stack.
class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << 60);
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }

private:
    pthread_attr_t m_before;
};

} // namespace

class TestItemUpdate : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void all_but_a_pure_move_runs_on_a_thread_data();
    void all_but_a_pure_move_runs_on_a_thread();
    void the_steps_run_on_the_started_thread_data();
    void the_steps_run_on_the_started_thread();
    void each_request_is_served_in_its_order_data();
    void each_request_is_served_in_its_order();
    void a_step_may_ask_for_a_lower_one_data();
    void a_step_may_ask_for_a_lower_one();
    void a_step_does_not_get_what_it_asks_for_too_late();
    void the_end_waits_for_the_update();
    void the_end_of_no_update_returns_at_once();
    void a_move_keeps_the_future_of_the_last_update();
    void the_end_leaves_an_exception_where_it_is();
    void a_thread_that_cannot_start_leaves_the_update_to_do();
    void an_item_in_no_view_keeps_its_requests();
    void what_is_shown_is_taken_before_anything_is_built();
    void a_rectangle_is_cut_to_whole_pixels_data();
    void a_rectangle_is_cut_to_whole_pixels();
    void the_rectangle_stands_where_the_item_now_is();
    void a_move_makes_the_old_and_the_new_place_dirty();
    void a_first_update_makes_only_the_new_place_dirty();
};

void TestItemUpdate::all_but_a_pure_move_runs_on_a_thread_data() {
    QTest::addColumn<int>("flags");
    for (int flags = 0; flags <= 15; ++flags)
        QTest::addRow("%d", flags) << flags;
}

void TestItemUpdate::all_but_a_pure_move_runs_on_a_thread() {
    QFETCH(const int, flags);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    item->m_flags = flags;
    item->update_begin();
    if (flags == 1) // served already
        QCOMPARE(item->m_flags, 0);
    QCOMPARE(item->m_update.valid(), flags != 1);
    item->update_end();
    QCOMPARE(item->m_update.valid(), flags != 1);
    QCOMPARE(item->m_flags, 0);
}

void TestItemUpdate::the_steps_run_on_the_started_thread_data() {
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArray>("step");
    QTest::newRow("rebuild") << 8 << QByteArray("rebuild");
    QTest::newRow("rebuffer") << 4 << QByteArray("rebuffer");
    QTest::newRow("redraw") << 2 << QByteArray("redraw");
}

void TestItemUpdate::the_steps_run_on_the_started_thread() {
    QFETCH(const int, flags);
    QFETCH(const QByteArray, step);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    update(*item);
    item->m_steps.clear();
    item->m_step_thread = std::this_thread::get_id();
    item->m_flags = flags;
    update(*item);
    QCOMPARE(item->m_steps, step);
    QVERIFY(item->m_step_thread != std::this_thread::get_id());
}

void TestItemUpdate::each_request_is_served_in_its_order_data() {
    QTest::addColumn<int>("flags");
    QTest::addColumn<QByteArray>("steps");
    for (int flags = 0; flags <= 15; ++flags) {
        QByteArrayList steps;
        if (flags / 8 % 2 == 1)
            steps << "rebuild";
        if (flags / 4 % 2 == 1)
            steps << "rebuffer";
        if (flags / 2 % 2 == 1)
            steps << "redraw";
        if (flags % 2 == 1)
            steps << "geometry";
        QTest::addRow("%d", flags) << flags << steps.join(' ');
    }
}

void TestItemUpdate::each_request_is_served_in_its_order() {
    QFETCH(const int, flags);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    update(*item);
    item->m_steps.clear();
    view.get_dirty_region();

    item->m_flags = flags;
    update(*item);
    QTEST(steps_of(*item, view), "steps");
    QCOMPARE(item->m_flags, 0);
}

void TestItemUpdate::a_step_may_ask_for_a_lower_one_data() {
    QTest::addColumn<QByteArray>("asking");
    QTest::addColumn<int>("flags");
    QTest::addColumn<int>("asked");
    QTest::addColumn<QByteArray>("steps");
    QTest::newRow("rebuild for rebuffer")
        << QByteArray("rebuild") << 8 << 4 << QByteArray("rebuild rebuffer");
    QTest::newRow("rebuild for redraw")
        << QByteArray("rebuild") << 8 << 2 << QByteArray("rebuild redraw");
    QTest::newRow("rebuild for geometry")
        << QByteArray("rebuild") << 8 << 1 << QByteArray("rebuild geometry");
    QTest::newRow("rebuffer for redraw")
        << QByteArray("rebuffer") << 4 << 2 << QByteArray("rebuffer redraw");
    QTest::newRow("redraw for geometry")
        << QByteArray("redraw") << 2 << 1 << QByteArray("redraw geometry");
}

void TestItemUpdate::a_step_may_ask_for_a_lower_one() {
    QFETCH(const QByteArray, asking);
    QFETCH(const int, flags);
    QFETCH(const int, asked);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    update(*item);
    item->m_steps.clear();
    view.get_dirty_region();

    const auto ask = [item = item.get(), asked] { item->m_flags |= asked; };
    if (asking == "rebuild")
        item->m_on_rebuild = ask;
    else if (asking == "rebuffer")
        item->m_on_rebuffer = ask;
    else
        item->m_on_redraw = [ask](QPainter&) { ask(); };
    item->m_flags = flags;
    update(*item);
    QTEST(steps_of(*item, view), "steps");
    QCOMPARE(item->m_flags, 0);
}

void TestItemUpdate::a_step_does_not_get_what_it_asks_for_too_late() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    update(*item);
    item->m_steps.clear();
    item->m_on_redraw = [item = item.get()](QPainter&) { item->m_flags |= 14; };
    item->m_flags = 2;
    update(*item);
    QCOMPARE(item->m_steps, QByteArray("redraw"));
    QCOMPARE(item->m_flags, 0);
}

void TestItemUpdate::the_end_waits_for_the_update() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    std::promise<void> go;
    std::atomic<bool> gone_on{false};
    std::atomic<bool> done{false};
    item->m_on_rebuild = [&, go = go.get_future().share()] {
        gone_on = go.wait_for(30s) == std::future_status::ready;
    };
    item->m_on_redraw = [&](QPainter&) { done = true; };
    item->update_begin(); // returns while the thread waits for the word to go on
    QVERIFY(!is_ready(item->m_update));
    go.set_value();
    item->update_end();
    QVERIFY(is_ready(item->m_update));
    QVERIFY(gone_on);
    QVERIFY(done);
    QCOMPARE(item->m_flags, 0);
    item->update_end();
}

void TestItemUpdate::the_end_of_no_update_returns_at_once() {
    ProbeItem item;
    item.update_end();
    QVERIFY(!item.m_update.valid());
    QCOMPARE(item.m_flags, 15);
}

void TestItemUpdate::a_move_keeps_the_future_of_the_last_update() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    update(*item);
    item->m_flags = 1;
    item->update_begin();
    QCOMPARE(item->m_flags, 0);
    QVERIFY(item->m_update.valid() && is_ready(item->m_update));
    item->update_end();
    QVERIFY(item->m_update.valid());
}

void TestItemUpdate::the_end_leaves_an_exception_where_it_is() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    item->m_on_rebuild = [] { throw std::runtime_error("no shape"); };
    update(*item);
    QCOMPARE(item->m_flags, 15);
    QVERIFY_EXCEPTION_THROWN(item->m_update.get(), std::runtime_error);
}

void TestItemUpdate::a_thread_that_cannot_start_leaves_the_update_to_do() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    {
        const NoThreads no_threads;
        QVERIFY_EXCEPTION_THROWN(item->update_begin(), std::system_error);
    }
    item->update_end();
    QCOMPARE(item->m_flags, 15);
    QVERIFY(item->m_steps.isEmpty());
    update(*item);
    QCOMPARE(item->m_flags, 0);
    QVERIFY(item->m_image != nullptr);
}

void TestItemUpdate::an_item_in_no_view_keeps_its_requests() {
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 10, 10), QPointF(20, 30));
    for (int flags : {15, 1}) {
        item->m_flags = flags;
        update(*item);
        QCOMPARE(item->m_flags, flags);
    }
    QVERIFY(item->m_steps.isEmpty());
    QVERIFY(item->m_image == nullptr);
    QVERIFY(item->m_painted_rect.isNull());
    QCOMPARE(item->m_shown_pos, QPointF(0, 0));

    item->m_flags = 15;
    ItemView view(0);
    view.add_item(item);
    update(*item);
    QCOMPARE(item->m_steps, (QByteArray("rebuild rebuffer redraw")));
    QCOMPARE(item->m_flags, 0);
    QCOMPARE(item->m_shown_pos, QPointF(20, 30));
    QVERIFY(view.get_dirty_region().contains(QPoint(25, 35)));
}

void TestItemUpdate::what_is_shown_is_taken_before_anything_is_built() {
    ItemView view(0);
    const auto item =
        std::make_shared<ProbeItem>(box(0, 0, 10, 10), QPointF(20.5, 30.0), 90.0F, 2.0F);
    view.add_item(item);
    item->m_on_rebuild = [item = item.get()] {
        item->m_pos += QPointF(100.0, 100.0);
        item->m_angle = 0.0F;
        item->m_scale = 1.0F;
    };
    update(*item);
    QCOMPARE(item->m_shown_pos, QPointF(20.5, 30.0));
    QCOMPARE(item->m_shown_angle, 90.0F);
    QCOMPARE(item->m_shown_scale, 2.0F);
    QCOMPARE(item->m_bounds, QRectF(-21.0, -1.0, 24.0, 24.0)); // of what is shown

    // Taken even where there is nothing to do.
    item->m_flags = 0;
    update(*item);
    QCOMPARE(item->m_shown_pos, QPointF(120.5, 130.0));
    QCOMPARE(item->m_shown_angle, 0.0F);
    QCOMPARE(item->m_shown_scale, 1.0F);
}

void TestItemUpdate::a_rectangle_is_cut_to_whole_pixels_data() {
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<QRectF>("bounds");
    QTest::addColumn<QRect>("rect");
    QTest::newRow("whole") << QPointF(100, 50) << kBounds << QRect(98, 48, 15, 15);
    QTest::newRow("fractions") << QPointF(10.75, 20.25) << QRectF(-1.5, -2.5, 14.5, 13.75)
                               << QRect(8, 16, 15, 14);
    QTest::newRow("toward zero") << QPointF(-0.5, -7.5) << kBounds << QRect(-2, -9, 15, 15);
    QTest::newRow("to zero") << QPointF(1.25, 1.75) << kBounds << QRect(0, 0, 15, 15);
    // The position's precision is lost to the size: next to 2^30, doubles lie 2^-22 apart.
    QTest::newRow("far off") << QPointF(1 << 30, 1 << 30)
                             << QRectF(-1.0, -1.0, 15.0 - 1e-8, 7.0 - 1e-8)
                             << QRect((1 << 30) - 2, (1 << 30) - 2, 16, 8);
    QTest::newRow("no bounds") << QPointF(5, 5) << QRectF() << QRect(4, 4, 1, 1);
    QTest::newRow("negative bounds") << QPointF(5, 5) << QRectF(0, 0, -1, -4) << QRect(4, 4, 0, -3);
}

void TestItemUpdate::a_rectangle_is_cut_to_whole_pixels() {
    QFETCH(const QPointF, pos);
    QFETCH(const QRectF, bounds);
    QFETCH(const QRect, rect);
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(QPainterPath(), pos);
    view.add_item(item);
    item->m_bounds = bounds;
    item->m_flags = 1;
    item->update_begin();
    QCOMPARE(item->m_painted_rect, rect);
    QCOMPARE(view.get_dirty_region(), QRegion(rect));
}

void TestItemUpdate::the_rectangle_stands_where_the_item_now_is() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>();
    view.add_item(item);
    item->m_on_rebuild = [item = item.get()] { item->m_pos = QPointF(300, 200); };
    update(*item);
    QCOMPARE(item->m_shown_pos, QPointF(0, 0));
    QCOMPARE(item->m_painted_rect, QRect(298, 198, 15, 15));
}

void TestItemUpdate::a_move_makes_the_old_and_the_new_place_dirty() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 10, 10), QPointF(100, 50));
    view.add_item(item);
    update(*item);
    view.get_dirty_region();
    item->m_steps.clear();
    const auto* image = item->m_image.get();

    item->m_pos = QPointF(110, 50);
    item->set_transforms();
    item->m_flags |= 1;
    update(*item);
    QCOMPARE(view.get_dirty_region(), QRegion(98, 48, 15, 15) + QRegion(108, 48, 15, 15));
    QCOMPARE(item->m_painted_rect, QRect(108, 48, 15, 15));
    QVERIFY(item->m_steps.isEmpty());
    QVERIFY(item->m_image.get() == image);

    item->m_pos = QPointF(400, 300);
    item->m_flags |= 1;
    update(*item);
    QCOMPARE(view.get_dirty_region(), QRegion(108, 48, 15, 15) + QRegion(398, 298, 15, 15));
}

void TestItemUpdate::a_first_update_makes_only_the_new_place_dirty() {
    ItemView view(0);
    const auto item = std::make_shared<ProbeItem>(box(0, 0, 10, 10), QPointF(100, 50));
    view.add_item(item);
    update(*item);
    QCOMPARE(view.get_dirty_region(), QRegion(98, 48, 15, 15));
}

QTEST_MAIN(TestItemUpdate)
#include "tst_item_update.moc"
