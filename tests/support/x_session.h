#pragma once

#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

/// A child process that the system kills when this one dies, however that happens. To be started on
/// the main thread.
class BoundProcess : public QProcess {
public:
    ~BoundProcess() override;
    /// Kills it and waits for its end.
    void end();

protected:
    void setupChildProcess() override;
};

/// An X server of its own on a free display, its window manager, and the pointer and the keyboard
/// of both. Ends with the object. The functions that return bool give the reason in error().
class XSession {
public:
    enum WindowManager { NoManager, Openbox };

    /// `screen` in pixels, 24 bits deep.
    bool start(QSize screen, WindowManager manager);
    QString error() const { return m_error; }

    /// Of programs that are to run in the session. Without what would change how Qt looks or where
    /// libraries are found.
    QProcessEnvironment environment() const { return m_environment; }

    /// Gives xdotool its commands, say "mousemove 10 20 mousedown 1" or "key space". At a press the
    /// window manager holds the pointer's events back until it has looked at them: keys that follow
    /// a press arrive before it, unless its effect is waited for.
    bool drive(const QString& commands);

    /// The process whose window has the keyboard, 0 where none has. Needs a window manager.
    qint64 process_with_keyboard();

    /// What is on the screen, without the pointer. Null in case of an error.
    QImage shot();

private:
    bool start_server(QSize screen);
    bool start_manager();
    bool run(const QString& tool, const QStringList& arguments, QByteArray* output);
    bool fail(const QString& error);

    // In the order in which the later ones need the earlier ones.
    QTemporaryDir m_directory; ///< private (mode 0700), for run-time and configuration files
    QProcessEnvironment m_environment;
    BoundProcess m_server;
    BoundProcess m_manager;
    QString m_error;
};
