#include "tests/support/board_reports.h"

namespace {

constexpr int kBoardUnits = 32768;

/// The board unit in the middle of a pixel.
int unit(int pixel, int extent) {
    return (2 * pixel + 1) * kBoardUnits / (2 * extent);
}

std::string byte(int value) {
    return {static_cast<char>(value)};
}

std::string number(int value) {
    return byte(value & 0xFF) + byte(value >> 8);
}

std::string contact(int id, bool is_down) {
    return byte(is_down ? id | 0x80 : id);
}

} // namespace

std::string BoardReports::position(QPoint at) const {
    return number(unit(at.x(), m_screen.width())) + number(unit(at.y(), m_screen.height()));
}

std::string BoardReports::pen(int id, QPoint at, bool is_down) const {
    return byte(8) + byte(0x21) + byte(0) + position(at) + byte(id << 3 | (is_down ? 1 : 0));
}

std::string BoardReports::touch(int id, QPoint at, bool is_down, int size) const {
    return byte(9) + byte(0x45) + contact(id, is_down) + position(at) + number(size);
}

std::string BoardReports::erase(int id, QPoint at, bool is_down, int width, int height) const {
    return byte(11) + byte(0x46) + contact(id, is_down) + position(at) + number(width) +
           number(height);
}

std::string BoardReports::handed_back_pen(int id, QPoint at, bool is_down) const {
    return byte(9) + byte(0x21) + contact(id, is_down) + position(at) + number(0);
}

std::string BoardReports::handed_back_touch(int id, QPoint at, bool is_down) const {
    return byte(9) + byte(0x45) + contact(id, is_down) + position(at) + number(0);
}

std::string BoardReports::hexadecimal(const std::string& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += digits[static_cast<unsigned char>(c) >> 4];
        hex += digits[static_cast<unsigned char>(c) & 0xF];
    }
    return hex;
}
