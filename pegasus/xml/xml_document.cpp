#include "xml/xml_document.h"

#include "text/ascii.h"

#include <algorithm>
#include <pugixml.hpp>

namespace Pegasus::xml {

namespace {

// White space is kept, since a value may consist of it; the first text of an element is kept in the
// element itself, which saves a node for each value. Comments and processing instructions are
// dropped. What else could be asked of the parser has been checked before it runs.
constexpr unsigned parseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                pugi::parse_wconv_attribute | pugi::parse_ws_pcdata |
                                pugi::parse_embed_pcdata;

pugi::xml_node asNode(void* node) {
  return pugi::xml_node(static_cast<pugi::xml_node_struct*>(node));
}

pugi::xml_node elementFrom(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) {
    node = node.next_sibling();
  }
  return node;
}

// Calls `use` with each piece of the element's own text in order.
template <typename Use>
void forEachText(pugi::xml_node element, Use use) {
  use(std::string_view(element.value()));
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) {
      use(std::string_view(child.value()));
    }
  }
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

Element Element::firstChild() const {
  return Element(elementFrom(asNode(node_).first_child()).internal_object());
}

Element Element::next() const {
  return Element(elementFrom(asNode(node_).next_sibling()).internal_object());
}

std::string Element::text() const {
  std::string text;
  forEachText(asNode(node_), [&text](std::string_view piece) { text += piece; });
  return text;
}

bool Element::hasText() const {
  bool found = false;
  forEachText(asNode(node_), [&found](std::string_view piece) {
    found = found || !std::all_of(piece.begin(), piece.end(), text::isSpace<char>);
  });
  return found;
}

XmlDocument::XmlDocument(std::string text, ControlReferences controlReferences)
    : text_(std::move(text)), tree_(std::make_unique<Tree>()) {
  checkWellFormed(text_, {maxDepth, maxAttributes, maxNodes}, controlReferences);
  const pugi::xml_parse_result result = tree_->document.load_buffer_inplace(
      text_.data(), text_.size(), parseFlags, pugi::encoding_utf8);
  if (!result) {
    throw XmlException(String("XML error: ") + String(result.description()));
  }
}

XmlDocument::~XmlDocument() = default;

Element XmlDocument::root() const {
  return Element(tree_->document.document_element().internal_object());
}

}  // namespace Pegasus::xml
