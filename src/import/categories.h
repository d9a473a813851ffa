// The FRU categories, in the order in which a line's category is looked up.
#pragma once

#include <Pegasus/Common/String.h>

#include <optional>

enum class Category {
  processor,
  memory,
  keyboard,
  planar,
  cdrom,
  floppy,
  optionsp,
  fan,
  backplane,
};

// The category of that keyword, spelled exactly so; nothing for any other text.
std::optional<Category> findCategory(const Pegasus::String& keyword);
