// Reads XML into a tree. Checks what the XML parser does not; nothing else uses that parser.
#pragma once

#include <Pegasus/Common/Exception.h>
#include "xml/scanner.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Pegasus::xml {

// An element of an XmlDocument, or nothing. A cheap copyable handle that lives as long as its
// document; all texts are UTF-8.
class Element {
 public:
  Element() = default;
  explicit operator bool() const { return node_ != nullptr; }

  std::string_view name() const;
  // The attribute's value with references resolved, or nothing.
  std::optional<std::string_view> attribute(const char* name) const;
  // The values of these attributes in the order of the names, found in one pass.
  template <std::size_t count>
  std::array<std::optional<std::string_view>, count> attributes(
      const char* const (&names)[count]) const {
    std::array<std::optional<std::string_view>, count> values;
    findAttributes(names, values);
    return values;
  }
  // Elements and pieces of text in this element.
  std::size_t childCount() const;
  // The first child element, and the next sibling element.
  Element firstChild() const;
  Element next() const;
  // The character data directly in this element: text, CDATA sections and the pieces around
  // comments joined, every blank kept.
  std::string text() const;
  // True if that character data holds anything but white space.
  bool hasText() const;

 private:
  friend class XmlDocument;
  explicit Element(void* node) : node_(node) {}
  void findAttributes(std::span<const char* const> names,
                      std::span<std::optional<std::string_view>> values) const;
  void* node_ = nullptr;
};

// Parsing is linear in the size of the text, and so is its memory: at most maxNodes times 64 bytes
// beside the text.
class XmlDocument {
 public:
  // Deeper than any CIM-XML message, embedded references included.
  static constexpr unsigned maxDepth = 128;
  // Of one element; CIM-XML defines at most nine.
  static constexpr unsigned maxAttributes = 32;
  // Elements, attributes and pieces of text: more than an answer of 64 MiB has.
  static constexpr unsigned maxNodes = 8'000'000;

  // Parses the text in place. Throws XmlValidationError for a document type declaration, and
  // XmlException, with the byte position, when the text is not valid UTF-8, not well-formed, has
  // more than one root or text outside it, a reference to an entity other than the five predefined
  // ones, a character that XML forbids, or exceeds a limit above. As in XML, line ends become line
  // feeds, and white space in attributes becomes blanks. If references to control characters are
  // allowed, texts hold those characters.
  explicit XmlDocument(std::string text,
                       ControlReferences controlReferences = ControlReferences::refused);
  ~XmlDocument();
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;
  XmlDocument(XmlDocument&&) = delete;
  XmlDocument& operator=(XmlDocument&&) = delete;

  Element root() const;

 private:
  struct Tree;
  std::string text_;
  std::unique_ptr<Tree> tree_;
};

}  // namespace Pegasus::xml
