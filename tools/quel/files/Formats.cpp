#include "files/Formats.h"

#include "files/Texts.h"

namespace queltool {

const char* nameOf(Format format) {
  constexpr const char* kNames[] = {"csv", "ply", "png", "svg", "xml", "pcd", "stl", "obj", "off", "pts", "xyz"};
  return kNames[static_cast<std::size_t>(format)];
}

std::string namesOf(const std::vector<Format>& formats) {
  std::string text;
  for (std::size_t i = 0; i < formats.size(); ++i) {
    if (i != 0) text += i + 1 == formats.size() ? " or " : ", ";
    text += nameOf(formats[i]);
  }
  return text;
}

std::string endingOf(const std::filesystem::path& file) { return lowerCase(file.extension().string()); }

std::optional<Format> formatNamed(const std::string& name, const std::vector<Format>& formats) {
  const std::string word = lowerCase(name);
  for (const Format format : formats) {
    if (word == nameOf(format)) return format;
  }
  return std::nullopt;
}

std::optional<Format> formatByEnding(const std::filesystem::path& file, const std::vector<Format>& formats) {
  const std::string ending = endingOf(file);
  return ending.empty() ? std::nullopt : formatNamed(ending.substr(1), formats);
}

}  // namespace queltool
