#include "quelcore/base/xmlPlaces.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>

#include "quelcore/base/File.h"
#include "quelcore/base/byteOrderMark.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/qmEnv/qmText.h"

namespace quelcore {

namespace {

using View = std::u16string_view;

/// A start or end tag; `name` is empty where the text has no more.
struct Tag {
  std::size_t begin = 0;
  View name;
  bool opens = false;
  bool closes = false;  ///< An empty element opens and closes.
};

/// What is no element: how it begins and how it ends.
struct Aside {
  View begin;
  View end;
};
constexpr std::array<Aside, 3> kAsides = {{{u"<!--", u"-->"}, {u"<![CDATA[", u"]]>"}, {u"<?", u"?>"}}};

std::size_t behind(View text, View what, std::size_t from) {
  const std::size_t at = text.find(what, from);
  return at == View::npos ? text.size() : at + what.size();
}

/// Where the tag that begins at `at` ends, a `>` in a value aside.
std::size_t endOfTag(View text, std::size_t at) {
  for (; at < text.size() && text[at] != u'>'; ++at) {
    if (text[at] == u'"' || text[at] == u'\'') at = std::min(text.find(text[at], at + 1), text.size() - 1);
  }
  return at;
}

/// The next tag from `at` on, which moves behind it.
Tag nextTag(View text, std::size_t& at) {
  while ((at = text.find(u'<', at)) != View::npos) {
    const View rest = text.substr(at);
    const auto aside = std::find_if(kAsides.begin(), kAsides.end(),
                                    [rest](const Aside& candidate) { return rest.starts_with(candidate.begin); });
    if (aside != kAsides.end()) {
      at = behind(text, aside->end, at + aside->begin.size());
      continue;
    }
    const std::size_t begin = at;
    const std::size_t end = endOfTag(text, begin);
    at = std::min(end + 1, text.size());
    const bool isEnd = rest.starts_with(u"</");
    const View inside = text.substr(begin + (isEnd ? 2 : 1), end - begin - (isEnd ? 2 : 1));
    const auto nameEnd = std::find_if(inside.begin(), inside.end(), [](char16_t c) { return isBlank(c) || c == u'/'; });
    return {begin, inside.substr(0, static_cast<std::size_t>(nameEnd - inside.begin())), !isEnd,
            isEnd || inside.ends_with(u'/')};
  }
  at = text.size();
  return {};
}

Place placeAt(View text, std::size_t at) {
  const View before = text.substr(0, at);
  const std::size_t lineBegin = before.rfind(u'\n') + 1;  // 0 where there is none
  return {.line = static_cast<std::int32_t>(std::count(before.begin(), before.end(), u'\n') + 1),
          .column = static_cast<std::int32_t>(at - lineBegin + 1)};
}

std::string bytesOf(const qmWChar* path) {
  constexpr std::size_t kMostBytes = std::size_t{16} << 20;  // More is no document.
  const File file(path, u"rb");
  std::string bytes;
  for (std::size_t read = 1; file.isOpen() && read != 0 && bytes.size() < kMostBytes;) {
    const std::size_t before = bytes.size();
    bytes.resize(before + 65536);
    read = std::fread(bytes.data() + before, 1, bytes.size() - before, file.get());
    bytes.resize(before + read);
  }
  return bytes;
}

/// 16-bit units of bytes, the low one of each at `low` of its two.
std::u16string unitsOf(std::string_view bytes, std::size_t low) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto byteAt = [&](std::size_t which) { return static_cast<unsigned char>(bytes[2 * i + which]); };
    units[i] = static_cast<char16_t>(byteAt(low) | byteAt(1 - low) << 8);
  }
  return units;
}

std::u16string decoded(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) return unitsOf(bytes.substr(2), 0);
  if (bytes.starts_with("\xFE\xFF")) return unitsOf(bytes.substr(2), 1);
  std::u16string text = toWide(bytes);
  if (text.starts_with(kByteOrderMark)) text.erase(0, 1);
  return text;
}

}  // namespace

Place placeOfElement(View text, XmlPath path, int number) noexcept {
  std::size_t depth = 0;    // Of the elements that are open,
  std::size_t matched = 0;  // and how many of them, from the root on, are the path's.
  std::size_t at = 0;
  for (Tag tag = nextTag(text, at); !tag.name.empty(); tag = nextTag(text, at)) {
    if (tag.opens) {
      const bool isNext = depth == matched && matched < path.size() && tag.name == path[matched];
      if (isNext && matched + 1 == path.size() && --number == 0) return placeAt(text, tag.begin);
      if (isNext && matched + 1 < path.size()) ++matched;
      ++depth;
    }
    if (tag.closes) --depth;
    if (depth < matched) break;  // Only the first element of each name is looked into.
  }
  return {};
}

void XmlElement::remark(const ProblemText& found, const ProblemText& expected) const noexcept {
  if (!hasRoomForRemark()) return;
  Place place;
  try {
    place = placeOfElement(decoded(bytesOf(file)), path, number);
  } catch (const std::bad_alloc&) {
  }
  const ProblemText name = ProblemText::plain(path.back());
  quelcore::remark(place, ProblemText::printed("%.40s %d", name.text, number), found, expected);
}

}  // namespace quelcore
