#include "tools/trace/outputfile.h"

#include "trace/vcd.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>
#include <limits>

namespace {

/// The times that are last, and how many signals change then. A signal's times strictly increase.
struct LastChanges {
    std::int64_t time = std::numeric_limits<std::int64_t>::min();
    int count = 0;

    LastChanges() {
        for (const auto& [id, changes] : Vcd::m_id_to_changes_map) {
            const std::int64_t last = changes.back().time;
            count = last < time ? count : last > time ? 1 : count + 1;
            time = std::max(time, last);
        }
    }
};

/// Whether the file ends as the trace does. The trace itself does not tell whether it could be
/// written.
bool isComplete(const QString& path) {
    constexpr qint64 enough = 1 << 16; // for one change of each of some thousand signals
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    file.seek(std::max<qint64>(0, file.size() - enough));
    const QByteArray end = file.readAll();
    const LastChanges last;
    if (last.count == 0)
        return end.endsWith("$enddefinitions $end\n");
    const QByteArray time = "\n#" + QByteArray::number(qint64{last.time}) + '\n';
    const int at = end.lastIndexOf(time);
    return at >= 0 && end.endsWith('\n') && end.mid(at + time.size()).count('\n') == last.count;
}

bool writeTrace(const QString& path) {
    Vcd::write_vcd(QFile::encodeName(path).toStdString());
    return isComplete(path);
}

} // namespace

OutputFile::~OutputFile() {
    if (m_isCreated)
        QFile::remove(m_path);
}

QString OutputFile::claim(bool mayReplace) {
    const QFileInfo info(m_path);
    if (info.exists() && !mayReplace)
        return QStringLiteral("%1 exists already: name another file, or add --force").arg(m_path);
    if (info.exists() && !info.isFile())
        return QStringLiteral("%1 cannot be written: it is no file").arg(m_path);
    QFile file(m_path);
    const bool isNew = !info.exists();
    if (!file.open(isNew ? QIODevice::WriteOnly | QIODevice::NewOnly
                         : QIODevice::ReadWrite | QIODevice::ExistingOnly))
        return QStringLiteral("%1 cannot be written: %2").arg(m_path, file.errorString());
    m_isCreated = isNew;
    return {};
}

QString OutputFile::write() {
    m_isCreated = false;
    if (writeTrace(m_path))
        return {};
    const QString lost = QStringLiteral("%1 could not be written in full").arg(m_path);
    QTemporaryFile other(QDir::temp().filePath(QStringLiteral("board-XXXXXX.vcd")));
    if (!other.open() || !writeTrace(other.fileName()))
        return lost + QStringLiteral(", nor could a file in %1").arg(QDir::tempPath());
    other.setAutoRemove(false);
    return lost + QStringLiteral(": the recording is in %1").arg(other.fileName());
}
