#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

class XSession;

/// The numbers of each signal by its name: at what time (in nanoseconds) it got which.
using Waveforms = QMap<QByteArray, QList<QPair<qint64, double>>>;

/// The numbers that a VCD text has. Values of other kinds are left out, and what is not a number:
/// readers have that for a signal that has no value yet.
Waveforms waveforms_of(const QByteArray& vcd);

/// GTKWave, a waveform viewer that is none of ours. Each function gives the reason in why() where
/// it fails.
class WaveformReader {
public:
    /// What its converters make of the file: to its own format, and from that to VCD again. Null in
    /// case of an error.
    QByteArray converted(const QString& vcd_file);

    /// What a script of its Tcl commands prints, with the file open in its window. Null in case of
    /// an error, and empty where it refuses the file: refusal() then has its words.
    QByteArray viewed(const XSession& session, const QString& vcd_file, const QByteArray& script);
    QByteArray refusal() const { return m_refusal; }

    const char* why() const { return m_why.constData(); }

private:
    QByteArray fail(const QString& why);

    QByteArray m_refusal;
    QByteArray m_why;
};
