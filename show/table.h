// How lists are written: tables for people, CSV, and JSON.
#pragma once

#include <Pegasus/Common/String.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
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
  // For programs: the heading of CSV. --columns asks for a column by either, in any letter case.
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

// The members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

// The beginning of every JSON document.
struct Frame {
  // 1 is the format before 1.0: without the rest, and numbers are texts.
  int format = 2;
  std::chrono::system_clock::time_point time = {};
  // RFC 3339, of morvik-run; absent where it is not known.
  std::optional<std::string> lastGoodRun = {};
};

// Where the output goes, and in which form.
struct Output {
  std::ostream& out;
  Terminal terminal = {};
  TableForm form = {};
  // Absent for a table.
  std::optional<Frame> json = {};
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
  // `output` must outlive this. The names in its form must be good.
  Table(const Output& output, const Columns& columns);

  struct Row {
    // As many as there are columns; a missing value is shown as "-".
    std::vector<Text> cells;
    Style style = Style::plain;
    // Whether texts that are too long go on in the next line instead of being cut.
    bool isWrapped = false;
  };
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
  void write(Line line);
  void writeCsv(const Cells& cells);
  void writeFixed(const Line& line);
  void writeFitted(const Line& line, const std::vector<std::size_t>& widths);
  std::vector<std::size_t> widths() const;
  void dropEmptyColumns();

  std::ostream& out_;
  const Terminal& terminal_;
  const TableForm& form_;
  // The positions of the columns that are shown, in order.
  std::vector<std::size_t> positions_;
  Columns columns_;
  bool isFixed_;
  // Until the widths are known.
  std::vector<Line> lines_;
};

// Null for what is absent.
Json toJson(const Text& text);
Json toJson(const std::optional<std::uint64_t>& number);
// The text of a member; empty if there is none, or if the value is not an object or a text.
std::string textIn(const Json& value, const char* member);
// In ASCII, in one line, so that no terminal obeys or misreads any of it.
std::string dump(const Json& json);
// The first members of a document.
Json beginning(const Frame& frame);

// A document that begins with these members and goes on with a list, each item on its own line.
class JsonList {
 public:
  JsonList(std::ostream& out, const Json& members, const char* name);
  void add(const Json& item);
  // `more` are the members after the list.
  void end();
  void end(const Json& more);

 private:
  std::ostream& out_;
  bool isEmpty_ = true;
};

}  // namespace show
