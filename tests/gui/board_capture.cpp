#include "tests/gui/board_capture.h"

#include "tests/gui/expected_pictures.h"

#include <QFile>

Capture& Capture::pause(int ms) {
    m_time_ms += ms;
    return *this;
}

Capture& Capture::plug(int device) {
    return event(
        QStringLiteral("plug %1 1 \"hid<H1>vid<abcd>pid<0004>xp<4>xt<10>xl<2>\"").arg(device));
}

Capture& Capture::unplug(int device) {
    return event(QStringLiteral("unplug %1").arg(device));
}

Capture& Capture::report(int device, const std::string& bytes, int pause_ms) {
    const QString hex = QString::fromStdString(BoardReports::hexadecimal(bytes));
    return event(QStringLiteral("report %1 %2")
                     .arg(device)
                     .arg(hex.isEmpty() ? QStringLiteral("-") : hex))
        .pause(pause_ms);
}

QStringList Capture::events(const QString& text) {
    QStringList events;
    for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (line[0].isDigit())
            events << line.section(QLatin1Char(' '), 1);
    }
    return events;
}

bool Capture::write(const QString& path) const {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write("kestrune-capture 1\n" + m_events.toLatin1()) > 0;
}

Capture& Capture::event(const QString& event) {
    m_events += QStringLiteral("%1 %2\n").arg(qint64{m_time_ms} * 1000000).arg(event);
    return *this;
}

namespace {

constexpr int kTouchSize = 256;  // 10 pixels of the screen
constexpr int kEraserSize = 768; // 30
constexpr int kWipeSize = 8192;  // 320

} // namespace

BoardReports drawing::reports() {
    return BoardReports(kScreen);
}

void drawing::add_to(Capture& capture, int device, QPoint by) {
    const BoardReports board = reports();
    capture.report(device, board.pen(0, kPenFrom + by, true))
        .report(device, board.pen(0, kPenTo + by, true))
        .report(device, board.pen(0, kPenTo + by, false))
        .report(device, board.touch(0, kTouchFrom + by, true, kTouchSize))
        .report(device, board.touch(0, kTouchTo + by, true, kTouchSize))
        .report(device, board.touch(0, kTouchTo + by, false, kTouchSize))
        .report(device, board.erase(0, kErased + by, true, kEraserSize, 0))
        .report(device, board.erase(0, kErased + by, false, kEraserSize, 0));
}

void drawing::add_wiping_to(Capture& capture, int device) {
    const BoardReports board = reports();
    capture.report(device, board.erase(1, {0, 30}, true, kWipeSize, 0))
        .report(device, board.erase(1, {600, 30}, true, kWipeSize, 0))
        .report(device, board.erase(1, {600, 30}, false, kWipeSize, 0));
}

QImage drawing::picture(QPoint by) {
    return picture(by, Seen());
}

QImage drawing::picture(QPoint by, Seen seen) {
    expected::Strokes strokes(kScreen);
    if (seen.pen)
        strokes.in(Qt::red).stroke(kPenFrom + by, kPenTo + by, seen.pen_width);
    if (seen.touch)
        strokes.in(Qt::green).stroke(kTouchFrom + by, kTouchTo + by, 10);
    if (seen.erase)
        strokes.in(Qt::white).dot(kErased + by, 30);
    return strokes.on(expected::help(kScreen));
}
