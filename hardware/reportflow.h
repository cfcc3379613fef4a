#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/// Holds the driver's threads back while the thread that takes their reports cannot follow. Else
/// the reports that are queued to it would grow in number without bound, and never run out: its
/// event loop would come to nothing else, no key, no frame. No report is dropped; the driver has to
/// wait.
///
/// A report waits until few enough are under way, and until the event loop has turned if this turn
/// has had its share of time for reports. Nobody waits where no event loop runs, nor while the
/// receiver itself is in the driver, which may be waiting for the callback's end.
///
/// admit() is called by the driver's threads, all else by the receiver's.
class ReportFlow {
public:
    using Clock = std::chrono::steady_clock;
    using Duration = Clock::duration;
    using Now = Clock::time_point (*)();

    /// Reports under way at most, as a painted contact the size of a screen takes milliseconds.
    static constexpr int kMostUnderWay = 16;
    /// What reports may take of one turn. A frame is 16 ms.
    static constexpr std::chrono::milliseconds kShare{10};
    /// After that long in which it takes no report the receiver is not held to be busy but gone:
    /// reports pass freely until it turns or takes one again.
    static constexpr std::chrono::seconds kPatience{5};

    /// `now` is what the time is told by that reports take.
    explicit ReportFlow(Duration patience = kPatience, Now now = Clock::now)
        : m_patience(patience), m_now(now) {}

    /// From now on each report that is admitted is told of by a Delivery.
    void start();
    /// Lets all pass, those that wait too.
    void stop();
    /// The receiver's event loop begins another turn, or is seen not to run any more.
    void turn(bool loop_runs);

    /// Whether the reports of this turn have not used up its share.
    bool has_time() const { return !m_is_started || !m_is_share_used; }

    /// Before a report is emitted. Waits where it has to.
    void admit();

    /// The receiver is at a report. `loop_runs` as in turn(): a loop's first turn has no beginning
    /// that would have told.
    class Delivery {
    public:
        Delivery(ReportFlow& flow, bool loop_runs);
        ~Delivery();
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;

    private:
        ReportFlow& m_flow;
        Clock::time_point m_begin;
    };

    /// The receiver is in the driver: nobody waits.
    class DriverCall {
    public:
        explicit DriverCall(ReportFlow& flow);
        ~DriverCall();
        DriverCall(const DriverCall&) = delete;
        DriverCall& operator=(const DriverCall&) = delete;

    private:
        ReportFlow& m_flow;
        bool m_is_receivers;
    };

private:
    void see(bool loop_runs);
    void delivered(Duration took);
    bool has_room() const;
    bool is_free() const;
    bool is_receivers_thread() const;
    void wake();

    const Duration m_patience;
    const Now m_now;
    std::atomic<bool> m_is_started{false};
    std::atomic<std::thread::id> m_receiver{std::thread::id()};
    std::atomic<bool> m_loop_runs{false};
    std::atomic<bool> m_is_receiver_gone{false};
    std::atomic<bool> m_is_share_used{false}; ///< of this turn
    std::atomic<int> m_driver_calls{0};       ///< of the receiver: one inside the other
    std::atomic<int> m_under_way{0};
    std::atomic<int> m_most_under_way{kMostUnderWay};
    std::atomic<unsigned> m_taken{0}; ///< in all; may wrap

    Duration m_spent{0};   ///< on reports in this turn; the receiver's
    Duration m_slowest{0}; ///< of the latest reports; the receiver's

    std::atomic<int> m_waiting{0};
    std::mutex m_mutex; ///< of m_room alone
    std::condition_variable m_room;
};
