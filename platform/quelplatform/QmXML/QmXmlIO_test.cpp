#include "quelplatform/QmXML/QmXmlIO.h"

#include <gtest/gtest.h>

#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;
using quel::testing::writeFile;

const qmWChar* const kDocument =
    u"<?xml version=\"1.0\"?>\r\n<QuelmetraDataFile VersionProduct=\"1.0\" VersionCreate=\"2.0\" VersionFile=\"3.0\" "
    u"ComponentType=\"All\" TimeStamp=\"4\" LastUpdate=\"now\"><A n=\"1\"><B/>text</A><C/><A "
    u"n=\"2\"/></QuelmetraDataFile>";

TEST(QmXmlIO, ReadsTheHeaderFromTheRootAndStaysOnIt) {
  QmXmlIO xml;
  ASSERT_TRUE(xml.SetDoc(kDocument));
  QmXmlHeader header;
  for (int reading = 0; reading < 2; ++reading) {  // From wherever the cursor is.
    EXPECT_TRUE(xml.ReadHeader(header));
    EXPECT_EQ(header.versionProduct, u"1.0");
    EXPECT_EQ(header.versionCreate, u"2.0");
    EXPECT_EQ(header.versionFile, u"3.0");
    EXPECT_EQ(header.componentType, u"All");
    EXPECT_EQ(header.timeStamp, u"4");
    EXPECT_EQ(header.lastUpdate, u"now");
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_TRUE(xml.GetElem(u"C", 0));
  }
}

TEST(QmXmlIO, TakesAHeaderThatStatesTheVersionOfTheFileAlone) {
  QmXmlIO xml;
  QmXmlHeader header;
  ASSERT_TRUE(xml.SetDoc(u"<QuelmetraDataFile VersionFile=\"1.00\"/>"));
  EXPECT_TRUE(xml.ReadHeader(header));
  EXPECT_EQ(header.versionFile, u"1.00");
  EXPECT_EQ(header.componentType, u"");
}

TEST(QmXmlIO, RefusesAHeaderOfAnotherRootOrWithoutAVersion) {
  QmXmlIO xml;
  QmXmlHeader header;
  header.timeStamp = u"before";
  for (const qmWChar* text : {u"<Other VersionFile=\"1\"/>", u"<QuelmetraDataFile/>",
                              u"<QuelmetraDataFile VersionFile=\"\" TimeStamp=\"5\"/>", u""}) {
    ASSERT_TRUE(xml.SetDoc(text));
    EXPECT_FALSE(xml.ReadHeader(header));
    EXPECT_EQ(header.timeStamp, u"before");
  }
}

TEST(QmXmlIO, MovesOnwardOrFromTheLevelsStart) {
  QmXmlIO xml;
  QmXmlHeader header;
  xml.SetDoc(kDocument);
  xml.ReadHeader(header);
  xml.IntoElem();
  EXPECT_TRUE(xml.GetElem(u"A", QmXmlIO::Onward));
  EXPECT_EQ(xml.GetElemAttrib(u"n"), u"1");
  EXPECT_TRUE(xml.GetElem(u"A", QmXmlIO::Onward));
  EXPECT_EQ(xml.GetElemAttrib(u"n"), u"2");
  EXPECT_FALSE(xml.GetElem(nullptr, QmXmlIO::Onward));
  EXPECT_TRUE(xml.GetElem(nullptr, QmXmlIO::FromStart));
  EXPECT_EQ(xml.GetElemAttrib(u"n"), u"1");
  EXPECT_EQ(xml.GetElemAttrib(u"absent"), u"");
  EXPECT_TRUE(xml.OutOfElem());
  EXPECT_FALSE(xml.OutOfElem());
}

TEST(QmXmlIO, GivesAnElementAsADocumentOfItsOwn) {
  QmXmlIO xml;
  QmXmlHeader header;
  xml.SetDoc(kDocument);
  EXPECT_EQ(xml.GetElemSection(), u"");
  xml.ReadHeader(header);
  xml.IntoElem();
  xml.GetElem(u"A", 0);
  EXPECT_EQ(xml.GetElemSection(), u"<A n=\"1\"><B/>text</A>");
  QmXmlIO section;
  EXPECT_TRUE(section.SetDoc(xml.GetElemSection().c_str()));
  EXPECT_TRUE(section.GetElem(u"A", 0));
  EXPECT_TRUE(section.IntoElem());
  EXPECT_TRUE(section.GetElem(u"B", 0));
}

TEST(QmXmlIO, KeepsEscapesInASection) {
  QmXmlIO xml;
  ASSERT_TRUE(xml.SetDoc(u"<R><A n=\"a&lt;&amp;&quot;b\">&lt;\u00FC&gt;</A></R>"));
  xml.GetElem(nullptr, 0);
  xml.IntoElem();
  xml.GetElem(nullptr, 0);
  QmXmlIO section;
  ASSERT_TRUE(section.SetDoc(xml.GetElemSection().c_str()));
  section.GetElem(nullptr, 0);
  EXPECT_EQ(section.GetElemAttrib(u"n"), u"a<&\"b");
}

TEST(QmXmlIO, GivesTheWholeDocumentAndNothingBefore) {
  QmXmlIO xml;
  EXPECT_EQ(xml.GetFullDoc(), u"");
  xml.SetDoc(kDocument);
  EXPECT_EQ(xml.GetFullDoc(), kDocument);
}

TEST(QmXmlIO, CopiesTheDocumentWithACursorOfItsOwn) {
  QmXmlIO xml;
  QmXmlHeader header;
  xml.SetDoc(kDocument);
  xml.ReadHeader(header);
  xml.IntoElem();
  QmXmlIO copy(xml);
  QmXmlIO assigned;
  assigned = xml;
  EXPECT_FALSE(copy.OutOfElem());  // At the start.
  EXPECT_TRUE(copy.ReadHeader(header));
  EXPECT_EQ(assigned.GetFullDoc(), kDocument);
  EXPECT_TRUE(xml.GetElem(u"A", 0));
}

TEST(QmXmlIO, IsEmptyAfterAFileThatCannotBeRead) {
  const TempDir folder;
  QmXmlIO xml;
  xml.SetDoc(kDocument);
  EXPECT_FALSE(xml.LoadDoc(folder.wide("absent").c_str()));
  EXPECT_NE(xml.GetError(), u"");
  EXPECT_EQ(xml.GetFullDoc(), u"");
  writeFile(folder.path() / "file", "<QuelmetraDataFile VersionFile=\"1\"/>");
  EXPECT_TRUE(xml.LoadDoc(folder.wide("file").c_str()));
  EXPECT_EQ(xml.GetError(), u"");
  EXPECT_FALSE(xml.SetDoc(u"<A>"));
  EXPECT_EQ(xml.GetFullDoc(), u"");
}

TEST(QmXmlIO, ReadsNoHeaderWhenMemoryIsExhausted) {
  QmXmlIO xml;
  xml.SetDoc(kDocument);
  const auto met = quel::testing::failEachNew(
      [&] {
        QmXmlHeader header;
        return xml.ReadHeader(header) && header.lastUpdate == u"now";
      },
      [](bool read, bool failed) { EXPECT_EQ(read, !failed); });
  EXPECT_GT(met, 0);
}

}  // namespace
