// Frames of a view of 3840x2160 pixels: the tick and the paint of one with fourteen contacts and
// their tags, and the paint of small dirty rectangles, against composing the same pixels.

#include "bench/compositionwidget.h"
#include "bench/offscreen.h"
#include "bench/ratio.h"
#include "strokes/strokesview.h"

#include <QImage>
#include <QPainter>
#include <vector>

namespace {

constexpr int kPens = 4;
constexpr int kTouches = 10;
constexpr int kContacts = kPens + kTouches;
constexpr int kRepetitions = 101;
constexpr QSize kScreen(3840, 2160);

using ratio::Clock;

/// A view with strokes on it and nobody who draws.
void show(StrokesView& view, QSize size) {
    view.m_test_mode = GridCard;
    view.resize(size);
    view.show();
    view.repaint();
    QApplication::processEvents();
    view.get_dirty_region();
}

/// A view with the markers of four pens and ten fingers, spread over it.
class Board {
public:
    Board() {
        show(m_view, kScreen);
        for (int i = 0; i < kContacts; ++i) {
            Osterly::Controls c;
            c.id = i < kPens ? Osterly::pen_id(i) : Osterly::touch_id(i - kPens);
            c.buttons = 1;
            c.radius_x = c.radius_y = i < kPens ? 0.0 : 3840.0 * (100 + 7 * i) / 32768.0;
            m_contacts.push_back(c);
        }
    }
    ~Board() { m_view.sub_all(); }

    /// Moves every contact by some pixels.
    void report() {
        ++m_moves;
        for (int i = 0; i < kContacts; ++i) {
            Osterly::Controls& c = m_contacts[static_cast<std::size_t>(i)];
            c.x = c.hoop_x = 3840 * (i + 1) / (kContacts + 1) + 5 * (m_moves % 8);
            c.y = c.hoop_y = 2160 * (i * 5 % kContacts + 1) / (kContacts + 1) + 3 * (m_moves % 5);
        }
        for (int i = 0; i < kPens; ++i)
            m_view.in_pen_event(m_contacts[static_cast<std::size_t>(i)]);
        m_view.in_touch_event({m_contacts.begin() + kPens, m_contacts.end()});
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

/// Two images of a view's size and of the kinds that its layers are, and a third to compose them
/// on.
class Composition {
public:
    explicit Composition(QSize size)
        : m_card(size, QImage::Format_RGB32),
          m_strokes(size, QImage::Format_ARGB32_Premultiplied),
          m_target(size, QImage::Format_RGB32) {
        m_card.fill(Qt::white);
        m_strokes.fill(Qt::transparent);
        m_target.fill(Qt::white);
    }

    void compose(const QRegion& region) {
        QPainter painter(&m_target);
        for (const QRect& rect : region) {
            painter.drawImage(rect.topLeft(), m_card, rect);
            painter.drawImage(rect.topLeft(), m_strokes, rect);
        }
    }

private:
    QImage m_card;
    QImage m_strokes;
    QImage m_target;
};

void frames(const ratio::Report& report) {
    Board board;
    Composition warm(kScreen);
    Composition cold(kScreen); // which is touched once a frame, as what the view paints
    ratio::Sides frame;
    ratio::Sides paint;
    for (int i = 0; i < report.count(kRepetitions) + 2; ++i) {
        board.report();
        QRegion dirty;
        const double tick_s = ratio::time(Clock::Process, [&] {
            board.tick();
            dirty = board.m_view.get_dirty_region();
        });
        const double paint_s = ratio::time(Clock::Process, [&] { board.m_view.repaint(dirty); });
        const double cold_s = ratio::time(Clock::Process, [&] { cold.compose(dirty); });
        warm.compose(dirty);
        warm.compose(dirty);
        const double warm_s = ratio::time(Clock::Process, [&] { warm.compose(dirty); });
        if (i < 2)
            continue; // the markers have not been anywhere yet
        frame.ours.push_back(tick_s + paint_s);
        frame.other.push_back(warm_s);
        paint.ours.push_back(paint_s);
        paint.other.push_back(cold_s);
    }
    report.times("5", "a frame with 14 contacts and tags, against composing its pixels, warm",
                 frame, ratio::at_most(25.0));
    report.times("6", "its paint alone, against composing its pixels, as cold", paint,
                 ratio::at_most(1.75));
}

void scattered(const ratio::Report& report) {
    StrokesView view;
    show(view, kScreen);
    CompositionWidget widget(kScreen);
    QRegion region;
    for (int i = 0; i < kContacts; ++i)
        region += QRect(3840 * (i + 1) / (kContacts + 1), 150 * (i * 5 % kContacts) + 20, 16, 12);
    const auto ours = [&] { return ratio::time(Clock::Process, [&] { view.repaint(region); }); };
    const auto trivial = [&] {
        return ratio::time(Clock::Process, [&] { widget.repaint(region); });
    };
    report.times("7", "the paint of 14 scattered rectangles, against a trivial widget's",
                 report.by_turns(1001, ours, trivial), ratio::at_most(1.1));
}

void two_sizes(const ratio::Report& report) {
    const QRect rect(200, 200, 64, 64);
    StrokesView large;
    show(large, kScreen);
    StrokesView small;
    show(small, kScreen / 2);
    const auto paint = [&rect](StrokesView& view) {
        return ratio::time(Clock::Process, [&] { view.repaint(rect); });
    };
    report.times("12", "the paint of a small rectangle at 3840x2160, against 1920x1080",
                 report.by_turns(
                     1001, [&] { return paint(large); }, [&] { return paint(small); }),
                 ratio::at_most(1.1));
}

} // namespace

int main(int argc, char** argv) {
    const ratio::Report report(argc, argv);
    const OffscreenApplication application;
    frames(report);
    scattered(report);
    two_sizes(report);
}
