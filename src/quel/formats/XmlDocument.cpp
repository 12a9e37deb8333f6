// XML as OpenCV writes it: an element with elements in it is a map, or a list where they are called "_"; others are
// texts.
#include <algorithm>
#include <pugixml.hpp>

#include "quel/formats/Document.h"

namespace quel {

namespace {

class Converter {
 public:
  explicit Converter(std::string_view text) {
    for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
      ends_.push_back(at);
  }

  std::int32_t lineOf(std::ptrdiff_t offset) const {
    const auto at = static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0));
    return static_cast<std::int32_t>(std::lower_bound(ends_.begin(), ends_.end(), at) - ends_.begin()) + 1;
  }

  Node nodeOf(const pugi::xml_node& element, int depth) {
    Node node;
    node.line = lineOf(element.offset_debug());
    count_.add(node.line);
    if (depth > kMaxNesting) throw BadFile{{"is nested too deeply for a calibration", {}, lineText(node.line)}};
    for (const pugi::xml_node& child : element.children()) {
      if (child.type() == pugi::node_element) add(node, child, depth);
    }
    if (node.kind != Node::Kind::Null) return node;
    node.kind = Node::Kind::Text;
    node.text = element.text().get();
    return node;
  }

 private:
  void add(Node& node, const pugi::xml_node& child, int depth) {
    const std::string name = child.name();
    const auto kind = name == "_" ? Node::Kind::List : Node::Kind::Map;
    const std::int32_t line = lineOf(child.offset_debug());
    if (node.kind != Node::Kind::Null && node.kind != kind) {
      throw BadFile{{"mixes elements of a list with others", {}, lineText(line)}};
    }
    node.kind = kind;
    if (kind == Node::Kind::List) {
      node.items.push_back(nodeOf(child, depth + 1));
      return;
    }
    newMember(node, name, line) = nodeOf(child, depth + 1);
  }

  std::vector<std::size_t> ends_;
  ValueCount count_;
};

}  // namespace

Node parseXml(std::string_view text) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
  Converter converter(text);
  if (!result) {
    throw BadFile{
        {std::string("is no valid XML: ") + result.description(), {}, lineText(converter.lineOf(result.offset))}};
  }
  if (!document.document_element()) throw BadFile{{"is no valid XML: it has no element"}};
  return converter.nodeOf(document.document_element(), 0);
}

}  // namespace quel
