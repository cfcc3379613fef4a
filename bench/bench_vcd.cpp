// The trace recorder: how fast it writes, against a plain implementation and against the bytes
// alone, what an update costs, and how much memory it takes.

#include "bench/ratio.h"
#include "trace/vcd.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kChanges = 2000000;
constexpr int kRepetitions = 7;

enum Values { Sixteenths, FullMantissa };

double value(Values values, int n) {
    const int step = n % 32768;
    return values == Sixteenths ? step / 16.0 : std::sqrt(step + 0.1);
}

void forget() {
    Vcd::m_id_to_name_map.clear();
    Vcd::m_name_to_id_map.clear();
    Vcd::m_id_to_changes_map.clear();
    Vcd::m_next_id = Vcd::kFirstId;
}

/// In place of what has been recorded so far.
void record(Values values, int signal_count, int change_count) {
    forget();
    std::vector<Vcd> traces;
    for (int i = 0; i < signal_count; ++i)
        traces.emplace_back("signal" + std::to_string(i), -1.0);
    for (int n = signal_count; n < change_count; ++n)
        traces[static_cast<std::size_t>(n % signal_count)].update(value(values, n));
}

/// The recorder as one writes it down at first, with an array that doubles for each signal.
class PlainVcd {
public:
    explicit PlainVcd(std::uint32_t signal) : m_signal(signal) {}

    void update(double value) {
        const std::lock_guard lock(m_mutex);
        std::vector<Vcd::change>& changes = m_changes[m_signal];
        if (!changes.empty() && changes.back().value == value)
            return;
        const std::chrono::nanoseconds since_start =
            std::chrono::system_clock::now() - Vcd::m_starttime;
        std::int64_t time = since_start.count();
        if (!changes.empty() && changes.back().time >= time)
            time = changes.back().time + 1;
        changes.push_back({m_signal, Vcd::kDouble, value, time});
    }

    static void forget() { m_changes.clear(); }

private:
    std::uint32_t m_signal;

    inline static std::map<std::uint32_t, std::vector<Vcd::change>> m_changes;
    inline static std::mutex m_mutex;
};

/// The writer as one writes it down at first: a sort of a copy of everything, a map of codes, and a
/// stream insertion for each field.
void write_plainly(const std::string& filename) {
    std::ofstream file(filename);
    if (!file)
        return;
    std::map<std::uint32_t, std::string> codes;
    file << "$date It's a new day. $end\n"
         << "$version VCD generator V1.0. $end\n"
         << "$comment VCD generator by Vexlin $end\n"
         << "$timescale 1 ns $end\n"
         << "$scope module logic $end\n";
    for (const auto& [number, name] : Vcd::m_id_to_name_map) {
        std::string& code = codes[number];
        std::uint32_t rest = number - Vcd::kFirstId;
        do
            code += static_cast<char>('!' + rest % 93);
        while ((rest /= 93) != 0);
        file << "$var real 64 " << code << ' ' << name << " $end\n";
    }
    file << "$upscope $end\n"
         << "$enddefinitions $end\n";

    std::vector<Vcd::change> all;
    for (const auto& [number, changes] : Vcd::m_id_to_changes_map) {
        for (const auto& block : changes.blocks())
            all.insert(all.end(), block.items.begin(), block.items.end());
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Vcd::change& a, const Vcd::change& b) { return a.time < b.time; });
    std::int64_t last_time = 0;
    for (const Vcd::change& change : all) {
        if (change.time != last_time) {
            file << '#' << change.time << '\n';
            last_time = change.time;
        }
        if (change.type != Vcd::kChar)
            file << 'r' << change.value << ' ' << codes[change.id] << '\n';
        else
            file << 's' << static_cast<char>(change.value) << ' ' << codes[change.id] << '\n';
    }
}

/// Two files of the process's own, removed at the end.
class Files {
public:
    ~Files() {
        std::remove(ours.c_str());
        std::remove(other.c_str());
    }

    const std::string ours = name("ours");
    const std::string other = name("other");

private:
    static std::string name(const std::string& side) {
        const std::string name = "bench_vcd." + std::to_string(getpid()) + '.' + side;
        return (std::filesystem::temp_directory_path() / name).string();
    }
};

std::string content(const std::string& filename) {
    std::ostringstream bytes;
    bytes << std::ifstream(filename, std::ios::binary).rdbuf();
    return bytes.str();
}

void write_bytes(const std::string& filename, const std::string& bytes) {
    std::FILE* const file = std::fopen(filename.c_str(), "wb");
    std::setvbuf(file, nullptr, _IONBF, 0);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
}

template <typename Write>
double process_time(Write write) {
    return ratio::time(ratio::Clock::Process, write);
}

