#include "tools/trace/interruption.h"

#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>
#include <utility>

namespace {

// A pipe from the handler, which may do next to nothing, to the event loop.
int fromHandler = -1;
int toLoop = -1;

void onSignal(int) {
    const int kept = errno;
    const char anything = 0;
    [[maybe_unused]] const auto written = ::write(toLoop, &anything, 1);
    errno = kept;
}

constexpr auto kSignals = {SIGINT, SIGTERM, SIGHUP};

} // namespace

Interruption::Interruption(std::function<void()> asked) : m_asked(std::move(asked)) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
        fromHandler = ends[0];
        toLoop = ends[1];
    }
    m_notifier = new QSocketNotifier(fromHandler, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char drained[16];
        while (::read(fromHandler, drained, sizeof drained) > 0) {
        }
        m_asked();
    });
    for (const int signal : kSignals) {
        struct sigaction before = {};
        ::sigaction(signal, nullptr, &before);
        if (signal == SIGHUP && before.sa_handler == SIG_IGN)
            continue; // as nohup asks for
        struct sigaction action = {};
        action.sa_handler = onSignal;
        action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
        ::sigaction(signal, &action, nullptr);
    }
}

Interruption::~Interruption() {
    for (const int signal : kSignals) {
        struct sigaction now = {};
        ::sigaction(signal, nullptr, &now);
        if (now.sa_handler == onSignal)
            std::signal(signal, SIG_DFL);
    }
    delete m_notifier;
    ::close(fromHandler);
    ::close(toLoop);
}
