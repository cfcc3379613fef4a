#pragma once

#include "tools/trace/summary.h"

#include <QObject>
#include <QTimer>
#include <functional>
#include <string>

/// One line of the terminal that the standard error is, rewritten twice a second: how long it has
/// been, how many reports, how many a second since the last time, and how many contacts are down.
/// Nothing where the standard error is no terminal.
class StatusLine : public QObject {
public:
    explicit StatusLine(std::function<Progress()> progress);
    /// Takes the line away.
    ~StatusLine() override;

private:
    void rewrite();

    std::function<Progress()> m_progress;
    Progress m_last;
    QTimer m_timer{this};
    bool m_isTerminal;
};

/// `now` with the rate since `last`.
std::string statusText(const Progress& last, const Progress& now);
