#pragma once

#include <QString>
#include <QStringList>
#include <chrono>
#include <optional>

/// What the command line asks for.
struct Options {
    enum class Task { Record, List, ShowHelp, ShowVersion, Complain };

    Task task = Task::Record;
    std::optional<std::chrono::milliseconds> duration; ///< none: until a signal ends it
    QString output = QStringLiteral("board.vcd");
    bool replaces = false; ///< an output that exists already
    bool json = false;
    QString text; ///< the help, or what is wrong with the usage: one line
};

/// `arguments` with the program's name ahead of them. REQUIRES: a QCoreApplication
Options parseOptions(const QStringList& arguments);
