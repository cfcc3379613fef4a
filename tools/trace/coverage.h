#pragma once

#include <bitset>
#include <string>
#include <vector>

/// Which parts of the board contacts have been down on: a map of 16 by 8 cells, each 2048 units
/// wide and 4096 high, that is, about as wide as it is high on a board of two to one.
class Coverage {
public:
    static constexpr int kColumns = 16;
    static constexpr int kRows = 8;
    static constexpr int kCells = kColumns * kRows;

    /// Board units. What lies beyond the board, above 32767, is left out.
    void add(int x, int y);
    void add(const Coverage& other) { m_cells |= other.m_cells; }

    int cells() const { return static_cast<int>(m_cells.count()); }
    double percent() const { return 100.0 * cells() / kCells; }
    /// The rows from the top, each a '#' for a cell that was covered and a '.' for another.
    std::vector<std::string> map() const;

private:
    std::bitset<kCells> m_cells;
};
