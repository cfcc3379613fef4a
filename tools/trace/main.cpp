#include "tools/trace/boards.h"
#include "tools/trace/interruption.h"
#include "tools/trace/listing.h"
#include "tools/trace/options.h"
#include "tools/trace/outputfile.h"
#include "tools/trace/recording.h"
#include "tools/trace/statusline.h"
#include "tools/trace/summary.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUsage = 2 };

int complain(ExitStatus status, const QString& what) {
    std::fprintf(stderr, "kestrune-trace: %s\n", what.toLocal8Bit().constData());
    return status;
}

int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0)
        return kDone;
    return complain(kFailed, QStringLiteral("the standard output cannot be written"));
}

std::string printed(const QJsonObject& object) {
    return QJsonDocument(object).toJson().toStdString();
}

/// False, and said so, where there is nothing to record.
bool found(Boards& boards) {
    if (!boards.open()) {
        std::fputc('\n', stderr); // the loader has not ended its line
        complain(kFailed, QStringLiteral("there is no driver library"));
        return false;
    }
    if (boards.found().isEmpty()) {
        boards.close();
        complain(kFailed, QStringLiteral("there is no board that can be used"));
        return false;
    }
    return true;
}

int list(const Options& options) {
    Boards boards;
    if (!found(boards))
        return kFailed;
    return print(options.json ? printed(toJson(boards.found())) : listText(boards.found()));
}

int record(const Options& options) {
    OutputFile output(options.output);
    const QString unwritable = output.claim(options.replaces);
    if (!unwritable.isEmpty())
        return complain(kFailed, unwritable);
    const Interruption interruption([] { QCoreApplication::quit(); });
    Boards boards;
    const Recording recording(boards.hardware());
    if (!found(boards))
        return kFailed;
    boards.switchOn();
    if (options.duration)
        QTimer::singleShot(*options.duration, Qt::PreciseTimer, [] { QCoreApplication::quit(); });
    {
        const StatusLine status([&recording] { return recording.progress(); });
        QCoreApplication::exec();
    }
    boards.close();

    const Summary summary = recording.summary();
    const QString lost = output.write();
    if (!lost.isEmpty())
        complain(kFailed, lost);
    const int status = print(options.json ? printed(toJson(summary)) : tableText(summary));
    return lost.isEmpty() ? status : kFailed;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGXFSZ, SIG_IGN); // a file that gets too large is to be told of
    const QCoreApplication application(argc, argv);
    const Options options = parseOptions(QCoreApplication::arguments());
    switch (options.task) {
    case Options::Task::ShowHelp:
        return print(options.text.toStdString());
    case Options::Task::ShowVersion:
        return print("kestrune-trace " KESTRUNE_VERSION "\n");
    case Options::Task::Complain:
        return complain(kWrongUsage, options.text);
    case Options::Task::List:
        return list(options);
    default:
        return record(options);
    }
}
