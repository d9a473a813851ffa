#include "lint.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "checker.h"
#include "data_file.h"
#include "input.h"
#include "text.h"

using Pegasus::String;

namespace lint {

namespace {

constexpr const char* programDescription =
    "Checks FRU data files: finds the lines that no machine can publish, or that say\n"
    "something else than their author means. Needs no CIM server.";
constexpr const char* footer =
    "Exit status: 0 without errors, 1 with errors, 2 if a file cannot be read.";

struct Options {
  std::vector<std::string> files;
  bool isJson = false;
  bool isStrict = false;
};

// The options, or the status to end with after the user has been shown what they asked for or did
// wrong.
std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app{programDescription, "morvik-lint"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-lint " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.add_flag("-j,--json", options.isJson, "Write JSON");
  app.add_flag("-W,--strict", options.isStrict, "End with status 1 for warnings, too");
  app.add_option("FILE", options.files, "FRU data files; - is standard input")
      ->type_name("")
      ->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::clean;
    }
    const bool isUnknown = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    complain(isUnknown && !app.remaining().empty()
                 ? ("unknown option: " + app.remaining().front()).c_str()
                 : error.what());
    std::cerr << "Try 'morvik-lint --help'." << std::endl;
    return ExitStatus::trouble;
  }
  return options;
}

const char* wordOf(Severity severity) {
  return severity == Severity::error ? "error" : "warning";
}

// Writes the findings, and counts them.
class Output {
 public:
  explicit Output(bool isJson) : isJson_(isJson) {
    if (isJson_) {
      std::cout << R"({"format":1,"findings":[)";
    }
  }

  void write(const std::string& file, const Finding& finding) {
    if (isJson_) {
      const nlohmann::ordered_json item = {
          {"file", String(file).toUtf8()}, {"line", finding.line},
          {"column", finding.column},      {"severity", wordOf(finding.severity)},
          {"code", finding.code},          {"text", finding.text.toUtf8()}};
      std::cout << (errors_ + warnings_ == 0 ? "\n" : ",\n") << item.dump(-1, ' ', true);
    } else {
      std::cout << show::sanitized(String(file), terminal_) << ':' << finding.line << ':'
                << finding.column << ": " << wordOf(finding.severity) << ": "
                << show::sanitized(finding.text, terminal_) << '\n';
    }
    ++(finding.severity == Severity::error ? errors_ : warnings_);
  }

  void end(std::size_t files) {
    if (isJson_) {
      const nlohmann::ordered_json summary = {
          {"files", files}, {"errors", errors_}, {"warnings", warnings_}};
      std::cout << (errors_ + warnings_ == 0 ? "]" : "\n]") << ",\"summary\":" << summary << "}\n";
    }
    if (!std::cout.flush()) {
      throw std::runtime_error("cannot write to standard output");
    }
  }

  std::uint64_t errors() const { return errors_; }
  std::uint64_t warnings() const { return warnings_; }

 private:
  const bool isJson_;
  const show::Terminal terminal_ = show::terminalOf(STDOUT_FILENO);
  std::uint64_t errors_ = 0;
  std::uint64_t warnings_ = 0;
};

ExitStatus checkFiles(const Options& options) {
  Output output(options.isJson);
  std::size_t checked = 0;
  for (const std::string& file : options.files) {
    std::string text;
    try {
      text = readInput(file, show::mostFileBytes + 1);
    } catch (const std::exception& error) {
      complain(("cannot read " + file + ": " + error.what()).c_str());
      continue;
    }
    ++checked;
    check(text, [&](const Finding& finding) { output.write(file, finding); });
  }
  output.end(checked);
  if (checked < options.files.size()) {
    return ExitStatus::trouble;
  }
  const bool isBad = output.errors() > 0 || (options.isStrict && output.warnings() > 0);
  return isBad ? ExitStatus::findings : ExitStatus::clean;
}

}  // namespace

ExitStatus run(int argc, const char* const* argv) {
  const auto options = readOptions(argc, argv);
  const auto* status = std::get_if<ExitStatus>(&options);
  return status != nullptr ? *status : checkFiles(std::get<Options>(options));
}

void complain(const char* message) {
  std::cerr << "morvik-lint: " << show::sanitized(String(message), show::terminalOf(STDERR_FILENO))
            << std::endl;
}

}  // namespace lint
