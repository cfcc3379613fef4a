#include "drivers/simulated/demonstration.h"

#include "drivers/simulated/figures.h"
#include "drivers/simulated/reports.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace {

using namespace figures;

constexpr int kDevice = 1;
constexpr char kInfo[] = "hid<DEMONSTRATION>vid<abcd>pid<0004>xp<4>xt<10>xl<2>";
constexpr int kPens = 4;
constexpr int kFingers = 10;
constexpr int kErasers = 2;

constexpr std::chrono::milliseconds kStep(5); // so 200 reports a second of each kind
constexpr double kLength = 24.0;              // seconds of one round

constexpr int kUnits = 32767; // of the board from edge to edge
int across(double u) {
    return static_cast<int>(std::lround(std::clamp(u / kWidth, 0.0, 1.0) * kUnits));
}
int down(double v) {
    return static_cast<int>(std::lround(std::clamp(v / kHeight, 0.0, 1.0) * kUnits));
}

// Times are in seconds from the start of the round.
constexpr double kWriting = 0.8;
constexpr double kWritten = 8.0;
constexpr double kFan = 8.6;
constexpr double kWaves = 12.0;
constexpr double kWipe = 16.0;
constexpr double kWiped = 22.5;

constexpr int kTip = 0x01;
constexpr int kTipAndButton = 0x03;

/// One line that a contact draws from begin to end.
struct Stroke {
    double begin;
    double end;
    Line line;
    int buttons = kTip;
};

using Strokes = std::vector<Stroke>;

Strokes strokesOfPen(int pen) {
    switch (pen) {
    case 0:
        return {{kWriting, kWritten, loops({1.2, 2.5}, 5.8, 8)}};
    case 1:
        return {{kWriting + 0.3, kWritten - 0.4, spiral({12.2, 2.4}, 1.8, 7)}};
    case 2: {
        Strokes strokes;
        double begin = kWriting + 0.2;
        for (const Line& line : word({1.0, 5.6}, 0.82, 1.9)) {
            strokes.push_back({begin, begin + 0.27, line});
            begin += 0.42; // the pen hovers to the next one
        }
        return strokes;
    }
    default:
        return {{kWriting + 0.5, kWritten - 1.4, flower({12.2, 6.6}, 1.9)},
                {kWritten - 0.9, kWritten, circle({12.2, 6.6}, 0.5), kTipAndButton}};
    }
}

Strokes strokesOfFinger(int finger) {
    const bool isRight = finger >= kFingers / 2;
    const int place = finger % (kFingers / 2); // on its hand
    const Point hand{isRight ? 12.0 : 4.0, 8.4};
    const bool isForth = finger % 2 == 0;
    const Point shore{isForth ? 0.8 : 15.2, 1.0 + 0.78 * finger};
    return {{kFan + 0.08 * place, kWaves - 0.9 + 0.1 * place,
             ray(hand, 0.9, 6.6, kPi * (0.22 + 0.14 * place))},
            {kWaves + 0.05 * finger, kWipe - 1.0 + 0.05 * finger,
             wave(shore, isForth ? 14.4 : -14.4, 0.3, 4)}};
}

Strokes strokesOfEraser(int eraser) {
    // First a dab on what the pens have written, then its half of the board, row by row.
    const double left = eraser == 0 ? 1.0 : 15.0;
    const double right = eraser == 0 ? 7.2 : 8.8;
    std::vector<Point> rows;
    for (const double v : {1.0, 2.8, 4.6, 6.4, 8.0}) {
        const bool isForth = rows.size() % 4 == 0;
        rows.push_back({isForth ? left : right, v});
        rows.push_back({isForth ? right : left, v});
    }
    const double dab = kWritten - 0.6 + 0.3 * eraser;
    return {{dab, dab + 0.8,
             eraser == 0 ? along({{2.0, 2.9}, {6.0, 2.0}}) : along({{11.0, 1.6}, {13.4, 3.2}})},
            {kWipe + 0.2 * eraser, kWiped + 0.2 * eraser, along(rows)}};
}

struct Place {
    Point point;
    int buttons = 0;
};

constexpr double kHover = 0.6; // seconds that a pen is near before its first line, after its last
constexpr double kRest =
    0.06; // seconds that a contact stays where its line ends, to be seen lifting

/// Nothing where the contact is not reported at that time.
std::optional<Place> placeAt(const Strokes& strokes, double time) {
    for (const Stroke& stroke : strokes) {
        if (time >= stroke.begin && time <= stroke.end + kRest) {
            const double progress = (time - stroke.begin) / (stroke.end - stroke.begin);
            return Place{stroke.line(std::min(progress, 1.0)),
                         time <= stroke.end + kRest / 2 ? stroke.buttons : 0};
        }
    }
    return {};
}

