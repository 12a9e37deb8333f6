#include "files/Json.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace queltool {
namespace {

TEST(Json, KeepsMembersInTheirOrder) {
  Json json = {{"zeta", 1}, {"alpha", "text"}};
  json.set("middle", true);
  json.set("zeta", 2);
  EXPECT_EQ(json.text(), "{\n \"zeta\": 2,\n \"alpha\": \"text\",\n \"middle\": true\n}");
}

TEST(Json, WritesNumbersSoThatTheyReadBack) {
  const Json json = Json::list({-1, std::numeric_limits<std::uint64_t>::max(), std::int64_t{-5000000000}, 0.1, 1.0});
  EXPECT_EQ(json.text(), "[\n -1,\n 18446744073709551615,\n -5000000000,\n 0.1,\n 1.0\n]");
}

TEST(Json, WritesNullForWhatIsNoFiniteNumber) {
  EXPECT_EQ(Json().text(), "null");
  EXPECT_EQ(Json(std::nan("")).text(), "null");
  EXPECT_EQ(Json(-std::numeric_limits<double>::infinity()).text(), "null");
}

TEST(Json, TakesArraysOfArrays) {
  const double rows[2][2] = {{1, 2}, {3, 4}};
  const std::string expected = "[\n [\n  1.0,\n  2.0\n ],\n [\n  3.0,\n  4.0\n ]\n]";
  EXPECT_EQ(Json(rows).text(), expected);
  EXPECT_EQ(Json(std::vector<std::array<double, 2>>{{1, 2}, {3, 4}}).text(), expected);
}

TEST(Json, DistinguishesTheEmptyListFromNull) {
  EXPECT_EQ(Json(std::vector<int>{}).text(), "[]");
  EXPECT_EQ(Json::list({}).text(), "[]");
}

TEST(Json, ReplacesWhatIsNoUtf8) {
  EXPECT_EQ(Json("a\xFF"
                 "b")
                .text(),
            "\"a\xEF\xBF\xBD"
            "b\"");
}

TEST(Json, CopiesShareNothing) {
  Json list = Json::list({1});
  const Json copy = list;
  list.add(2);
  EXPECT_EQ(copy.text(), "[\n 1\n]");
}

}  // namespace
}  // namespace queltool
