// One report of one contact, from the view's slot to the painted strokes layer.

#include "strokes/strokesview.h"

#include <benchmark/benchmark.h>
#include <cmath>

namespace {

enum Kind { ByPen, ByTouch, ByEraser };

/// Report n of a contact that goes round in circles of 300 pixels, some 4 pixels a report.
Osterly::Controls report(int id, int n, double radius, double phase) {
    const double angle = n / 75.0 + phase;
    const double x = 960.0 + 300.0 * std::cos(angle);
    const double y = 540.0 + 300.0 * std::sin(angle);
    return {id, 0, 1, radius, radius, x, y, x, y};
}

void lift(StrokesView& view, Kind kind, std::vector<Osterly::Controls> contacts) {
    for (Osterly::Controls& contact : contacts)
        contact.buttons = 0;
    if (kind == ByPen)
        view.in_pen_event(contacts.front());
    else if (kind == ByTouch)
        view.in_touch_event(contacts);
    else
        view.in_erase_event(contacts);
    view.m_strokes.clear();
    view.get_dirty_region();
}

/// Arguments: the kind, the number of contacts in a report, whether the tags are on, the half-width
/// in pixels.
void stroke_report(benchmark::State& state) {
    const Kind kind = static_cast<Kind>(state.range(0));
    const int contacts = static_cast<int>(state.range(1));
    const double radius = static_cast<double>(state.range(3));
    StrokesView view;
    view.m_info_tags = state.range(2) != 0;
    view.resize(1920, 1080);
    view.show();

    std::vector<Osterly::Controls> records(static_cast<std::size_t>(contacts));
    int n = 0;
    for (auto _ : state) {
        for (int i = 0; i < contacts; ++i)
            records[static_cast<std::size_t>(i)] =
                report(kind == ByPen ? Osterly::pen_id(i) : Osterly::touch_id(i), n, radius, i);
        if (kind == ByPen)
            view.in_pen_event(records.front());
        else if (kind == ByTouch)
            view.in_touch_event(records);
        else
            view.in_erase_event(records);
        // The frame tick takes the dirty region some 16 ms apart.
        if (++n % 4 == 0)
            view.get_dirty_region();
        if (n % 1000 == 0) {
            state.PauseTiming();
            lift(view, kind, records);
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(state.iterations() * contacts);
    lift(view, kind, records);
    view.sub_all();
}

} // namespace

BENCHMARK(stroke_report)
    ->ArgNames({"kind", "contacts", "tags", "half_width"})
    ->Args({ByPen, 1, 0, 0})
    ->Args({ByPen, 1, 1, 0})
    ->Args({ByTouch, 1, 0, 3})
    ->Args({ByTouch, 10, 0, 3})
    ->Args({ByTouch, 10, 1, 3})
    ->Args({ByTouch, 10, 0, 30})
    ->Args({ByEraser, 2, 0, 60});
