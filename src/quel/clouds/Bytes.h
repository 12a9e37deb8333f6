// The bytes of a file or of a text, one behind the other. Of a file no more are in memory than are looked at. Hidden in
// the library.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace quel {

class Bytes {
 public:
  /// Those of `content`, which outlives it.
  explicit Bytes(std::string_view content) : window_(content) {}

  /// Those of a content of its own.
  explicit Bytes(std::string&& content) : buffer_(std::move(content)), window_(buffer_) {}

  /// Is told how many bytes of a file were read, and how many there are.
  using Progress = std::function<void(std::uint64_t done, std::uint64_t size)>;

  /// The next `size` bytes of an opened file, which it closes; `name` is for messages. `progress` may be empty.
  Bytes(std::FILE* file, std::uint64_t size, std::filesystem::path name, Progress progress);

  Bytes(const Bytes&) = delete;
  Bytes& operator=(const Bytes&) = delete;

  /// How many are left.
  std::uint64_t left() const { return window_.size() + behind_; }

  /// The next `size`, or all that are left where those are fewer; they stand until the next call. Throws `Error`
  /// where the file cannot be read.
  std::string_view ahead(std::size_t size) {
    if (window_.size() < size && behind_ != 0) fill(size);
    return window_.substr(0, size);
  }

  /// Goes on by `size` bytes of those ahead, or to the end.
  void skip(std::uint64_t size);

  /// Takes the next line, which stands without its line feed until the next call; false behind the last one.
  bool line(std::string_view& line);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void fill(std::size_t size);

  std::unique_ptr<std::FILE, Close> file_;
  std::filesystem::path name_;
  std::uint64_t behind_ = 0;  // Bytes of the file that were not read yet.
  std::string buffer_;
  std::string_view window_;  // What is in memory and not passed yet.
  std::uint64_t size_ = 0;
  Progress progress_;
};

}  // namespace quel
