// Reports that are handed back to the driver, for the operating system. They are laid out much like
// those that come in, but not quite, and on purpose: a pen's number and tip travel in byte 2, and
// its other buttons and a finger's size are not sent.

#include "hardware/abstracthardwarewrapper.h"
#include "hardware/tavelhardware.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace {

constexpr int kBufferSize = 255; // what the driver may read, whatever the report's length
constexpr int kTip = 0x80;

// Length, tag, id and tip, x, y, two bytes of 0.
constexpr int kPenReportSize = 1 + 1 + 1 + 2 + 2 + 2;
constexpr int kPenTag = 0x21;

// Length, tag, then fingers: id and tip, x, y, two bytes of 0.
constexpr int kTouchHeaderSize = 1 + 1;
constexpr int kTouchContactSize = 1 + 2 + 2 + 2;
constexpr int kTouchTag = 0x45;
constexpr int kMostContacts = (kBufferSize - kTouchHeaderSize) / kTouchContactSize;

/// A report that is written from front to back. What is not written stays 0.
class Report {
public:
    Report(int size, int tag) {
        byte(size);
        byte(tag);
    }

    void contact(int id, bool tip, int x, int y) {
        byte(id | (tip ? kTip : 0));
        number(x);
        number(y);
        number(0);
    }

    void sendTo(AbstractHardwareWrapper& driver, int device) const {
        driver.SendTouchPacketToSystem(device, m_bytes.front(), m_bytes.data());
    }

private:
    void byte(int value) { *m_next++ = static_cast<unsigned char>(value); }
    void number(int value) {
        qToLittleEndian(static_cast<quint16>(value), m_next);
        m_next += sizeof(quint16);
    }

    std::array<unsigned char, kBufferSize> m_bytes = {};
    unsigned char* m_next = m_bytes.data();
};

} // namespace

void TavelHardware::redirectPenEvent(PenEvent event) {
    const QList<int> boards = devices();
    if (boards.isEmpty())
        return;
    Report report(kPenReportSize, kPenTag);
    report.contact(event.id, event.button0, event.x, event.y);
    report.sendTo(*driver(), boards.first());
}

void TavelHardware::redirectTouchEvent(QList<TouchContact> contacts) {
    const QList<int> boards = devices();
    if (boards.isEmpty())
        return;
    for (int sent = 0; sent < contacts.size(); sent += kMostContacts) {
        const int count = std::min(kMostContacts, contacts.size() - sent);
        Report report(kTouchHeaderSize + count * kTouchContactSize, kTouchTag);
        for (int i = sent; i < sent + count; ++i) {
            const TouchContact& contact = contacts.at(i);
            report.contact(contact.id, contact.tip, contact.x, contact.y);
        }
        report.sendTo(*driver(), boards.first());
    }
}
