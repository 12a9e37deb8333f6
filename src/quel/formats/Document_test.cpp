#include "quel/formats/Document.h"

#include <gmock/gmock.h>

#include <functional>

namespace quel {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string complaint(const std::function<void()>& read) {
  try {
    read();
  } catch (const BadFile& bad) {
    return bad.error.message();
  }
  return "accepted";
}

std::string complaintAbout(const std::string& text) {
  return complaint([&] { parseDocument(text); });
}

TEST(ParseDocument, KnowsYamlXmlJsonAndPythonByTheirBeginnings) {
  for (const std::string text :
       {"# of YAML\nK: [1, 2.5]\nname: left\n", "\xEF\xBB\xBF{\"K\": [1, 2.5], \"name\": \"left\"}",
        "# of Python\n{ 'K': (1, 2.5,), 'name': 'left', }",
        "<?xml version=\"1.0\"?>\n<s><K>1 2.5</K><name>left</name></s>"}) {
    const Node node = parseDocument(text);
    const Field document(node, "");
    EXPECT_THAT(document.at({"K"}).matrix().values, ElementsAre(1.0, 2.5)) << text;
    EXPECT_EQ(document.at({"name"}).text(), "left") << text;
  }
}

TEST(ParseDocument, ReadsWhatOpenCvWritesInFrontOfItsYaml) {
  const Node node = parseDocument(
      "%YAML:1.0\n---\nK: !!opencv-matrix\n   rows: 1\n   cols: 2\n   dt: d\n   data: [ 1., -2.5e+00 ]\n");
  const Matrix matrix = Field(node, "").at({"K"}).matrix();
  EXPECT_EQ(matrix.rows, 1u);
  EXPECT_EQ(matrix.columns, 2u);
  EXPECT_THAT(matrix.values, ElementsAre(1.0, -2.5));
}

TEST(ParseDocument, ReadsLiteralsOfBytesAndNeighbouringTexts) {
  const Node node = parseDocument("{'a': b'x\\'#{' 'y', 'none': None, 'yes': True, 'list': [], 'map': {},}");
  const Field document(node, "");
  EXPECT_EQ(document.at({"a"}).text(), "x'#{y");
  EXPECT_TRUE(document.at({"yes"}).flag());
  EXPECT_EQ(document.at({"list"}).items().size(), 0u);
  EXPECT_THAT(complaint([&] { document.at({"none"}).text(); }), HasSubstr("none: must be one value"));
}

TEST(ParseDocument, ReadsTheEscapesOfJson) {
  const Node node = parseDocument(R"({"h\u00fcben": "\u0041\u20ac\ud83d\ude00\u07ff|\n\t\r\b\f|\\\/\"\'", "next": 1})");
  const Field document(node, "");
  EXPECT_EQ(document
                .at({"h\xC3\xBC"
                     "ben"})
                .text(),
            "A\xE2\x82\xAC\xF0\x9F\x98\x80\xDF\xBF|\n\t\r\b\f|\\/\"'");
  EXPECT_EQ(document.at({"next"}).number(), 1.0);
  for (const char* none :
       {"\\x41", "\\u00f", "\\u+041", "\\u00g1", "\\ud83d", "\\ud83d\\u0041", "\\ude00", "\\u0000", "\\a", "\\\n"}) {
    EXPECT_THAT(complaintAbout(std::string("{\n\"a\": \"") + none + "\"}"),
                AllOf(StartsWith("line 2: \"\\"), EndsWith("begins with no letter that is read")))
        << none;
  }
  for (const char* open : {"{\"a\": \"\\", "{\"a\": \"\\u", "{\"a\": \"\\u12", "{\"a\": \"\\ud83d\\u"})
    EXPECT_THAT(complaintAbout(open), StartsWith("line 1: ")) << open;
}

TEST(ParseDocument, SaysLineAndCauseOfWhatItDoesNotTake) {
  EXPECT_EQ(complaintAbout(""), "is empty");
  EXPECT_EQ(complaintAbout("# nothing\n  \n"), "is empty");
  EXPECT_EQ(complaintAbout("a: 1\nb: 2\na: 3\n"), "line 3: the key \"a\" stands twice");
  EXPECT_EQ(complaintAbout("{\"a\": 1,\n \"a\": 2}"), "line 2: the key \"a\" stands twice");
  EXPECT_EQ(complaintAbout("<s><a>1</a>\n<a>2</a></s>"), "line 2: the key \"a\" stands twice");
  EXPECT_EQ(complaintAbout("a: &x [1]\nb: *x\n"),
            "line 2: refers to another place by an alias, which is not read; write it out");
  EXPECT_THAT(complaintAbout("a: [1\nb"), StartsWith("line "));
  EXPECT_EQ(complaintAbout("? [1]\n: 2\n"), "line 1: has a key that is no text");
  EXPECT_EQ(complaintAbout("{'a': 1} 2"), "line 1: \"2\" stands behind the end");
  EXPECT_EQ(complaintAbout("{'a': x}"), "line 1: \"x}\" is no value");
  EXPECT_EQ(complaintAbout("{'a': 'x"), "line 1: the end stands where a text has not ended");
  EXPECT_EQ(complaintAbout("{'a' 1}"), "line 1: \"1}\" stands where a colon belongs");
  EXPECT_EQ(complaintAbout("{'a': [1 2]}"), "line 1: \"2]}\" stands where a comma or the end of a list belongs");
  EXPECT_EQ(complaintAbout("{'a': 1e999}"), "line 1: \"1e999}\" is no value");
  EXPECT_THAT(complaintAbout("<s><a></s>"), StartsWith("line 1: is no valid XML: "));
  EXPECT_THAT(complaintAbout("<s><_>1</_><b/></s>"), StartsWith("line 1: mixes elements of a list with others"));
  EXPECT_EQ(complaintAbout(std::string("a: \0", 4)), "line 1: holds a byte of value 0, so it is no text");
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int n = 0; n < count; ++n) result += text;
  return result;
}

