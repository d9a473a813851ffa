// A parsed XML text, and handles to its elements.
#pragma once

#include <Pegasus/Common/Exception.h>
#include "xml/parser.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Pegasus::xml {

// An element of an XmlDocument, or nothing. A cheap copyable handle; it and all texts, which are
// UTF-8, live as long as the document.
class Element {
 public:
  Element() = default;
  explicit operator bool() const { return node_ != nullptr; }

  std::string_view name() const { return node_ == nullptr ? std::string_view() : node_->name; }
  // The attribute's value with references resolved, or nothing.
  std::optional<std::string_view> attribute(std::string_view name) const {
    return attributes({name})[0];
  }
  // The values of these attributes in the order of the names, found in one pass.
  template <std::size_t count>
  std::array<std::optional<std::string_view>, count> attributes(
      const std::string_view (&names)[count]) const {
    std::array<std::optional<std::string_view>, count> values;
    const std::size_t present = node_ == nullptr ? 0 : node_->attributeCount;
    for (std::size_t i = 1; i <= present; ++i) {
      for (std::size_t wanted = 0; wanted < count; ++wanted) {
        if (node_[i].name == names[wanted]) {
          values[wanted] = node_[i].text;
        }
      }
    }
    return values;
  }
  // The first child element, and the next sibling element.
  Element firstChild() const {
    const bool hasOne = node_ != nullptr && node_->hasChildren;
    return hasOne ? Element(node_ + 1 + node_->attributeCount) : Element();
  }
  Element next() const {
    return node_ != nullptr && node_->next != 0 ? Element(node_ + node_->next) : Element();
  }
  // The character data of an element without child elements: text, CDATA sections and the pieces
  // around comments joined, every blank kept. Unspecified where there are child elements.
  std::string_view text() const { return node_ == nullptr ? std::string_view() : node_->text; }
  // True if the character data directly in this element holds anything but white space.
  bool hasText() const { return node_ != nullptr && node_->hasText; }

 private:
  friend class XmlDocument;
  explicit Element(const Node* node) : node_(node) {}
  const Node* node_ = nullptr;
};

// Parsing is linear in the size of the text, and so is its memory: at most maxNodes times 64 bytes
// beside the text.
class XmlDocument {
 public:
  // Deeper than any CIM-XML message, embedded references included.
  static constexpr unsigned maxDepth = 128;
  // Of one element; CIM-XML defines at most nine.
  static constexpr unsigned maxAttributes = 32;
  // Elements and attributes: more than an answer of 64 MiB has.
  static constexpr unsigned maxNodes = 8'000'000;

  // Parses the text in place. Throws XmlValidationError for a document type declaration, and
  // XmlException, with the byte position, when the text is not valid UTF-8, not well-formed, has
  // more than one root or text outside it, a reference to an entity other than the five predefined
  // ones, a character that XML forbids, or exceeds a limit above. As in XML, line ends become line
  // feeds, and white space in attributes becomes blanks. If references to control characters are
  // allowed, texts hold those characters.
  explicit XmlDocument(std::string text,
                       ControlReferences controlReferences = ControlReferences::refused)
      : text_(std::move(text)),
        nodes_(parse(text_, {maxDepth, maxAttributes, maxNodes}, controlReferences)) {}
  ~XmlDocument() = default;
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;
  XmlDocument(XmlDocument&&) = delete;
  XmlDocument& operator=(XmlDocument&&) = delete;

  Element root() const { return Element(nodes_.data()); }

 private:
  std::string text_;
  std::vector<Node> nodes_;
};

}  // namespace Pegasus::xml
