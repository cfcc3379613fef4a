#include "bench/ratio.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace ratio {

double seconds(Clock clock) {
    clockid_t id = CLOCK_MONOTONIC;
    if (clock == Clock::Process)
        id = CLOCK_PROCESS_CPUTIME_ID;
    else if (clock == Clock::Thread)
        id = CLOCK_THREAD_CPUTIME_ID;
    timespec now{};
    clock_gettime(id, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string number_text(double value) {
    const int whole_digits = value == 0.0 ? 1 : static_cast<int>(std::log10(std::abs(value))) + 1;
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", std::max(0, 3 - std::max(whole_digits, 1)), value);
    return text;
}

std::string time_text(double seconds) {
    constexpr struct {
        double size;
        const char* name;
    } units[] = {{1.0, "s"}, {1e-3, "ms"}, {1e-6, "us"}};
    for (const auto& unit : units) {
        if (seconds >= unit.size)
            return number_text(seconds / unit.size) + ' ' + unit.name;
    }
    return number_text(seconds / 1e-9) + " ns";
}

Report::Report(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--once") == 0) {
            m_is_once = true;
        } else if (std::strcmp(argv[i], "--table") == 0) {
            m_is_table = true;
        } else {
            std::fprintf(stderr, "usage: %s [--once] [--table]\n", argv[0]);
            std::exit(2);
        }
    }
}

void Report::times(const std::string& number, const std::string& what, const Sides& sides,
                   Target target, int rounds) const {
    const double ours = median(sides.ours) / rounds;
    const double other = median(sides.other) / rounds;
    row(number, what, time_text(ours), time_text(other),
        target.is_upper ? ours / other : other / ours, target);
}

void Report::row(const std::string& number, const std::string& what, const std::string& ours,
                 const std::string& other, double ratio, Target target) const {
    const std::string bound =
        target.bound ? (target.is_upper ? "at most " : "at least ") + number_text(*target.bound)
                     : "no target";
    const char* const form = m_is_table ? "| %s | %s | %s | %s | %s | %s |\n"
                                        : "%-3s %s: %s against %s, ratio %s (%s)\n";
    std::printf(form, number.c_str(), what.c_str(), ours.c_str(), other.c_str(),
                number_text(ratio).c_str(), bound.c_str());
    std::fflush(stdout);
}

} // namespace ratio
