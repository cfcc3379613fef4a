// The reports of the boards, as bytes and as records.

#include "hardware/tavelhardware.h"

#include <QtEndian>
#include <algorithm>
#include <limits>

namespace {

// Every report begins with its own length, which only a pen report is held to, and a tag.
constexpr int kHeaderSize = 1 + 1;

// Pen: header, a byte that is not read, x, y, state.
constexpr int kPenTag = 0x21; // '!'
constexpr int kPenReportSize = kHeaderSize + 1 + 2 + 2 + 1;

// A pen's state: a bit a button, then the id, then a bit that is not read.
constexpr int kPenButton0 = 0x01;
constexpr int kPenButton1 = 0x02;
constexpr int kPenButton2 = 0x04;
constexpr int kPenIdMask = 0x78;
constexpr int kPenIdShift = 3;

// Touch: header, then fingers: id and tip, x, y, size.
constexpr int kTouchTag = 0x45; // 'E'
constexpr int kTouchContactSize = 1 + 2 + 2 + 2;

// Erase: header, then erasers: id and tip, x, y, width, height.
constexpr int kEraseTag = 0x46; // 'F'
constexpr int kEraseContactSize = 1 + 2 + 2 + 2 + 2;

// The first byte of a finger or an eraser.
constexpr int kContactIdMask = 0x7F;
constexpr int kContactTip = 0x80;

// Touch status: header, s0 to s5.
constexpr int kTouchStatusTag = 0xA5;
constexpr int kTouchStatusSize = kHeaderSize + 6 * 1;

constexpr float kBoardRange = 32767.0F; // units from edge to edge

/// -1, which is no report's tag, where the packet is too short for one.
int tagOf(const QByteArray& packet) {
    return packet.size() < kHeaderSize ? -1 : static_cast<unsigned char>(packet.at(1));
}

/// Takes a report apart from front to back. REQUIRES: the report holds what is read.
class Reader {
public:
    explicit Reader(const QByteArray& packet, int offset = 0)
        : m_next(packet.constData() + offset) {}

    void skip() { ++m_next; }
    int unsignedByte() { return static_cast<unsigned char>(*m_next++); }
    int signedByte() { return static_cast<signed char>(*m_next++); }
    int number() { ///< 0 to 65535, sent with the low byte first
        const auto value = qFromLittleEndian<quint16>(m_next);
        m_next += sizeof value;
        return value;
    }

private:
    const char* m_next;
};

/// What a finger and an eraser begin with alike.
template <typename Contact>
Contact readContact(Reader& reader) {
    Contact contact;
    const int first = reader.unsignedByte();
    contact.id = first & kContactIdMask;
    contact.tip = (first & kContactTip) != 0;
    contact.x = reader.number();
    contact.y = reader.number();
    return contact;
}

/// Bytes after the last whole contact are left.
template <typename Contact, typename ReadSizes>
void appendContacts(const QByteArray& packet, int contactSize, QList<Contact>& contacts,
                    ReadSizes readSizes) {
    Reader reader(packet, kHeaderSize);
    const int count = (packet.size() - kHeaderSize) / contactSize;
    contacts.reserve(contacts.size() + count);
    for (int i = 0; i < count; ++i) {
        auto contact = readContact<Contact>(reader);
        readSizes(reader, contact);
        contacts.append(contact);
    }
}

/// In extended precision, since a product that falls just beside a whole pixel decides which one
/// it is. Cut toward zero; a result that no int holds ends at the nearest one.
int toPixels(int units, int extent) {
    const long double pixels = static_cast<long double>(units) / kBoardRange * extent;
    return static_cast<int>(std::clamp<long double>(pixels, std::numeric_limits<int>::min(),
                                                    std::numeric_limits<int>::max()));
}

} // namespace

bool TavelHardware::isPenPacket(const QByteArray& packet) {
    return packet.size() == kPenReportSize && packet.at(0) == kPenReportSize &&
           tagOf(packet) == kPenTag;
}

bool TavelHardware::isTouchPacket(const QByteArray& packet) {
    return tagOf(packet) == kTouchTag;
}

bool TavelHardware::isErasePacket(const QByteArray& packet) {
    return tagOf(packet) == kEraseTag;
}

bool TavelHardware::isTouchStatusPacket(const QByteArray& packet) {
    return packet.size() == kTouchStatusSize && tagOf(packet) == kTouchStatusTag;
}

void TavelHardware::getPenData(const QByteArray& packet, PenEvent& event) {
    Reader reader(packet, kHeaderSize);
    reader.skip();
    event.x = reader.number();
    event.y = reader.number();
    const int state = reader.unsignedByte();
    event.button0 = (state & kPenButton0) != 0;
    event.button1 = (state & kPenButton1) != 0;
    event.button2 = (state & kPenButton2) != 0;
    event.id = (state & kPenIdMask) >> kPenIdShift;
}

void TavelHardware::getTouchData(const QByteArray& packet, QList<TouchContact>& contacts) {
    appendContacts(packet, kTouchContactSize, contacts,
                   [](Reader& reader, TouchContact& contact) { contact.size = reader.number(); });
}

void TavelHardware::getEraseData(const QByteArray& packet, QList<EraseContact>& contacts) {
    appendContacts(packet, kEraseContactSize, contacts, [](Reader& reader, EraseContact& contact) {
        contact.width = reader.number();
        contact.height = reader.number();
    });
}

void TavelHardware::getTouchStatusData(const QByteArray& packet, TouchStatus& status) {
    if (!isTouchStatusPacket(packet)) {
        return;
    }
    Reader reader(packet, kHeaderSize);
    for (int TouchStatus::*const field : {&TouchStatus::s0, &TouchStatus::s1, &TouchStatus::s2,
                                          &TouchStatus::s3, &TouchStatus::s4, &TouchStatus::s5}) {
        status.*field = reader.signedByte();
    }
}

QPoint TavelHardware::mapUSBPosToDevicePos(QPoint position) const {
    return {toPixels(position.x(), m_screen.width()), toPixels(position.y(), m_screen.height())};
}

int TavelHardware::mapUSBValToDeviceVal(int value) const {
    return toPixels(value, m_screen.width());
}

QString TavelHardware::dumpPacket(const QString& name, const unsigned char* data,
                                  unsigned int length) {
    QString text = QStringLiteral("Dump Packet (%1): ").arg(name);
    for (unsigned int i = 0; i < length; ++i) {
        text += QStringLiteral("%1, ").arg(data[i]);
    }
    return text;
}
