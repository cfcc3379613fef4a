#include "tools/trace/recording.h"

#include "trace/vcd.h"

#include <chrono>
#include <initializer_list>

namespace {

/// A field of a contact by the end of its signal's name.
struct Field {
    const char* name;
    int value;
};

bool isDown(const TavelHardware::PenEvent& pen) {
    return pen.button0;
}
bool isDown(const TavelHardware::TouchContact& finger) {
    return finger.tip;
}
bool isDown(const TavelHardware::EraseContact& eraser) {
    return eraser.tip;
}

std::array<Field, 3> fieldsOf(const TavelHardware::PenEvent& pen) {
    const int buttons = (pen.button0 ? 1 : 0) | (pen.button1 ? 2 : 0) | (pen.button2 ? 4 : 0);
    return {{{"_x", pen.x}, {"_y", pen.y}, {"_buttons", buttons}}};
}
std::array<Field, 4> fieldsOf(const TavelHardware::TouchContact& finger) {
    return {{{"_x", finger.x},
             {"_y", finger.y},
             {"_buttons", finger.tip ? 1 : 0},
             {"_size", finger.size}}};
}
std::array<Field, 5> fieldsOf(const TavelHardware::EraseContact& eraser) {
    return {{{"_x", eraser.x},
             {"_y", eraser.y},
             {"_buttons", eraser.tip ? 1 : 0},
             {"_width", eraser.width},
             {"_height", eraser.height}}};
}

} // namespace

Recording::Recording(TavelHardware& hardware, Clock clock)
    : m_clock(std::move(clock)),
      m_start_ns(m_clock()),
      m_kinds{KindStatistics(true), KindStatistics(false), KindStatistics(false)} {
    const auto atOnce = Qt::DirectConnection; // on the driver's thread
    QObject::connect(
        &hardware, &TavelHardware::penEvent, &m_context,
        [this](const TavelHardware::PenEvent& event) {
            recordReport(ContactKind::Pen, std::initializer_list<TavelHardware::PenEvent>{event});
        },
        atOnce);
    QObject::connect(
        &hardware, &TavelHardware::touchEvent, &m_context,
        [this](const TavelHardware::TouchEvent& event) { recordReport(ContactKind::Touch, event); },
        atOnce);
    QObject::connect(
        &hardware, &TavelHardware::eraseEvent, &m_context,
        [this](const TavelHardware::EraseEvent& event) {
            recordReport(ContactKind::Eraser, event);
        },
        atOnce);
}

Recording::~Recording() = default;

std::int64_t Recording::steadyClock() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <typename List>
void Recording::recordReport(ContactKind kind, const List& contacts) {
    const std::lock_guard lock(m_mutex);
    const std::int64_t time_ns = m_clock();
    KindStatistics& statistics = m_kinds.at(static_cast<std::size_t>(kind));
    for (const auto& contact : contacts) {
        recordSignals({kind, contact.id}, fieldsOf(contact));
        statistics.add(contact.id, {time_ns, contact.x, contact.y, isDown(contact)});
    }
    statistics.endReport();
}

template <typename Fields>
void Recording::recordSignals(Contact contact, const Fields& fields) {
    std::vector<Vcd>& ofContact = m_signals[contact];
    if (ofContact.empty()) {
        const std::string name = contactName(contact.first, contact.second);
        for (const Field& field : fields)
            ofContact.emplace_back(name + field.name, field.value);
        return;
    }
    for (std::size_t i = 0; i < fields.size(); ++i)
        ofContact[i].update(fields[i].value);
}

Progress Recording::progress() const {
    const std::lock_guard lock(m_mutex);
    Progress progress;
    progress.elapsed_ns = m_clock() - m_start_ns;
    for (const KindStatistics& kind : m_kinds) {
        progress.reports += kind.reports();
        progress.down += kind.down();
    }
    return progress;
}

Summary Recording::summary() const {
    const std::lock_guard lock(m_mutex);
    Summary summary;
    summary.elapsed_ns = m_clock() - m_start_ns;
    for (const ContactKind kind : kContactKinds) {
        const KindStatistics& statistics = m_kinds.at(static_cast<std::size_t>(kind));
        KindSummary& of_kind = summary.kinds.emplace_back();
        of_kind.kind = kind;
        of_kind.figures = statistics.figures();
        of_kind.mostDown = statistics.mostDown();
        for (const auto& [number, contact] : statistics.contacts()) {
            ContactSummary& one = of_kind.contacts.emplace_back();
            one.number = number;
            one.figures = contact.figures();
            if (contact.isDown())
                one.neverLifted = {contact.downSince_ns() - m_start_ns,
                                   contact.lastReport_ns() - m_start_ns};
        }
    }
    return summary;
}
