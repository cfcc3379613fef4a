#pragma once

#include "input/osterly.h"

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QTimer>

class KestruneDialog;

/// Watches the running program from inside, on its GUI thread, and writes a line of figures
/// whenever the boards have been silent for a while: then every report has arrived that is to
/// arrive.
///
/// KESTRUNE_SOAK_SAMPLES names the file of the lines, KESTRUNE_DRIVER_COUNTS that of the simulated
/// driver's counts.
class Witness : public QObject {
    Q_OBJECT

public:
    Witness(KestruneDialog& dialog, QObject* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void look();
    void sample(quint64 sent);
    quint64 sent();
    void claimed(const std::vector<Osterly::Controls>& records);
    qint64 segments_kept() const;

    KestruneDialog& m_dialog;
    QFile m_samples;
    QFile m_counts;
    QTimer m_timer;
    QElapsedTimer m_running;
    QElapsedTimer m_silent;
    QElapsedTimer m_since_tick;
    quint64 m_sent = 0;
    bool m_is_sampled = true;      ///< this silence
    quint64 m_received = 0;        ///< reports
    quint64 m_claimed = 0;         ///< contacts of reports
    qint64 m_segments_cleared = 0; ///< by the key for it
    qint64 m_longest_tick_ms = 0;  ///< from one to the next, since the last line
};
