#include "quelplatform/ground/xml/xmlCheck.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "quelplatform/ground/text/asciiCase.h"
#include "quelplatform/ground/xml/xmlCharacters.h"

namespace quelplatform {

namespace {

constexpr std::array<std::string_view, 5> kEntities = {"amp", "lt", "gt", "quot", "apos"};

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

/// The names of the attributes of a tag: mostly few.
class AttributeNames {
 public:
  void clear() {
    count_ = 0;
    more_.clear();
  }

  /// False when it is there already.
  bool insert(std::string_view name) {
    const auto end = few_.begin() + static_cast<std::ptrdiff_t>(count_);
    if (std::find(few_.begin(), end, name) != end) return false;
    if (count_ == few_.size()) return more_.insert(name).second;
    few_[count_++] = name;
    return true;
  }

 private:
  std::array<std::string_view, 8> few_;
  std::size_t count_ = 0;
  std::set<std::string_view> more_;
};

/// Walks through a text of good characters. What it looks for is at `at_`; each step returns false once `problem_` is
/// set.
class XmlWalk {
 public:
  explicit XmlWalk(std::string_view text) : text_(text) {}

  bool document(XmlShape& shape);
  XmlProblem problem() && { return std::move(problem_); }

 private:
  bool fail(std::string cause) { return failAt(at_, std::move(cause)); }
  bool failAt(std::size_t offset, std::string cause) {
    problem_ = {offset, std::move(cause)};
    return false;
  }

  std::string_view rest() const { return text_.substr(at_); }
  bool atEnd() const { return at_ == text_.size(); }
  bool sees(std::string_view what) const { return rest().starts_with(what); }
  bool take(std::string_view what);
  bool skipBlanks();
  bool skipPast(std::string_view end, const char* cause);

  bool name(std::string_view& name);
  bool quoted(std::string_view& value);
  bool references(std::string_view text, std::size_t offset);
  bool reference(std::string_view name, std::size_t offset);
  bool attributeValue();
  bool attributes();
  bool startTag();
  bool takeClosing(std::string_view name);
  bool endTag();
  bool characterData();
  bool comment();
  bool instruction();
  bool declaration(XmlShape& shape);
  bool element();
  bool content();
  bool besideRoot(XmlShape& shape);

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<std::string_view> open_;  ///< Names of the elements that are open, from the root down.
  AttributeNames names_;                ///< Of the tag that is walked through; one for all tags, which are many.
  XmlShape counted_;
  XmlProblem problem_;
};

bool XmlWalk::take(std::string_view what) {
  if (!sees(what)) return false;
  at_ += what.size();
  return true;
}

// True when there were some.
bool XmlWalk::skipBlanks() {
  const std::size_t begin = at_;
  while (!atEnd() && isXmlBlank(text_[at_])) ++at_;
  return at_ > begin;
}

bool XmlWalk::skipPast(std::string_view end, const char* cause) {
  const std::size_t found = text_.find(end, at_);
  if (found == text_.npos) return fail(cause);
  at_ = found + end.size();
  return true;
}

bool XmlWalk::name(std::string_view& name) {
  name = rest().substr(0, xmlNameLength(rest()));
  if (name.empty()) return fail("a name is missing");
  at_ += name.size();
  return true;
}

bool XmlWalk::quoted(std::string_view& value) {
  const char quote = atEnd() ? '\0' : text_[at_];
  if (quote != '"' && quote != '\'') return fail("a value in quotation marks is missing");
  const std::size_t end = text_.find(quote, at_ + 1);
  if (end == text_.npos) return fail("a quotation mark is not closed");
  value = text_.substr(at_ + 1, end - at_ - 1);
  at_ = end + 1;
  return true;
}

bool XmlWalk::reference(std::string_view name, std::size_t offset) {
  if (!name.starts_with('#')) {
    for (const std::string_view entity : kEntities) {
      if (name == entity) return true;
    }
    return failAt(offset, "an entity that is not predefined, or an '&' that is not written as &amp;");
  }
  const bool hex = name.starts_with("#x");
  const std::string_view digits = name.substr(hex ? 2 : 1);
  std::uint32_t character = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), character, hex ? 16 : 10);
  if (error == std::errc() && end == digits.data() + digits.size() && isXmlCharacter(character)) return true;
  return failAt(offset, "a reference to a character that XML does not have");
}

// Checks the references in `text`, which stands at `offset`.
bool XmlWalk::references(std::string_view text, std::size_t offset) {
  for (std::size_t begin = text.find('&'); begin != text.npos; begin = text.find('&', begin + 1)) {
    const std::size_t end = text.substr(0, begin + 12).find(';', begin);
    const std::string_view name = end == text.npos ? std::string_view() : text.substr(begin + 1, end - begin - 1);
    if (!reference(name, offset + begin)) return false;
  }
  return true;
}

bool XmlWalk::attributeValue() {
  skipBlanks();
  if (!take("=")) return fail("an attribute has no value");
  skipBlanks();
  const std::size_t begin = at_ + 1;
  std::string_view value;
  if (!quoted(value)) return false;
  if (const std::size_t bracket = value.find('<'); bracket != value.npos) {
    return failAt(begin + bracket, "a '<' in an attribute is not written as &lt;");
  }
  return references(value, begin);
}

// All attributes of a tag, up to its end.
bool XmlWalk::attributes() {
  names_.clear();
  for (;; ++counted_.attributes) {
    const bool apart = skipBlanks();
    if (atEnd()) return fail("a tag is not closed");
    if (sees(">") || sees("/>")) return true;
    if (!apart) return fail("a blank is missing in front of an attribute");
    const std::size_t begin = at_;
    std::string_view attribute;
    if (!name(attribute)) return false;
    if (!names_.insert(attribute)) {
      return failAt(begin, joined({"the attribute \"", attribute, "\" stands twice"}));
    }
    if (!attributeValue()) return false;
  }
}

