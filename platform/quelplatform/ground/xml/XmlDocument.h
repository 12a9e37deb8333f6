// The elements of a document and the cursor on them, in UTF-8. What stands beside the root is kept as text.
#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "quelplatform/ground/xml/xmlDecode.h"

namespace quelplatform {

/// See CMarkupSTL.h for what the calls do. Calls that fail give a text why; those throw std::bad_alloc when memory is
/// exhausted, and leave the document as it was.
class XmlDocument {
 public:
  XmlDocument() = default;
  XmlDocument(const XmlDocument&) = delete;
  XmlDocument& operator=(const XmlDocument&) = delete;

  /// No root, nothing beside it.
  void clear() noexcept;

  /// Makes `xml` the document.
  void set(XmlText xml);

  bool hasRoot() const { return static_cast<bool>(dom_.document_element()); }
  std::string text() const;

  /// The current element as text, tags included; empty when there is none.
  std::string section() const;

  /// The current element; a null node when there is none.
  pugi::xml_node current() const { return current_; }

  bool find(const char* name) noexcept;
  bool into() noexcept;
  bool outOf() noexcept;
  void toStart() noexcept;
  void toLevelStart() noexcept;

  /// `name` and `text` are what XML can hold; empty text adds none. Returns null, or why it is refused.
  const char* add(const std::string& name, const std::string& text);
  const char* setAttribute(const std::string& name, const std::string& value);
  const char* remove() noexcept;

 private:
  enum class Search { FromStart, BehindCurrent, FromNext, FromEnd };

  bool onTop() const { return level_.type() == pugi::node_document; }
  pugi::xml_node searchBegin() const;
  pugi::xml_node lastElement() const;
  std::string lineOf(pugi::xml_node element) const;
  bool addBeside(pugi::xml_node added, pugi::xml_node neighbour);
  bool addAlone(pugi::xml_node added);
  bool lineUp(pugi::xml_node added, pugi::xml_node neighbour);

  std::string source_;  ///< The document's text, of which `dom_` makes its names and values in place.
  pugi::xml_document dom_;
  std::string before_;  ///< What stands in front of the root, or all of a document without one.
  std::string behind_;
  std::string_view lineEnd_ = "\n";
  pugi::xml_node level_ = dom_;
  pugi::xml_node current_;
  pugi::xml_node next_;
  Search search_ = Search::FromStart;
};

}  // namespace quelplatform
