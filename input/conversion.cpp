// The boards' reports as Controls, and whose each contact is: the application's, which is offered
// it first and claims it, or else the operating system's until it lifts.

#include "input/osterly.h"

#include <algorithm>

namespace {

using Controls = Osterly::Controls;
using Hoops = std::map<int, Osterly::Hoop>;

constexpr double kBoardUnit = 1.0 / 32768.0; // in normalised units; a power of two, so it is exact

bool is_claimed(const Controls& record) {
    return (record.accepted & Osterly::kClaimed) != 0;
}

/// Completes a record whose id and buttons are set.
void place(Controls& record, int x, int y, Hoops& hoops) {
    const QPointF centre = hoops[record.id].track(QPointF(x * kBoardUnit, y * kBoardUnit),
                                                  record.buttons, Osterly::kBoardHoopRadius);
    record.x = record.hoop_x = centre.x();
    record.y = record.hoop_y = centre.y();
}

// What touch and eraser contacts differ in.

int id_of(const TavelHardware::TouchContact& contact) {
    return Osterly::touch_id(contact.id);
}

int id_of(const TavelHardware::EraseContact& contact) {
    return Osterly::erase_id(contact.id);
}

void size(Controls& record, const TavelHardware::TouchContact& contact) {
    record.radius_x = record.radius_y = contact.size * kBoardUnit;
}

void size(Controls& record, const TavelHardware::EraseContact& contact) {
    record.radius_x = contact.width * kBoardUnit;
    record.radius_y = contact.height * kBoardUnit;
}

template <typename Contact>
Controls record_of(const Contact& contact, Hoops& hoops) {
    Controls record;
    record.id = id_of(contact);
    record.buttons = contact.tip ? 1 : 0;
    size(record, contact);
    place(record, contact.x, contact.y, hoops);
    return record;
}

/// Overwrites the first record of the same contact, or appends this one.
void merge(std::vector<Controls>& contacts, const Controls& record) {
    const auto same = std::find_if(contacts.begin(), contacts.end(),
                                   [&record](const Controls& c) { return c.id == record.id; });
    if (same == contacts.end())
        contacts.push_back(record);
    else
        *same = record;
}

template <typename Container, typename Predicate>
void erase_if(Container& container, Predicate predicate) {
    container.erase(std::remove_if(container.begin(), container.end(), predicate), container.end());
}

} // namespace

void Osterly::take(const TavelHardware::PenEvent& report) {
    const auto delivery = hardware->reportDelivery();
    static Hoops m_id_to_hoop_map;
    static std::map<int, Controls> id_to_last_map;

    Controls record;
    record.id = pen_id(report.id);
    record.buttons = (report.button0 ? 1 : 0) | (report.button1 ? 2 : 0);
    place(record, report.x, report.y, m_id_to_hoop_map);

    Controls& last = id_to_last_map[record.id];
    if (last == record)
        return;
    last = record;

    bool& is_redirected = redirected[record.id];
    if (is_redirected) {
        is_redirected = report.button0; // of all its buttons the tip alone keeps it there
    } else {
        emit out_osterly_pen_event(record);
        if (is_claimed(record))
            return;
        is_redirected = true; // even a pen that hovers
    }
    hardware->redirectPenEvent(report);
}

void Osterly::take(const TavelHardware::TouchEvent& report) {
    const auto delivery = hardware->reportDelivery();
    static std::vector<Controls> last;
    static Hoops m_id_to_hoop_map;
    const auto unclaimed =
        offer(report, touch_contacts, last, m_id_to_hoop_map, &Osterly::out_osterly_touch_event);
    if (!unclaimed.isEmpty())
        hardware->redirectTouchEvent(unclaimed);
}

void Osterly::take(const TavelHardware::EraseEvent& report) {
    const auto delivery = hardware->reportDelivery();
    static std::vector<Controls> last;
    static Hoops m_id_to_hoop_map;
    // Erasers that nobody claims are nothing to the operating system.
    offer(report, erase_contacts, last, m_id_to_hoop_map, &Osterly::out_osterly_erase_event);
}

/// Takes in one report. `contacts` are carried from report to report: what is claimed and down
/// stays and is offered with every report that tells something new, whether it mentions the contact
/// or not. `last` is what the report before came to. \return the contacts of the report that are
/// not the application's; none where the report is a repeat
template <typename Contact>
QList<Contact> Osterly::offer(const QList<Contact>& report, std::vector<Controls>& contacts,
                              std::vector<Controls>& last, Hoops& hoops,
                              void (Osterly::*out)(std::vector<Controls>&)) {
    for (const Contact& contact : report)
        merge(contacts, record_of(contact, hoops));
    if (contacts == last)
        return {};
    last = contacts;

    erase_if(contacts, [this](const Controls& record) { return redirected[record.id]; });
    if (!contacts.empty())
        emit(this->*out)(contacts);

    QList<Contact> unclaimed = report;
    for (const Controls& record : contacts) {
        if (is_claimed(record))
            erase_if(unclaimed, [&record](const Contact& c) { return id_of(c) == record.id; });
    }
    erase_if(contacts,
             [](const Controls& record) { return !is_claimed(record) || record.buttons == 0; });
    for (const Contact& contact : unclaimed)
        redirected[id_of(contact)] = contact.tip;
    return unclaimed;
}
