#include <unistd.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdint>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "checker.h"
#include "explainer.h"
#include "file.h"
#include "options.h"
#include "table.h"
#include "text.h"

using lint::Finding;
using lint::Severity;
using Pegasus::String;

namespace {

constexpr const char* programDescription =
    "Checks FRU data files: finds the lines that no machine can publish, or that do\n"
    "not say what their author means. Needs no CIM server.";
constexpr const char* footer =
    "Exit status: 0 without errors, 1 with errors, 2 if a file cannot be read.";

// The manual page lists the same.
enum class ExitStatus { clean = 0, findings = 1, trouble = 2 };

struct Options {
  std::vector<std::string> files;
  bool isJson = false;
  bool isStrict = false;
};

void complain(const std::string& message) {
  std::cerr << "morvik-lint: " << show::sanitized(String(message), show::terminalOf(STDERR_FILENO))
            << std::endl;
}

// Writes the findings, and counts them.
class Output {
 public:
  explicit Output(bool isJson) {
    if (isJson) {
      json_.emplace(std::cout, show::Json{{"format", 1}}, "findings");
    }
  }

  void write(const std::string& file, const Finding& finding) {
    const bool isError = finding.severity == Severity::error;
    const char* const severity = isError ? "error" : "warning";
    if (json_) {
      json_->add({{"file", String(file).toUtf8()},
                  {"line", finding.line},
                  {"column", finding.column},
                  {"severity", severity},
                  {"code", finding.code},
                  {"text", finding.text.toUtf8()}});
    } else {
      std::cout << show::sanitized(String(file), terminal_) << ':' << finding.line << ':'
                << finding.column << ": " << severity << ": "
                << show::sanitized(finding.text, terminal_) << '\n';
    }
    ++(isError ? errors : warnings);
  }

  void end(std::size_t files) {
    if (json_) {
      json_->end({{"summary", {{"files", files}, {"errors", errors}, {"warnings", warnings}}}});
    }
    if (!std::cout.flush()) {
      throw std::runtime_error("cannot write to standard output");
    }
  }

  std::uint64_t errors = 0;
  std::uint64_t warnings = 0;

 private:
  // Absent for text.
  std::optional<show::JsonList> json_;
  const show::Terminal terminal_ = show::terminalOf(STDOUT_FILENO);
};

ExitStatus checkFiles(const Options& options) {
  Output output(options.isJson);
  std::size_t checked = 0;
  for (const std::string& file : options.files) {
    std::string text;
    try {
      text = show::readInput(file, show::mostFileBytes + 1);
    } catch (const std::exception& error) {
      complain(error.what());
      continue;
    }
    ++checked;
    lint::check(text, [&](const Finding& finding) { output.write(file, finding); });
  }
  output.end(checked);
  if (checked < options.files.size()) {
    return ExitStatus::trouble;
  }
  const bool isBad = output.errors > 0 || (options.isStrict && output.warnings > 0);
  return isBad ? ExitStatus::findings : ExitStatus::clean;
}

ExitStatus run(int argc, const char* const* argv) {
  Options options;
  CLI::App app{programDescription, "morvik-lint"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-lint " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.add_flag("-j,--json", options.isJson, "Write JSON");
  app.add_flag("-W,--strict", options.isStrict, "End with status 1 for warnings, too");
  app.add_option("FILE", options.files, "FRU data files; - is standard input")->type_name("");
  try {
    app.parse(argc, argv);
    if (options.files.empty()) {
      throw CLI::RequiredError("FILE");
    }
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::clean;
    }
    complain(show::messageOf(error, app, argc, argv));
    std::cerr << "Try 'morvik-lint --help'." << std::endl;
    return ExitStatus::trouble;
  }
  return checkFiles(options);
}

}  // namespace

int main(int argc, char** argv) {
  // Says which characters a terminal understands; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  try {
    return static_cast<int>(run(argc, argv));
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return static_cast<int>(ExitStatus::trouble);
}
