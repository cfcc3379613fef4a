#include "trace/vcd.h"

#include "trace/numbertext.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Block = BlockList<Vcd::change>::Block;

// A file that is written in blocks, since the stream's own work for each small piece costs more
// than the formatting. After an error, what is appended is dropped.
class BlockFile {
public:
    explicit BlockFile(const std::string& filename)
        : m_block(new char[kBlockSize]), m_end(m_block.get()) {
        m_file.rdbuf()->pubsetbuf(nullptr, 0);
        m_file.open(filename, std::ios::out | std::ios::trunc | std::ios::binary);
    }

    bool good() const { return m_file.good(); }

    // Where to write up to `size` (at most kBlockSize) bytes, before ended_at tells how many.
    char* room(std::size_t size) {
        if (kBlockSize - used() < size)
            flush();
        return m_end;
    }
    void ended_at(char* end) { m_end = end; }

    void append(std::string_view text) {
        while (!text.empty()) {
            char* const out = room(1);
            const std::size_t size = std::min(text.size(), kBlockSize - used());
            std::memcpy(out, text.data(), size);
            ended_at(out + size);
            text.remove_prefix(size);
        }
    }

    void flush() {
        m_file.write(m_block.get(), static_cast<std::streamsize>(used()));
        m_end = m_block.get();
    }

private:
    static constexpr std::size_t kBlockSize = 1 << 20;

    std::size_t used() const { return static_cast<std::size_t>(m_end - m_block.get()); }

    std::ofstream m_file;
    std::unique_ptr<char[]> m_block; // not cleared: a short file needs little of it
    char* m_end;
};

// The number in base 93, least significant digit first, each digit a printable character.
std::string identifier_code(std::uint32_t id) {
    constexpr std::uint32_t kBase = 93;
    std::string code;
    std::uint32_t rest = id - Vcd::kFirstId;
    do {
        code += static_cast<char>('!' + rest % kBase);
        rest /= kBase;
    } while (rest != 0);
    return code;
}

// What ends the line of each value of a signal: a blank, the code (five characters at most, since
// 93^5 exceeds 2^32) and a line feed, copied at its full size and cut.
struct LineEnd {
    explicit LineEnd(std::uint32_t id) {
        const std::string line_end = ' ' + identifier_code(id) + '\n';
        size = line_end.copy(text.data(), text.size());
    }
    char* append(char* out) const {
        std::memcpy(out, text.data(), text.size());
        return out + size;
    }

    std::array<char, 8> text{};
    std::size_t size = 0;
};

// Changes of one signal that are next to each other.
class Run {
public:
    // From `first` in `block` up to `end` in `last_block`: one change at least.
    Run(const LineEnd& line_end, const Block* block, const Vcd::change* first,
        const Block* last_block, const Vcd::change* end)
        : m_line_end(line_end),
          m_block(block),
          m_last_block(last_block),
          m_next(first),
          m_last_end(end) {
        enter_block();
    }

    const Vcd::change& next() const { return *m_next; }
    const LineEnd& line_end() const { return m_line_end; }

    // To include what follows it, up to `end` in `last_block`.
    void extend(const Block* last_block, const Vcd::change* end) {
        m_last_block = last_block;
        m_last_end = end;
        enter_block();
    }

    bool at_end() const { return m_next == m_end; }
    void advance() {
        if (++m_next == m_end) {
            if (m_block == m_last_block)
                return;
            ++m_block;
            m_next = m_block->items.data();
            enter_block();
        }
        // The merge comes back to this run when others have pushed it out of the cache.
        __builtin_prefetch(m_next + std::min(kAhead, m_end - m_next - 1));
    }

private:
    static constexpr std::ptrdiff_t kAhead = 6; // two cache lines on

    void enter_block() {
        m_end =
            m_block == m_last_block ? m_last_end : m_block->items.data() + m_block->items.size();
    }

    LineEnd m_line_end;
    const Block* m_block;
    const Block* m_last_block;
    const Vcd::change* m_next;
    const Vcd::change* m_last_end;
    const Vcd::change* m_end = nullptr; // of m_block, or m_last_end
};

