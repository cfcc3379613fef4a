#include "tools/trace/options.h"

#include <QCommandLineParser>
#include <cmath>

namespace {

constexpr double kLongest_s = 2000000.0; // some 23 days: what a timer holds

Options complaint(const QString& what) {
    Options options;
    options.task = Options::Task::Complain;
    options.text = what;
    return options;
}

/// Nothing where it is no time to record for.
std::optional<std::chrono::milliseconds> parsedDuration(const QString& seconds) {
    bool isNumber = false;
    const double number = seconds.toDouble(&isNumber);
    if (!isNumber || !(number > 0.0) || number > kLongest_s)
        return {};
    return std::chrono::milliseconds(std::llround(std::ceil(number * 1000.0)));
}

} // namespace

Options parseOptions(const QStringList& arguments) {
    const QCommandLineOption duration(QStringLiteral("duration"),
                                      QStringLiteral("Record for so many seconds."),
                                      QStringLiteral("SECONDS"));
    const QCommandLineOption output(
        QStringLiteral("output"), QStringLiteral("Write the waveforms to FILE, not to board.vcd."),
        QStringLiteral("FILE"));
    const QCommandLineOption force(QStringLiteral("force"),
                                   QStringLiteral("Write over a file that exists."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print JSON, not a table."));
    const QCommandLineOption list(QStringLiteral("list"),
                                  QStringLiteral("Print what boards there are, and end."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Print this, and end."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Print the version, and end."));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Records what boards report, as waveforms in a VCD file, until Ctrl-C, and prints\n"
        "what the reports come to. Exit status: 0 done, 1 no driver, no board or no file to\n"
        "write, 2 wrong usage."));
    parser.addOptions({duration, output, force, json, list, help, version});

    if (!parser.parse(arguments))
        return complaint(parser.errorText());
    Options options;
    if (parser.isSet(help) || parser.isSet(version)) {
        options.task = parser.isSet(help) ? Options::Task::ShowHelp : Options::Task::ShowVersion;
        options.text = parser.helpText();
        return options;
    }
    if (!parser.positionalArguments().isEmpty())
        return complaint(
            QStringLiteral("There is no argument '%1'.").arg(parser.positionalArguments().first()));
    options.json = parser.isSet(json);
    if (parser.isSet(list)) {
        if (parser.isSet(duration) || parser.isSet(output) || parser.isSet(force))
            return complaint(QStringLiteral("--list records nothing: it goes with --json alone."));
        options.task = Options::Task::List;
        return options;
    }
    if (parser.isSet(duration)) {
        options.duration = parsedDuration(parser.value(duration));
        if (!options.duration)
            return complaint(
                QStringLiteral("'%1' is no duration: it is a number of seconds above 0, of "
                               "2000000 at most.")
                    .arg(parser.value(duration)));
    }
    if (parser.isSet(output)) {
        options.output = parser.value(output);
        if (options.output.isEmpty())
            return complaint(QStringLiteral("--output has no file name."));
    }
    options.replaces = parser.isSet(force);
    return options;
}
