#pragma once

#include "tests/support/x_session.h"

#include <QByteArray>
#include <QMap>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

/// A terminal for a program's standard error.
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    QString path() const; ///< for the program to open
    /// All that has been written to it so far.
    QByteArray text();

private:
    int m_master;
    QByteArray m_text;
};

/// kestrune-trace in a folder of its own that goes with the object, on simulated boards and without
/// a display.
class TraceProgram {
public:
    struct Result {
        int status = -1; ///< -1 where it did not end by itself
        QByteArray output;
        QByteArray errors;
    };

    TraceProgram();

    QString path(const char* name) const;
    QByteArray contents(const char* name) const; ///< empty where there is no such file
    void write(const char* name, const QByteArray& contents);

    void set_variable(const char* name, const QString& value);
    /// The boards play what this capture holds, as fast as they can.
    void play(const QByteArray& capture);
    void without_driver();

    void start(const QStringList& arguments);
    /// With a terminal for its standard error. What it writes there is no part of its result.
    void start_on_terminal(const QStringList& arguments);
    /// Whether its status line comes to tell of so many reports, or more.
    bool has_recorded(int reports);
    QByteArray terminal_text() { return m_terminal->text(); }
    void send(int signal);
    Result finish();

    Result run(const QStringList& arguments);
    /// Has it record so many reports, and interrupts it then.
    Result record(const QStringList& arguments, int reports);

private:
    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    std::unique_ptr<Terminal> m_terminal; ///< outlives the program
    std::unique_ptr<BoundProcess> m_process;
};

/// Splits at blanks.
QStringList arguments(const char* line);
