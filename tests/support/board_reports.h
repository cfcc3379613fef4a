#pragma once

#include <QPoint>
#include <QSize>
#include <string>

/// The bytes of a board's reports of one contact, for a board that is as large as a screen. Points
/// are pixels of the screen, sizes are in board units, of which the screen is 32768 wide and high.
class BoardReports {
public:
    explicit BoardReports(QSize screen) : m_screen(screen) {}

    std::string pen(int id, QPoint at, bool is_down) const;
    std::string touch(int id, QPoint at, bool is_down, int size) const;
    std::string erase(int id, QPoint at, bool is_down, int width, int height) const;

    /// What is handed back to the driver in place of such a report.
    std::string handed_back_pen(int id, QPoint at, bool is_down) const;
    std::string handed_back_touch(int id, QPoint at, bool is_down) const;

    /// Two digits a byte.
    static std::string hexadecimal(const std::string& bytes);

private:
    std::string position(QPoint at) const;

    QSize m_screen;
};
