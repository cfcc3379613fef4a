#pragma once

#include "tests/support/x_session.h"

#include <QByteArray>
#include <QImage>
#include <QMap>
#include <QRect>
#include <memory>

class QRegularExpression;

/// A screen with the program on it. The functions that return bool wait for what they tell, 10 s at
/// most, and give the reason in why() where it does not come.
class Desktop {
public:
    /// An environment variable of the program that start() starts, not of any other.
    void set_variable(const char* name, const QString& value);
    /// Starts the session and in it the program, until it shows its help on the whole screen.
    bool start(QSize screen = QSize(1280, 720),
               XSession::WindowManager manager = XSession::Openbox);

    /// Starts the session alone, for programs that are started one after the other.
    bool start_session(QSize screen = QSize(1280, 720),
                       XSession::WindowManager manager = XSession::Openbox);
    /// Starts the program in it, until it has the keyboard.
    bool start_in_session();

    /// Starts the program once more, without those variables.
    std::unique_ptr<BoundProcess> start_another();

    /// Gives xdotool its commands.
    bool drive(const QString& commands);

    /// Whether the screen, or that part of it, comes to show the picture. Pictures that it does not
    /// show are written into the build folder, with what is shown and the difference.
    bool shows(const QImage& picture) { return shows(picture, QRect(QPoint(0, 0), m_screen)); }
    bool shows(const QImage& picture, QRect part);

    /// What the screen shows now.
    QImage shot() { return m_session.shot(); }
    QSize screen() const { return m_screen; }

    bool has_keyboard(const BoundProcess& program);
    bool has_keyboard() { return has_keyboard(*m_program); }

    /// Presses Escape. Whether the program then ends with status 0 and has written nothing but that
    /// it has no driver.
    bool escape_ends(BoundProcess& program);
    bool escape_ends() { return escape_ends(*m_program); }
    /// The same of a program that has a driver: it writes this and, to the standard error, nothing
    /// but that the toolkit has refused a connection.
    bool escape_ends_after_writing(const QString& output);
    bool escape_ends_after_writing(const QRegularExpression& output);

    const char* why() const { return m_why.constData(); }

private:
    bool fail(const QString& why);
    bool escape_ends(BoundProcess& program, const QRegularExpression& output,
                     const QRegularExpression& errors);
    void start_with_variables();
    std::unique_ptr<BoundProcess> start_program(const QProcessEnvironment& environment);

    XSession m_session;
    QSize m_screen;
    QMap<QString, QString> m_variables;
    std::unique_ptr<BoundProcess> m_program;
    QByteArray m_why;
};
