#include "files/Paragraphs.h"

#include <algorithm>
#include <sstream>

namespace queltool {

namespace {

std::string filledLine(const std::string& line, std::size_t width, std::size_t indent) {
  std::string result;
  std::size_t column = indent;
  std::istringstream words(line);
  for (std::string word; words >> word;) {
    const std::size_t size = charactersOf(word);
    const bool begins = column == indent;
    if (!begins && column + 1 + size > width) {
      result += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (!begins) {
      result += ' ';
      ++column;
    }
    result += word;
    column += size;
  }
  return result;
}

bool standsForItself(const std::string& line) { return line.empty() || line.front() == ' '; }

}  // namespace

std::size_t charactersOf(const std::string& text) {
  const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

std::string filled(const std::string& text, std::size_t width, std::size_t indent) {
  std::string result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!result.empty()) result += '\n' + std::string(indent, ' ');
    result += filledLine(line, width, indent);
  }
  return result;
}

std::string flowed(const std::string& text, std::size_t width) {
  std::string result;
  std::string paragraph;
  const auto finish = [&] {
    if (!paragraph.empty()) result += filled(paragraph, width) + '\n';
    paragraph.clear();
  };
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!standsForItself(line)) {
      paragraph += (paragraph.empty() ? "" : " ") + line;
      continue;
    }
    finish();
    result += line + '\n';
  }
  finish();
  if (!text.ends_with('\n') && !result.empty()) result.pop_back();
  return result;
}

}  // namespace queltool
