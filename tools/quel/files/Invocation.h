// How the tool was called, for what it writes down of its own making.
#pragma once

#include <string>

namespace queltool {

struct Invocation {
  std::string version = "";  ///< Of the tool.
  std::string line = "";     ///< As it may be typed again in a shell.
};

/// Keeps how the process was called; before any command runs.
void keepInvocation(const std::string& version, int argc, const char* const* argv);

/// Empty where nothing was kept.
const Invocation& invocation();

/// A word as a shell takes it for one: in single quotes where it holds more than letters, digits and "_-./,:=+@%".
std::string shellWord(const std::string& word);

}  // namespace queltool
