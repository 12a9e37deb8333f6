#include "web/Base64.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

// The vectors of RFC 4648.
TEST(Base64, GivesTheVectorsOfItsStandard) {
  EXPECT_EQ(base64(""), "");
  EXPECT_EQ(base64("f"), "Zg==");
  EXPECT_EQ(base64("fo"), "Zm8=");
  EXPECT_EQ(base64("foo"), "Zm9v");
  EXPECT_EQ(base64("foob"), "Zm9vYg==");
  EXPECT_EQ(base64("fooba"), "Zm9vYmE=");
  EXPECT_EQ(base64("foobar"), "Zm9vYmFy");
}

TEST(Base64, TakesBytesOfEveryValue) {
  EXPECT_EQ(base64(std::string("\x00\xFF\xFE", 3)), "AP/+");
  EXPECT_EQ(base64("\xFB\xEF\xBE"), "++++");
}

TEST(Base64, ReadsHexadecimalDigits) {
  EXPECT_EQ(base64OfHex("00fffe"), "AP/+");
  // Of the empty text by SHA-256, as browsers' policies write it.
  EXPECT_EQ(base64OfHex("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"),
            "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=");
}

}  // namespace
}  // namespace queltool
