#pragma once

#include "hardware/tavelentrypoints.h"

#include <QProcess>
#include <set>
#include <string>

/// What a driver library that is linked to exports, and what it is called. Empty where that is as
/// it has to be: the 47 entry points and nothing else, and the maker's name.
inline QString problemOfExports(const std::string& path) {
    const auto output = [&path](const QString& program, const QStringList& arguments) {
        QProcess process;
        process.start(program, arguments + QStringList(QString::fromStdString(path)));
        process.waitForFinished();
        return QString::fromLatin1(process.readAllStandardOutput());
    };
    std::set<std::string> missing;
#define TAVEL_NAME(name) missing.insert("tavel" #name);
    TAVEL_ENTRY_POINTS(TAVEL_NAME)
#undef TAVEL_NAME
    if (missing.size() != 47)
        return QStringLiteral("there are %1 entry points").arg(missing.size());
    const QString symbols =
        output(QStringLiteral("nm"), {QStringLiteral("-DP"), QStringLiteral("--defined-only")});
    for (const QString& line : symbols.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList words = line.split(QLatin1Char(' '));
        const bool isFunction = words.value(1) == QLatin1String("T");
        if (!isFunction || missing.erase(words.value(0).toStdString()) == 0)
            return line;
    }
    if (!missing.empty())
        return QStringLiteral("%1 is missing").arg(QString::fromStdString(*missing.begin()));
    const QString dynamic = output(QStringLiteral("readelf"), {QStringLiteral("-d")});
    return dynamic.contains(QStringLiteral("soname: [libtavelboardex.so.1]")) ? QString() : dynamic;
}
