#include "host/models.h"

#include "text/ascii.h"

#include <algorithm>
#include <stdexcept>

namespace cimd::host {

namespace {

using Pegasus::String;
using Pegasus::text::trimmed;

// Nothing for a text that is not UTF-8 or has a control character.
std::optional<String> plainText(std::string_view bytes) {
  String text(bytes);
  const auto units = text.view();
  const bool isPlain =
      text.toUtf8() == bytes && std::all_of(units.begin(), units.end(), [](char16_t unit) {
        return unit >= 0x20 && (unit < 0x7F || unit > 0x9F) && unit < 0xFFFE;
      });
  return isPlain ? std::optional(std::move(text)) : std::nullopt;
}

}  // namespace

std::optional<String> Models::modelOf(const std::optional<std::string_view>& product) const {
  if (any || !product) {
    return any;
  }
  const auto found = byProduct.find(String(trimmed(*product)));
  return found == byProduct.end() ? std::nullopt : std::optional(found->second);
}

std::map<String, String> parseModels(std::string_view text, const std::string& fileName) {
  std::map<String, String> models;
  std::size_t number = 0;
  const auto refuse = [&](const std::string& words) {
    throw std::runtime_error(fileName + ":" + std::to_string(number) + ": " + words);
  };
  while (!text.empty()) {
    ++number;
    const std::string_view whole = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(whole.size() + 1, text.size()));
    const std::string_view line = trimmed(whole);
    if (line.empty() || line.front() == '#') {
      continue;
    }
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos) {
      refuse("not of the form PRODUCT NAME = MODEL");
    }
    const auto product = plainText(trimmed(line.substr(0, sign)));
    const auto model = plainText(trimmed(line.substr(sign + 1)));
    if (!product || !model) {
      refuse("not UTF-8, or a control character");
    } else if (product->size() == 0 || model->size() == 0) {
      refuse(product->size() == 0 ? "no product name" : "no model");
    } else if (!models.emplace(*product, *model).second) {
      refuse("duplicate product name '" + product->toUtf8() + "'");
    }
  }
  return models;
}

}  // namespace cimd::host
