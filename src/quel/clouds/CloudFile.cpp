#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

#include "quel/base/Letters.h"
#include "quel/clouds/CloudFormats.h"

namespace quel {

namespace fs = std::filesystem;

namespace {

// A pipe tells no size, nor does a file of the system that is made when it is read.
std::string contentOf(const fs::path& file, std::FILE* stream) {
  constexpr std::size_t kStep = std::size_t{1} << 20;
  std::string content;
  std::size_t filled = 0;
  do {
    content.resize(filled + std::max(kStep, filled));
    filled += std::fread(content.data() + filled, 1, content.size() - filled, stream);
  } while (filled == content.size());
  if (std::ferror(stream) != 0) {
    throw Error{"cannot be read: " + std::generic_category().message(errno), file.string()};
  }
  content.resize(filled);
  return content;
}

struct Close {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

std::unique_ptr<Bytes> open(const fs::path& file, const Bytes::Progress& progress) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status)) throw Error{"there is no such file", file.string()};
  const bool regular = fs::is_regular_file(status);
  if (!regular && status.type() != fs::file_type::fifo) throw Error{"is no regular file", file.string()};
  const std::uintmax_t size = regular ? fs::file_size(file, error) : 0;
  std::unique_ptr<std::FILE, Close> stream(error ? nullptr : std::fopen(file.c_str(), "rb"));
  if (!stream) {
    const std::string why = error ? error.message() : std::generic_category().message(errno);
    throw Error{"cannot be read: " + why, file.string()};
  }
  if (size == 0) return std::make_unique<Bytes>(contentOf(file, stream.get()));
  return std::make_unique<Bytes>(stream.release(), size, file, progress);
}

std::string endingOf(const fs::path& file) { return lowerCase(file.extension().string()); }

}  // namespace

Result<CloudFormat> cloudFormatOf(const fs::path& file) try {
  return formatOfCloud(*open(file, {}), endingOf(file));
} catch (const Error& error) {
  return placed(error, file.string());
}

Result<std::vector<Vec3>> readCloud(const fs::path& file, const ReadCloudOptions& options) try {
  const auto bytes = open(file, options.progress);
  const CloudFormat format = options.format ? *options.format : formatOfCloud(*bytes, endingOf(file));
  return readCloud(*bytes, format, options.columns, options.millimetresPerUnit);
} catch (const Error& error) {
  return placed(error, file.string());
}

Result<Surface> readSurface(const fs::path& file, const ReadSurfaceOptions& options) try {
  const auto bytes = open(file, options.progress);
  const CloudFormat format = options.format ? *options.format : formatOfCloud(*bytes, endingOf(file));
  return readSurface(*bytes, format, options.millimetresPerUnit);
} catch (const Error& error) {
  return placed(error, file.string());
}

}  // namespace quel
