// YAML, by its events: what is built here is bounded, and an alias, by which a short file may stand for a huge one, is
// refused.
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <algorithm>
#include <sstream>

#include "quel/formats/Document.h"

namespace quel {

namespace {

// How many brackets may be open, or dashes begin a line: the parser itself goes down with each of them.
constexpr int kMaxOpen = 64;

[[noreturn]] void refuseNesting(std::int32_t line) {
  throw BadFile{{"is nested too deeply for a calibration", {}, lineText(line)}};
}

// Brackets within texts count too, which no calibration has many of.
void refuseDeepText(std::string_view text) {
  int open = 0, marks = 0;
  std::int32_t line = 1;
  bool lineBegins = true;
  for (const char c : text) {
    if (c == '[' || c == '{') ++open;
    if ((c == ']' || c == '}') && open > 0) --open;
    if (lineBegins && (c == '-' || c == '?')) ++marks;
    if (c == '\n') {
      ++line;
      marks = 0;
      lineBegins = true;
    } else if (c != ' ' && c != '-' && c != '?') {
      lineBegins = false;
    }
    if (open > kMaxOpen || (marks > kMaxOpen && !lineBegins)) refuseNesting(line);
    if (c == '\0') throw BadFile{{"holds a byte of value 0, so it is no text", {}, lineText(line)}};
  }
}

class Builder : public YAML::EventHandler {
 public:
  Node take() { return std::move(root_); }

  void OnDocumentStart(const YAML::Mark&) override {}
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark& mark, YAML::anchor_t) override { add(mark, Node::Kind::Null); }
  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override {
    throw BadFile{{"refers to another place by an alias, which is not read; write it out", {}, place(mark)}};
  }
  void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t, const std::string& value) override {
    if (isKey()) {
      key_ = value;
      hasKey_ = true;
      return;
    }
    add(mark, Node::Kind::Text).text = value;
  }
  void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
    open(mark, Node::Kind::List);
  }
  void OnSequenceEnd() override { open_.pop_back(); }
  void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
    open(mark, Node::Kind::Map);
  }
  void OnMapEnd() override { open_.pop_back(); }

 private:
  static std::string place(const YAML::Mark& mark) { return lineText(mark.line + 1); }
  bool isKey() const { return !open_.empty() && open_.back()->kind == Node::Kind::Map && !hasKey_; }

  void open(const YAML::Mark& mark, Node::Kind kind) {
    Node& node = add(mark, kind);
    if (open_.size() >= static_cast<std::size_t>(kMaxNesting)) refuseNesting(mark.line + 1);
    open_.push_back(&node);
  }

  Node& add(const YAML::Mark& mark, Node::Kind kind) {
    if (isKey()) throw BadFile{{"has a key that is no text", {}, place(mark)}};
    count_.add(mark.line + 1);
    Node& node = placeFor(mark);
    node.kind = kind;
    node.line = mark.line + 1;
    return node;
  }

  Node& placeFor(const YAML::Mark& mark) {
    if (open_.empty()) return root_;
    Node& parent = *open_.back();
    if (parent.kind == Node::Kind::List) return parent.items.emplace_back();
    hasKey_ = false;
    return newMember(parent, key_, mark.line + 1);
  }

  Node root_;
  // Only the last child of a node on this list grows, so that none of them moves.
  std::vector<Node*> open_;
  ValueCount count_;
  std::string key_;
  bool hasKey_ = false;
};

}  // namespace

Node parseYaml(std::string_view text) {
  refuseDeepText(text);
  try {
    std::istringstream in{std::string(text)};
    YAML::Parser parser(in);
    Builder builder;
    if (!parser.HandleNextDocument(builder)) throw BadFile{{"is empty"}};
    return builder.take();
  } catch (const YAML::Exception& bad) {
    throw BadFile{{"is no valid YAML: " + bad.msg, {}, lineText(bad.mark.line + 1)}};
  }
}

}  // namespace quel
