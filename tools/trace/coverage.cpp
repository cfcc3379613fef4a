#include "tools/trace/coverage.h"

namespace {

constexpr int kUnits = 32768; // of the board on each axis

std::size_t cell(int column, int row) {
    return static_cast<std::size_t>(row) * Coverage::kColumns + static_cast<std::size_t>(column);
}

} // namespace

void Coverage::add(int x, int y) {
    if (x < 0 || x >= kUnits || y < 0 || y >= kUnits)
        return;
    m_cells.set(cell(x / (kUnits / kColumns), y / (kUnits / kRows)));
}

std::vector<std::string> Coverage::map() const {
    std::vector<std::string> rows;
    for (int row = 0; row < kRows; ++row) {
        std::string& text = rows.emplace_back();
        for (int column = 0; column < kColumns; ++column)
            text += m_cells.test(cell(column, row)) ? '#' : '.';
    }
    return rows;
}
