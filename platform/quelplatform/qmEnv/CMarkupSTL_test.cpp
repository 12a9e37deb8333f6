// The cursor on a document, and what changes through it.
#include "quelplatform/qmEnv/CMarkupSTL.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class Markup : public CMarkupSTL {
 public:
  Markup() = default;
  explicit Markup(const qmWChar* text) { EXPECT_TRUE(SetDoc(text)) << error(); }

  std::string error() const {
    const qmWString text = GetError();
    return std::string(text.begin(), text.end());
  }
};

const qmWChar* const kList = u"<R><A n='1'/><B n='2'/>text<A n='3'/><!-- c --><A n='4'/></R>";

// A document inside its root.
class Inside : public Markup {
 public:
  explicit Inside(const qmWChar* text) : Markup(text) { EXPECT_TRUE(FindElem(nullptr) && IntoElem()); }
};

TEST(CMarkupSTL, IsEmptyAtFirst) {
  Markup xml;
  EXPECT_EQ(xml.GetDoc(), u"");
  EXPECT_EQ(xml.GetError(), u"");
  EXPECT_FALSE(xml.FindElem(nullptr));
  EXPECT_FALSE(xml.IntoElem());
  EXPECT_FALSE(xml.OutOfElem());
  EXPECT_FALSE(xml.RemoveElem());
  EXPECT_FALSE(xml.AddAttrib(u"a", u"b"));
  EXPECT_EQ(xml.GetAttrib(u"a"), u"");
  EXPECT_EQ(xml.GetData(), u"");
  EXPECT_EQ(xml.GetTagName(), u"");
}

TEST(FindElem, MovesToTheNextElementOfTheNameOrOfAnyName) {
  Inside xml(kList);
  std::vector<qmWString> found;
  while (xml.FindElem(u"A")) found.push_back(xml.GetAttrib(u"n"));
  EXPECT_EQ(found, (std::vector<qmWString>{u"1", u"3", u"4"}));
  xml.ResetMainPos();
  found.clear();
  while (xml.FindElem(nullptr)) found.push_back(xml.GetTagName() + xml.GetAttrib(u"n"));
  EXPECT_EQ(found, (std::vector<qmWString>{u"A1", u"B2", u"A3", u"A4"}));
}

TEST(FindElem, TakesNamesExactly) {
  Inside xml(kList);
  EXPECT_FALSE(xml.FindElem(u"a"));
  xml.ResetMainPos();
  EXPECT_FALSE(xml.FindElem(u""));
}

TEST(FindElem, KeepsTheCurrentElementWhenItFailsAndGoesOnFromTheEnd) {
  Inside xml(kList);
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_FALSE(xml.FindElem(u"none"));
  EXPECT_EQ(xml.GetAttrib(u"n"), u"2");
  EXPECT_FALSE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_EQ(xml.GetAttrib(u"n"), u"3");
}

TEST(FindElem, FindsTheRootOnTheTopLevelOnly) {
  Markup xml(u"<?xml version='1.0'?><!-- c --><R><R/></R><?p i?>");
  EXPECT_TRUE(xml.FindElem(u"R"));
  EXPECT_FALSE(xml.FindElem(u"R"));
  EXPECT_FALSE(xml.OutOfElem());
}

