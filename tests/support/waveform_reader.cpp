#include "tests/support/waveform_reader.h"

#include "tests/support/x_session.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

namespace {

constexpr int kPatience_ms = 60000;

bool run(BoundProcess& process, const QString& tool, const QStringList& arguments) {
    process.start(tool, arguments);
    return process.waitForFinished(kPatience_ms) && process.exitStatus() == QProcess::NormalExit;
}

QString said(const QString& tool, BoundProcess& process) {
    if (process.error() == QProcess::FailedToStart)
        return tool + QStringLiteral(" is not installed: Debian has it in the package gtkwave.");
    return QStringLiteral("%1 ends with %2: %3")
        .arg(tool)
        .arg(process.exitCode())
        .arg(QString::fromLocal8Bit(process.readAllStandardError()));
}

} // namespace

Waveforms waveforms_of(const QByteArray& vcd) {
    Waveforms waveforms;
    QMap<QByteArray, QByteArray> names;
    qint64 time = 0;
    for (const QByteArray& line : vcd.split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.first() == "$var" && words.size() > 4) {
            names.insert(words.at(3), words.at(4));
            waveforms[words.at(4)];
        } else if (line.startsWith('#')) {
            time = line.mid(1).toLongLong();
        } else if (line.startsWith('r') && words.size() == 2) {
            const double value = words.first().mid(1).toDouble();
            if (!std::isnan(value))
                waveforms[names.value(words.at(1), "no signal")].append({time, value});
        }
    }
    return waveforms;
}

QByteArray WaveformReader::fail(const QString& why) {
    m_why = why.toLocal8Bit();
    return {};
}

QByteArray WaveformReader::converted(const QString& vcd_file) {
    const QTemporaryDir folder;
    const QString fst = folder.filePath(QStringLiteral("waveforms.fst"));
    BoundProcess there;
    if (!run(there, QStringLiteral("vcd2fst"), {vcd_file, fst}) || there.exitCode() != 0)
        return fail(said(QStringLiteral("vcd2fst"), there));
    BoundProcess back;
    if (!run(back, QStringLiteral("fst2vcd"), {fst}) || back.exitCode() != 0)
        return fail(said(QStringLiteral("fst2vcd"), back));
    return back.readAllStandardOutput();
}

QByteArray WaveformReader::viewed(const XSession& session, const QString& vcd_file,
                                  const QByteArray& script) {
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("script.tcl")));
    if (!file.open(QIODevice::WriteOnly) || file.write(script + "\nflush stdout\nexit\n") < 0)
        return fail(file.errorString());
    file.close();
    QProcessEnvironment environment = session.environment();
    environment.insert(QStringLiteral("HOME"), folder.path()); // nobody's settings
    BoundProcess viewer;
    viewer.setProcessEnvironment(environment);
    viewer.setWorkingDirectory(folder.path());
    if (!run(viewer, QStringLiteral("gtkwave"),
             {QStringLiteral("--nomenus"), QStringLiteral("-S"), file.fileName(), vcd_file}))
        return fail(said(QStringLiteral("gtkwave"), viewer));
    const QByteArray printed = viewer.readAllStandardOutput();
    m_refusal = viewer.exitCode() == 0 ? QByteArray() : viewer.readAllStandardError();
    return printed.isNull() ? QByteArray("") : printed;
}
