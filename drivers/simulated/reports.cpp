#include "drivers/simulated/reports.h"

#include <cstddef>

namespace {

// Every report begins with its length and a tag. Numbers have two bytes, the low one first.
constexpr std::size_t kHeaderSize = 1 + 1;

// Pen: header, a byte of 0, x, y, state: a bit a button, then the id.
constexpr unsigned char kPenTag = 0x21;
constexpr std::size_t kPenReportSize = kHeaderSize + 1 + 2 + 2 + 1;
constexpr int kPenTip = 0x01;
constexpr int kPenIdShift = 3;
constexpr int kPenIdMask = 0x0F;

// Touch: header, then fingers: id and tip, x, y, size.
constexpr unsigned char kTouchTag = 0x45;
constexpr std::size_t kTouchContactSize = 1 + 2 + 2 + 2;

// Erase: header, then erasers: id and tip, x, y, width, height.
constexpr unsigned char kEraseTag = 0x46;
constexpr std::size_t kEraseContactSize = 1 + 2 + 2 + 2 + 2;

constexpr int kContactIdMask = 0x7F;
constexpr int kContactTip = 0x80;

// Touch status: header, six values.
constexpr unsigned char kTouchStatusTag = 0xA5;

// Some boards have three bytes before each report, the second of which is this.
constexpr unsigned char kWrappingTag = 0x41;
constexpr std::size_t kWrappingSize = 3;

/// A report that is written from front to back.
class Writer {
public:
    explicit Writer(unsigned char tag) : m_bytes{0, tag} {}

    Writer& byte(int value) {
        m_bytes.push_back(static_cast<unsigned char>(value));
        return *this;
    }
    Writer& number(int value) { return byte(value).byte(value >> 8); }
    Writer& contact(int id, bool down) {
        return byte((id & kContactIdMask) | (down ? kContactTip : 0));
    }

    ReportBytes finished() {
        m_bytes.front() = static_cast<unsigned char>(m_bytes.size());
        return m_bytes;
    }

private:
    ReportBytes m_bytes;
};

std::vector<ReportedContact> contacts(const ReportBytes& bytes, std::size_t begin,
                                      std::size_t size) {
    std::vector<ReportedContact> found;
    for (std::size_t at = begin + kHeaderSize; at + size <= bytes.size(); at += size)
        found.push_back({bytes[at] & kContactIdMask, (bytes[at] & kContactTip) != 0});
    return found;
}

} // namespace

ReportContent contentOf(const ReportBytes& bytes) {
    const bool isWrapped = bytes.size() >= kWrappingSize && bytes[1] == kWrappingTag;
    const std::size_t begin = isWrapped ? kWrappingSize : 0;
    const std::size_t size = bytes.size() - begin;
    if (size < kHeaderSize)
        return {};
    const unsigned char tag = bytes[begin + 1];
    if (tag == kPenTag && size == kPenReportSize && bytes[begin] == kPenReportSize) {
        const int state = bytes.back();
        return {ReportKind::Pen, {{state >> kPenIdShift & kPenIdMask, (state & kPenTip) != 0}}};
    }
    if (tag == kTouchTag)
        return {ReportKind::Touch, contacts(bytes, begin, kTouchContactSize)};
    if (tag == kEraseTag)
        return {ReportKind::Erase, contacts(bytes, begin, kEraseContactSize)};
    return {};
}

ReportBytes penReport(int id, int x, int y, int buttons) {
    return Writer(kPenTag).byte(0).number(x).number(y).byte(id << kPenIdShift | buttons).finished();
}

ReportBytes touchReport(const std::vector<ReportedFinger>& fingers) {
    Writer report(kTouchTag);
    for (const ReportedFinger& finger : fingers)
        report.contact(finger.id, finger.down)
            .number(finger.x)
            .number(finger.y)
            .number(finger.size);
    return report.finished();
}

ReportBytes eraseReport(const std::vector<ReportedEraser>& erasers) {
    Writer report(kEraseTag);
    for (const ReportedEraser& eraser : erasers)
        report.contact(eraser.id, eraser.down)
            .number(eraser.x)
            .number(eraser.y)
            .number(eraser.width)
            .number(eraser.height);
    return report.finished();
}

ReportBytes touchStatusReport(const std::vector<signed char>& status) {
    Writer report(kTouchStatusTag);
    for (const signed char value : status)
        report.byte(value);
    return report.finished();
}
