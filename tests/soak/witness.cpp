#include "tests/soak/witness.h"

#include "app/kestrunedialog.h"
#include "strokes/strokesview.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <array>
#include <cstring>
#include <malloc.h>
#include <unistd.h>

namespace {

constexpr int kLook_ms = 100;
constexpr int kSilence_ms = 700;

int entries(const char* folder) {
    return static_cast<int>(QDir(QLatin1String(folder))
                                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                                .size());
}

qint64 resident_kib() {
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * (sysconf(_SC_PAGESIZE) / 1024);
}

/// What the program has of the allocator, which may hold more of the system.
qint64 allocated_kib() {
    const auto info = mallinfo2();
    return static_cast<qint64>((info.uordblks + info.hblkhd) / 1024);
}

void begin() {
    // Once the program runs its loop, its dialog is there.
    QTimer::singleShot(0, qApp, [] {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (auto* const dialog = qobject_cast<KestruneDialog*>(widget))
                new Witness(*dialog, dialog->m_osterly.get()); // which goes first
        }
    });
}
Q_COREAPP_STARTUP_FUNCTION(begin)

} // namespace

Witness::Witness(KestruneDialog& dialog, QObject* parent)
    : QObject(parent),
      m_dialog(dialog),
      m_samples(qEnvironmentVariable("KESTRUNE_SOAK_SAMPLES")),
      m_counts(qEnvironmentVariable("KESTRUNE_DRIVER_COUNTS")) {
    if (!m_samples.open(QIODevice::WriteOnly) ||
        !m_counts.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        qFatal("The witness has no file to write to, or none to read from");
    m_samples.write(
        "seconds resident_kib allocated_kib threads handles segments sent received claimed drawn tick_ms\n");

    Osterly* const osterly = dialog.m_osterly.get();
    TavelHardware* const hardware = osterly->hardware;
    connect(hardware, &TavelHardware::penEvent, this, [this] { ++m_received; });
    connect(hardware, &TavelHardware::touchEvent, this, [this] { ++m_received; });
    connect(hardware, &TavelHardware::eraseEvent, this, [this] { ++m_received; });
    // After the dialog, which has then said what it claims.
    connect(osterly, &Osterly::out_osterly_pen_event, this,
            [this](Osterly::Controls& record) { claimed({record}); });
    connect(osterly, &Osterly::out_osterly_touch_event, this, &Witness::claimed);
    connect(osterly, &Osterly::out_osterly_erase_event, this, &Witness::claimed);
    connect(dialog.m_timer, &QTimer::timeout, this, [this] {
        if (m_since_tick.isValid())
            m_longest_tick_ms = std::max(m_longest_tick_ms, m_since_tick.elapsed());
        m_since_tick.start();
    });
    dialog.installEventFilter(this);

    m_running.start();
    m_silent.start();
    connect(&m_timer, &QTimer::timeout, this, &Witness::look);
    m_timer.start(kLook_ms);
}

bool Witness::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Backspace) {
        for (auto const& stroke : m_dialog.m_strokes_view->m_strokes)
            m_segments_cleared += static_cast<qint64>(stroke.segments.size());
    }
    return QObject::eventFilter(watched, event);
}

void Witness::claimed(const std::vector<Osterly::Controls>& records) {
    for (Osterly::Controls const& record : records)
        m_claimed += (record.accepted & Osterly::kClaimed) != 0 ? 1 : 0;
}

quint64 Witness::sent() {
    std::array<quint64, 3> reports = {}; // pens, touches, erasers
    m_counts.seek(0);
    const QByteArray bytes = m_counts.read(sizeof reports);
    if (bytes.size() == sizeof reports)
        std::memcpy(reports.data(), bytes.constData(), sizeof reports);
    return reports[0] + reports[1] + reports[2];
}

void Witness::look() {
    const quint64 now = sent();
    if (now != m_sent) {
        m_sent = now;
        m_silent.start();
        m_is_sampled = false;
    } else if (!m_is_sampled && m_silent.hasExpired(kSilence_ms)) {
        m_is_sampled = true;
        sample(now);
    }
}

qint64 Witness::segments_kept() const {
    qint64 kept = 0;
    for (auto const& stroke : m_dialog.m_strokes_view->m_strokes)
        kept += static_cast<qint64>(stroke.segments.size());
    for (auto const& [id, state] : m_dialog.m_strokes_view->m_id_to_draw_state_map)
        kept += static_cast<qint64>(state.segments.size());
    return kept;
}

void Witness::sample(quint64 sent) {
    const qint64 segments = segments_kept();
    const int threads = entries("/proc/self/task");
    const int handles = entries("/proc/self/fd") - 1; // this one's own
    QByteArray line;
    for (const qint64 value :
         {m_running.elapsed() / 1000, resident_kib(), allocated_kib(), qint64{threads},
          qint64{handles}, segments, static_cast<qint64>(sent), static_cast<qint64>(m_received),
          static_cast<qint64>(m_claimed), m_segments_cleared + segments, m_longest_tick_ms})
        line += QByteArray::number(value) + ' ';
    line.back() = '\n';
    m_samples.write(line);
    m_samples.flush();
    m_longest_tick_ms = 0;
}
