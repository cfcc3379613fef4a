#include "scene/item.h"
#include "scene/itemview.h"
#include "tests/support/no_warnings.h"
#include "tests/support/scene_items.h"

#include <QDeadlineTimer>
#include <QtTest>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr auto kLong = 30s; // more than a busy machine needs

/// One frame of some views, as whoever owns them runs it: begin all, then wait for all.
void render(std::vector<ItemView*> const& views) {
    for (ItemView* view : views) {
        for (auto const& item : view->items())
            item->update_begin();
    }
    for (ItemView* view : views) {
        for (auto const& item : view->items())
            item->update_end();
    }
}

std::shared_ptr<ProbeItem> probe(QPointF pos) {
    return std::make_shared<ProbeItem>(box(0, 0, 10, 10), pos);
}

/// Opens for all when the last one has come.
class Gate {
public:
    explicit Gate(int count) : m_missing(count) {}

    /// Whether all came within the bound.
    bool pass() {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_changed.notify_all();
        return m_changed.wait_for(lock, kLong, [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_missing;
};

bool is_set_within(std::future<void> const& future, std::chrono::milliseconds bound) {
    return future.wait_for(bound) == std::future_status::ready;
}

} // namespace

class TestFrames : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { no_warnings::watch(); }
    void cleanup() { QCOMPARE(no_warnings::taken(), QStringList()); }

    void the_items_of_a_frame_render_at_once();
    void a_frame_gathers_what_its_items_make_dirty();
    void rectangles_come_from_many_threads();
    void adding_waits_for_the_lock_and_taking_does_not();
    void frames_may_run_on_any_thread();
    void of_two_updates_the_second_waits_for_the_first();
    void a_move_waits_for_the_update_before_it();
    void an_item_goes_after_its_update();
    void a_marker_may_go_while_it_is_updated();
    void a_view_may_go_while_its_items_are_updated();
    void markers_are_built_side_by_side();
};

void TestFrames::the_items_of_a_frame_render_at_once() {
    constexpr int count = 6;
    ItemView one(0);
    ItemView other(1);
    Gate all_build(count);
    Gate all_draw(count);
    std::atomic<int> met{0};
    for (int i = 0; i < count; ++i) {
        const auto item = probe({20.0 * i, 0.0});
        item->m_on_rebuild = [&all_build, &met] { met += all_build.pass() ? 1 : 0; };
        item->m_on_redraw = [&all_draw, &met](QPainter&) { met += all_draw.pass() ? 1 : 0; };
        (i % 2 == 0 ? one : other).add_item(item);
    }
    std::async(std::launch::async, [&] { render({&one, &other}); }).get();
    QCOMPARE(met.load(), 2 * count);
    for (auto const& item : one.items())
        QCOMPARE(item->m_flags, 0);
}

void TestFrames::a_frame_gathers_what_its_items_make_dirty() {
    ItemView view(0);
    QRegion expected;
    for (int i = 0; i < 40; ++i) {
        view.add_item(probe({30.0 * i, 17.0 * (i % 3)}));
        expected += QRect(30 * i - 2, 17 * (i % 3) - 2, 15, 15);
    }
    std::async(std::launch::async, [&view] { render({&view}); }).get();
    QCOMPARE(view.get_dirty_region(), expected);

    for (auto const& item : view.items()) {
        item->m_pos += QPointF(0, 100);
        item->set_transforms();
        item->m_flags |= Item::Geometry;
    }
    std::async(std::launch::async, [&view] { render({&view}); }).get();
    QCOMPARE(view.get_dirty_region(), expected + expected.translated(0, 100));
}

void TestFrames::rectangles_come_from_many_threads() {
    constexpr int threads = 8;
    constexpr int rectangles = 100;
    ItemView view(0);
    Gate start(threads);
    std::vector<std::thread> adding;
    for (int row = 0; row < threads; ++row)
        adding.emplace_back([&view, &start, row] {
            start.pass();
            for (int column = 0; column < rectangles; ++column)
                view.add_dirty_region(QRect(10 * column, 10 * row, 5, 5));
        });
    for (std::thread& thread : adding)
        thread.join();
    const QRegion region = view.get_dirty_region();
    QCOMPARE(region.rectCount(), threads * rectangles);
    QCOMPARE(region.boundingRect(), QRect(0, 0, 995, 75));
}

void TestFrames::adding_waits_for_the_lock_and_taking_does_not() {
    ItemView view(0);
    view.add_dirty_region(QRect(1, 2, 3, 4));
    std::unique_lock<std::mutex> lock(view.m_dirty_mutex);
    auto taking = std::async(std::launch::async, [&view] { return view.get_dirty_region(); });
    const bool taken = taking.wait_for(kLong) == std::future_status::ready;
    auto adding =
        std::async(std::launch::async, [&view] { view.add_dirty_region(QRect(5, 6, 7, 8)); });
    const bool added = is_set_within(adding, 50ms);
    lock.unlock();
    QVERIFY(taken);
    QVERIFY(!added);
    QCOMPARE(taking.get(), QRegion(1, 2, 3, 4));
    adding.get();
    QCOMPARE(view.get_dirty_region(), QRegion(5, 6, 7, 8));
}

void TestFrames::frames_may_run_on_any_thread() {
    constexpr int frames = 60;
    ItemView one(0);
    ItemView other(0);
    const auto run = [](ItemView& view) {
        for (int i = 0; i < 5; ++i)
            view.add_item(probe({40.0 * i, 0.0}));
        QImage screen(400, 100, QImage::Format_ARGB32_Premultiplied);
        for (int frame = 0; frame < frames; ++frame) {
            int flags = frame % 16;
            for (auto const& item : view.items()) {
                item->m_pos.ry() = frame + 0.25;
                item->set_transforms();
                item->m_flags |= flags++ % 16;
            }
            render({&view});
            view.get_dirty_region();
            QPainter painter(&screen);
            for (auto const& item : view.items())
                item->paint(painter);
        }
    };
    std::thread first(run, std::ref(one));
    std::thread second(run, std::ref(other));
    first.join();
    second.join();
    for (ItemView* view : {&one, &other}) {
        QVERIFY(view->get_dirty_region().isEmpty());
        QCOMPARE(view->items().size(), std::size_t{5});
        for (auto const& item : view->items()) {
            QCOMPARE(item->m_flags, 0);
            QCOMPARE(item->m_shown_pos.y(), frames - 1 + 0.25);
        }
    }
}

void TestFrames::of_two_updates_the_second_waits_for_the_first() {
    ItemView view(0);
    const auto item = probe({0, 0});
    view.add_item(item);
    std::promise<void> first;
    std::promise<void> second;
    std::promise<void> go;
    std::atomic<int> begun{0};
    std::atomic<bool> first_done{false};
    item->m_on_rebuild = [&, may_go = go.get_future().share()] {
        if (++begun > 1) {
            second.set_value();
            return;
        }
        first.set_value();
        may_go.wait_for(kLong);
        first_done = true;
    };
    bool done_before = false;
    std::thread owner([&] {
        item->update_begin();
        item->update_begin();
        done_before = first_done;
        item->update_end();
    });
    const bool begins = is_set_within(first.get_future(), kLong);
    const bool overtakes = is_set_within(second.get_future(), 100ms);
    go.set_value();
    owner.join();
    QVERIFY(begins);
    QVERIFY(!overtakes);
    QVERIFY(done_before);
    QCOMPARE(begun.load(), 1); // the first has served all there was
    QCOMPARE(item->m_flags, 0);
}

void TestFrames::a_move_waits_for_the_update_before_it() {
    ItemView view(0);
    const auto item = probe({0, 0});
    view.add_item(item);
    std::promise<void> go;
    std::atomic<bool> done{false};
    item->m_on_rebuild = [&, may_go = go.get_future().share()] {
        item->m_flags = Item::Geometry; // what the owner would take for a mere move
        may_go.wait_for(kLong);
        done = true;
    };
    bool done_before = false;
    std::promise<void> begun;
    std::thread owner([&] {
        item->update_begin();
        begun.set_value();
        item->update_begin();
        done_before = done;
        item->update_end();
    });
    begun.get_future().wait();
    go.set_value();
    owner.join();
    QVERIFY(done_before);
}

void TestFrames::an_item_goes_after_its_update() {
    class Bare : public Item {
    public:
        Bare() : Item({}, 0.0F, 1.0F, 0) {}
        void pen_event(Controls const&) override {}
        void touch_event(Contacts const&) override {}
        void erase_event(Contacts const&) override {}
        void rebuild() override {}
        using Item::redraw;
        void redraw(QPainter&) override {}
    };
    auto item = std::make_unique<Bare>();
    item->m_image = std::make_unique<QImage>(4, 4, QImage::Format_ARGB32_Premultiplied);
    bool whole = false;
    item->m_update = std::async(std::launch::async, [item = item.get(), &whole] {
        const QDeadlineTimer bound(100ms);
        do {
            whole = item->m_image != nullptr;
        } while (whole && !bound.hasExpired());
    });
    std::thread owner([&item] { item.reset(); });
    owner.join();
    QVERIFY(whole);
}

void TestFrames::a_marker_may_go_while_it_is_updated() {
    ItemView view(0);
    const auto begin = [&view](std::shared_ptr<EventItem> const& marker) {
        marker->refresh(contact(-1, 100, 100));
        view.add_item(marker);
        marker->update_begin();
        view.m_items.clear();
    };
    for (int turn = 0; turn < 20; ++turn) {
        begin(std::make_shared<Pen>(QPointF(), Qt::red));
        begin(std::make_shared<Touch>(QPointF(), Qt::green));
        begin(std::make_shared<Erase>(QPointF(), Qt::black));
    }
    QVERIFY(!view.get_dirty_region().isEmpty());
}

void TestFrames::a_view_may_go_while_its_items_are_updated() {
    std::atomic<int> done{0};
    std::promise<void> go;
    const auto may_go = go.get_future().share();
    auto view = std::make_unique<ItemView>(0);
    for (int i = 0; i < 4; ++i) {
        const auto item = probe({20.0 * i, 0.0});
        item->m_on_rebuild = [&done, may_go] {
            may_go.wait_for(kLong);
            ++done;
        };
        view->add_item(item);
    }
    for (auto const& item : view->items())
        item->update_begin();
    go.set_value();
    view.reset();
    QCOMPARE(done.load(), 4);
}

void TestFrames::markers_are_built_side_by_side() {
    const auto marker = [](int i) {
        const auto item = std::make_shared<Touch>(QPointF(), Qt::green);
        item->refresh({256 + i, 0, i, 10.0 + i, 20.0 + i, 200.25 + 7 * i, 150.5 + i, 0, 0});
        return item;
    };
    ItemView view(0);
    constexpr int count = 12;
    for (int i = 0; i < count; ++i)
        view.add_item(marker(i));
    for (int turn = 0; turn < 3; ++turn) {
        for (auto const& item : view.items())
            item->m_flags = Item::Everything;
        std::async(std::launch::async, [&view] { render({&view}); }).get();
    }
    ItemView alone(0);
    for (int i = 0; i < count; ++i) {
        const auto expected = marker(i);
        alone.add_item(expected);
        update(*expected);
        QCOMPARE(static_cast<EventItem&>(*view.items().at(i)).m_text, expected->m_text);
        QCOMPARE(*view.items().at(i)->m_image, *expected->m_image);
    }
}

QTEST_MAIN(TestFrames)
#include "tst_frames.moc"
