// A table for people.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "terminal.h"
#include "text.h"

namespace show {

class Table {
 public:
  explicit Table(std::vector<std::string> headings);
  // The cells are harmless texts, as many as there are headings.
  void add(std::vector<std::string> cells, Style style = Style::plain);
  // The columns as wide as their texts. Where that is more than the terminal has, the widest ones
  // are cut.
  void write(std::ostream& out, const Terminal& terminal) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    Style style;
  };
  std::vector<std::size_t> widths(std::size_t columns) const;

  std::vector<Row> rows_;
};

}  // namespace show
