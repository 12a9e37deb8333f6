#include "web/Compression.h"

#define ZLIB_CONST  // Of what is read.
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>

namespace queltool {
namespace {

// A stream of zlib that ends with its scope.
class Deflater {
 public:
  Deflater() {
    constexpr int kRawWindow = -15;
    constexpr int kMemory = 9;
    if (deflateInit2(&stream_, 6, Z_DEFLATED, kRawWindow, kMemory, Z_FILTERED) != Z_OK) throw std::bad_alloc();
  }
  ~Deflater() { deflateEnd(&stream_); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  void add(std::string_view bytes, bool isLast, std::string& to) {
    stream_.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      char block[65536];
      stream_.next_out = reinterpret_cast<Bytef*>(block);
      stream_.avail_out = sizeof block;
      deflate(&stream_, isLast ? Z_FINISH : Z_NO_FLUSH);
      to.append(block, sizeof block - stream_.avail_out);
    } while (stream_.avail_out == 0);
  }

 private:
  z_stream stream_{};
};

}  // namespace

std::string deflated(std::string_view bytes) {
  constexpr std::size_t kMost = std::size_t{1} << 30;  // zlib counts what it is given in 32 bits.
  Deflater deflater;
  std::string result;
  do {
    const std::string_view part = bytes.substr(0, kMost);
    bytes.remove_prefix(part.size());
    deflater.add(part, bytes.empty(), result);
  } while (!bytes.empty());
  return result;
}

}  // namespace queltool
