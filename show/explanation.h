// The judgements on the lines of a file, line by line as they come: a file may be of any length.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "explainer.h"
#include "json.h"
#include "terminal.h"
#include "text.h"

namespace show {

struct Counts {
  std::uint64_t lines = 0;
  std::uint64_t published = 0;
  std::uint64_t leftOut = 0;
  std::uint64_t ignored = 0;

  void add(Verdict verdict);
};

class Explanation {
 public:
  Explanation() = default;
  Explanation(const Explanation&) = delete;
  Explanation& operator=(const Explanation&) = delete;
  Explanation(Explanation&&) = delete;
  Explanation& operator=(Explanation&&) = delete;
  virtual ~Explanation() = default;
  virtual void add(const Judgement& judgement) = 0;
  virtual void finish(const Counts& counts) = 0;
};

class TextExplanation : public Explanation {
 public:
  TextExplanation(std::ostream& out, const Terminal& terminal);
  void add(const Judgement& judgement) override;
  void finish(const Counts& counts) override;

 private:
  void writeLine(const std::vector<std::string>& cells, Style style);

  std::ostream& out_;
  const Terminal terminal_;
};

class JsonExplanation : public Explanation {
 public:
  JsonExplanation(std::ostream& out, const Terminal& terminal, const Machine& machine);
  void add(const Judgement& judgement) override;
  void finish(const Counts& counts) override;

 private:
  JsonWriter json_;
};

}  // namespace show
