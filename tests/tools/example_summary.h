#pragma once

#include "tools/trace/summary.h"

/// A pen that rests for three seconds, loses 50 ms and hovers away; a finger that comes down once
/// more before the end; no eraser.
inline Summary example_summary() {
    constexpr std::int64_t millisecond = 1000000;
    KindStatistics pens(true);
    const auto pen = [&pens](int time_ms, int x, int y, bool is_down) {
        pens.add(0, {time_ms * millisecond, x, y, is_down});
        pens.endReport();
    };
    for (int time = 0; time < 3000; time += 10)
        pen(time, 16000 + time % 40, 12000 - time % 20, true);
    pen(3040, 20000, 30000, true);
    pen(3050, 20000, 30000, false);
    pen(3060, 20000, 30000, false);

    KindStatistics touches(false);
    for (const int time : {1000, 1005, 1012}) {
        touches.add(12, {time * millisecond, 100, 32767, true});
        touches.endReport();
    }

    Summary summary;
    summary.elapsed_ns = 3070 * millisecond;
    summary.kinds.push_back({ContactKind::Pen,
                             pens.figures(),
                             pens.mostDown(),
                             {{0, pens.contacts().at(0).figures(), {}}}});
    summary.kinds.push_back({ContactKind::Touch,
                             touches.figures(),
                             touches.mostDown(),
                             {{12, touches.contacts().at(12).figures(),
                               NeverLifted{1000 * millisecond, 1012 * millisecond}}}});
    summary.kinds.push_back({ContactKind::Eraser, KindStatistics(false).figures(), 0, {}});
    return summary;
}
