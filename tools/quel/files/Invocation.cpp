#include "files/Invocation.h"

#include <algorithm>
#include <string_view>

namespace queltool {

namespace {

Invocation& kept() {
  static Invocation invocation;
  return invocation;
}

bool isPlain(char c) {
  constexpr std::string_view kSigns = "_-./,:=+@%";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || kSigns.find(c) != kSigns.npos;
}

}  // namespace

void keepInvocation(const std::string& version, int argc, const char* const* argv) {
  std::string line = "quel";
  for (int i = 1; i < argc; ++i) line += ' ' + shellWord(argv[i]);
  kept() = {version, line};
}

const Invocation& invocation() { return kept(); }

std::string shellWord(const std::string& word) {
  if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace queltool
