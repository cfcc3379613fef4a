#pragma once

#include "tests/support/board_reports.h"

#include <QImage>
#include <QPoint>
#include <QString>
#include <QStringList>

/// A capture, written event by event.
class Capture {
public:
    Capture& pause(int ms);
    Capture& plug(int device);
    Capture& unplug(int device);
    Capture& report(int device, const std::string& bytes, int pause_ms = 5);
    /// The events in their order, without their times.
    QStringList events() const { return events(m_events); }
    static QStringList events(const QString& text);
    bool write(const QString& path) const;

private:
    Capture& event(const QString& event);

    int m_time_ms = 0;
    QString m_events;
};

/// What a board draws at the top of a screen of this size: a pen's line and a finger's, of which an
/// eraser takes a part each.
namespace drawing {

constexpr QSize kScreen(1280, 720);
constexpr QPoint kPenFrom(100, 20);
constexpr QPoint kPenTo(500, 20);
constexpr QPoint kTouchFrom(100, 40);
constexpr QPoint kTouchTo(500, 40);
constexpr QPoint kErased(300, 30);

/// For a board of that screen's size.
BoardReports reports();

/// `by` moves its place, in pixels.
void add_to(Capture& capture, int device, QPoint by = {0, 0});
/// An eraser wipes all of it away where it has not been moved.
void add_wiping_to(Capture& capture, int device);

/// What the program is to make of it.
struct Seen {
    bool pen = true;
    bool touch = true;
    bool erase = true;
    double pen_width = 3.0;
};
/// On the help.
QImage picture(QPoint by = {0, 0});
QImage picture(QPoint by, Seen seen);

} // namespace drawing
