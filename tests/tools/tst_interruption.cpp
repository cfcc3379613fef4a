#include "tools/trace/interruption.h"

#include <QtTest>
#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

/// The status with which a child process ends that does this; it ends by itself with 0.
template <typename Function>
int status_of_child(Function function) {
    const pid_t child = fork();
    if (child == 0) {
        function();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

} // namespace

class TestInterruption : public QObject {
    Q_OBJECT

private slots:
    void a_signal_is_told_from_the_event_loop_data();
    void a_signal_is_told_from_the_event_loop();
    void a_signal_on_another_thread_is_told_too();
    void a_second_signal_ends_the_process();
    void afterwards_a_signal_ends_the_process();
    void a_hangup_that_is_ignored_stays_ignored();
};

void TestInterruption::a_signal_is_told_from_the_event_loop_data() {
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestInterruption::a_signal_is_told_from_the_event_loop() {
    QFETCH(const int, number);
    int asked = 0;
    const Interruption interruption([&asked] { ++asked; });
    QCOMPARE(::kill(::getpid(), number), 0);
    QTRY_COMPARE(asked, 1);
    QCoreApplication::processEvents();
    QCOMPARE(asked, 1);
}

void TestInterruption::a_signal_on_another_thread_is_told_too() {
    int asked = 0;
    const Interruption interruption([&asked] { ++asked; });
    std::thread([] { ::pthread_kill(::pthread_self(), SIGINT); }).join();
    QCOMPARE(asked, 0); // it is for the event loop
    QTRY_COMPARE(asked, 1);
}

void TestInterruption::a_second_signal_ends_the_process() {
    const int status = status_of_child([] {
        const Interruption interruption([] {});
        std::raise(SIGINT);
        std::raise(SIGINT);
    });
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), SIGINT);
}

void TestInterruption::afterwards_a_signal_ends_the_process() {
    const int status = status_of_child([] {
        {
            const Interruption interruption([] {});
        }
        std::raise(SIGTERM);
    });
    QVERIFY(WIFSIGNALED(status));
    QCOMPARE(WTERMSIG(status), SIGTERM);
}

void TestInterruption::a_hangup_that_is_ignored_stays_ignored() {
    const int status = status_of_child([] {
        std::signal(SIGHUP, SIG_IGN);
        int asked = 0;
        const Interruption interruption([&asked] { ++asked; });
        std::raise(SIGHUP);
        QCoreApplication::processEvents();
        if (asked != 0)
            _exit(1);
    });
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 0);
}

QTEST_GUILESS_MAIN(TestInterruption)
#include "tst_interruption.moc"
