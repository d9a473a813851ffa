#include "table.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace show {

namespace {

constexpr std::size_t gap = 2;
// Below that, a column tells nothing any more: a terminal narrower than this breaks the lines.
constexpr std::size_t narrowest = 8;

}  // namespace

Table::Table(std::vector<std::string> headings) {
  add(std::move(headings), Style::bold);
}

void Table::add(std::vector<std::string> cells, Style style) {
  rows_.push_back({std::move(cells), style});
}

std::vector<std::size_t> Table::widths(std::size_t columns) const {
  std::vector<std::size_t> widths(rows_.front().cells.size(), 0);
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], columnsOf(row.cells[i]));
    }
  }
  if (columns == 0) {
    return widths;
  }
  for (std::size_t& width : widths) {
    width = std::min(width, std::max(columns, narrowest));
  }
  const std::size_t gaps = gap * (widths.size() - 1);
  while (std::accumulate(widths.begin(), widths.end(), gaps) > columns) {
    std::size_t& widest = *std::max_element(widths.begin(), widths.end());
    if (widest <= narrowest) {
      break;
    }
    --widest;
  }
  return widths;
}

void Table::write(std::ostream& out, const Terminal& terminal) const {
  const std::vector<std::size_t> widths = this->widths(terminal.columns);
  for (const Row& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string cell =
          terminal.columns == 0 ? row.cells[i] : cutTo(widths[i], row.cells[i], terminal);
      line += i + 1 < widths.size() ? padTo(widths[i] + gap, cell) : cell;
    }
    out << styled(row.style, line, terminal) << '\n';
  }
}

}  // namespace show
