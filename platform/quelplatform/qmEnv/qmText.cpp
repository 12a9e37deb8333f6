#include "quelplatform/qmEnv/qmText.h"

#include "quelplatform/ground/text/utf8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// How the first byte of a UTF-8 sequence limits what may follow. A length of 0: no sequence begins so.
struct SequenceRule {
  int length;
  unsigned char lowestSecond;
  unsigned char highestSecond;
};

SequenceRule ruleOf(unsigned char first) {
  if (first < 0x80) return {1, 0x80, 0xBF};
  if (first < 0xC2) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

void appendWide(qmWString& out, char32_t character) {
  if (character < 0x10000) {
    out.push_back(static_cast<qmWChar>(character));
    return;
  }
  out.push_back(static_cast<qmWChar>(0xD800 + ((character - 0x10000) >> 10)));
  out.push_back(static_cast<qmWChar>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

bool isHighSurrogate(qmWChar unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(qmWChar unit) { return unit >= 0xDC00 && unit < 0xE000; }

char32_t takeCharacter(std::u16string_view& text) {
  const qmWChar first = text.front();
  text.remove_prefix(1);
  if (!isHighSurrogate(first)) return isLowSurrogate(first) ? kReplacement : first;
  if (text.empty() || !isLowSurrogate(text.front())) return kReplacement;
  const qmWChar second = text.front();
  text.remove_prefix(1);
  return 0x10000 + ((first & 0x3FFu) << 10) + (second & 0x3FFu);
}

void appendNarrow(std::string& out, char32_t character) {
  const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  if (character < 0x80) {
    put(character);
    return;
  }
  if (character < 0x800) {
    put(0xC0 | (character >> 6));
  } else {
    if (character < 0x10000) {
      put(0xE0 | (character >> 12));
    } else {
      put(0xF0 | (character >> 18));
      put(0x80 | ((character >> 12) & 0x3F));
    }
    put(0x80 | ((character >> 6) & 0x3F));
  }
  put(0x80 | (character & 0x3F));
}

}  // namespace

char32_t quelplatform::takeUtf8(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  text.remove_prefix(1);
  SequenceRule rule = ruleOf(first);
  if (rule.length == 0) return kReplacement;
  if (rule.length == 1) return first;

  char32_t value = first & (0xFFu >> (rule.length + 1));
  for (int i = 1; i < rule.length; ++i) {
    if (text.empty()) return kReplacement;
    const auto next = static_cast<unsigned char>(text.front());
    if (next < rule.lowestSecond || next > rule.highestSecond) return kReplacement;
    text.remove_prefix(1);
    value = (value << 6) | (next & 0x3Fu);
    rule.lowestSecond = 0x80;
    rule.highestSecond = 0xBF;
  }
  return value;
}

qmWString toWide(const char* narrow) { return narrow == nullptr ? qmWString() : toWide(std::string_view(narrow)); }

qmWString toWide(std::string_view narrow) {
  qmWString out;
  out.reserve(narrow.size());
  while (!narrow.empty()) appendWide(out, quelplatform::takeUtf8(narrow));
  return out;
}

std::string toNarrow(const qmWChar* wide) {
  return wide == nullptr ? std::string() : toNarrow(std::u16string_view(wide));
}

std::string toNarrow(std::u16string_view wide) {
  std::string out;
  out.reserve(wide.size());
  while (!wide.empty()) appendNarrow(out, takeCharacter(wide));
  return out;
}
