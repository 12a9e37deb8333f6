#include "files/Files.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

#include "files/Failure.h"
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

void writeAll(const fs::path& file, std::string_view content) {
  OpenFile out(std::fopen(file.c_str(), "wb"));
  if (!out) throw fileFailure(file, "cannot be written", errno);
  const bool written =
      std::fwrite(content.data(), 1, content.size(), out.get()) == content.size() && std::fflush(out.get()) == 0;
  if (!written) throw fileFailure(file, "cannot be written", errno);
  if (std::fclose(out.release()) != 0) throw fileFailure(file, "cannot be written", errno);
}

}  // namespace

void makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (fs::is_directory(folder)) return;
  throw Failure(folder.string() + ": the folder cannot be made: " + error.message());
}

void writeWholeFile(const fs::path& file, std::string_view content) {
  if (fs::exists(file) && !fs::is_regular_file(file)) return writeAll(file, content);
  fs::path temporary = file;
  temporary += fmt::format(".{}.tmp", getpid());
  try {
    writeAll(temporary, content);
  } catch (...) {
    std::remove(temporary.c_str());
    throw;
  }
  std::error_code error;
  fs::rename(temporary, file, error);
  if (!error) return;
  std::remove(temporary.c_str());
  throw fileFailure(file, "cannot be written", error.value());
}

std::string readWholeFile(const fs::path& file, std::uintmax_t limit) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw Failure(file.string() + ": there is no such file");
  if (!fs::is_regular_file(status)) throw Failure(file.string() + ": is no regular file");
  const std::uintmax_t size = fs::file_size(file, error);
  if (error) throw fileFailure(file, "cannot be read", error.value());
  if (size > limit) {
    throw Failure(fmt::format("{}: is larger than the {} MB that are read", file.string(), limit >> 20));
  }
  OpenFile in(std::fopen(file.c_str(), "rb"));
  if (!in) throw fileFailure(file, "cannot be read", errno);
  std::string content(size, '\0');
  content.resize(std::fread(content.data(), 1, content.size(), in.get()));
  if (std::ferror(in.get()) != 0) throw fileFailure(file, "cannot be read", errno);
  return content;
}

std::u16string widePath(const fs::path& path) { return toWide(path.string().c_str()); }

}  // namespace queltool