TEST(IntoElem, GoesDownAndOutOfElemBackToTheSameElement) {
  Markup xml(u"<R><A><a/></A><B><b><c/></b></B><D/></R>");
  EXPECT_TRUE(xml.FindElem(u"R"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_FALSE(xml.IntoElem());
  EXPECT_EQ(xml.GetTagName(), u"");
  EXPECT_TRUE(xml.FindElem(u"b"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.FindElem(u"c"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_FALSE(xml.FindElem(nullptr));
  for (const qmWChar* name : {u"c", u"b", u"B"}) {
    EXPECT_TRUE(xml.OutOfElem());
    EXPECT_EQ(xml.GetTagName(), name);
  }
  EXPECT_TRUE(xml.FindElem(nullptr));
  EXPECT_EQ(xml.GetTagName(), u"D");
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_FALSE(xml.OutOfElem());
  EXPECT_EQ(xml.GetTagName(), u"R");
}

TEST(ResetPos, GoesToTheDocumentsStartAndResetMainPosToThatOfTheLevel) {
  Inside xml(kList);
  EXPECT_TRUE(xml.FindElem(u"B"));
  xml.ResetMainPos();
  EXPECT_EQ(xml.GetTagName(), u"");
  EXPECT_TRUE(xml.FindElem(nullptr));
  EXPECT_EQ(xml.GetAttrib(u"n"), u"1");
  xml.ResetPos();
  EXPECT_FALSE(xml.FindElem(u"A"));
  xml.ResetPos();
  EXPECT_TRUE(xml.FindElem(u"R"));
}

TEST(GetAttrib, ResolvesReferencesAndNothingElse) {
  Inside xml(u"<R><A a='&amp;&lt;&gt;&quot;&apos;&#65;&#x1F600;' b='x\r\n\ty'/></R>");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_EQ(xml.GetAttrib(u"a"), u"&<>\"'A😀");
  EXPECT_EQ(xml.GetAttrib(u"b"), u"x  y");
  EXPECT_EQ(xml.GetAttrib(u"c"), u"");
  EXPECT_EQ(xml.GetAttrib(nullptr), u"");
}

TEST(GetData, GivesTheTextOfTheElementItself) {
  Inside xml(u"<R><A> a&amp;<b>no</b><![CDATA[<&amp;>]]><!--no--> z\n</A><B/></R>");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_EQ(xml.GetData(), u" a&<&amp;> z\n");
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_EQ(xml.GetData(), u"");
}

TEST(AddElem, BuildsADocumentOfIndentedLinesBehindItsDeclaration) {
  Markup xml(u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n");
  EXPECT_TRUE(xml.AddElem(u"QuelmetraDataFile"));
  EXPECT_TRUE(xml.AddAttrib(u"VersionFile", u"1.00"));
  EXPECT_TRUE(xml.IntoElem());
  for (const std::uint32_t id : {1u, 4294967295u}) {
    EXPECT_TRUE(xml.AddElem(u"Operation", nullptr, 0));
    EXPECT_TRUE(xml.AddAttrib(u"ID", id));
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_TRUE(xml.AddElem(u"Tiles", u"3 14 159 "));
    EXPECT_TRUE(xml.AddAttrib(u"Size", -3));
    EXPECT_TRUE(xml.OutOfElem());
  }
  EXPECT_EQ(xml.GetDoc(),
            u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"
            u"<QuelmetraDataFile VersionFile=\"1.00\">\r\n"
            u"  <Operation ID=\"1\">\r\n    <Tiles Size=\"-3\">3 14 159 </Tiles>\r\n  </Operation>\r\n"
            u"  <Operation ID=\"4294967295\">\r\n    <Tiles Size=\"-3\">3 14 159 </Tiles>\r\n  </Operation>\r\n"
            u"</QuelmetraDataFile>\r\n");
}

TEST(AddElem, StartsFromNothingWithBareLineFeeds) {
  Markup xml(nullptr);
  EXPECT_TRUE(xml.AddElem(u"CommutatorTrns"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.AddElem(u"TrnsSet", u""));
  EXPECT_EQ(xml.GetDoc(), u"<CommutatorTrns>\n  <TrnsSet/>\n</CommutatorTrns>\n");
}

TEST(AddElem, AddsBehindTheCurrentElementOrAtTheLevelsEnd) {
  Inside xml(u"<R><A/><B/></R>");
  EXPECT_TRUE(xml.AddElem(u"Z"));
  EXPECT_FALSE(xml.FindElem(nullptr));
  xml.ResetMainPos();
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.AddElem(u"a"));
  EXPECT_TRUE(xml.FindElem(nullptr));
  EXPECT_EQ(xml.GetTagName(), u"B");
  EXPECT_FALSE(xml.FindElem(u"none"));
  EXPECT_TRUE(xml.AddElem(u"b"));
  EXPECT_EQ(xml.GetDoc(), u"<R><A/><a/><B/><b/><Z/></R>");
}

TEST(AddElem, IndentsAsItsNeighbourIs) {
  Inside xml(u"<R>\n\t<A/>\n\n\t<B>\n\t</B>\n</R>");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.AddElem(u"a"));
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.AddElem(u"b"));
  EXPECT_EQ(xml.GetDoc(), u"<R>\n\t<A/>\n\t<a/>\n\n\t<B>\n\t  <b/>\n\t</B>\n</R>");
}

TEST(AddElem, AddsNoBlanksToTextOrBetweenElementsOfOneLine) {
  Inside xml(u"<R><A>text</A><B/></R>");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.AddElem(u"a"));
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_TRUE(xml.IntoElem());
  EXPECT_TRUE(xml.AddElem(u"b"));
  EXPECT_EQ(xml.GetDoc(), u"<R><A>text<a/></A><B><b/></B></R>");
}

TEST(AddElem, RefusesWhatXmlDoesNotHave) {
  Inside xml(u"<R/>");
  for (const qmWChar* name : {u"", u"1a", u"a b", u"<a", u"-", u"a\xD800\x1", static_cast<const qmWChar*>(nullptr)}) {
    EXPECT_FALSE(xml.AddElem(name));
    EXPECT_EQ(xml.error(), "not a name of an element");
  }
  for (const qmWChar* text : {u"a\x1", u"\xFFFE", u"\x1B["}) {
    EXPECT_FALSE(xml.AddElem(u"a", text));
    EXPECT_EQ(xml.error(), "a control character in the text of an element");
  }
  EXPECT_EQ(xml.GetDoc(), u"<R/>");
  EXPECT_TRUE(xml.AddElem(u"Größe_1.a-b:c", u"\xD800"));
  EXPECT_EQ(xml.GetError(), u"");
  EXPECT_EQ(xml.GetData(), u"\xFFFD");
}

TEST(AddElem, RefusesASecondRoot) {
  Markup xml(u"<R/>");
  EXPECT_FALSE(xml.AddElem(u"S"));
  EXPECT_EQ(xml.error(), "a document has one root element");
  EXPECT_TRUE(xml.FindElem(u"R"));
  EXPECT_TRUE(xml.RemoveElem());
  EXPECT_TRUE(xml.AddElem(u"S"));
  EXPECT_EQ(xml.GetDoc(), u"<S/>\n");
}

TEST(AddElem, GoesNoDeeperThanCanBeRead) {
  Markup xml;
  for (int depth = 0; depth < 256; ++depth) {
    ASSERT_TRUE(xml.AddElem(u"e"));
    ASSERT_TRUE(xml.IntoElem());
  }
  EXPECT_FALSE(xml.AddElem(u"e"));
  EXPECT_EQ(xml.error(), "elements lie more than 256 levels deep");
  EXPECT_TRUE(Markup().SetDoc(xml.GetDoc().c_str()));
}

TEST(AddAttrib, SetsTheAttributeOfThatNameOrAddsOne) {
  Inside xml(u"<R><A b=\"1\" c='2'/></R>");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.AddAttrib(u"b", std::int32_t{-2147483647 - 1}));
  EXPECT_TRUE(xml.AddAttrib(u"d", static_cast<const qmWChar*>(nullptr)));
  EXPECT_EQ(xml.GetDoc(), u"<R><A b=\"-2147483648\" c=\"2\" d=\"\"/></R>");
  EXPECT_FALSE(xml.AddAttrib(u"a b", u"x"));
  EXPECT_EQ(xml.error(), "not a name of an attribute");
  EXPECT_FALSE(xml.AddAttrib(u"a", u"\x2"));
  EXPECT_EQ(xml.error(), "a control character in the value of an attribute");
}

TEST(AddAttrib, AndAddElemKeepAnyTextThroughWritingAndReading) {
  const qmWString text = u" <&>\"' ]]> a\tb\nc\r\nd \xFFFD € 😀 <!-- --> &amp; ";
  Inside xml(u"<R/>");
  EXPECT_TRUE(xml.AddElem(u"A", text.c_str()));
  EXPECT_TRUE(xml.AddAttrib(u"v", text.c_str()));
  Inside again(xml.GetDoc().c_str());
  EXPECT_TRUE(again.FindElem(u"A"));
  EXPECT_EQ(again.GetData(), text);
  EXPECT_EQ(again.GetAttrib(u"v"), text);
}

TEST(RemoveElem, LeavesTheCursorInFrontOfTheNextSibling) {
  Inside xml(kList);
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_TRUE(xml.RemoveElem());
  EXPECT_EQ(xml.GetTagName(), u"");
  EXPECT_FALSE(xml.RemoveElem());
  EXPECT_EQ(xml.error(), "there is no current element");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_EQ(xml.GetAttrib(u"n"), u"3");
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.RemoveElem());
  EXPECT_FALSE(xml.FindElem(nullptr));
  EXPECT_TRUE(xml.AddElem(u"Z"));
  EXPECT_EQ(xml.GetDoc(), u"<R><A n=\"1\"/>text<A n=\"3\"/><Z/><!-- c --></R>");
}

TEST(RemoveElem, TakesBackWhatAddElemAddedSoThatRepeatedWritesLeaveNoBlankLines) {
  const qmWString before = u"<R>\n  <A>\n    <T/>\n  </A>\n  <B/>\n</R>\n";
  Inside xml(before.c_str());
  EXPECT_TRUE(xml.FindElem(u"A"));
  EXPECT_TRUE(xml.IntoElem());
  for (int i = 0; i < 3; ++i) {
    xml.ResetMainPos();
    EXPECT_TRUE(xml.FindElem(u"T"));
    EXPECT_TRUE(xml.RemoveElem());
    EXPECT_TRUE(xml.AddElem(u"T"));
  }
  EXPECT_EQ(xml.GetDoc(), before);
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_TRUE(xml.AddElem(u"X"));
  EXPECT_TRUE(xml.RemoveElem());
  EXPECT_TRUE(xml.FindElem(u"B"));
  EXPECT_EQ(xml.GetDoc(), before);
}

TEST(SetDoc, KeepsWhatStandsBesideTheRootAndBetweenElements) {
  for (const qmWChar* text : {u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n\r\n<!-- a\n--><?p i ?>\n<R>\r\n\t<A/>  "
                              u"<B> </B>\n</R>\n<!--b-->",
                              u"  \n<R/>\t", u"<?xml version='1.0'?>", u"<!-- only -->\n", u""}) {
    EXPECT_EQ(Markup(text).GetDoc(), text);
  }
}

TEST(SetDoc, MakesADeclaredEncodingSayUtf8) {
  EXPECT_EQ(Markup(u"<?xml version='1.0' encoding='UTF-16' standalone='yes'?><R a='ä'/>").GetDoc(),
            u"<?xml version='1.0' encoding='UTF-8' standalone='yes'?><R a=\"ä\"/>");
  EXPECT_EQ(Markup(u"<?xml version='1.0' encoding='utf-8'?>").GetDoc(), u"<?xml version='1.0' encoding='utf-8'?>");
}

TEST(SetDoc, EmptiesTheDocumentWhenItFails) {
  Inside xml(kList);
  EXPECT_FALSE(xml.SetDoc(u"<R>"));
  EXPECT_EQ(xml.GetDoc(), u"");
  EXPECT_FALSE(xml.FindElem(nullptr));
  EXPECT_FALSE(xml.OutOfElem());
  EXPECT_TRUE(xml.SetDoc(u"<S/>"));
  EXPECT_EQ(xml.GetError(), u"");
  EXPECT_TRUE(xml.FindElem(u"S"));
}

struct Refusal {
  const qmWChar* text;
  std::string error;
};

TEST(SetDoc, TakesTheSameAttributesInTagAfterTagAndBlanksBehindTheNameThatCloses) {
  std::u16string attributes;
  for (char16_t name = u'a'; name <= u'z'; ++name) attributes += std::u16string(u" ") + name + u"='1'";
  Markup xml;
  EXPECT_TRUE(xml.SetDoc((u"<R" + attributes + u"><A" + attributes + u"></A \n><A" + attributes + u"/></R>").c_str()))
      << xml.error();
}

class SetDocRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(SetDocRefuses, WhatIsNotWellFormedAndTellsWhere) {
  Markup xml;
  EXPECT_FALSE(xml.SetDoc(GetParam().text));
  EXPECT_EQ(xml.error(), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    CMarkupSTL, SetDocRefuses,
    testing::Values(
        Refusal{u"text", "line 1, column 1: text outside the root element"},
        Refusal{u"<R/>\n text", "line 2, column 2: text outside the root element"},
        Refusal{u"<R/><R/>", "line 1, column 5: a second root element"},
        Refusal{u"<R><A></R></A>", "line 1, column 7: </R> closes <A>"},
        Refusal{u"<R><A></AB></R>", "line 1, column 7: </AB> closes <A>"},
        Refusal{u"<R><A></A", "line 1, column 10: an end tag is not closed"},
        Refusal{u"<R>\n<A/>", "line 2, column 5: <R> is not closed"},
        Refusal{u"</R>", "line 1, column 2: a name is missing"},
        Refusal{u"<R", "line 1, column 3: a tag is not closed"},
        Refusal{u"<R a='1' b='2' a='3'/>", "line 1, column 16: the attribute \"a\" stands twice"},
        Refusal{u"<R a='1'b='2'/>", "line 1, column 9: a blank is missing in front of an attribute"},
        Refusal{u"<R a=1/>", "line 1, column 6: a value in quotation marks is missing"},
        Refusal{u"<R a/>", "line 1, column 5: an attribute has no value"},
        Refusal{u"<R a='1/>", "line 1, column 6: a quotation mark is not closed"},
        Refusal{u"<R a='ä<'/>", "line 1, column 8: a '<' in an attribute is not written as &lt;"},
        Refusal{u"<R>&own;</R>",
                "line 1, column 4: an entity that is not predefined, or an '&' that is not written as &amp;"},
        Refusal{u"<R a='x&y'/>",
                "line 1, column 8: an entity that is not predefined, or an '&' that is not written as &amp;"},
        Refusal{u"<R>&#0;</R>", "line 1, column 4: a reference to a character that XML does not have"},
        Refusal{u"<R>&#xD800;</R>", "line 1, column 4: a reference to a character that XML does not have"},
        Refusal{u"<R>&#x110000;</R>", "line 1, column 4: a reference to a character that XML does not have"},
        Refusal{u"<R>&#99999999999999;</R>",
                "line 1, column 4: an entity that is not predefined, or an '&' that is not written as &amp;"},
        Refusal{u"<R>&#-1;</R>", "line 1, column 4: a reference to a character that XML does not have"},
        Refusal{u"<R>]]></R>", "line 1, column 4: \"]]>\" in text"},
        Refusal{u"<R>\x1</R>", "line 1, column 4: not UTF-8, or a control character"},
        Refusal{u"<R><!-- a -- b --></R>", "line 1, column 4: \"--\" in a comment"},
        Refusal{u"<R><!-- a", "line 1, column 8: a comment is not closed"},
        Refusal{u"<R><![CDATA[x]]</R>", "line 1, column 4: a CDATA section is not closed"},
        Refusal{u"<R><!X></R>", "line 1, column 4: a declaration inside an element"},
        Refusal{u"<R><?p </R>", "line 1, column 8: a processing instruction is not closed"},
        Refusal{u"<R><? p?></R>", "line 1, column 6: a name is missing"},
        Refusal{u" <?xml version='1.0'?><R/>", "line 1, column 2: an XML declaration that is not at the beginning"},
        Refusal{u"<?xml encoding='UTF-8'?><R/>", "line 1, column 6: the XML declaration has no version"},
        Refusal{u"<?xml version='2.0'?><R/>", "line 1, column 20: not a version of XML that is known"},
        Refusal{u"<?xml version='1.0' bad='1'?><R/>", "line 1, column 21: the XML declaration is damaged"},
        Refusal{u"<!DOCTYPE R><R/>", "line 1, column 1: document type declarations are not accepted"},
        Refusal{u"<!DOCTYPE R [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;\">]><R>&b;</R>",
                "line 1, column 1: document type declarations are not accepted"},
        Refusal{u"<!DOCTYPE R SYSTEM \"file:///etc/passwd\"><R/>",
                "line 1, column 1: document type declarations are not accepted"}));

}  // namespace
