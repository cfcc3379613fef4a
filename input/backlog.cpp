// What is queued to the GUI thread faster than it can be taken: when the driver has sent much while
// nobody could hold it back, the event loop still gets to keys and frames between the reports.

#include "input/osterly.h"

#include <QEvent>
#include <QTimerEvent>
#include <utility>

namespace {

// Not 0: such a timer waits till nothing else is to be done, which may be never.
constexpr int kNextTurn_ms = 1;

} // namespace

bool Osterly::event(QEvent* event) {
    if (event->type() != QEvent::MetaCall)
        return QObject::event(event); // which may be the deletion
    m_is_call_queued = true;
    const bool is_handled = QObject::event(event);
    m_is_call_queued = false;
    return is_handled;
}

void Osterly::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_backlog_timer.timerId())
        take_backlog();
    else
        QObject::timerEvent(event);
}

template <typename Event>
void Osterly::take_or_put_off(const Event& report) {
    if (has_turn()) {
        take(report);
        return;
    }
    m_backlog.emplace_back(report);
    if (!m_backlog_timer.isActive())
        m_backlog_timer.start(kNextTurn_ms, this);
}

void Osterly::in_pen_event(const TavelHardware::PenEvent& event) {
    take_or_put_off(event);
}

void Osterly::in_touch_event(const TavelHardware::TouchEvent& event) {
    take_or_put_off(event);
}

void Osterly::in_erase_event(const TavelHardware::EraseEvent& event) {
    take_or_put_off(event);
}

/// Whether the report that has come is to be taken now. A direct call is never put off, not even
/// one from within a queued one: its caller goes by what it does.
bool Osterly::has_turn() {
    const bool is_queued = std::exchange(m_is_call_queued, false);
    return !is_queued || (m_backlog.empty() && hardware->hasTimeForReports());
}

void Osterly::take_backlog() {
    while (!m_backlog.empty() && hardware->hasTimeForReports()) {
        const Report report = std::move(m_backlog.front());
        m_backlog.pop_front();
        std::visit([this](const auto& r) { take(r); }, report);
    }
    if (m_backlog.empty())
        m_backlog_timer.stop();
}
