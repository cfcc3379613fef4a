#pragma once

#include <array>
#include <cstdint>

/// Finds where a contact that is down is held still, and by how much its position varies there.
///
/// From when it comes down, its time is cut into blocks of half a second. A block is at rest if it
/// and both its neighbours have two reports at least and extend over kFarthest units at most, and
/// if its centre, the mean of its positions, is no more than kDrift units away from theirs, on each
/// axis. So the half seconds in which it comes to rest or leaves are not taken for its jitter.
class RestFinder {
public:
    static constexpr std::int64_t kBlock_ns = 500000000;
    static constexpr int kFarthest = 512; ///< board units: 1/64 of the board
    static constexpr int kDrift = 32;     ///< board units in half a second: 1/1024 of the board

    void addDown(std::int64_t time_ns, int x, int y);
    void lift(std::int64_t time_ns);

    struct Rest {
        int blocks = 0;  ///< half seconds at rest
        int spreadX = 0; ///< board units between the outermost positions of the worst block
        int spreadY = 0;

        double seconds() const { return blocks * (kBlock_ns / 1e9); }
        void add(const Rest& other);
    };
    const Rest& rest() const { return m_rest; }

private:
    struct Axis {
        int least = 0;
        int greatest = 0;
        std::int64_t sum = 0;

        void add(int value, bool isFirst);
        int spread() const { return greatest - least; }
    };
    struct Block {
        std::int64_t count = 0; ///< reports; 0 where there is no block
        Axis x;
        Axis y;

        bool isNarrow() const;
        bool isBeside(const Block& other) const;
    };

    void finishBlocksBefore(std::int64_t time_ns);
    void finishBlock();

    bool m_isDown = false;
    std::int64_t m_blockStart_ns = 0;
    Block m_block;
    std::array<Block, 2> m_before; ///< the two blocks ahead of m_block, the older one first
    Rest m_rest;
};