TEST(ParseDocument, GoesDownNoFurtherThanACalibrationDoes) {
  for (const int depth : {34, 40, 100000}) {
    EXPECT_THAT(complaintAbout("a: " + repeated("[", depth)), HasSubstr("line 1")) << depth;
    EXPECT_THAT(complaintAbout(repeated("- ", depth) + "1"), HasSubstr("nested too deeply")) << depth;
    EXPECT_THAT(complaintAbout("{'a': " + repeated("[", depth)), HasSubstr("nested too deeply")) << depth;
    EXPECT_THAT(complaintAbout(repeated("<a>", depth) + "1" + repeated("</a>", depth)), HasSubstr("nested too deeply"))
        << depth;
  }
  std::string steps;
  for (int n = 0; n < 200; ++n) steps += std::string(static_cast<std::size_t>(n), ' ') + "a:\n";
  EXPECT_THAT(complaintAbout(steps), HasSubstr("nested too deeply"));
}

TEST(ParseDocument, TakesNoMoreValuesAndKeysThanACalibrationHas) {
  EXPECT_EQ(complaintAbout("{'a': [" + repeated("1,", 199000) + "]}"), "accepted");
  EXPECT_EQ(complaintAbout("{'a': [" + repeated("1,", 200001) + "]}"), "line 1: has more values than a calibration");
  EXPECT_THAT(complaintAbout("<s><a>" + repeated("<_/>", 200001) + "</a></s>"),
              HasSubstr("has more values than a calibration"));
  std::string keys;
  for (int n = 0; n < 1001; ++n) keys += "k" + std::to_string(n) + ": 1\n";
  EXPECT_EQ(complaintAbout(keys), "line 1001: has more keys than a calibration");
  EXPECT_EQ(complaintAbout(std::string(kMaxCalibrationSize + 1, ' ')),
            "is larger than 16 MiB, so it is no calibration");
}

TEST(Field, SaysWhatAValueMustBe) {
  const Node node = parseDocument(
      "{\"n\": 2.5, \"big\": 70000, \"list\": [1, \"x\"], \"rows\": [[1, 2], [3]], \"m\": {\"rows\": 2, \"cols\": 2, "
      "\"data\": [1]}}");
  const Field document(node, "");
  EXPECT_EQ(complaint([&] { document.at({"none", "other"}); }), "line 1: the document: lacks the key \"none\"");
  EXPECT_EQ(complaint([&] { document.at({"n"}).at({"x"}); }), "line 1: n: must have the key \"x\", and has no keys");
  EXPECT_EQ(complaint([&] { document.at({"n"}).wholeNumber(0, 9); }), "line 1: n: must be a whole number from 0 to 9");
  EXPECT_EQ(complaint([&] { document.at({"big"}).wholeNumber(0, 9); }),
            "line 1: big: must be a whole number from 0 to 9");
  EXPECT_EQ(complaint([&] { document.at({"n"}).flag(); }), "line 1: n: must be 0 or 1");
  EXPECT_EQ(complaint([&] { document.at({"n"}).items(); }), "line 1: n: must be a list");
  EXPECT_EQ(complaint([&] { document.at({"list"}).matrix(); }),
            "line 1: list[1]: must be a finite number, and is \"x\"");
  EXPECT_EQ(complaint([&] { document.at({"rows"}).matrix(); }), "line 1: rows[1]: must be as long as the first row");
  EXPECT_EQ(complaint([&] { document.at({"m"}).matrix(); }), "line 1: m: must have rows x cols numbers, and has 1");
  EXPECT_EQ(complaint([&] { document.at({"n"}).numbers(3); }), "line 1: n: must be 3 numbers, and holds 1");
}

TEST(FiniteNumber, IsOneAsAWhole) {
  EXPECT_EQ(finiteNumber("1."), 1.0);
  EXPECT_EQ(finiteNumber("+2.5e-1"), 0.25);
  for (const char* text : {"", "1,5", "1 ", "0x1", "nan", "inf", "1e999", "--1", "+"})
    EXPECT_EQ(finiteNumber(text), std::nullopt) << text;
}

}  // namespace
}  // namespace quel