bool XmlWalk::startTag() {
  const std::size_t begin = at_;
  std::string_view tag;
  if (!take("<") || !name(tag) || !attributes()) return false;
  if (open_.size() == kDeepestXml) return failAt(begin, "elements lie more than 256 levels deep");
  if (take("/>")) return true;
  open_.push_back(tag);
  return take(">");
}

// The name that nearly all end tags have, and nothing behind it but the bracket.
bool XmlWalk::takeClosing(std::string_view name) {
  if (!sees(name) || at_ + name.size() == text_.size() || text_[at_ + name.size()] != '>') return false;
  at_ += name.size() + 1;
  return true;
}

bool XmlWalk::endTag() {
  const std::size_t begin = at_;
  std::string_view tag;
  if (!take("</")) return false;
  if (takeClosing(open_.back())) {
    open_.pop_back();
    return true;
  }
  if (!name(tag)) return false;
  if (tag != open_.back()) {
    return failAt(begin, joined({"</", tag, "> closes <", open_.back(), ">"}));
  }
  skipBlanks();
  if (!take(">")) return fail("an end tag is not closed");
  open_.pop_back();
  return true;
}

bool XmlWalk::characterData() {
  const std::string_view data = rest().substr(0, rest().find('<'));
  if (const std::size_t end = data.find("]]>"); end != data.npos) return failAt(at_ + end, "\"]]>\" in text");
  if (!references(data, at_)) return false;
  at_ += data.size();
  ++(std::all_of(data.begin(), data.end(), isXmlBlank) ? counted_.blankTexts : counted_.nodes);
  return true;
}

bool XmlWalk::comment() {
  const std::size_t begin = at_;
  at_ += 4;
  if (!skipPast("--", "a comment is not closed")) return false;
  return take(">") || failAt(begin, "\"--\" in a comment");
}

bool XmlWalk::instruction() {
  const std::size_t begin = at_;
  at_ += 2;
  std::string_view target;
  if (!name(target)) return false;
  if (sameButAsciiCase(target, "xml")) return failAt(begin, "an XML declaration that is not at the beginning");
  if (!sees("?>") && !skipBlanks()) return fail("a processing instruction is not closed");
  return skipPast("?>", "a processing instruction is not closed");
}

// The declaration has its attributes in a fixed order; only the first must be there.
bool XmlWalk::declaration(XmlShape& shape) {
  constexpr std::array<std::string_view, 3> kNames = {"version", "encoding", "standalone"};
  at_ += 5;
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    const std::size_t before = at_;
    std::string_view value;
    if (!skipBlanks() || !take(kNames[i])) {
      at_ = before;
      if (i == 0) return fail("the XML declaration has no version");
      continue;
    }
    skipBlanks();
    if (!take("=")) return fail("the XML declaration is damaged");
    skipBlanks();
    if (!quoted(value)) return false;
    if (i == 0 && !value.starts_with("1.")) return fail("not a version of XML that is known");
    if (i == 1) {
      shape.encodingEnd = at_ - 1;
      shape.encodingBegin = shape.encodingEnd - value.size();
    }
  }
  skipBlanks();
  return take("?>") || fail("the XML declaration is damaged");
}

bool XmlWalk::content() {
  if (atEnd()) return fail(joined({"<", open_.back(), "> is not closed"}));
  if (sees("</")) return endTag();
  if (!sees("<")) return characterData();
  ++counted_.nodes;
  if (sees("<!--")) return comment();
  if (sees("<![CDATA[")) return skipPast("]]>", "a CDATA section is not closed");
  if (sees("<?")) return instruction();
  return sees("<!") ? fail("a declaration inside an element") : startTag();
}

bool XmlWalk::element() {
  if (!startTag()) return false;
  while (!open_.empty()) {
    if (!content()) return false;
  }
  return true;
}

bool XmlWalk::besideRoot(XmlShape& shape) {
  if (sees("<!--")) return comment();
  if (sees("<?")) return instruction();
  if (sees("<!DOCTYPE")) return fail("document type declarations are not accepted");
  if (!sees("<")) return fail("text outside the root element");
  if (shape.hasRoot) return fail("a second root element");
  shape.hasRoot = true;
  shape.rootBegin = at_;
  if (!element()) return false;
  shape.rootEnd = at_;
  shape.nodes = counted_.nodes + 1;
  shape.blankTexts = counted_.blankTexts;
  shape.attributes = counted_.attributes;
  return shape.fitsWithoutBlanks() ||
         failAt(shape.rootBegin, "more elements and texts than a document of this size may have");
}

bool XmlWalk::document(XmlShape& shape) {
  shape = {};
  if (sees("<?xml") && text_.size() > 5 && isXmlBlank(text_[5]) && !declaration(shape)) return false;
  for (skipBlanks(); !atEnd(); skipBlanks()) {
    if (!besideRoot(shape)) return false;
  }
  if (!shape.hasRoot) shape.rootBegin = shape.rootEnd = text_.size();
  return true;
}

}  // namespace

std::optional<XmlProblem> checkXml(std::string_view text, XmlShape& shape) {
  if (const std::size_t bad = firstNoXmlCharacter(text); bad != text.size()) {
    return XmlProblem{bad, "not UTF-8, or a control character"};
  }
  XmlWalk walk(text);
  if (walk.document(shape)) return std::nullopt;
  return std::move(walk).problem();
}

bool isXmlText(std::string_view text) { return firstNoXmlCharacter(text) == text.size(); }

bool isXmlName(std::string_view name) { return !name.empty() && isXmlText(name) && xmlNameLength(name) == name.size(); }

}  // namespace quelplatform
