#include "files/Paragraphs.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

TEST(Paragraphs, FillLinesUpToTheWidthAndNoFurther) {
  EXPECT_EQ(filled("one two three", 7), "one two\nthree");
  EXPECT_EQ(filled("one two three", 6), "one\ntwo\nthree");
  EXPECT_EQ(filled("", 6), "");
}

TEST(Paragraphs, IndentAllLinesButTheFirst) { EXPECT_EQ(filled("one two three", 11, 4), "one two\n    three"); }

TEST(Paragraphs, LeaveAWordThatIsWiderThanTheLineWhole) {
  EXPECT_EQ(filled("a extraordinary b", 6), "a\nextraordinary\nb");
}

TEST(Paragraphs, KeepTheLineEndsOfATextThatIsFilled) {
  EXPECT_EQ(filled("one\ntwo three", 9, 2), "one\n  two\n  three");
}

TEST(Paragraphs, CountCharactersAndNotBytes) {
  EXPECT_EQ(charactersOf("µm"), 2u);
  EXPECT_EQ(filled("µµ µµ", 5), "µµ µµ");
}

TEST(Paragraphs, JoinLinesAndLeaveIndentedOnesAlone) {
  EXPECT_EQ(flowed("\none\ntwo three\n\nExample:\n  quel one two three four", 13),
            "\none two three\n\nExample:\n  quel one two three four");
  EXPECT_EQ(flowed("one\n", 13), "one\n");
}

}  // namespace
}  // namespace queltool
