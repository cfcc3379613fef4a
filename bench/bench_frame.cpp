// One frame with markers that have all changed: its tick and its paint apart, and full repaints.
// How the paint's cost follows the pixels that are dirty and not the screen's size is shown by a
// ratio.

#include "strokes/strokesview.h"

#include <QApplication>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

/// A view with the markers of some pens and touches, spread over it.
class Board {
public:
    Board(QSize size, int contacts) {
        m_view.m_test_mode = GridCard;
        m_view.resize(size);
        m_view.show();
        for (int i = 0; i < contacts; ++i)
            m_contacts.push_back({i < 4 ? Osterly::pen_id(i) : Osterly::touch_id(i - 4), 0, 1});
        report();
        tick();
        m_view.repaint();
        QApplication::processEvents();
    }
    ~Board() { m_view.sub_all(); }

    /// Moves every contact by some pixels.
    void report() {
        ++m_moves;
        const int contacts = static_cast<int>(m_contacts.size());
        for (int i = 0; i < contacts; ++i) {
            Osterly::Controls& c = m_contacts[static_cast<std::size_t>(i)];
            c.x = c.hoop_x = m_view.width() * (i + 1.0) / (contacts + 1.0) + m_moves % 8;
            c.y = c.hoop_y = m_view.height() * ((i * 5) % contacts + 1.0) / (contacts + 1.0);
            if (i < 4)
                m_view.in_pen_event(c);
            else
                m_view.in_touch_event({c});
        }
    }

    void tick() {
        for (auto const& item : m_view.items())
            item->update_begin();
        for (auto const& item : m_view.items())
            item->update_end();
    }

    StrokesView m_view;

private:
    std::vector<Osterly::Controls> m_contacts;
    int m_moves = 0;
};

QSize size_of(const benchmark::State& state) {
    return {static_cast<int>(state.range(0)), static_cast<int>(state.range(0) * 9 / 16)};
}

void frame_tick(benchmark::State& state) {
    Board board(size_of(state), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        state.PauseTiming();
        board.report();
        board.m_view.get_dirty_region();
        state.ResumeTiming();
        board.tick();
    }
}

void frame_paint(benchmark::State& state) {
    Board board(size_of(state), static_cast<int>(state.range(1)));
    for (auto _ : state) {
        state.PauseTiming();
        board.report();
        board.tick();
        const QRegion dirty = board.m_view.get_dirty_region();
        state.ResumeTiming();
        board.m_view.repaint(dirty);
    }
}

void full_repaint(benchmark::State& state) {
    Board board(size_of(state), static_cast<int>(state.range(1)));
    for (auto _ : state)
        board.m_view.repaint();
}

double repaint_us(Board& board, const QRect& rect) {
    const Clock::time_point start = Clock::now();
    board.m_view.repaint(rect);
    return Microseconds(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The same small rectangle, painted in turn on a screen and on one of four times as many pixels.
void small_paint_on_two_sizes(benchmark::State& state) {
    const QRect rect(200, 200, 64, 64);
    Board small(QSize(1920, 1080), 1);
    Board large(QSize(3840, 2160), 1);
    std::vector<double> small_us;
    std::vector<double> large_us;
    for (auto _ : state) {
        small_us.push_back(repaint_us(small, rect));
        large_us.push_back(repaint_us(large, rect));
    }
    state.counters["us_1920x1080"] = median(small_us);
    state.counters["us_3840x2160"] = median(large_us);
    state.counters["ratio"] = median(large_us) / median(small_us);
}

void sizes_and_contacts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"width", "contacts"})
        ->ArgsProduct({{1920, 3840}, {1, 10, 14}})
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
}

} // namespace

BENCHMARK(frame_tick)->Apply(sizes_and_contacts);
BENCHMARK(frame_paint)->Apply(sizes_and_contacts);
BENCHMARK(full_repaint)
    ->ArgNames({"width", "contacts"})
    ->ArgsProduct({{1920, 3840}, {14}})
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(small_paint_on_two_sizes)->UseRealTime();
