#include "quelplatform/qmEnv/LogText.h"

#include <fmt/args.h>
#include <fmt/printf.h>

#include <array>
#include <limits>
#include <string_view>

#include "quelplatform/qmEnv/qmText.h"

namespace quelplatform {

namespace {

constexpr std::array<const char*, 6> kLevelNames = {"info", "trace", "progress", "warning", "note", "error"};

std::string levelName(std::int32_t level) {
  if (level >= 0 && static_cast<std::size_t>(level) < kLevelNames.size())
    return kLevelNames[static_cast<std::size_t>(level)];
  return "level " + std::to_string(level);
}

using PrintfArgs = fmt::dynamic_format_arg_store<fmt::printf_context>;

// A number that fits 32 bits goes in as such, so that a negative one prints 8 hexadecimal digits under "%x".
void push(PrintfArgs& store, const qmLogArg& arg) {
  switch (arg.kind()) {
    case qmLogArg::Kind::Signed:
      if (const auto narrow = static_cast<std::int32_t>(arg.asSigned()); narrow == arg.asSigned()) {
        store.push_back(narrow);
      } else {
        store.push_back(arg.asSigned());
      }
      return;
    case qmLogArg::Kind::Unsigned:
      if (const auto narrow = static_cast<std::uint32_t>(arg.asUnsigned()); narrow == arg.asUnsigned()) {
        store.push_back(narrow);
      } else {
        store.push_back(arg.asUnsigned());
      }
      return;
    case qmLogArg::Kind::Double:
      store.push_back(arg.asDouble());
      return;
    case qmLogArg::Kind::Narrow:
    case qmLogArg::Kind::Wide:
      store.push_back(textOf(arg));
      return;
  }
}

// Without line ends behind it, the others followed by an indent.
std::string indented(std::string_view text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
  std::string out;
  for (const char c : text) {
    if (c == '\r') continue;
    out += c;
    if (c == '\n') out += "    ";
  }
  return out;
}

constexpr unsigned char byteOf(char c) { return static_cast<unsigned char>(c); }

std::string lineOf(const LogRecord& record, const std::string& place) {
  const std::string head =
      levelName(record.level) + ' ' + record.sourceFile + ':' + std::to_string(record.line) + place;
  return record.bare ? head : head + ": " + indented(record.message);
}

}  // namespace

std::string formattedText(const char* format, const qmLogArg* args, std::size_t count) {
  PrintfArgs store;
  for (std::size_t i = 0; i < count; ++i) push(store, args[i]);
  try {
    return fmt::vsprintf(fmt::string_view(format), fmt::basic_format_args<fmt::printf_context>(store));
  } catch (const fmt::format_error&) {
    return format;
  }
}

std::string textOf(const qmLogArg& arg) {
  switch (arg.kind()) {
    case qmLogArg::Kind::Signed:
      return std::to_string(arg.asSigned());
    case qmLogArg::Kind::Unsigned:
      return std::to_string(arg.asUnsigned());
    case qmLogArg::Kind::Double:
      return fmt::format("{}", arg.asDouble());
    case qmLogArg::Kind::Narrow:
      return arg.asNarrow() == nullptr ? "(null)" : arg.asNarrow();
    case qmLogArg::Kind::Wide:
      return arg.asWide() == nullptr ? "(null)" : toNarrow(arg.asWide());
  }
  return {};
}

std::string withoutControls(std::string_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const unsigned char next = at + 1 < text.size() ? byteOf(text[at + 1]) : 0;
    if (byteOf(text[at]) == 0xC2 && next >= 0x80 && next < 0xA0) {
      out += '?';
      ++at;
    } else {
      const bool isControl = byteOf(text[at]) < 0x20 || byteOf(text[at]) == 0x7F;
      out += isControl && text[at] != '\n' && text[at] != '\t' ? '?' : text[at];
    }
  }
  return out;
}

std::string consoleLine(const LogRecord& record) { return withoutControls(lineOf(record, "")); }

std::string fileLine(const LogRecord& record) { return lineOf(record, " (" + record.buildDate + ')'); }

}  // namespace quelplatform
