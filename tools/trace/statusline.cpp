#include "tools/trace/statusline.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace {

constexpr int kPeriod_ms = 500;
constexpr char kStart[] = "\r";
constexpr char kClearRest[] = "\x1b[K"; // from here to the line's end

} // namespace

std::string statusText(const Progress& last, const Progress& now) {
    const double passed_s = static_cast<double>(now.elapsed_ns - last.elapsed_ns) / 1e9;
    const auto since = static_cast<double>(now.reports - last.reports);
    const long rate = passed_s > 0.0 ? std::lround(since / passed_s) : 0;
    const auto tenths = static_cast<long>(now.elapsed_ns / 100000000);
    return std::to_string(tenths / 10) + '.' + std::to_string(tenths % 10) + " s  " +
           std::to_string(now.reports) + " reports  " + std::to_string(rate) + " reports/s  " +
           std::to_string(now.down) + " down";
}

StatusLine::StatusLine(std::function<Progress()> progress)
    : m_progress(std::move(progress)), m_isTerminal(::isatty(STDERR_FILENO) == 1) {
    if (!m_isTerminal)
        return;
    connect(&m_timer, &QTimer::timeout, this, &StatusLine::rewrite);
    m_timer.start(kPeriod_ms);
}

StatusLine::~StatusLine() {
    if (m_isTerminal)
        std::fprintf(stderr, "%s%s", kStart, kClearRest);
}

void StatusLine::rewrite() {
    const Progress now = m_progress();
    std::fprintf(stderr, "%s%s%s", kStart, statusText(m_last, now).c_str(), kClearRest);
    std::fflush(stderr);
    m_last = now;
}
