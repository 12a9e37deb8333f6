// JSON, and the literals of Python that .cameramodel files are: both by one reader, which knows what either has.
#include <algorithm>
#include <charconv>

#include "quel/formats/Document.h"

namespace quel {

namespace {

constexpr std::size_t kUnit = 6;  // The letters of an escape: \u and four hexadecimal digits.

void addUtf8(std::string& text, std::uint32_t code) {
  const int more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr std::uint32_t kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(kLead[more] | (code >> (6 * more)));
  for (int n = more - 1; n >= 0; --n) text += static_cast<char>(0x80 | ((code >> (6 * n)) & 0x3F));
}

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
    ++at_;
    while (!isNext(quote)) {
      if (at_ == text_.size() || text_[at_] == '\n') refuse("stands where a text has not ended");
      if (text_[at_] == '\\') {
        readEscape(text);
      } else {
        text += text_[at_++];
      }
    }
    ++at_;
    return text;
  }

  // The escapes that JSON has and Python shares, with ' of Python.
  void readEscape(std::string& text) {
    constexpr std::string_view kLetters = "\"'\\/bfnrt", kMeant = "\"'\\/\b\f\n\r\t";
    const std::size_t letter = at_ + 1 < text_.size() ? kLetters.find(text_[at_ + 1]) : std::string_view::npos;
    if (letter != std::string_view::npos) {
      text += kMeant[letter];
      at_ += 2;
    } else {
      addUtf8(text, readCodePoint());
    }
  }

  // \u and four hexadecimal digits, or two of these that are the halves of a letter beyond 0xFFFF.
  std::uint32_t readCodePoint() {
    const auto first = unitAt(at_);
    const bool isHigh = first && *first >= 0xD800 && *first < 0xDC00;
    const auto second = isHigh ? unitAt(at_ + kUnit) : std::nullopt;
    if (isHigh && second && *second >= 0xDC00 && *second < 0xE000) {
      at_ += 2 * kUnit;
      return 0x10000 + ((*first - 0xD800) << 10) + (*second - 0xDC00);
    }
    if (!first || *first == 0 || (*first >= 0xD800 && *first < 0xE000)) refuse("begins with no letter that is read");
    at_ += kUnit;
    return *first;
  }

  std::optional<std::uint32_t> unitAt(std::size_t at) const {
    if (text_.size() < at + kUnit || text_.substr(at, 2) != "\\u") return std::nullopt;
    std::uint32_t unit = 0;
    const char* const end = text_.data() + at + kUnit;
    const auto read = std::from_chars(text_.data() + at + 2, end, unit, 16);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return unit;
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
