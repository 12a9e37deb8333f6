#include "quelcore/base/wideScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "testing/Numbers.h"

namespace {

using quel::testing::testRandom;
using quelcore::firstOf;
using quelcore::firstUpToSpace;

// Units about those that are looked for, and such that look alike in one byte or in the sign.
std::u16string randomText(std::mt19937_64& random, std::size_t size) {
  constexpr char16_t kUnits[] = {0,      1,      u'\t',  u'\n', 0x1F, u' ', u'!', 0x8000, 0x800A, 0x8020, 0x7FFF,
                                 0xFFFF, 0x0A00, 0x200A, u'a',  u'b', u'c', u'd', u'e',   u'f',   u'g'};
  std::u16string text(size, u'x');
  const std::size_t kinds = random() % 2 == 0 ? std::size(kUnits) : 3;
  for (char16_t& unit : text) {
    if (random() % 4 == 0) unit = kUnits[std::size(kUnits) - 1 - random() % kinds];
  }
  if (size > 0 && random() % 2 == 0) text[random() % size] = kUnits[random() % std::size(kUnits)];
  return text;
}

TEST(wideScan, FindsTheFirstAsALoopDoes) {
  auto random = testRandom();
  for (int round = 0; round < 100000; ++round) {
    const std::u16string all = randomText(random, random() % 40);
    const std::u16string_view text = std::u16string_view(all).substr(all.empty() ? 0 : random() % all.size());
    const char16_t unit = round % 2 == 0 ? u'\n' : static_cast<char16_t>(random());
    ASSERT_EQ(firstOf(text, unit), std::min(text.find(unit), text.size()));
    const auto found = std::find_if(text.begin(), text.end(), [](char16_t x) { return x <= u' '; });
    ASSERT_EQ(firstUpToSpace(text), static_cast<std::size_t>(found - text.begin()));
  }
}

}  // namespace
