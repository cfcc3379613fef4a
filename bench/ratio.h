#pragma once

#include <optional>
#include <string>
#include <vector>

/// What a benchmark program measures: rows of two sides that do their work by turns in one run, the
/// median of each, and their ratio. Times of different runs, let alone of different machines, are
/// not compared.
namespace ratio {

enum class Clock {
    Wall,
    Process, ///< the processor time of all threads
    Thread,  ///< the processor time of the calling thread
};

double seconds(Clock clock);

/// In seconds.
template <typename Work>
double time(Clock clock, Work&& work) {
    const double start = seconds(clock);
    work();
    return seconds(clock) - start;
}

/// Not of an empty list.
double median(std::vector<double> values);

struct Sides {
    std::vector<double> ours;
    std::vector<double> other;
};

/// What the ratio ought to be: ours to the other side where it has an upper bound or none, the
/// other side to ours where it has a lower one.
struct Target {
    bool is_upper;
    std::optional<double> bound;
};

inline Target unbounded() {
    return {true, std::nullopt};
}

inline Target at_most(double bound) {
    return {true, bound};
}

inline Target at_least(double bound) {
    return {false, bound};
}

/// "12.3 us" of a time in seconds.
std::string time_text(double seconds);
/// Three significant digits at least, without an exponent.
std::string number_text(double value);

/// A program's arguments and its output. `--once` measures one repetition of everything, which
/// shows that the program runs and nothing else; `--table` prints the rows of docs/performance.md.
class Report {
public:
    Report(int argc, char** argv);

    bool is_once() const { return m_is_once; }
    /// A count of repetitions or of rounds in one, or `once` where the program only has to run.
    int count(int wanted, int once = 1) const { return m_is_once ? once : wanted; }

    /// Both sides by turns; each returns its cost. An odd number of repetitions, seven at least.
    template <typename Ours, typename Other>
    Sides by_turns(int repetitions, Ours&& ours, Other&& other) const {
        Sides sides;
        for (int i = 0; i < count(repetitions); ++i) {
            sides.ours.push_back(ours());
            sides.other.push_back(other());
        }
        return sides;
    }

    /// Sides in seconds, of which one repetition does `rounds` rounds.
    void times(const std::string& number, const std::string& what, const Sides& sides,
               Target target, int rounds = 1) const;
    void row(const std::string& number, const std::string& what, const std::string& ours,
             const std::string& other, double ratio, Target target) const;

private:
    bool m_is_once = false;
    bool m_is_table = false;
};

} // namespace ratio
