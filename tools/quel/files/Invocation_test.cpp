#include "files/Invocation.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

TEST(ShellWord, StandsPlainWhereAShellTakesItAsItIs) {
  EXPECT_EQ(shellWord("blocks/QUEL0001-1.tns"), "blocks/QUEL0001-1.tns");
  EXPECT_EQ(shellWord("--tolerance=-0.1,+0.1"), "--tolerance=-0.1,+0.1");
}

TEST(ShellWord, StandsInQuotesWhereAShellWouldTakeItApart) {
  EXPECT_EQ(shellWord(""), "''");
  EXPECT_EQ(shellWord("my scan.ply"), "'my scan.ply'");
  EXPECT_EQ(shellWord("a;b"), "'a;b'");
  EXPECT_EQ(shellWord("$HOME"), "'$HOME'");
  EXPECT_EQ(shellWord("it's"), "'it'\\''s'");
  EXPECT_EQ(shellWord("gr\xC3\xB6\xC3\x9F"
                      "e"),
            "'gr\xC3\xB6\xC3\x9F"
            "e'");
}

TEST(Invocation, KeepsTheLineThatMayBeTypedAgain) {
  const char* const words[] = {"/somewhere/bin/quel", "deviation", "my scan.ply", "--tolerance", "-1,1"};
  keepInvocation("1.2.3", 5, words);
  EXPECT_EQ(invocation().line, "quel deviation 'my scan.ply' --tolerance -1,1");
  EXPECT_EQ(invocation().version, "1.2.3");
}

}  // namespace
}  // namespace queltool
