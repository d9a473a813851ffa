#include "xml/document.h"

#include "text/ascii.h"

#include <bit>
#include <cstring>
#include <pugixml.hpp>

namespace Pegasus::xml {

namespace {

// The first text of an element is kept in the element itself, which saves a node for each value.
// Comments and processing instructions are dropped. Everything else that the parser could check has
// been checked before.
constexpr unsigned parseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                pugi::parse_wconv_attribute | pugi::parse_embed_pcdata;

// White space is kept, since a value may consist of it, but between two elements no node is made
// for it. The parser cannot distinguish the two where text is in pieces.
unsigned whiteSpaceFlag(bool mayHaveTextInPieces) {
  return mayHaveTextInPieces ? pugi::parse_ws_pcdata : pugi::parse_ws_pcdata_single;
}

// The parser's handles are just pointers; using them as such saves a call into the library.
pugi::xml_node asNode(void* node) {
  return std::bit_cast<pugi::xml_node>(node);
}
template <typename Handle>
void* asPointer(Handle handle) {
  return std::bit_cast<void*>(handle);
}

// The first element from this node on, or null.
void* elementFrom(pugi::xml_node node) {
  while (asPointer(node) != nullptr && node.type() != pugi::node_element) {
    node = node.next_sibling();
  }
  return asPointer(node);
}

bool isMoreThanSpace(const char* text) {
  while (text::isSpace(*text)) {
    ++text;
  }
  return *text != '\0';
}

}  // namespace

struct XmlDocument::Tree {
  pugi::xml_document document;
};

std::string_view Element::name() const {
  return asNode(node_).name();
}

std::optional<std::string_view> Element::attribute(const char* name) const {
  const pugi::xml_attribute attribute = asNode(node_).attribute(name);
  return attribute ? std::optional<std::string_view>(attribute.value()) : std::nullopt;
}

void Element::findAttributes(std::span<const char* const> names,
                             std::span<std::optional<std::string_view>> values) const {
  for (pugi::xml_attribute each = asNode(node_).first_attribute(); asPointer(each) != nullptr;
       each = each.next_attribute()) {
    const char* const name = each.name();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i][0] == name[0] && std::strcmp(names[i], name) == 0) {
        values[i] = each.value();
        break;
      }
    }
  }
}

std::size_t Element::childCount() const {
  std::size_t count = 0;
  for (pugi::xml_node child = asNode(node_).first_child(); asPointer(child) != nullptr;
       child = child.next_sibling()) {
    ++count;
  }
  return count;
}

Element Element::firstChild() const {
  return Element(elementFrom(asNode(node_).first_child()));
}

Element Element::next() const {
  return Element(elementFrom(asNode(node_).next_sibling()));
}

std::string Element::text() const {
  const pugi::xml_node element = asNode(node_);
  std::string text = element.value();
  for (pugi::xml_node child = element.first_child(); asPointer(child) != nullptr;
       child = child.next_sibling()) {
    if (child.type() != pugi::node_element) {
      text += child.value();
    }
  }
  return text;
}

bool Element::hasText() const {
  const pugi::xml_node element = asNode(node_);
  bool found = isMoreThanSpace(element.value());
  for (pugi::xml_node child = element.first_child(); asPointer(child) != nullptr && !found;
       child = child.next_sibling()) {
    found = child.type() != pugi::node_element && isMoreThanSpace(child.value());
  }
  return found;
}

XmlDocument::XmlDocument(std::string text, ControlReferences controlReferences)
    : text_(std::move(text)), tree_(std::make_unique<Tree>()) {
  const bool mayHaveTextInPieces =
      checkWellFormed(text_, {maxDepth, maxAttributes, maxNodes}, controlReferences);
  const pugi::xml_parse_result result = tree_->document.load_buffer_inplace(
      text_.data(), text_.size(), parseFlags | whiteSpaceFlag(mayHaveTextInPieces),
      pugi::encoding_utf8);
  if (!result) {
    throw XmlException(String("XML error: ") + String(result.description()));
  }
}

XmlDocument::~XmlDocument() = default;

Element XmlDocument::root() const {
  return Element(tree_->document.document_element().internal_object());
}

}  // namespace Pegasus::xml
