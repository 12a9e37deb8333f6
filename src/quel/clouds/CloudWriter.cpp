#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <set>
#include <system_error>

#include "quel/base/Letters.h"
#include "quel/base/Paths.h"
#include "quel/clouds/Cloud.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quel {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

// A file that takes its place as a whole when it is finished, and leaves the old one otherwise.
class NewFile {
 public:
  explicit NewFile(const fs::path& file) : file_(file), wide_(widePath(file)) { block_.reserve(kBlock); }
  ~NewFile() { discard(); }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  bool open() {
    errno = 0;
    return qmFileOpen(wide_.c_str(), u"wb", &stream_) == 1;
  }

  void add(std::string_view bytes) {
    block_ += bytes;
    if (block_.size() >= kBlock) flush();
  }

  bool finish() {
    errno = 0;
    flush();
    if (!good_) return false;
    std::FILE* stream = stream_;
    stream_ = nullptr;
    return qmFileClose(wide_.c_str(), &stream) == 1;
  }

  // Not every failure has a number of the system.
  Error error() const {
    const std::string why = errno == 0 ? "" : ": " + std::generic_category().message(errno);
    return {"cannot be written" + why, file_.string()};
  }

 private:
  void flush() {
    good_ = good_ && std::fwrite(block_.data(), 1, block_.size(), stream_) == block_.size();
    block_.clear();
  }

  // Reading marks a stream that is only written to as one that failed, so that it replaces nothing.
  void discard() {
    if (stream_ == nullptr) return;
    std::fgetc(stream_);
    qmFileClose(wide_.c_str(), &stream_);
  }

  fs::path file_;
  std::u16string wide_;
  std::FILE* stream_ = nullptr;
  std::string block_;
  bool good_ = true;
};

template <typename T>
std::string_view bytesOf(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string headerOfPly(std::size_t count, const CloudExtras& extras) {
  std::string header = "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(count) + "\n";
  for (const char* name : {"x", "y", "z"}) header += std::string("property double ") + name + "\n";
  if (!extras.colours.empty()) {
    for (const char* name : {"red", "green", "blue"}) header += std::string("property uchar ") + name + "\n";
  }
  for (const CloudExtras::Values& each : extras.values) header += "property double " + each.name + "\n";
  return header + "end_header\n";
}

void addPly(NewFile& out, std::span<const Vec3> points, const CloudExtras& extras) {
  out.add(headerOfPly(points.size(), extras));
  for (std::size_t n = 0; n < points.size(); ++n) {
    out.add(bytesOf(points[n]));
    if (!extras.colours.empty()) {
      const Colour& colour = extras.colours[n];
      for (const double share : {colour.red, colour.green, colour.blue}) {
        out.add(bytesOf(static_cast<std::uint8_t>(std::lround(255.0 * std::clamp(share, 0.0, 1.0)))));
      }
    }
    for (const CloudExtras::Values& each : extras.values) out.add(bytesOf(each.values[n]));
  }
}

// The shortest text that reads back as the same double.
void addNumber(NewFile& out, double value, char behind) {
  char text[40];
  char* end = std::isnan(value) ? text : std::to_chars(text, text + sizeof text - 1, value).ptr;
  *end++ = behind;
  out.add({text, static_cast<std::size_t>(end - text)});
}

void addCsv(NewFile& out, std::span<const Vec3> points, const CloudExtras& extras) {
  std::string names = "x,y,z";
  for (const CloudExtras::Values& each : extras.values) names += "," + each.name;
  out.add(names + "\n");
  for (std::size_t n = 0; n < points.size(); ++n) {
    addNumber(out, points[n][0], ',');
    addNumber(out, points[n][1], ',');
    addNumber(out, points[n][2], extras.values.empty() ? '\n' : ',');
    for (std::size_t i = 0; i < extras.values.size(); ++i) {
      addNumber(out, extras.values[i].values[n], i + 1 == extras.values.size() ? '\n' : ',');
    }
  }
}

bool isName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  });
}

// What is wrong with what goes along; empty where nothing is.
std::string whyNot(std::size_t count, const CloudExtras& extras) {
  std::set<std::string> names = {"x", "y", "z", "red", "green", "blue"};
  const auto fault = [count](const std::string& what, std::size_t length) {
    return "there are " + std::to_string(length) + " " + what + " for " + std::to_string(count) + " points";
  };
  if (!extras.colours.empty() && extras.colours.size() != count) return fault("colours", extras.colours.size());
  for (const CloudExtras::Values& each : extras.values) {
    if (!isName(each.name)) return "\"" + each.name + "\" is no name of values: letters, digits and '_' make one";
    if (!names.insert(each.name).second) return "the name \"" + each.name + "\" stands twice";
    if (each.values.size() != count) return fault("values of " + each.name, each.values.size());
  }
  return {};
}

}  // namespace

Result<void> writeCloud(const fs::path& file, std::span<const Vec3> points, const CloudExtras& extras) {
  const std::string ending = lowerCase(file.extension().string());
  if (ending != ".ply" && ending != ".csv") return Error{"the name must end in .ply or .csv", file.string()};
  const std::string wrong = whyNot(points.size(), extras);
  if (!wrong.empty()) return Error{wrong, file.string()};
  if (!isTakenByDoors(file)) return Error{"a path may hold no '\\' and nothing but UTF-8", file.string()};
  NewFile out(file);
  if (!out.open()) return out.error();
  ending == ".ply" ? addPly(out, points, extras) : addCsv(out, points, extras);
  if (!out.finish()) return out.error();
  return {};
}

}  // namespace quel
