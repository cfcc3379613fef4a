#include "hardware/callbackgate.h"

#include <QtTest>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

using Visit = CallbackGate::Visit;

class TestCallbackGate : public QObject {
    Q_OBJECT

private slots:
    void a_context_that_nobody_opened_is_closed();
    void a_gate_is_open_until_it_closes();
    void a_gate_closes_with_its_object();
    void closing_twice_is_closing_once();
    void closing_waits_for_a_visitor();
    void no_visitor_comes_in_while_others_are_waited_for();
    void a_visitor_may_close();
    void many_come_while_it_closes();
};

void TestCallbackGate::a_context_that_nobody_opened_is_closed() {
    int context = 0;
    QVERIFY(!Visit(&context));
    QVERIFY(!Visit(nullptr));
}

void TestCallbackGate::a_gate_is_open_until_it_closes() {
    int context = 0;
    int other = 0;
    CallbackGate gate(&context);
    QVERIFY(bool(Visit(&context)));
    QVERIFY(!Visit(&other));
    gate.close();
    QVERIFY(!Visit(&context));
}

void TestCallbackGate::a_gate_closes_with_its_object() {
    int context = 0;
    { const CallbackGate gate(&context); }
    QVERIFY(!Visit(&context));
    const CallbackGate again(&context);
    QVERIFY(bool(Visit(&context)));
}

void TestCallbackGate::closing_twice_is_closing_once() {
    int context = 0;
    CallbackGate gate(&context);
    gate.close();
    gate.close();
    QVERIFY(!Visit(&context));
}

void TestCallbackGate::closing_waits_for_a_visitor() {
    int context = 0;
    CallbackGate gate(&context);
    std::promise<void> inside;
    std::promise<void> leave;
    std::atomic<bool> has_left{false};
    std::thread visitor([&] {
        const Visit visit(&context);
        inside.set_value();
        leave.get_future().wait();
        has_left = true;
    });
    inside.get_future().wait();
    auto closed = std::async(std::launch::async, [&] {
        gate.close();
        return has_left.load();
    });
    // It is closing, for nobody is let in any more, but it has not closed.
    while (Visit(&context))
        std::this_thread::yield();
    QVERIFY(closed.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
    leave.set_value();
    QVERIFY(closed.get());
    visitor.join();
}

void TestCallbackGate::no_visitor_comes_in_while_others_are_waited_for() {
    int context = 0;
    CallbackGate gate(&context);
    std::thread closing;
    {
        const Visit visit(&context);
        closing = std::thread([&gate] { gate.close(); });
        QTRY_VERIFY(!Visit(&context));
    }
    closing.join();
    QVERIFY(!Visit(&context));
}

void TestCallbackGate::a_visitor_may_close() {
    int context = 0;
    CallbackGate gate(&context);
    {
        const Visit outer(&context);
        const Visit inner(&context);
        gate.close(); // waits for no visit of this thread
    }
    QVERIFY(!Visit(&context));
}

void TestCallbackGate::many_come_while_it_closes() {
    constexpr int threads = 8;
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        auto data = std::make_unique<int>(0); // gone once the gate has closed
        auto gate = std::make_unique<CallbackGate>(data.get());
        void* const context = data.get();
        std::atomic<int> refused{0};
        std::atomic<bool> go{false};
        std::mutex mutex;
        std::vector<std::thread> visitors;
        for (int i = 0; i < threads; ++i) {
            visitors.emplace_back([&] {
                while (!go)
                    std::this_thread::yield();
                while (true) {
                    const Visit visit(context);
                    if (!visit)
                        break;
                    const std::lock_guard lock(mutex);
                    ++*static_cast<int*>(context);
                }
                ++refused;
            });
        }
        go = true;
        gate.reset();
        data.reset();
        for (std::thread& visitor : visitors)
            visitor.join();
        QCOMPARE(refused.load(), threads);
    }
}

QTEST_GUILESS_MAIN(TestCallbackGate)
#include "tst_callbackgate.moc"