bool writing(const ratio::Report& report) {
    bool is_same = true;
    for (const Values values : {Sixteenths, FullMantissa}) {
        for (const int signal_count : {1, 100}) {
            const Files files;
            record(values, signal_count, report.count(kChanges, 20000));
            const auto ours = [&] { return process_time([&] { Vcd::write_vcd(files.ours); }); };
            const auto plain = [&] { return process_time([&] { write_plainly(files.other); }); };
            const std::string what = std::string("write_vcd, ") +
                                     (values == Sixteenths ? "sixteenths" : "full mantissa") +
                                     ", " + std::to_string(signal_count) +
                                     (signal_count == 1 ? " signal" : " signals");
            report.times("1", what + ", against the plain writer",
                         report.by_turns(kRepetitions, ours, plain), ratio::at_least(9.0));
            const std::string bytes = content(files.ours);
            is_same = is_same && bytes == content(files.other);
            const auto bare = [&] {
                return process_time([&] { write_bytes(files.other, bytes); });
            };
            report.times("1", what + ", against the bytes alone",
                         report.by_turns(kRepetitions, ours, bare), ratio::at_most(9.0));
        }
    }
    forget();
    if (!is_same)
        std::fputs("The two writers differ.\n", stderr);
    return is_same;
}

void updating(const ratio::Report& report) {
    const int rounds = report.count(1000000, 1000);
    const auto ours = [rounds] {
        forget();
        Vcd trace("signal", -1.0);
        return process_time([&] {
            for (int n = 0; n < rounds; ++n)
                trace.update(n);
        });
    };
    const auto clock_and_lock = [rounds] {
        std::mutex mutex;
        volatile std::int64_t time = 0;
        return process_time([&] {
            for (int n = 0; n < rounds; ++n) {
                const std::lock_guard lock(mutex);
                time = std::chrono::system_clock::now().time_since_epoch().count();
            }
        });
    };
    report.times("2", "update that records, against a clock reading and a lock",
                 report.by_turns(15, ours, clock_and_lock), ratio::at_most(1.6), rounds);
    forget();
}

/// Each thread updates a signal of its own. \return wall time in seconds
template <typename Trace>
double update_on(int thread_count, int rounds, int step, Trace (*signal)(int)) {
    std::vector<Trace> signals;
    for (int i = 0; i < thread_count; ++i) {
        signals.push_back(signal(i));
        signals.back().update(0.0);
    }
    const auto work = [rounds, step](Trace& trace) {
        for (int n = 1; n <= rounds; ++n)
            trace.update(n * step);
    };
    return ratio::time(ratio::Clock::Wall, [&] {
        std::vector<std::thread> others;
        for (int i = 1; i < thread_count; ++i)
            others.emplace_back(work, std::ref(signals[static_cast<std::size_t>(i)]));
        work(signals.front());
        for (std::thread& other : others)
            other.join();
    });
}

void updating_plainly(const ratio::Report& report) {
    const int rounds = report.count(500000, 1000);
    for (const int step : {1, 0}) {
        for (const int thread_count : {1, 2}) {
            const auto ours = [=] {
                forget();
                return update_on<Vcd>(thread_count, rounds, step,
                                      [](int i) { return Vcd("signal" + std::to_string(i), 0.0); });
            };
            const auto plain = [=] {
                PlainVcd::forget();
                return update_on<PlainVcd>(thread_count, rounds, step, [](int i) {
                    return PlainVcd(static_cast<std::uint32_t>(i));
                });
            };
            const std::string what = std::string("update ") + (step == 0 ? "un" : "") +
                                     "changed, " + std::to_string(thread_count) +
                                     (thread_count == 1 ? " thread" : " threads");
            report.times("2", what + ", against a plain recorder", report.by_turns(15, ours, plain),
                         ratio::unbounded(), rounds * thread_count);
        }
    }
    forget();
    PlainVcd::forget();
}

/// A figure of this process in the kernel's own words, in bytes.
double status(const std::string& name) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        if (word == name + ':') {
            double kilobytes = 0.0;
            file >> kilobytes;
            return 1024.0 * kilobytes;
        }
    }
    return 0.0;
}

/// In bytes, what recording and writing have added to a process of their own.
double peak_memory(int signal_count, int change_count) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return 0.0;
    const pid_t child = fork();
    if (child == 0) {
        const double before = status("VmRSS");
        record(FullMantissa, signal_count, change_count);
        Vcd::write_vcd("/dev/null");
        const double added = status("VmHWM") - before;
        _exit(write(ends[1], &added, sizeof added) == sizeof added ? 0 : 1);
    }
    close(ends[1]);
    double added = 0.0;
    if (read(ends[0], &added, sizeof added) != sizeof added)
        added = 0.0;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return added;
}

void remembering(const ratio::Report& report) {
    double worst = 0.0;
    double worst_added = 0.0;
    int worst_count = 1;
    for (const int signal_count : {1, 100}) {
        for (const int change_count : {kChanges, kChanges + kChanges / 10}) {
            const int count = report.count(change_count, change_count / 100);
            std::vector<double> added;
            for (int i = 0; i < report.count(kRepetitions); ++i)
                added.push_back(peak_memory(signal_count, count));
            const double median = ratio::median(added);
            if (median / count > worst) {
                worst = median / count;
                worst_added = median;
                worst_count = count;
            }
        }
    }
    report.row("3", "memory of recording and writing, the worst of four",
               ratio::number_text(worst_added) + " bytes", std::to_string(worst_count) + " changes",
               worst, ratio::at_most(40.0));
}

} // namespace

int main(int argc, char** argv) {
    const ratio::Report report(argc, argv);
    remembering(report); // first, while there is nothing that a child could inherit
    const bool is_same = writing(report);
    updating(report);
    updating_plainly(report);
    return is_same ? 0 : 1;
}