// Every signal is one run: update keeps its times in order.
std::vector<Run> runs_of_signals() {
    std::vector<Run> runs;
    for (const auto& [id, changes] : Vcd::m_id_to_changes_map) {
        if (changes.empty())
            continue;
        const Block& first = changes.blocks().front();
        const Block& last = changes.blocks().back();
        runs.emplace_back(LineEnd(id), &first, first.items.data(), &last,
                          last.items.data() + last.items.size());
    }
    return runs;
}

// A signal whose times somebody else has touched is as many runs as it takes for each to be in
// order.
std::vector<Run> runs_in_order() {
    std::vector<Run> runs;
    for (const auto& [id, changes] : Vcd::m_id_to_changes_map) {
        const LineEnd line_end(id);
        std::int64_t last_time = std::numeric_limits<std::int64_t>::max();
        for (const Block& block : changes.blocks()) {
            for (const Vcd::change& change : block.items) {
                if (change.time < last_time || &change == &changes.front())
                    runs.emplace_back(line_end, &block, &change, &block, &change + 1);
                else
                    runs.back().extend(&block, &change + 1);
                last_time = change.time;
            }
        }
    }
    return runs;
}

// Takes the changes of all runs in the order of their times, those of equal times in the order of
// the runs, by a tournament of which each inner node keeps the loser of its match: a change that
// is taken costs one comparison for each level, on the way from its run's leaf to the root.
class Merge {
public:
    explicit Merge(std::vector<Run> runs) : m_runs(std::move(runs)), m_losers(m_runs.size()) {
        while (m_runs.size() >> m_run_bits != 0)
            ++m_run_bits;
        m_never = ~Key{0} >> m_run_bits;
        play_all();
    }

    bool at_end() const { return offset_of(m_winner) == m_never; }
    const Run& winner() const { return m_runs[run_of(m_winner)]; }

    void take() {
        const std::size_t run = run_of(m_winner);
        m_runs[run].advance();
        Key winner = key(run);
        for (std::size_t node = (m_runs.size() + run) / 2; node > 0; node /= 2) {
            // Two choices rather than a branch: who wins is random, which no processor foretells.
            const Key other = m_losers[node];
            const Key first = other < winner ? other : winner;
            const Key second = other < winner ? winner : other;
            m_losers[node] = second;
            winner = first;
        }
        m_winner = winner;
        if (offset_of(m_winner) == too_far())
            play_all();
    }

private:
    // The time of a run's next change, counted from m_base, above the number of the run, so that
    // one comparison decides a match. The greatest time stands for none, at the end of the run, and
    // the one before for all that do not fit: when such a run wins, all play again from a new base.
    using Key = std::uint64_t;

    Key too_far() const { return m_never - 1; }
    Key offset_of(Key key) const { return key >> m_run_bits; }
    std::size_t run_of(Key key) const { return key & ((Key{1} << m_run_bits) - 1); }

    Key key(std::size_t run) const {
        Key offset = m_never;
        if (!m_runs[run].at_end()) {
            const auto time = static_cast<std::uint64_t>(m_runs[run].next().time);
            offset = std::min(time - static_cast<std::uint64_t>(m_base), too_far());
        }
        return offset << m_run_bits | run;
    }

    void play_all() {
        m_base = std::numeric_limits<std::int64_t>::max();
        for (const Run& run : m_runs) {
            if (!run.at_end())
                m_base = std::min(m_base, run.next().time);
        }
        const std::size_t count = m_runs.size();
        std::vector<Key> winners(2 * count + 2, ~Key{0}); // as a heap: node 1 is the root
        for (std::size_t run = 0; run < count; ++run)
            winners[count + run] = key(run);
        for (std::size_t node = count; node-- > 1;) {
            winners[node] = std::min(winners[2 * node], winners[2 * node + 1]);
            m_losers[node] = std::max(winners[2 * node], winners[2 * node + 1]);
        }
        m_winner = winners[1];
    }

