#include "files/Files.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include "files/Failure.h"
#include "files/OutputStream.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

Failure fileFailure(const fs::path& file, const char* what, int error) {
  return Failure(file.string() + ": " + what + ": " + std::generic_category().message(error));
}

// The libraries take '\' for a separator, and what is no UTF-8 for something else: that would be another file.
bool isKeptByLibraries(const fs::path& file) {
  return file.string().find('\\') == std::string::npos && toNarrow(widePath(file)) == file.string();
}

Failure tooLarge(const fs::path& file, std::uintmax_t limit) {
  return Failure(fmt::format("{}: is larger than the {} MB that are read", file.string(), limit >> 20));
}

// What is known of the size saves copies; a pipe tells none.
std::string readToEnd(const fs::path& file, std::FILE* in, std::uintmax_t size, std::uintmax_t limit) {
  constexpr std::uintmax_t kStep = std::uintmax_t{1} << 20;
  if (size > limit) throw tooLarge(file, limit);
  std::string content(size, '\0');
  std::size_t filled = std::fread(content.data(), 1, content.size(), in);
  while (size == 0 && filled == content.size() && std::feof(in) == 0 && std::ferror(in) == 0) {
    if (filled > limit) throw tooLarge(file, limit);
    content.resize(filled + std::max<std::uintmax_t>(kStep, filled));
    filled += std::fread(content.data() + filled, 1, content.size() - filled, in);
  }
  if (std::ferror(in) != 0) throw fileFailure(file, "cannot be read", errno);
  content.resize(filled);
  return content;
}

struct OpenInput {
  OpenFile stream;
  std::uintmax_t size;  // 0 for a pipe, which tells none.
};

// A regular file, or one of the `other` type.
OpenInput openToRead(const fs::path& file, fs::file_type other) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw Failure(file.string() + ": there is no such file");
  const bool regular = fs::is_regular_file(status);
  if (!regular && status.type() != other) throw Failure(file.string() + ": is no regular file");
  const std::uintmax_t size = regular ? fs::file_size(file, error) : 0;
  if (error) throw fileFailure(file, "cannot be read", error.value());
  OpenFile in(std::fopen(file.c_str(), "rb"));
  if (!in) throw fileFailure(file, "cannot be read", errno);
  return {std::move(in), size};
}

std::string readToEnd(const fs::path& file, std::uintmax_t limit, fs::file_type other) {
  const OpenInput in = openToRead(file, other);
  return readToEnd(file, in.stream.get(), in.size, limit);
}

}  // namespace

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  std::error_code unknown;
  if (fs::is_directory(folder, unknown)) return;
  throw Failure(folder.string() + ": the folder cannot be made: " + error.message());
}

bool isReplacedWhole(const fs::path& file) {
  std::error_code unknown;
  const fs::file_status status = fs::status(file, unknown);
  if (fs::exists(status) && !fs::is_regular_file(status)) return false;
  if (isKeptByLibraries(file)) return true;
  throw Failure(file.string() + ": cannot be written: a path may hold no '\\' and nothing but UTF-8");
}

void writeWholeFile(const fs::path& file, std::string_view content) {
  OutputStream out(file);
  out.write(content);
  out.finish();
}

std::string readWholeFile(const fs::path& file, std::uintmax_t limit) {
  return readToEnd(file, limit, fs::file_type::regular);
}

std::string readInput(const fs::path& file, std::uintmax_t limit) {
  if (file == "-") return readToEnd(file, stdin, 0, limit);
  return readToEnd(file, limit, fs::file_type::fifo);
}

void refuseLarger(const fs::path& file, std::uintmax_t limit) {
  std::error_code unknown;
  const std::uintmax_t size = fs::is_regular_file(file, unknown) ? fs::file_size(file, unknown) : 0;
  if (!unknown && size > limit) throw tooLarge(file, limit);
}

std::u16string widePath(const fs::path& path) { return toWide(path.string().c_str()); }

}  // namespace queltool
