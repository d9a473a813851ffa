#include "table.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "text/ascii.h"

using Pegasus::String;

namespace show {

namespace {

constexpr std::size_t gap = 2;
// A narrower column would be of no use; the terminal wraps the lines instead.
constexpr std::size_t narrowest = 8;
// A last column that has less goes on below its row.
constexpr std::size_t narrowestLast = 24;
constexpr std::size_t indentBelow = 6;

std::optional<std::size_t> positionOf(const std::string& name, const Columns& columns) {
  const String wanted{Pegasus::text::trimmed(name)};
  const auto column = std::find_if(columns.begin(), columns.end(), [&](const Column& candidate) {
    return String::equalNoCase(wanted, candidate.name) ||
           String::equalNoCase(wanted, candidate.heading);
  });
  return column == columns.end()
             ? std::nullopt
             : std::optional(static_cast<std::size_t>(column - columns.begin()));
}

std::string csvField(std::string bytes) {
  // Spreadsheets take a text that begins like this for a formula, and run it.
  if (!bytes.empty() &&
      std::string_view("=+-@\t\r").find(bytes.front()) != std::string_view::npos) {
    bytes.insert(0, 1, '\'');
  }
  if (bytes.find_first_of("\",\r\n") == std::string::npos) {
    return bytes;
  }
  std::string quoted = "\"";
  for (const char c : bytes) {
    quoted += c;
    if (c == '"') {
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace

void checkColumns(const TableForm& form, const Columns& columns) {
  for (const std::string& name : form.columns) {
    if (!positionOf(name, columns)) {
      std::string words = "--columns: no column '" + name + "'; there are ";
      for (const Column& column : columns) {
        words += (&column == &columns.front() ? "" : ", ") + std::string(column.name);
      }
      throw std::runtime_error(words);
    }
  }
}

Table::Table(const Output& output, const Columns& columns)
    : out_(output.out), terminal_(output.terminal), form_(output.form), columns_(columns) {
  for (const std::string& name : form_.columns) {
    positions_.push_back(positionOf(name, columns).value());
  }
  for (std::size_t i = 0; form_.columns.empty() && i < columns.size(); ++i) {
    if (form_.isCsv || columns[i].shown != Shown::onDemand) {
      positions_.push_back(i);
    }
  }
  isFixed_ = columns.front().width > 0;
  if (form_.hasHeadings) {
    Line headings = {{}, Style::bold, false};
    for (const std::size_t position : positions_) {
      headings.cells.emplace_back(form_.isCsv ? columns[position].name : columns[position].heading);
    }
    write(std::move(headings));
  }
}

Table::Cells Table::chosen(const Row& row) const {
  Cells cells;
  for (const std::size_t position : positions_) {
    const auto& cell = row.cells[position];
    if (form_.isCsv) {
      const String text = cell.value_or(String());
      cells.push_back(terminal_.isTerminal ? sanitized(text, terminal_) : text.toUtf8());
    } else {
      cells.push_back(cell ? sanitized(*cell, terminal_) : "-");
    }
  }
  return cells;
}

void Table::add(const Row& row) {
  write({chosen(row), row.style, row.isWrapped});
}

void Table::write(Line line) {
  if (form_.isCsv) {
    writeCsv(line.cells);
  } else if (isFixed_) {
    writeFixed(line);
  } else {
    lines_.push_back(std::move(line));
  }
}

void Table::end() {
  dropEmptyColumns();
  const std::vector<std::size_t> widths = this->widths();
  for (const Line& line : lines_) {
    writeFitted(line, widths);
  }
}

void Table::writeCsv(const Cells& cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    out_ << (i == 0 ? "" : ",") << csvField(cells[i]);
  }
  out_ << "\r\n";
}

void Table::writeFixed(const Line& line) {
  std::string text;
  for (std::size_t i = 0; i + 1 < line.cells.size(); ++i) {
    const std::size_t width = columns_[positions_[i]].width;
    // A column of numbers is aligned at the right.
    const bool isNumber = positions_[i] == 0;
    const std::size_t own = columnsOf(line.cells[i]);
    text += isNumber && own < width ? std::string(width - own, ' ') : "";
    text +=
        isNumber ? line.cells[i] + std::string(gap, ' ') : padTo(width + gap, line.cells[i] + ' ');
  }
  const std::string& last = line.cells.back();
  if (terminal_.columns == 0) {
    out_ << text << last << '\n';
    return;
  }
  // The last column is never cut: it goes on in the next lines, below itself where there is room.
  std::size_t indent = columnsOf(text);
  const bool isBelow = !text.empty() && terminal_.columns < indent + narrowestLast &&
                       columnsOf(last) + indent > terminal_.columns;
  if (isBelow) {
    text.resize(text.find_last_not_of(' ') + 1);
    out_ << styled(line.style, cutTo(terminal_.columns, text, terminal_), terminal_) << '\n';
    indent = std::min(indentBelow, terminal_.columns / 2);
    text.assign(indent, ' ');
  }
  const std::size_t room = std::max(terminal_.columns, indent + narrowest) - indent;
  for (const std::string& part : wrapTo(room, last)) {
    out_ << styled(line.style, text + part, terminal_) << '\n';
    text.assign(indent, ' ');
  }
}

void Table::writeFitted(const Line& line, const std::vector<std::size_t>& widths) {
  std::vector<std::vector<std::string>> parts;
  std::size_t height = 1;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    parts.push_back(line.isWrapped ? wrapTo(widths[i], line.cells[i])
                                   : std::vector{cutTo(widths[i], line.cells[i], terminal_)});
    height = std::max(height, parts.back().size());
  }
  for (std::size_t row = 0; row < height; ++row) {
    std::string text;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string cell = row < parts[i].size() ? parts[i][row] : "";
      text += i + 1 < widths.size() ? padTo(widths[i] + gap, cell) : cell;
    }
    text.resize(row == 0 ? text.size() : text.find_last_not_of(' ') + 1);
    out_ << styled(line.style, text, terminal_) << '\n';
  }
}

void Table::dropEmptyColumns() {
  // A table of fixed columns has written its lines already.
  if (lines_.empty() || !form_.columns.empty() || form_.isCsv) {
    return;
  }
  const std::size_t first = form_.hasHeadings ? 1 : 0;
  for (std::size_t i = positions_.size(); i-- > 0;) {
    const bool isEmpty =
        std::all_of(lines_.begin() + static_cast<std::ptrdiff_t>(first), lines_.end(),
                    [&](const Line& line) { return line.cells[i] == "-"; });
    if (isEmpty && columns_[positions_[i]].shown == Shown::ifFilled) {
      positions_.erase(positions_.begin() + static_cast<std::ptrdiff_t>(i));
      for (Line& line : lines_) {
        line.cells.erase(line.cells.begin() + static_cast<std::ptrdiff_t>(i));
      }
    }
  }
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> widths(positions_.size(), 0);
  for (const Line& line : lines_) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], columnsOf(line.cells[i]));
    }
  }
  if (terminal_.columns == 0 || widths.empty()) {
    return widths;
  }
  for (std::size_t& width : widths) {
    width = std::min(width, std::max(terminal_.columns, narrowest));
  }
  const std::size_t gaps = gap * (widths.size() - 1);
  while (std::accumulate(widths.begin(), widths.end(), gaps) > terminal_.columns) {
    std::size_t& widest = *std::max_element(widths.begin(), widths.end());
    if (widest <= narrowest) {
      break;
    }
    --widest;
  }
  return widths;
}

// --- JSON ---

Json toJson(const Text& text) {
  return text ? Json(text->toUtf8()) : Json();
}

Json toJson(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json();
}

std::string textIn(const Json& value, const char* member) {
  const auto found = value.find(member);
  return found != value.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

Json beginning(const Frame& frame) {
  if (frame.format == 1) {
    return {{"format", 1}};
  }
  return {{"format", frame.format},
          {"program", "morvik-show"},
          {"version", MORVIK_VERSION},
          {"time", timeText(frame.time)},
          {"lastGoodRun", frame.lastGoodRun ? Json(*frame.lastGoodRun) : Json()}};
}

JsonList::JsonList(std::ostream& out, const Json& members, const char* name) : out_(out) {
  std::string begin = dump(members);
  begin.back() = ',';
  out_ << begin << Json(name) << ":[";
}

void JsonList::add(const Json& item) {
  out_ << (isEmpty_ ? "\n" : ",\n") << dump(item);
  isEmpty_ = false;
}

void JsonList::end() {
  end(Json::object());
}

void JsonList::end(const Json& more) {
  out_ << (isEmpty_ ? "]" : "\n]") << (more.empty() ? "}" : "," + dump(more).substr(1)) << '\n';
}

}  // namespace show
