#include "import/categories.h"

#include <array>

using Pegasus::String;

namespace {

struct Row {
  const char* keyword;
  Category category;
};

constexpr std::array<Row, 9> categoryTable{{
    {"PROCESSOR", Category::processor},
    {"MEMORY", Category::memory},
    {"KEYBOARD", Category::keyboard},
    {"PLANAR", Category::planar},
    {"CDROM", Category::cdrom},
    {"FLOPPY", Category::floppy},
    {"OPTIONSP", Category::optionsp},
    {"FAN", Category::fan},
    {"BACKPLANE", Category::backplane},
}};

}  // namespace

std::optional<Category> findCategory(const String& keyword) {
  for (const Row& row : categoryTable) {
    if (keyword == row.keyword) {
      return row.category;
    }
  }
  return std::nullopt;
}
