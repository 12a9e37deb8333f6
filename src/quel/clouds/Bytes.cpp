#include "quel/clouds/Bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "quel/base/Result.h"

namespace quel {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

}  // namespace

Bytes::Bytes(std::FILE* file, std::uint64_t size, std::filesystem::path name, Progress progress)
    : file_(file), name_(std::move(name)), behind_(size), size_(size), progress_(std::move(progress)) {
  if (progress_) progress_(0, size_);
  std::setvbuf(file, nullptr, _IONBF, 0);  // Blocks are large, and go where they are wanted.
}

// A file that has become shorter since its size was asked ends where it ends.
void Bytes::fill(std::size_t size) {
  const std::size_t kept = window_.size();
  if (kept != 0) std::memmove(buffer_.data(), window_.data(), kept);
  const std::size_t wanted = std::min<std::uint64_t>(std::max(size, kBlock), kept + behind_);
  if (buffer_.size() < wanted) buffer_.resize(wanted);
  const std::size_t read = std::fread(buffer_.data() + kept, 1, wanted - kept, file_.get());
  if (std::ferror(file_.get()) != 0) {
    throw Error{"cannot be read: " + std::generic_category().message(errno), name_.string()};
  }
  behind_ = read == wanted - kept ? behind_ - read : 0;
  window_ = std::string_view(buffer_).substr(0, kept + read);
  if (progress_) progress_(size_ - behind_, size_);
}

void Bytes::skip(std::uint64_t size) {
  while (size > window_.size() && behind_ != 0) {
    size -= window_.size();
    window_ = {};
    fill(kBlock);
  }
  window_.remove_prefix(std::min<std::uint64_t>(size, window_.size()));
}

bool Bytes::line(std::string_view& line) {
  std::size_t end = window_.find('\n');
  while (end == window_.npos && behind_ != 0) {
    const std::size_t searched = window_.size();
    fill(2 * searched);
    end = window_.find('\n', searched);
  }
  if (window_.empty()) return false;
  line = window_.substr(0, end);
  window_.remove_prefix(end == window_.npos ? window_.size() : end + 1);
  return true;
}

}  // namespace quel
