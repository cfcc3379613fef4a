// A raw report from the driver's callback, on a thread of its own, to its delivery in the GUI
// thread, against a bare queued signal with a record or a list of the same size.

#include "bench/offscreen.h"
#include "bench/ratio.h"
#include "bench/rawreports.h"
#include "hardware/tavelhardware.h"

#include <QCoreApplication>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Emits what the session emits, and nothing is done for it.
class BareSignals : public QObject {
    Q_OBJECT

signals:
    void pen(const TavelHardware::PenEvent& event);
    void touch(const TavelHardware::TouchEvent& event);
};

namespace {

constexpr int kContacts = 10;
constexpr int kBurst = 32; // what may wait at once, some three frames of a busy board
constexpr int kBursts = 60;
constexpr int kRepetitions = 21;

/// A thread that does what it is told and says how long it was busy with it.
class DriverThread {
public:
    DriverThread() : m_thread([this] { run(); }) {}
    ~DriverThread() {
        call(nullptr);
        m_thread.join();
    }
    DriverThread(const DriverThread&) = delete;
    DriverThread& operator=(const DriverThread&) = delete;

    /// \return its processor time in seconds
    double call(std::function<void()> work) {
        std::unique_lock lock(m_mutex);
        m_work = std::move(work);
        m_is_waiting = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_is_waiting; });
        return m_seconds;
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_is_waiting; });
            if (m_work)
                m_seconds = ratio::time(ratio::Clock::Thread, m_work);
            m_is_waiting = false;
            m_changed.notify_all();
            if (!m_work)
                return;
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<void()> m_work;
    bool m_is_waiting = false;
    double m_seconds = 0.0;
    std::thread m_thread;
};

int position(int n) {
    return 4000 + n * 37 % 24000;
}

QByteArray raw_pen(int n) {
    return raw::pen(0, {position(n), position(n)});
}

QByteArray raw_touches(int n) {
    std::vector<raw::Point> contacts;
    for (int i = 0; i < kContacts; ++i)
        contacts.push_back({position(n + i), position(n + i)});
    return raw::touches(contacts, 60);
}

void call_back(TavelHardware& hardware, const QByteArray& report) {
    TavelHardware::processPacketCallback(1, reinterpret_cast<const uchar*>(report.constData()),
                                         static_cast<unsigned>(report.size()), &hardware);
}

void emit_pen(BareSignals& bare, int n) {
    TavelHardware::PenEvent event;
    event.x = event.y = position(n);
    event.button0 = true;
    emit bare.pen(event);
}

void emit_touches(BareSignals& bare, int n) {
    TavelHardware::TouchEvent event;
    event.reserve(kContacts);
    for (int i = 0; i < kContacts; ++i)
        event.append({i, position(n + i), position(n + i), 60, true});
    emit bare.touch(event);
}

class Deliveries {
public:
    Deliveries(TavelHardware& hardware, BareSignals& bare) : m_hardware(hardware), m_bare(bare) {
        const auto count = [this] { ++m_delivered; };
        QObject::connect(&hardware, &TavelHardware::penEvent, &m_receiver, count);
        QObject::connect(&hardware, &TavelHardware::touchEvent, &m_receiver, count);
        QObject::connect(&bare, &BareSignals::pen, &m_receiver, count);
        QObject::connect(&bare, &BareSignals::touch, &m_receiver, count);
        for (int n = 0; n < kBurst; ++n) {
            m_pens.push_back(raw_pen(n));
            m_touches.push_back(raw_touches(n));
        }
    }

    double pens() {
        return bursts(
            [this](int n) { call_back(m_hardware, m_pens[static_cast<std::size_t>(n)]); });
    }
    double touches() {
        return bursts(
            [this](int n) { call_back(m_hardware, m_touches[static_cast<std::size_t>(n)]); });
    }
    double bare_pens() {
        return bursts([this](int n) { emit_pen(m_bare, n); });
    }
    double bare_touches() {
        return bursts([this](int n) { emit_touches(m_bare, n); });
    }

private:
    /// The processor time of both threads, which take turns: neither waits for the other meanwhile.
    template <typename Send>
    double bursts(Send send) {
        double total = 0.0;
        for (int burst = 0; burst < kBursts; ++burst) {
            m_delivered = 0;
            total += m_driver.call([&send] {
                for (int n = 0; n < kBurst; ++n)
                    send(n);
            });
            total += ratio::time(ratio::Clock::Thread, [this] {
                while (m_delivered < kBurst)
                    QCoreApplication::processEvents();
            });
        }
        return total;
    }

    TavelHardware& m_hardware;
    BareSignals& m_bare;
    QObject m_receiver;
    int m_delivered = 0;
    std::vector<QByteArray> m_pens;
    std::vector<QByteArray> m_touches;
    DriverThread m_driver;
};

} // namespace

int main(int argc, char** argv) {
    const ratio::Report report(argc, argv);
    const OffscreenApplication application;
    TavelHardware hardware(nullptr);
    BareSignals bare;
    Deliveries deliveries(hardware, bare);
    report.times("9", "a pen report from the driver's callback to its delivery",
                 report.by_turns(
                     kRepetitions, [&] { return deliveries.pens(); },
                     [&] { return deliveries.bare_pens(); }),
                 ratio::at_most(1.15), kBurst * kBursts);
    report.times("9", "a touch report of 10 contacts from the callback to its delivery",
                 report.by_turns(
                     kRepetitions, [&] { return deliveries.touches(); },
                     [&] { return deliveries.bare_touches(); }),
                 ratio::at_most(1.15), kBurst * kBursts);
}

#include "bench_delivery.moc"
