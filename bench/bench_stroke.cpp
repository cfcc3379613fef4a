// Strokes: one touch report from the view's slot to its pixels on the screen, and what a stroke's
// record costs as strokes are kept.

#include "bench/compositionwidget.h"
#include "bench/offscreen.h"
#include "bench/ratio.h"
#include "strokes/strokesview.h"

#include <QPen>
#include <cmath>
#include <malloc.h>
#include <vector>

namespace {

constexpr int kContacts = 10;
constexpr QSize kScreen(3840, 2160);
constexpr double kHalfWidth = 3.0;

using Contacts = std::vector<Osterly::Controls>;
using ratio::Clock;

/// Report n of fingers that go round in circles, some four pixels a report.
Contacts report_of(int n) {
    Contacts contacts;
    for (int i = 0; i < kContacts; ++i) {
        const double angle = n / 75.0 + i;
        Osterly::Controls c;
        c.id = Osterly::touch_id(i);
        c.buttons = 1;
        c.radius_x = c.radius_y = kHalfWidth;
        c.x = c.hoop_x = 330.0 + 350.0 * i + 300.0 * std::cos(angle);
        c.y = c.hoop_y = 1000.0 + 50.0 * i + 300.0 * std::sin(angle);
        contacts.push_back(c);
    }
    return contacts;
}

void show(StrokesView& view) {
    view.m_info_tags = false;
    view.resize(kScreen);
    view.show();
    view.repaint();
    QApplication::processEvents();
    view.get_dirty_region();
}

/// Draws the lines between the contacts of two reports, and shows them.
class TrivialWidget : public CompositionWidget {
public:
    TrivialWidget() : CompositionWidget(kScreen) {}

    void draw(const Contacts& from, const Contacts& to) {
        QRegion dirty;
        {
            QPainter painter(&m_strokes);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(Qt::green, 2.0 * kHalfWidth, Qt::SolidLine, Qt::RoundCap));
            for (std::size_t i = 0; i < from.size(); ++i) {
                const QLineF line(from[i].x, from[i].y, to[i].x, to[i].y);
                painter.drawLine(line);
                dirty += QRectF(line.p1(), line.p2())
                             .normalized()
                             .adjusted(-4.0, -4.0, 4.0, 4.0)
                             .toAlignedRect();
            }
        }
        repaint(dirty);
    }
};

void reports(const ratio::Report& report) {
    StrokesView view;
    show(view);
    TrivialWidget widget;
    // Each side draws lines of its own: those that were just drawn are quicker to draw again.
    int our_n = 0;
    int other_n = 100000;
    view.in_touch_event(report_of(our_n));
    view.repaint(view.get_dirty_region());
    const auto ours = [&] {
        const Contacts contacts = report_of(++our_n);
        return ratio::time(Clock::Process, [&] {
            view.in_touch_event(contacts);
            view.repaint(view.get_dirty_region());
        });
    };
    const auto trivial = [&] {
        const Contacts from = report_of(other_n);
        const Contacts to = report_of(++other_n);
        return ratio::time(Clock::Process, [&] { widget.draw(from, to); });
    };
    report.times("8", "a touch report of 10 contacts until it is painted, against a trivial widget",
                 report.by_turns(3001, ours, trivial), ratio::at_most(1.1));
}

/// One contact that draws short strokes; a report of it may end a stroke.
class Writer {
public:
    explicit Writer(StrokesView& view) : m_view(view) { m_pen.id = Osterly::pen_id(0); }

    void stroke(int segments) {
        for (int i = 0; i < segments; ++i) {
            m_pen.x = m_pen.hoop_x = 100 + m_reports % 3000;
            m_pen.y = m_pen.hoop_y = 100 + m_reports % 1999;
            m_pen.buttons = i + 1 < segments ? 1 : 0;
            m_view.in_pen_event(m_pen);
            ++m_reports;
        }
    }

private:
    StrokesView& m_view;
    Osterly::Controls m_pen;
    int m_reports = 0;
};

double used_bytes() {
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void growth(const ratio::Report& report) {
    constexpr int segments_a_stroke = 100;
    constexpr int rounds = 10;
    StrokesView empty;
    show(empty);
    StrokesView full;
    show(full);
    const int kept = report.count(1000000, 10000);
    Writer many(full);
    const double before = used_bytes();
    for (int i = 0; i < kept; i += segments_a_stroke) {
        many.stroke(segments_a_stroke);
        full.get_dirty_region();
    }
    const double bytes = used_bytes() - before;

    Writer few(empty);
    few.stroke(10);
    const auto write = [](Writer& writer, StrokesView& view) {
        const double seconds =
            ratio::time(Clock::Process, [&] { writer.stroke(rounds * segments_a_stroke); });
        view.get_dirty_region();
        return seconds;
    };
    const auto forget = [&] {
        empty.clear_strokes();
        few.stroke(10);
        empty.get_dirty_region();
    };
    report.times("12", "a stroke's record after 1,000,000 kept segments, against after 10",
                 report.by_turns(
                     301, [&] { return write(many, full); },
                     [&] {
                         forget();
                         return write(few, empty);
                     }),
                 ratio::at_most(1.1), rounds * segments_a_stroke);
    report.row("12", "memory of kept segments", ratio::number_text(bytes) + " bytes",
               std::to_string(kept) + " segments", bytes / kept, ratio::at_most(48.0));
}

} // namespace

int main(int argc, char** argv) {
    const ratio::Report report(argc, argv);
    const OffscreenApplication application;
    reports(report);
    growth(report);
}
