// JSON, and the literals of Python that .cameramodel files are: both by one reader, which knows what either has.
#include <algorithm>

#include "quel/formats/Document.h"

namespace quel {

namespace {

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  Node document() {
    Node node = value(0);
    skip();
    if (at_ < text_.size()) refuse("stands behind the end");
    return node;
  }

 private:
  [[noreturn]] void refuse(const std::string& what) const {
    const std::string found = at_ < text_.size() ? "\"" + std::string(text_.substr(at_, 12)) + "\" " : "the end ";
    throw BadFile{{found + what, {}, lineText(line_)}};
  }

  void advance() {
    if (text_[at_] == '\n') ++line_;
    ++at_;
  }

  bool isNext(char c) const { return at_ < text_.size() && text_[at_] == c; }

  void skip() {
    while (at_ < text_.size()) {
      if (text_[at_] == '#') {
        while (at_ < text_.size() && text_[at_] != '\n') ++at_;
      } else if (std::string_view(" \t\r\n").find(text_[at_]) != std::string_view::npos) {
        advance();
      } else {
        break;
      }
    }
  }

  Node value(int depth) {
    skip();
    if (depth > kMaxNesting) refuse("is nested too deeply for a calibration");
    if (at_ == text_.size()) refuse("stands where a value belongs");
    count_.add(line_);
    Node node;
    node.line = line_;
    const char c = text_[at_];
    if (c == '{') {
      readMap(node, depth);
    } else if (c == '[' || c == '(') {
      readList(node, depth, c == '[' ? ']' : ')');
    } else if (isText()) {
      node.kind = Node::Kind::Text;
      node.text = readTexts();
    } else {
      readWord(node);
    }
    return node;
  }

  // A text, which Python may mark as one of bytes.
  bool isText() const {
    const std::size_t at = at_ + (isNext('b') ? 1 : 0);
    return at < text_.size() && (text_[at] == '"' || text_[at] == '\'');
  }

  // Neighbouring texts are one.
  std::string readTexts() {
    std::string text;
    while (isText()) {
      text += readText();
      skip();
    }
    return text;
  }

  std::string readText() {
    if (isNext('b')) ++at_;
    const char quote = text_[at_];
    std::string text;
    for (++at_; !isNext(quote); advance()) {
      if (at_ == text_.size() || text_[at_] == '\n') refuse("stands where a text has not ended");
      if (text_[at_] == '\\') {
        ++at_;
        if (at_ == text_.size()) refuse("stands where a text has not ended");
      }
      text += text_[at_];
    }
    ++at_;
    return text;
  }

  void readWord(Node& node) {
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,:#]})", at_), text_.size());
    const std::string_view word = text_.substr(at_, end - at_);
    const bool isName = word == "true" || word == "false" || word == "True" || word == "False";
    const bool isNull = word == "null" || word == "None";
    if (!isName && !isNull && !finiteNumber(word)) refuse("is no value");
    node.kind = isNull ? Node::Kind::Null : Node::Kind::Text;
    node.text = word;
    at_ = end;
  }

  // Whether another element follows; the one behind a last comma is none.
  bool goesOn(char end) {
    skip();
    if (isNext(',')) {
      ++at_;
      skip();
    } else if (!isNext(end)) {
      refuse("stands where a comma or the end of a list belongs");
    }
    if (!isNext(end)) return true;
    ++at_;
    return false;
  }

  bool isEmpty(char end) {
    ++at_;
    skip();
    if (!isNext(end)) return false;
    ++at_;
    return true;
  }

  void readList(Node& node, int depth, char end) {
    node.kind = Node::Kind::List;
    if (isEmpty(end)) return;
    do {
      node.items.push_back(value(depth + 1));
    } while (goesOn(end));
  }

  void readMap(Node& node, int depth) {
    node.kind = Node::Kind::Map;
    if (isEmpty('}')) return;
    do {
      skip();
      if (!isText()) refuse("stands where a key belongs");
      Node& member = newMember(node, readTexts(), line_);
      skip();
      if (!isNext(':')) refuse("stands where a colon belongs");
      ++at_;
      member = value(depth + 1);
    } while (goesOn('}'));
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::int32_t line_ = 1;
  ValueCount count_;
};

}  // namespace

Node parseLiteral(std::string_view text) { return Reader(text).document(); }

}  // namespace quel
