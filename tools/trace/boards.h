#pragma once

#include "hardware/tavelhardware.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <utility>

/// The session with the boards, which keeps their reports switched on, those of boards that come
/// later too, as the program does.
class Boards : public QObject {
public:
    /// A board's position in the driver's enumeration, and what the driver tells of it.
    using Board = std::pair<int, TavelHardware::DeviceInfo>;

    Boards();
    /// Switches the reports off, if they were on, and ends the session.
    ~Boards() override;

    /// For receivers to connect to, ahead of open().
    TavelHardware& hardware() { return m_hardware; }

    /// \return false where there is no driver
    bool open();
    /// Those that can be used, as they were found last.
    const QList<Board>& found() const { return m_found; }
    /// Has them report. REQUIRES: open()
    void switchOn();
    /// Ends the session: no report comes any more.
    void close();

private:
    TavelHardware m_hardware{nullptr};
    QTimer m_delay{this};
    QList<Board> m_found;
    bool m_isOpen = false;
    bool m_isOn = false;
};
