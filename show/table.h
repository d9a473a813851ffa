// Tables, for people and as CSV.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "text.h"

namespace show {

enum class Shown {
  always,
  // Only in CSV, or if asked for.
  onDemand,
  // As above, and also if a row has something in it.
  ifFilled,
};

struct Column {
  // For programs: the heading of CSV, and what --columns asks for, in any letter case.
  const char* name;
  // For people.
  const char* heading;
  Shown shown = Shown::always;
  // Fixed in tables whose rows are written before the next one is known; there a longer text moves
  // the rest of its row. 0 in all others.
  std::size_t width = 0;
};

using Columns = std::vector<Column>;

// How the user wants a table.
struct TableForm {
  bool isCsv = false;
  bool hasHeadings = true;
  // Names of columns, in this order; if there are none, those that are usually shown.
  std::vector<std::string> columns = {};
};

// Throws std::runtime_error if the form has the name of no column.
void checkColumns(const TableForm& form, const Columns& columns);

// CSV is that of RFC 4180. A file or pipe gets all texts as they are, a terminal sanitized ones,
// but a text that a spreadsheet would take for a formula begins with an apostrophe.
//
// On a terminal, the columns for people are as wide as their texts. If that is more than the
// terminal has, the widest ones are cut.
class Table {
 public:
  // `out` and `terminal` must outlive this. The names in the form must be good.
  Table(std::ostream& out, const Terminal& terminal, const TableForm& form, const Columns& columns);

  struct Row {
    // As many as there are columns; a missing value is shown as "-".
    std::vector<std::optional<Pegasus::String>> cells;
    Style style = Style::plain;
    // Whether texts that are too long go on in the next line instead of being cut.
    bool isWrapped = false;
  };
  bool isCsv() const { return form_.isCsv; }
  void add(const Row& row);
  // Must be the last call.
  void end();

 private:
  using Cells = std::vector<std::string>;
  struct Line {
    Cells cells;
    Style style;
    bool isWrapped;
  };
  Cells chosen(const Row& row) const;
  void writeCsv(const Cells& cells);
  void writeFixed(const Line& line);
  void writeFitted(const Line& line, const std::vector<std::size_t>& widths);
  std::vector<std::size_t> widths() const;
  void dropEmptyColumns();

  std::ostream& out_;
  const Terminal& terminal_;
  TableForm form_;
  // The positions of the columns that are shown, in order.
  std::vector<std::size_t> positions_;
  Columns columns_;
  bool isFixed_;
  // Until the widths are known.
  std::vector<Line> lines_;
};

}  // namespace show
