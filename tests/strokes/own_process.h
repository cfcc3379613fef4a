#pragma once

#include <QApplication>
#include <QProcess>
#include <QtTest>
#include <cstdio>

/// For a test of what outlives the views: each function, and each of its rows, runs in a process of
/// its own. Where a function is named on the command line, it runs in this process.
template <class Test>
int run_each_in_its_own_process(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc > 1) {
        Test test;
        return QTest::qExec(&test, argc, argv);
    }
    const QString program = QCoreApplication::applicationFilePath();
    const auto run = [&program](QString const& argument, QProcess::ProcessChannelMode output) {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(output);
        process->start(program, {argument});
        process->waitForFinished(-1);
        return process;
    };

    // A line is the class, the function and, where it has rows, the row.
    const auto list = run(QStringLiteral("-datatags"), QProcess::SeparateChannels);
    int ran = 0;
    int failed = 0;
    for (QByteArray const& line : list->readAllStandardOutput().split('\n')) {
        const QString text = QString::fromUtf8(line).trimmed();
        const QString function = text.section(QLatin1Char(' '), 1, 1);
        const QString row = text.section(QLatin1Char(' '), 2);
        if (function.isEmpty())
            continue;
        const auto test = run(row.isEmpty() ? function : function + QLatin1Char(':') + row,
                              QProcess::ForwardedChannels);
        ++ran;
        if (test->exitStatus() != QProcess::NormalExit || test->exitCode() != 0)
            ++failed;
    }
    std::printf("%d processes, %d failed\n", ran, failed);
    return ran > 0 && failed == 0 ? 0 : 1;
}
