#include "quelplatform/ground/xml/XmlDocument.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "quelplatform/ground/xml/xmlCharacters.h"

namespace quelplatform {

namespace {

// Blanks and line ends stay as they are; of entities only those that need no declaration are resolved.
constexpr unsigned kParse = pugi::parse_cdata | pugi::parse_comments | pugi::parse_pi | pugi::parse_escapes |
                            pugi::parse_ws_pcdata | pugi::parse_wconv_attribute;

class TextWriter : public pugi::xml_writer {
 public:
  explicit TextWriter(std::string& text) : text_(text) {}
  void write(const void* data, std::size_t size) override { text_.append(static_cast<const char*>(data), size); }

 private:
  std::string& text_;
};

bool isBlankText(pugi::xml_node node) {
  const std::string_view text = node.value();
  return node.type() == pugi::node_pcdata && std::all_of(text.begin(), text.end(), isXmlBlank);
}

pugi::xml_node nextElement(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}

// Number of elements that `level` and what it lies in are.
std::size_t depthOf(pugi::xml_node level) {
  std::size_t depth = 0;
  for (; level.type() == pugi::node_element; level = level.parent()) ++depth;
  return depth;
}

// Text in front of, or behind, `place`; false when memory is exhausted.
bool putInFront(pugi::xml_node place, const std::string& text) {
  pugi::xml_node level = place.parent();
  pugi::xml_node added = level.insert_child_before(pugi::node_pcdata, place);
  if (!added || added.set_value(text.c_str())) return static_cast<bool>(added);
  level.remove_child(added);
  return false;
}

bool putInside(pugi::xml_node element, const std::string& text) {
  pugi::xml_node added = element.append_child(pugi::node_pcdata);
  return added && added.set_value(text.c_str());
}

}  // namespace

void XmlDocument::clear() noexcept {
  dom_.reset();
  source_ = std::string();
  before_.clear();
  behind_.clear();
  lineEnd_ = "\n";
  toStart();
}

void XmlDocument::set(XmlText xml) {
  const XmlShape& shape = xml.shape;
  std::string before = xml.text.substr(0, shape.rootBegin);
  std::string behind = xml.text.substr(shape.rootEnd);
  const std::size_t feed = xml.text.find('\n');
  const bool pair = feed != xml.text.npos && feed > 0 && xml.text[feed - 1] == '\r';

  clear();
  if (shape.hasRoot) {
    source_ = std::move(xml.text);
    const std::size_t length = shape.rootEnd - shape.rootBegin;
    const unsigned parse = shape.fitsWithBlanks() ? kParse : kParse & ~static_cast<unsigned>(pugi::parse_ws_pcdata);
    if (!dom_.load_buffer_inplace(source_.data() + shape.rootBegin, length, parse, pugi::encoding_utf8)) {
      clear();
      throw std::bad_alloc();  // The text is in order, so nothing else can be the reason.
    }
    toStart();
  }
  before_ = std::move(before);
  behind_ = std::move(behind);
  lineEnd_ = pair ? "\r\n" : "\n";
}

std::string XmlDocument::text() const {
  std::string text = before_;
  TextWriter writer(text);
  if (hasRoot()) dom_.document_element().print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  return text + behind_;
}

std::string XmlDocument::section() const {
  std::string text;
  TextWriter writer(text);
  if (current_) current_.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
  return text;
}

pugi::xml_node XmlDocument::searchBegin() const {
  switch (search_) {
    case Search::FromStart:
      return level_.first_child();
    case Search::BehindCurrent:
      return current_.next_sibling();
    case Search::FromNext:
      return next_;
    case Search::FromEnd:
      break;
  }
  return {};
}

bool XmlDocument::find(const char* name) noexcept {
  pugi::xml_node node = nextElement(searchBegin());
  while (node && name != nullptr && std::strcmp(node.name(), name) != 0) node = nextElement(node.next_sibling());
  search_ = node ? Search::BehindCurrent : Search::FromEnd;
  if (node) current_ = node;
  return static_cast<bool>(node);
}

bool XmlDocument::into() noexcept {
  if (!current_) return false;
  level_ = current_;
  toLevelStart();
  return true;
}

bool XmlDocument::outOf() noexcept {
  if (onTop()) return false;
  current_ = level_;
  level_ = level_.parent();
  search_ = Search::BehindCurrent;
  return true;
}

void XmlDocument::toStart() noexcept {
  level_ = dom_;
  toLevelStart();
}

void XmlDocument::toLevelStart() noexcept {
  current_ = next_ = {};
  search_ = Search::FromStart;
}

pugi::xml_node XmlDocument::lastElement() const {
  pugi::xml_node node = level_.last_child();
  while (node && node.type() != pugi::node_element) node = node.previous_sibling();
  return node;
}

// The line end and the blanks that `element` stands behind; empty when it does not begin a line.
std::string XmlDocument::lineOf(pugi::xml_node element) const {
  if (element.parent().type() == pugi::node_document) return std::string(lineEnd_);
  const std::string_view blanks = isBlankText(element.previous_sibling()) ? element.previous_sibling().value() : "";
  const std::size_t feed = blanks.rfind('\n');
  return feed == blanks.npos ? std::string() : std::string(lineEnd_).append(blanks.substr(feed + 1));
}

bool XmlDocument::addBeside(pugi::xml_node added, pugi::xml_node neighbour) {
  const std::string line = lineOf(neighbour);
  return line.empty() || putInFront(added, line);
}

// The only element of its level: on a line of its own, two blanks deeper than the element it lies in.
bool XmlDocument::addAlone(pugi::xml_node added) {
  const std::string line = lineOf(level_);
  for (pugi::xml_node node = level_.first_child(); node; node = node.next_sibling()) {
    if (node != added && !isBlankText(node)) return true;
  }
  if (line.empty()) return true;
  if (!putInFront(added, line + "  ")) return false;
  pugi::xml_node inFront = added.previous_sibling();
  pugi::xml_node closing = level_.insert_child_after(pugi::node_pcdata, added);
  if (!closing || !closing.set_value(line.c_str())) {
    level_.remove_child(closing);
    level_.remove_child(inFront);
    return false;
  }
  while (level_.first_child() != inFront) level_.remove_child(level_.first_child());
  while (level_.last_child() != closing) level_.remove_child(level_.last_child());
  return true;
}

bool XmlDocument::lineUp(pugi::xml_node added, pugi::xml_node neighbour) {
  if (onTop()) return true;
  return neighbour ? addBeside(added, neighbour) : addAlone(added);
}

const char* XmlDocument::add(const std::string& name, const std::string& text) {
  if (onTop() && hasRoot()) return "a document has one root element";
  if (depthOf(level_) == kDeepestXml) return "elements lie more than 256 levels deep";
  std::string end = onTop() && behind_.empty() ? std::string(lineEnd_) : behind_;
  const pugi::xml_node neighbour = current_ ? current_ : lastElement();
  pugi::xml_node added =
      neighbour ? level_.insert_child_after(pugi::node_element, neighbour) : level_.append_child(pugi::node_element);
  if (!added) throw std::bad_alloc();
  const bool filled = added.set_name(name.c_str()) && (text.empty() || putInside(added, text));
  if (!filled || !lineUp(added, neighbour)) {
    level_.remove_child(added);
    throw std::bad_alloc();
  }
  if (onTop()) behind_ = std::move(end);
  current_ = added;
  search_ = Search::BehindCurrent;
  return nullptr;
}

const char* XmlDocument::setAttribute(const std::string& name, const std::string& value) {
  if (!current_) return "there is no current element";
  pugi::xml_attribute attribute = current_.attribute(name.c_str());
  if (attribute) {
    if (!attribute.set_value(value.c_str())) throw std::bad_alloc();
    return nullptr;
  }
  attribute = current_.append_attribute("");
  if (!attribute) throw std::bad_alloc();
  if (!attribute.set_name(name.c_str()) || !attribute.set_value(value.c_str())) {
    current_.remove_attribute(attribute);
    throw std::bad_alloc();
  }
  return nullptr;
}

const char* XmlDocument::remove() noexcept {
  if (!current_) return "there is no current element";
  const pugi::xml_node inFront = current_.previous_sibling();
  next_ = nextElement(current_.next_sibling());
  level_.remove_child(current_);
  if (isBlankText(inFront)) level_.remove_child(inFront);
  current_ = {};
  search_ = next_ ? Search::FromNext : Search::FromEnd;
  return nullptr;
}

}  // namespace quelplatform
