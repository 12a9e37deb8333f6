#include "web/Compression.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

namespace queltool {
namespace {

// The bytes of a raw stream, read by zlib's other half.
std::string inflated(const std::string& stream, std::size_t expected) {
  std::string bytes(expected + 1, '?');
  std::string input = stream;
  z_stream state{};
  EXPECT_EQ(inflateInit2(&state, -15), Z_OK);
  state.next_in = reinterpret_cast<Bytef*>(input.data());
  state.avail_in = static_cast<uInt>(input.size());
  state.next_out = reinterpret_cast<Bytef*>(bytes.data());
  state.avail_out = static_cast<uInt>(bytes.size());
  EXPECT_EQ(inflate(&state, Z_FINISH), Z_STREAM_END);
  EXPECT_EQ(state.avail_in, 0U);
  bytes.resize(state.total_out);
  inflateEnd(&state);
  return bytes;
}

TEST(Deflated, GivesAStreamOfNothing) { EXPECT_EQ(inflated(deflated(""), 0), ""); }

TEST(Deflated, GivesBackTheBytes) {
  std::mt19937 random(1);
  for (const std::size_t size : {1U, 1000U, 65535U, 65536U, 65537U, 300000U}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 7 == 0 ? random() : 0);
    EXPECT_EQ(inflated(deflated(bytes), size), bytes) << size;
  }
}

TEST(Deflated, MakesWhatRepeatsSmall) { EXPECT_LT(deflated(std::string(1000000, 'x')).size(), 1100U); }

}  // namespace
}  // namespace queltool
