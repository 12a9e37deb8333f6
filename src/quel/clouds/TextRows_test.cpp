// Numbers in text are read as they are meant, or the text is refused.
#include "quel/clouds/TextRows.h"

#include <gmock/gmock.h>

#include <cmath>

namespace quel {
namespace {

using ::testing::HasSubstr;
using Rows = std::vector<std::array<double, 3>>;

Result<Rows> points(std::string_view text, const std::vector<std::string>& chosen = {}) {
  try {
    Bytes bytes(text);
    return readTextRows<3>(bytes, {{"x", "y", "z"}, "three", true, chosen, "--columns"});
  } catch (const Error& error) {
    return error;
  }
}

Rows rowsOf(std::string_view text, const std::vector<std::string>& chosen = {}) {
  const Result<Rows> rows = points(text, chosen);
  EXPECT_TRUE(rows.ok()) << rows.error().message();
  return rows.ok() ? rows.value() : Rows{};
}

std::string complaint(std::string_view text, const std::vector<std::string>& chosen = {}) {
  const Result<Rows> rows = points(text, chosen);
  return rows.ok() ? "" : rows.error().message();
}

TEST(TextRows, AreAllReadBehindAByteOrderMark) {
  EXPECT_EQ(rowsOf("\xEF\xBB\xBF"
                   "1 2 3\n4 5 6\n"),
            (Rows{{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(rowsOf("\xEF\xBB\xBF"
                   "z,y,x\n1,2,3\n"),
            (Rows{{3, 2, 1}}));
  EXPECT_THAT(complaint(std::string_view("\xFF\xFE"
                                         "1\0 \0",
                                         6)),
              HasSubstr("16-bit text; save it as UTF-8"));
}

TEST(TextRows, GoByNameWhereTheTextHasNames) {
  EXPECT_EQ(rowsOf("id;Z;X;Y\n7;3;1;2\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("//X Y Z R\n1 2 3 4\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("\"x\",\"y\",\"z\",name\n1,2,3,left door\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("x,y,z,planar_x\n1,2,3,9\n"), (Rows{{1, 2, 3}}));
  EXPECT_THAT(complaint("a b c\n1 2 3\n"), HasSubstr("names no column \"x\"; --columns chooses others"));
  EXPECT_THAT(complaint("x x y z\n1 2 3 4\n"), HasSubstr("names the column \"x\" twice"));
  EXPECT_THAT(complaint("x y z\n1 2 3\n1 2 c\n"), HasSubstr("line 3: the column \"z\" must be a number, and is \"c\""));
}

TEST(TextRows, AreNotANumberWhereANamedFieldIsEmpty) {
  const Rows rows = rowsOf("n,x,y,z\n1,,,\n2,4,5,6\n");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_TRUE(std::isnan(rows[0][0]));
  EXPECT_EQ(rows[1], (std::array<double, 3>{4, 5, 6}));
  EXPECT_THAT(complaint("1,,3,4\n"), HasSubstr("line 1: must begin with three numbers"));
}

TEST(TextRows, BecomeMillimetresByTheUnitsOfTheNames) {
  EXPECT_EQ(rowsOf("x [cm], y (m), z_in\n1, 2, 3\n"), (Rows{{10, 2000, 3 * 25.4}}));
  EXPECT_EQ(rowsOf("x [mm] y[mm] z\n1 2 3\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("x_um;y [\xC2\xB5m];z_mm\n1000;2000;3\n"), (Rows{{1, 2, 3}}));
  EXPECT_THAT(complaint("x [ft],y,z\n1,2,3\n"), HasSubstr("the column \"x [ft]\" is in \"ft\"; known are mm, cm, m"));
  EXPECT_THAT(complaint("x_ft,y,z\n1,2,3\n"), HasSubstr("names no column \"x\"; \"x_ft\" has no unit that is known"));
}

TEST(TextRows, TakeOtherColumnsWhereTheyAreChosen) {
  EXPECT_EQ(rowsOf("x y z a b c\n1 2 3 4 5 6\n", {"c", "b", "a"}), (Rows{{6, 5, 4}}));
  EXPECT_EQ(rowsOf("1 2 3 4\n", {"4", "2", "1"}), (Rows{{4, 2, 1}}));
  EXPECT_EQ(rowsOf("p [cm],q,r\n1,2,3\n", {"1", "2", "3"}), (Rows{{10, 2, 3}}));
  EXPECT_THAT(complaint("1 2 3\n", {"a", "b", "c"}), HasSubstr("has no line of names, and --columns names \"a\""));
  EXPECT_THAT(complaint("1 2 3\n", {"1", "2", "4"}), HasSubstr("line 1"));
  EXPECT_EQ(complaint("1 2 3\n", {"1", "2", "1"}), "--columns gives one column twice");
  EXPECT_EQ(complaint("x y z\n1 2 3\n", {"1", "y", "x"}), "--columns gives one column twice");
}

TEST(TextRows, HaveDecimalCommasWhereNothingSpeaksAgainst) {
  const Rows expected = {{0.5, 1.2, 3.0}, {-1, 2e3, 3}};
  EXPECT_EQ(rowsOf("0,5;1,2;3,0\n-1;2,0e3;3\n"), expected);
  EXPECT_EQ(rowsOf("x\ty\tz\n0,5\t1,2\t3,0\n-1\t2,0e3\t3\n"), expected);
  EXPECT_EQ(rowsOf("0,5 1,2 3,0\n-1 2,0e3 3\n"), expected);
}

TEST(TextRows, AreRefusedWhereACommaMayBeEither) {
  EXPECT_THAT(complaint("0,5;1,2;3,0\n1.5;2;3\n"), HasSubstr("a number has a point in line 2"));
  EXPECT_THAT(complaint("1,2,3\n0,5;1,2;3,0\n"),
              HasSubstr("line 2: a comma seems to be a decimal comma, but separates in line 1"));
  EXPECT_THAT(complaint("0,5;1,2;3,0\n1;2;3;4\n"), HasSubstr("line 2 has another count of columns"));
  EXPECT_THAT(complaint("1,2 3\n"), HasSubstr("line 1: must begin with three numbers"));
  EXPECT_THAT(complaint("1,234.5;2;3\n"), HasSubstr("line 1"));
}

TEST(TextRows, AreRefusedWhereACommaSeparatesAndIsDecimalInOneLine) {
  const char* const why =
      "line 1: a comma seems to be a decimal comma, but separates in line 1; write numbers with points";
  EXPECT_EQ(complaint("0,5, 1,2, 3,0\n"), why);
  EXPECT_EQ(complaint("1,2, 3\n"), why);
  EXPECT_EQ(rowsOf("1,2,3, left door\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("1,2,3,4\n"), (Rows{{1, 2, 3}}));
}

TEST(TextRows, AreRefusedWithMoreFieldsThanNames) {
  EXPECT_EQ(complaint("x,y,z\n0,5,1,2,3,0\n"), "line 2: has 6 fields, but there are 3 names");
  EXPECT_EQ(complaint("x;y;z\n0,5,1,2,3,0\n"), "line 2: has 6 fields, but there are 3 names");
  EXPECT_EQ(complaint("x\ty\tz\n1\t2\t3\t4\n"), "line 2: has 4 fields, but there are 3 names");
  EXPECT_EQ(rowsOf("x,y,z\n1,2,3,\n"), (Rows{{1, 2, 3}}));
  EXPECT_EQ(rowsOf("x y z note\n1 2 3 left door\n"), (Rows{{1, 2, 3}}));
}

TEST(TextRows, AreRefusedWithMoreColumnsThanATableHas) {
  EXPECT_THAT(complaint(std::string(1 << 20, ';')), HasSubstr("line 1: has more than 1000 columns"));
}

TEST(TextRows, TakeNoLineForNamesThatHasANumber) {
  EXPECT_THAT(complaint("1 2\n1 2 3\n"), HasSubstr("line 1: must begin with three numbers"));
  EXPECT_THAT(complaint("p1 1 2 3\n"), HasSubstr("line 1: must begin with three numbers"));
  EXPECT_EQ(rowsOf("1, 2, 3\n"), (Rows{{1, 2, 3}}));
}

}  // namespace
TEST(TextRows, TakeAsManyChosenColumnsAsAreWanted) {
  for (const std::vector<std::string>& chosen : {std::vector<std::string>{"1", "2"}, {"1", "2", "3", "4"}}) {
    EXPECT_EQ(complaint("1 2 3 4\n", chosen),
              "needs three columns, and --columns gives " + std::to_string(chosen.size()));
  }
}

}  // namespace quel