/// Between its lines a pen hovers.
std::optional<Place> penPlaceAt(const Strokes& strokes, double time) {
    if (const auto place = placeAt(strokes, time))
        return place;
    const auto next = std::find_if(strokes.begin(), strokes.end(),
                                   [time](const Stroke& stroke) { return stroke.begin > time; });
    const bool isFirst = next == strokes.begin();
    const bool isLast = next == strokes.end();
    const double begin = isFirst ? next->begin - kHover : std::prev(next)->end + kRest;
    const double end = isLast ? begin + kHover : next->begin;
    if (time < begin || time > end)
        return {};
    const Point from = isFirst ? next->line(0.0) : std::prev(next)->line(1.0);
    const Point to = isLast ? from : next->line(0.0);
    const double progress = (time - begin) / (end - begin);
    const double lift = isFirst ? 1.0 - progress : isLast ? progress : 0.0;
    return Place{{from.u + (to.u - from.u) * progress, from.v + (to.v - from.v) * progress - lift}};
}

class Script {
public:
    Script() { add(0, CapturedPlug{kDevice, _TAVEL_DEVICE_INFO::kStateUsable, kInfo}); }

    /// The pens take turns.
    void penStep(int step, double time) {
        for (int turn = 0; turn < kPens; ++turn) {
            const int pen = (m_lastPen + 1 + turn) % kPens;
            const auto place = penPlaceAt(m_pens[static_cast<std::size_t>(pen)], time);
            if (!place)
                continue;
            const Point point = place->point;
            report(step, penReport(pen, across(point.u), down(point.v), place->buttons));
            m_lastPen = pen;
            return;
        }
    }

    void fingerStep(int step, double time) {
        std::vector<ReportedFinger> fingers;
        for (int finger = 0; finger < kFingers; ++finger) {
            const auto place = placeAt(m_fingers[static_cast<std::size_t>(finger)], time);
            if (!place)
                continue;
            const int size = 110 + static_cast<int>(50 * std::sin(5.0 * time + finger));
            fingers.push_back(
                {finger, place->buttons != 0, across(place->point.u), down(place->point.v), size});
        }
        if (!fingers.empty())
            report(step, touchReport(fingers));
    }

    void eraserStep(int step, double time) {
        std::vector<ReportedEraser> erasers;
        for (int eraser = 0; eraser < kErasers; ++eraser) {
            const auto place = placeAt(m_erasers[static_cast<std::size_t>(eraser)], time);
            if (!place)
                continue;
            const double size = time < kWipe ? 0.35 : 1.0;
            erasers.push_back({eraser, place->buttons != 0, across(place->point.u),
                               down(place->point.v), across(size), down(size)});
        }
        if (!erasers.empty())
            report(step, eraseReport(erasers));
    }

    std::vector<CaptureEvent> takeEvents() { return std::move(m_events); }

private:
    template <typename What>
    void add(int step, What what) {
        m_events.push_back({step * kStep, std::move(what)});
    }
    void report(int step, ReportBytes bytes) {
        add(step, CapturedReport{kDevice, std::move(bytes)});
    }

    template <int Count>
    static std::array<Strokes, Count> each(Strokes (*strokesOf)(int)) {
        std::array<Strokes, Count> strokes;
        for (int i = 0; i < Count; ++i)
            strokes[static_cast<std::size_t>(i)] = strokesOf(i);
        return strokes;
    }

    std::array<Strokes, kPens> m_pens = each<kPens>(strokesOfPen);
    std::array<Strokes, kFingers> m_fingers = each<kFingers>(strokesOfFinger);
    std::array<Strokes, kErasers> m_erasers = each<kErasers>(strokesOfEraser);
    int m_lastPen = kPens - 1;
    std::vector<CaptureEvent> m_events;
};

} // namespace

Playlist demonstration() {
    Script script;
    const double seconds = std::chrono::duration<double>(kStep).count();
    for (int step = 0; step * seconds < kLength; ++step) {
        script.penStep(step, step * seconds);
        script.fingerStep(step, step * seconds);
        script.eraserStep(step, step * seconds);
    }
    Playlist playlist;
    playlist.events = script.takeEvents();
    playlist.length = std::chrono::milliseconds(static_cast<int>(kLength * 1000));
    playlist.loops = true;
    return playlist;
}