    std::vector<Run> m_runs;
    std::vector<Key> m_losers;
    Key m_winner = 0;
    Key m_never = 0;
    int m_run_bits = 0;
    std::int64_t m_base = 0;
};

// The character of a `char` signal: the low eight bits of the value as an integer. A value from
// 2^63 on has none but zeros there, and an infinity or what is not a number is taken as zero.
char character(double value) {
    return static_cast<char>(std::abs(value) < 0x1p63 ? static_cast<std::int64_t>(value) : 0);
}

void write_header(BlockFile& file) {
    file.append("$date It's a new day. $end\n"
                "$version VCD generator V1.0. $end\n"
                "$comment VCD generator by Vexlin $end\n"
                "$timescale 1 ns $end\n"
                "$scope module logic $end\n");
    for (const auto& [id, name] : Vcd::m_id_to_name_map) {
        file.append("$var real 64 ");
        file.append(identifier_code(id));
        file.append(" ");
        file.append(name);
        file.append(" $end\n");
    }
    file.append("$upscope $end\n"
                "$enddefinitions $end\n");
}

// False if a run turns out not to be in order.
bool write_changes(BlockFile& file, std::vector<Run> runs) {
    constexpr std::size_t kLinesRoom =
        1 + kNumberRoom + 1 + 1 + kNumberRoom + sizeof(LineEnd::text);

    IntegerText time_text;
    std::int64_t last_time = 0; // so a change at 0 has no time line
    std::int64_t least_time = std::numeric_limits<std::int64_t>::min();
    for (Merge merge(std::move(runs)); !merge.at_end() && file.good(); merge.take()) {
        const Vcd::change& change = merge.winner().next();
        if (change.time < least_time)
            return false;
        least_time = change.time;
        char* out = file.room(kLinesRoom);
        if (change.time != last_time) {
            *out++ = '#';
            out = time_text.append(out, change.time);
            *out++ = '\n';
            last_time = change.time;
        }
        if (change.type == Vcd::kChar) {
            *out++ = 's';
            *out++ = character(change.value);
        } else {
            *out++ = 'r';
            out = append_double(out, change.value);
        }
        file.ended_at(merge.winner().line_end().append(out));
    }
    return true;
}

// False if a run turns out not to be in order, and the file is of no use.
bool write_trace(const std::string& filename, std::vector<Run> runs) {
    BlockFile file(filename);
    if (file.good()) {
        write_header(file);
        if (!write_changes(file, std::move(runs)))
            return false;
        file.flush();
    }
    return true;
}

} // namespace

Vcd::Vcd(std::string name, char value) : Vcd(std::move(name), kChar, value) {}
Vcd::Vcd(std::string name, double value) : Vcd(std::move(name), kDouble, value) {}
Vcd::Vcd(std::string name, int value) : Vcd(std::move(name), kInt, value) {}
Vcd::Vcd(std::string name, unsigned int value) : Vcd(std::move(name), kUnsigned, value) {}

Vcd::Vcd(std::string&& name, Kind kind, double value) : type(kind) {
    {
        const std::lock_guard lock(m_mutex);
        std::uint32_t& number = m_name_to_id_map[name];
        if (number == 0) {
            number = m_next_id++;
            m_id_to_name_map[number] = std::move(name);
        }
        id = number;
    }
    update(value);
}

void Vcd::update(double value) {
    const std::lock_guard lock(m_mutex);
    BlockList<change>& changes = m_id_to_changes_map[id];
    const change* const last = changes.empty() ? nullptr : &changes.back();
    if (last && last->value == value)
        return;
    const std::chrono::nanoseconds since_start = std::chrono::system_clock::now() - m_starttime;
    std::int64_t time = since_start.count();
    if (last && last->time >= time)
        time = last->time + 1;
    changes.push_back({id, type, value, time});
}

void Vcd::write_vcd(std::string filename) { // NOLINT(performance-unnecessary-value-param)
    if (!write_trace(filename, runs_of_signals()))
        write_trace(filename, runs_in_order());
}
