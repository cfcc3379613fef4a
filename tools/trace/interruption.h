#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, and SIGHUP unless it is ignored)
/// into a call from the event loop. The second of one kind acts as if this were not there. One
/// object at a time.
class Interruption : public QObject {
public:
    explicit Interruption(std::function<void()> asked);
    ~Interruption() override;

private:
    std::function<void()> m_asked;
    QSocketNotifier* m_notifier;
};
