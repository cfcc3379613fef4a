// The trace recorder beside a plain one: what update and write_vcd cost, and how many times as fast
// as the plain ones they are in the same run.

#include "trace/vcd.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The recorder as one writes it down at first: arrays that double, a sort of a copy of everything,
// and a stream insertion for each field.
class PlainVcd {
public:
    using change = Vcd::change;

    PlainVcd(const std::string& name, double value) {
        {
            const std::lock_guard lock(m_mutex);
            std::uint32_t& number = m_name_to_id_map[name];
            if (number == 0) {
                number = m_next_id++;
                m_id_to_name_map[number] = name;
            }
            id = number;
        }
        update(value);
    }

    void update(double value) {
        const std::lock_guard lock(m_mutex);
        std::vector<change>& changes = m_id_to_changes_map[id];
        if (!changes.empty() && changes.back().value == value)
            return;
        const std::chrono::nanoseconds since_start =
            std::chrono::system_clock::now() - Vcd::m_starttime;
        std::int64_t time = since_start.count();
        if (!changes.empty() && changes.back().time >= time)
            time = changes.back().time + 1;
        changes.push_back({id, type, value, time});
    }

    static void write_vcd(const std::string& filename) {
        std::ofstream file(filename);
        if (!file)
            return;
        std::map<std::uint32_t, std::string> codes;
        file << "$date It's a new day. $end\n"
             << "$version VCD generator V1.0. $end\n"
             << "$comment VCD generator by Vexlin $end\n"
             << "$timescale 1 ns $end\n"
             << "$scope module logic $end\n";
        for (const auto& [number, name] : m_id_to_name_map) {
            std::string& code = codes[number];
            std::uint32_t rest = number - 33;
            do
                code += static_cast<char>(33 + rest % 93);
            while ((rest /= 93) != 0);
            file << "$var real 64 " << code << ' ' << name << " $end\n";
        }
        file << "$upscope $end\n"
             << "$enddefinitions $end\n";

        std::vector<change> all;
        for (const auto& [number, changes] : m_id_to_changes_map)
            all.insert(all.end(), changes.begin(), changes.end());
        std::stable_sort(all.begin(), all.end(),
                         [](const change& a, const change& b) { return a.time < b.time; });
        std::int64_t last_time = 0;
        for (const change& change : all) {
            if (change.time != last_time) {
                file << '#' << change.time << '\n';
                last_time = change.time;
            }
            if (change.type != 0)
                file << 'r' << change.value << ' ' << codes[change.id] << '\n';
            else
                file << 's' << static_cast<char>(change.value) << ' ' << codes[change.id] << '\n';
        }
    }

    std::uint32_t id = 0;
    int type = 1;

    inline static std::map<std::uint32_t, std::string> m_id_to_name_map;
    inline static std::map<std::string, std::uint32_t> m_name_to_id_map;
    inline static std::map<std::uint32_t, std::vector<change>> m_id_to_changes_map;
    inline static std::mutex m_mutex;
    inline static std::uint32_t m_next_id = 33;
};

template <typename Trace>
void forget() {
    Trace::m_id_to_name_map.clear();
    Trace::m_name_to_id_map.clear();
    Trace::m_id_to_changes_map.clear();
    Trace::m_next_id = 33;
}

template <typename Trace>
void forget_before(const benchmark::State&) {
    forget<Trace>();
}

constexpr int kUpdates = 1000000;

// A contact that moves across the board, as the board's normalised coordinates tell it.
double coordinate(int report) {
    return static_cast<double>(report % 32768) / 32768.0;
}

template <typename Trace>
void record(int signal_count, int change_count) {
    forget<Trace>();
    std::vector<Trace> signals;
    signals.reserve(static_cast<std::size_t>(signal_count));
    for (int i = 0; i < signal_count; ++i)
        signals.emplace_back("signal" + std::to_string(i), -1.0);
    for (int i = signal_count; i < change_count; ++i)
        signals[static_cast<std::size_t>(i % signal_count)].update(coordinate(i));
}

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { std::remove(name.c_str()); }

    const std::string name = (std::filesystem::temp_directory_path() /
                              ("bench_vcd." + std::to_string(getpid()) + ".vcd"))
                                 .string();
};

template <typename Trace>
void update_changed(benchmark::State& state) {
    Trace signal("signal" + std::to_string(state.thread_index()), -1.0);
    int report = 0;
    for (auto _ : state)
        signal.update(coordinate(report++));
}

template <typename Trace>
void update_unchanged(benchmark::State& state) {
    Trace signal("signal" + std::to_string(state.thread_index()), -1.0);
    for (auto _ : state)
        signal.update(-1.0);
}

template <typename Trace>
void write(benchmark::State& state) {
    const auto change_count = static_cast<int>(state.range(1));
    record<Trace>(static_cast<int>(state.range(0)), change_count);
    const OutputFile file;
    for (auto _ : state)
        Trace::write_vcd(file.name);
    state.SetItemsProcessed(state.iterations() * change_count);
    forget<Trace>();
}

// Both by turns, so that whatever else the machine does meets both. The least processor time of
// each counts: the more rounds (--benchmark_min_time=5), the less of the machine is in the ratio.
void write_against_plain(benchmark::State& state) {
    record<Vcd>(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    record<PlainVcd>(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    const OutputFile file;
    std::clock_t plain = std::numeric_limits<std::clock_t>::max();
    std::clock_t own = plain;
    for (auto _ : state) {
        const std::clock_t start = std::clock();
        PlainVcd::write_vcd(file.name);
        const std::clock_t between = std::clock();
        Vcd::write_vcd(file.name);
        own = std::min(own, std::clock() - between);
        plain = std::min(plain, between - start);
    }
    state.counters["plain_ms"] = 1e3 * static_cast<double>(plain) / CLOCKS_PER_SEC;
    state.counters["own_ms"] = 1e3 * static_cast<double>(own) / CLOCKS_PER_SEC;
    state.counters["times_as_fast"] = static_cast<double>(plain) / static_cast<double>(own);
    forget<Vcd>();
    forget<PlainVcd>();
}

BENCHMARK_TEMPLATE(update_changed, PlainVcd)
    ->Setup(forget_before<PlainVcd>)
    ->Iterations(kUpdates)
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(update_changed, Vcd)
    ->Setup(forget_before<Vcd>)
    ->Iterations(kUpdates)
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(update_unchanged, PlainVcd)
    ->Setup(forget_before<PlainVcd>)
    ->Iterations(kUpdates)
    ->ThreadRange(1, 2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(update_unchanged, Vcd)
    ->Setup(forget_before<Vcd>)
    ->Iterations(kUpdates)
    ->ThreadRange(1, 2)
    ->UseRealTime();

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"signals", "changes"})
        ->ArgsProduct({{1, 100}, {20000, 2000000}})
        ->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(write, PlainVcd)->Apply(sizes);
BENCHMARK_TEMPLATE(write, Vcd)->Apply(sizes);
BENCHMARK(write_against_plain)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
