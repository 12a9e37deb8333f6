// XML documents from files and back, and what is refused before it does harm.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <thread>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/PeakMemory.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::failEachNew;
using quel::testing::NoDescriptors;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::writeFile;
using quelplatform::lastSystemError;

/// A file "d.xml" in a directory of its own, and a document.
class XmlFile {
 public:
  XmlFile() = default;
  explicit XmlFile(const std::string& content) { writeFile(file(), content); }

  fs::path file() const { return dir_.path() / "d.xml"; }
  const TempDir& dir() const { return dir_; }
  std::string content() const { return readFile(file()); }
  bool load() { return xml.Load(dir_.wide("d.xml").c_str()); }
  bool save() { return xml.Save(dir_.wide("d.xml").c_str()); }

  std::string error() const {
    const qmWString text = xml.GetError();
    return std::string(text.begin(), text.end());
  }

  // Why loading fails, after looking at the state that it leaves.
  std::string refusal() {
    EXPECT_FALSE(load());
    EXPECT_FALSE(xml.FindElem(nullptr));
    EXPECT_EQ(xml.GetDoc(), u"");
    return error();
  }

  CMarkupSTL xml;

 private:
  TempDir dir_;
};

std::string utf16(const std::u16string& text, bool big) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
    bytes += big ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

const std::string kDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<!-- \xC3\xA4 -->\r\n<R>\r\n\t<A n=\"\xE2\x82\xAC\"/>\r\n</R>\r\n";

TEST(Load, TellsByTheLastErrorWhetherItIsKnownWhatIsInTheFile) {
  XmlFile sound("<a/>"), damaged("<a>"), none;
  EXPECT_TRUE(sound.load());
  EXPECT_EQ(lastSystemError(), 0u);
  EXPECT_FALSE(none.load());
  EXPECT_EQ(lastSystemError(), 2u);
  EXPECT_FALSE(damaged.load());
  EXPECT_EQ(lastSystemError(), 0u);
  const NoDescriptors noDescriptors;
  EXPECT_FALSE(sound.load());
  EXPECT_EQ(lastSystemError(), 4u);
}

TEST(Load, TellsThatMemoryWasExhausted) {
  XmlFile file("<a b=\"a text that is long enough for memory of its own\"/>");
  const qmWString path = file.dir().wide("d.xml");
  EXPECT_GT(failEachNew([&] { return file.xml.Load(path.c_str()); },
                        [](bool loaded, bool failed) {
                          EXPECT_EQ(loaded, !failed);
                          EXPECT_EQ(lastSystemError(), failed ? 8u : 0u);
                        }),
            0);
}

TEST(Load, ReadsUtf8AndUtf16AndSaveWritesUtf8WithoutAMark) {
  const qmWString wide =
      u"\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\" ?>\r\n<!-- ä -->\r\n<R>\r\n\t<A n=\"€\"/>\r\n</R>\r\n";
  for (const std::string& content : {kDocument, "\xEF\xBB\xBF" + kDocument, utf16(wide, false), utf16(wide, true)}) {
    XmlFile file(content);
    ASSERT_TRUE(file.load()) << file.error();
    EXPECT_TRUE(file.xml.FindElem(u"R") && file.xml.IntoElem() && file.xml.FindElem(u"A"));
    EXPECT_EQ(file.xml.GetAttrib(u"n"), u"€");
    EXPECT_TRUE(file.save());
    EXPECT_EQ(file.content(), kDocument);
  }
}

TEST(Load, RefusesFilesInOtherEncodings) {
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><R a='";
  EXPECT_EQ(XmlFile(latin + "\xE4'/>").refusal(), "declares the encoding ISO-8859-1, which is not read");
  EXPECT_EQ(XmlFile(latin + "\x01\xE4'/>").refusal(), "line 1, column 50: not UTF-8, or a control character");
  EXPECT_EQ(XmlFile("<?xml version='1.0' encoding='UTF-8'?><R a='\xE4'/>").refusal(),
            "line 1, column 45: not UTF-8, or a control character");
  EXPECT_EQ(XmlFile("<?xml version='1.0' encoding='\xE4'?><R/>").refusal(),
            "line 1, column 31: not UTF-8, or a control character");
  EXPECT_EQ(XmlFile("<R a='\xE4'/>").refusal(), "line 1, column 7: not UTF-8, or a control character");
  EXPECT_EQ(XmlFile(latin + "\xC3\xA4'/>").refusal(), "declares the encoding ISO-8859-1, which is not read");
  EXPECT_EQ(XmlFile(utf16(u"<R/>", false)).refusal(), "line 1, column 2: not UTF-8, or a control character");
  EXPECT_EQ(XmlFile(utf16(u"\uFEFF<R/>", false) + "x").refusal(), "not UTF-16, which its mark announces");
  EXPECT_EQ(XmlFile(utf16(u"\uFEFF<R>\xD800</R>", true)).refusal(), "not UTF-16, which its mark announces");
  for (const char* bad :
       {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82", "\xEF\xBF\xBE", "\x7F\x1F"}) {
    EXPECT_NE(XmlFile(std::string("<R>").append(std::string(bad)) + "</R>").refusal().find("not UTF-8"),
              std::string::npos);
  }
  XmlFile ascii(latin + "a'/>");
  EXPECT_TRUE(ascii.load());
  EXPECT_TRUE(ascii.save());
  EXPECT_EQ(ascii.content(), "<?xml version='1.0' encoding='UTF-8'?><R a=\"a\"/>");
}

TEST(Load, TellsAFileThatIsNotThereOrIsNoDocument) {
  EXPECT_EQ(XmlFile().refusal(), "cannot be read: The file was not found.");
  EXPECT_EQ(XmlFile("").refusal(), "there is no root element");
  EXPECT_EQ(XmlFile("<?xml version='1.0'?>\n").refusal(), "there is no root element");
  EXPECT_EQ(XmlFile(std::string("<R>\0</R>", 8)).refusal(), "line 1, column 4: not UTF-8, or a control character");
  CMarkupSTL xml;
  EXPECT_FALSE(xml.Load(nullptr));
  EXPECT_FALSE(xml.Load(TempDir().path().u16string().c_str()));
}

TEST(Load, RefusesDeepAndHugeAndEntityLadenDocumentsAtOnce) {
  constexpr int kDeep = 1000000;
  std::string deep;
  for (int i = 0; i < kDeep; ++i) deep += "<e>";
  EXPECT_EQ(XmlFile(deep).refusal(), "line 1, column 769: elements lie more than 256 levels deep");
  for (int i = 0; i < kDeep; ++i) deep += "</e>";
  EXPECT_EQ(XmlFile(deep).refusal(), "line 1, column 769: elements lie more than 256 levels deep");

  XmlFile huge("<R/>");
  fs::resize_file(huge.file(), (16u << 20) + 1);
  EXPECT_EQ(huge.refusal(), "larger than 16 MiB");

  std::string entities = "<!DOCTYPE R [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i < 40; ++i) {
    const std::string inner = std::string("&a").append(std::to_string(i - 1)) + ";";
    entities += std::string("<!ENTITY a").append(std::to_string(i)) + " \"" + inner + inner + inner + "\">";
  }
  EXPECT_EQ(XmlFile(entities + "]><R>&a39;</R>").refusal(),
            "line 1, column 1: document type declarations are not accepted");
}

TEST(Load, TakesManyAttributesAndLongTextsInTimeThatGrowsWithTheFile) {
  std::string content = "<R";
  for (int i = 0; i < 200000; ++i) content += std::string(" a").append(std::to_string(i)) + "=''";
  XmlFile wide(content + ">" + std::string(4 << 20, 't') + std::string(100000, ']') + "</R>");
  EXPECT_TRUE(wide.load()) << wide.error();
  for (const std::string name : {"a0", "a7", "a8", "a199999"}) {
    XmlFile twice(content + " " + name + "=''/>");
    EXPECT_NE(twice.refusal().find("the attribute \"" + name + "\" stands twice"), std::string::npos) << name;
  }
  XmlFile flat("<R>" + [] {
    std::string children;
    for (int i = 0; i < 300000; ++i) children += "<a/>";
    return children;
  }() + "</R>");
  EXPECT_TRUE(flat.load());
  EXPECT_TRUE(flat.xml.FindElem(u"R") && flat.xml.IntoElem());
  int count = 0;
  while (flat.xml.FindElem(nullptr)) ++count;
  EXPECT_EQ(count, 300000);
}

TEST(Load, RefusesEveryBeginningOfADocumentThatIsNotAllOfIt) {
  const std::string whole =
      "<?xml version=\"1.0\"?>\n<!-- c --><R a=\"1&amp;\"><?p i?><A>t&#65;<![CDATA[x]]></A><B b='2'/></R>";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(XmlFile(whole.substr(0, length)).refusal().empty()) << length;
  }
  EXPECT_TRUE(XmlFile(whole).load());
}

// Whatever is accepted reads back as the same document from what is written.
TEST(Load, NeverCrashesOnDamagedDocumentsAndKeepsWhatItTakes) {
  const std::string whole =
      "<?xml version=\"1.0\"?>\n<!-- c --><R a=\"1&amp;\"><?p i?><A>t&#65;<![CDATA[x]]></A>\n<B b='2'/></R>";
  std::mt19937 random(7);
  const std::string letters = "<>&;\"'=/!?-[]# \nxA1\x80\xC3";
  int taken = 0;
  for (int i = 0; i < 4000; ++i) {
    std::string damaged = whole;
    for (auto edits = 1 + random() % 3; edits > 0; --edits) {
      damaged[random() % damaged.size()] = letters[random() % letters.size()];
    }
    CMarkupSTL first;
    CMarkupSTL second;
    if (!first.SetDoc(qmWString(damaged.begin(), damaged.end()).c_str())) continue;
    ++taken;
    ASSERT_TRUE(second.SetDoc(first.GetDoc().c_str())) << damaged;
    ASSERT_EQ(second.GetDoc(), first.GetDoc()) << damaged;
  }
  EXPECT_GT(taken, 100);
}

TEST(Save, ReplacesTheFileAsAWhole) {
  XmlFile file("old");
  ASSERT_TRUE(file.xml.SetDoc(u"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"));
  ASSERT_TRUE(file.xml.AddElem(u"R", u"ä"));
  EXPECT_TRUE(file.save());
  EXPECT_EQ(file.content(), "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<R>\xC3\xA4</R>\r\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(file.dir().path()), fs::directory_iterator()), 1);
  EXPECT_TRUE(file.load());
}

TEST(Save, KeepsTheOldFileWhenItFails) {
  XmlFile file("old");
  EXPECT_FALSE(file.save());
  EXPECT_EQ(file.error(), "there is no root element");
  ASSERT_TRUE(file.xml.SetDoc(u"<R/>"));
  fs::permissions(file.file(), fs::perms::owner_read);
  EXPECT_FALSE(file.save());
  EXPECT_EQ(file.error(), "cannot be written: Access was denied.");
  EXPECT_FALSE(file.xml.Save(file.dir().wide("none/d.xml").c_str()));
  EXPECT_EQ(file.error(), "cannot be written: The directory was not found.");
  EXPECT_FALSE(file.xml.Save(nullptr));
  EXPECT_FALSE(file.xml.Save(file.dir().wide("").c_str()));
  EXPECT_EQ(file.content(), "old");
  EXPECT_EQ(file.xml.GetDoc(), u"<R/>");
}

TEST(Save, RefusesADocumentThatCouldNotBeReadAgain) {
  XmlFile file("old");
  const qmWString text(3 << 20, u'x');
  ASSERT_TRUE(file.xml.SetDoc(u"<R/>"));
  ASSERT_TRUE(file.xml.FindElem(u"R") && file.xml.IntoElem());
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(file.xml.AddElem(u"a", text.c_str()));
  EXPECT_FALSE(file.save());
  EXPECT_EQ(file.error(), "larger than 16 MiB");
  EXPECT_EQ(file.content(), "old");
}

TEST(Save, KeepsTheOldFileWhenTheDiskIsFull) {
  XmlFile file("old");
  ASSERT_TRUE(file.xml.SetDoc(u"<R/>"));
  ASSERT_TRUE(file.xml.FindElem(u"R") && file.xml.IntoElem() && file.xml.AddElem(u"a", qmWString(90000, u'x').c_str()));
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{70000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  const bool saved = file.save();
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(saved);
  EXPECT_EQ(file.error(), "cannot be written: The file is too large for its file system.");
  EXPECT_EQ(file.content(), "old");
  EXPECT_EQ(std::distance(fs::directory_iterator(file.dir().path()), fs::directory_iterator()), 1);
}

TEST(Save, LeavesTheOldFileOrTheNewOneWhenTheProcessIsKilled) {
  XmlFile file;
  const std::string filling(100000, 'f');
  ASSERT_TRUE(file.xml.SetDoc((u"<R n='0'>" + qmWString(100000, u'f') + u"</R>").c_str()));
  ASSERT_TRUE(file.xml.FindElem(u"R"));
  ASSERT_TRUE(file.save());
  for (int round = 0; round < 20; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      for (std::int32_t n = 1;; ++n) {
        file.xml.AddAttrib(u"n", n);
        file.save();
      }
    }
    std::this_thread::sleep_for(std::chrono::microseconds(500 + 397 * round));
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    CMarkupSTL read;
    ASSERT_TRUE(read.Load(file.dir().wide("d.xml").c_str()));
    ASSERT_TRUE(read.FindElem(u"R"));
    ASSERT_EQ(read.GetData().size(), filling.size());
  }
}

TEST(CMarkupSTL, FailsCleanlyWhenMemoryIsExhausted) {
  XmlFile file(kDocument);
  const auto noWhenFailed = [&](bool result, bool failed) {
    EXPECT_EQ(result, !failed);
    if (failed) {
      EXPECT_EQ(file.error(), "memory is exhausted");
    }
  };
  const qmWString path = file.dir().wide("d.xml");
  EXPECT_GT(failEachNew([&] { return file.xml.Load(path.c_str()); }, noWhenFailed), 0);
  EXPECT_TRUE(file.xml.FindElem(u"R"));
  EXPECT_GT(failEachNew([&] { return file.xml.Save(path.c_str()); }, noWhenFailed), 0);
  EXPECT_EQ(file.content(), kDocument);
  const qmWString name(40, u'n');
  EXPECT_GT(failEachNew([&] { return file.xml.AddAttrib(name.c_str(), name.c_str()); }, noWhenFailed), 0);
  EXPECT_TRUE(file.xml.IntoElem());
  EXPECT_GT(failEachNew([&] { return file.xml.AddElem(name.c_str(), name.c_str()); }, noWhenFailed), 0);
  file.xml.ResetMainPos();
  EXPECT_GT(failEachNew([&] { return file.xml.FindElem(name.c_str()); },
                        [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            0);
  const qmWString text = u"<" + name + u"/>";
  EXPECT_GT(failEachNew([&] { return file.xml.SetDoc(text.c_str()); }, noWhenFailed), 0);
}

// The XML library's own memory.
int allocationsLeft = -1;

void* allocateSome(std::size_t size) {
  if (allocationsLeft == 0) return nullptr;
  if (allocationsLeft > 0) --allocationsLeft;
  return std::malloc(size);
}

/// While it lives the XML library gets its memory from `allocateSome`.
class ScarceXmlMemory {
 public:
  ScarceXmlMemory() { pugi::set_memory_management_functions(allocateSome, std::free); }
  ~ScarceXmlMemory() { pugi::set_memory_management_functions(allocate_, free_); }
  ScarceXmlMemory(const ScarceXmlMemory&) = delete;
  ScarceXmlMemory& operator=(const ScarceXmlMemory&) = delete;

 private:
  pugi::allocation_function allocate_ = pugi::get_memory_allocation_function();
  pugi::deallocation_function free_ = pugi::get_memory_deallocation_function();
};

// Runs `operation` with none, one, two... allocations of the XML library succeeding, until it succeeds. Returns the
// number of failures.
template <typename Operation>
int failEachXmlAllocation(const Operation& operation) {
  for (int n = 0;; ++n) {
    allocationsLeft = n;
    const bool good = operation();
    allocationsLeft = -1;
    if (good || ::testing::Test::HasFatalFailure()) return n;
  }
}

TEST(CMarkupSTL, LeavesTheDocumentAsItWasWhenTheXmlLibraryHasNoMemory) {
  const ScarceXmlMemory scarce;
  {
    CMarkupSTL xml;
    EXPECT_GT(failEachXmlAllocation([&] {
                const bool good = xml.SetDoc(u"<R>\n  <A>\n  </A>\n</R>");
                if (!good) {
                  EXPECT_EQ(xml.GetDoc(), u"");
                  EXPECT_EQ(xml.GetError(), u"memory is exhausted");
                }
                return good;
              }),
              0);
    // Text beyond a page of the library's memory needs memory of its own.
    const qmWString text(50000, u't');
    const auto addTo = [&](const auto& add) {
      const qmWString before = xml.GetDoc();
      return failEachXmlAllocation([&] {
        const bool good = add();
        if (!good) {
          EXPECT_EQ(xml.GetDoc(), before);
        }
        return good;
      });
    };
    EXPECT_TRUE(xml.FindElem(u"R") && xml.IntoElem() && xml.FindElem(u"A") && xml.IntoElem());
    int failures = 0;
    for (int i = 0; i < 500; ++i) failures += addTo([&] { return xml.AddElem(u"e"); });
    EXPECT_GT(failures, 1);
    EXPECT_TRUE(xml.IntoElem());
    EXPECT_GT(addTo([&] { return xml.AddElem(u"alone", text.c_str()); }), 0);
    EXPECT_GT(addTo([&] { return xml.AddElem(u"beside", text.c_str()); }), 0);
    EXPECT_GT(addTo([&] { return xml.AddAttrib(u"a", text.c_str()); }), 0);
    EXPECT_GT(addTo([&] { return xml.AddAttrib(u"a", (text + text).c_str()); }), 0);
  }
}

// --- Memory --------------------------------------------------------------------------------------------------------

std::string repeated(std::size_t size, const std::string& piece) {
  std::string text = "<r>";
  while (text.size() < size) text += piece;
  return text + "</r>";
}

TEST(Load, TakesNoMoreMemoryThanTwentyTimesTheFile) {
  constexpr std::int64_t kMiB = 1 << 20;
  for (const char* piece : {"<b/>", "<b/>\n", "<b/>a", "<b>a</b>", "<b c=''/>", "<b a='' b='' c='' d=''/>", "<!---->",
                            "<?a?>", "<?a?>x", "<![CDATA[]]>", "a<![CDATA[b]]>", "&lt;", "x", "\n"}) {
    const XmlFile file(repeated(4 * kMiB, piece));
    const qmWString path = file.dir().wide("d.xml");
    const std::int64_t peak = quel::testing::peakMemoryOf([&] {
      CMarkupSTL xml;
      xml.Load(path.c_str());
    });
    EXPECT_LE(peak, 20 * 4 * kMiB + kMiB) << piece;
  }
}

TEST(Load, RefusesMoreTextsBetweenElementsThanItHasMemoryFor) {
  EXPECT_EQ(XmlFile(repeated(400000, "<b/>a")).refusal(),
            "line 1, column 1: more elements and texts than a document of this size may have");
  EXPECT_TRUE(XmlFile(repeated(60000, "<b/>a")).load());
  EXPECT_TRUE(XmlFile(repeated(4000000, "<b/>")).load());
  EXPECT_TRUE(XmlFile(repeated(400000, "<bcd e='f'/>a")).load());
}

TEST(Load, DropsBlanksWhereTheirNumberTakesTooMuchMemory) {
  XmlFile few(repeated(60000, "<b/>\n")), many(repeated(400000, "<b/>\n"));
  ASSERT_TRUE(few.load());
  EXPECT_EQ(few.xml.GetDoc().substr(0, 12), u"<r><b/>\n<b/>");
  ASSERT_TRUE(many.load());
  EXPECT_EQ(many.xml.GetDoc().substr(0, 11), u"<r><b/><b/>");
}

// Characters are looked at several at a time, so each byte is tried at each place among eight, and behind the last
// eight.
TEST(CMarkupSTL, LoadRefusesEachByteThatIsNoCharacterWhereverItStands) {
  for (int byte = 0; byte < 256; ++byte) {
    const bool isControl = byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
    for (std::size_t place = 0; place < 18; ++place) {
      std::string text(18, 'x');
      text[place] = byte == '<' || byte == '&' ? 'x' : static_cast<char>(byte);
      XmlFile file("<R>" + text + "</R>");
      ASSERT_EQ(file.load(), !isControl && byte < 0x80) << byte << " at " << place;
    }
  }
}

TEST(CMarkupSTL, LoadTakesEndTagsWithBlanksAndRefusesThoseOfLongerNames) {
  EXPECT_TRUE(XmlFile("<R><A ></A ><AB></AB\n></R>").load());
  EXPECT_FALSE(XmlFile("<R><A></AB></R>").load());
  EXPECT_FALSE(XmlFile("<R><AB></A></R>").load());
  EXPECT_FALSE(XmlFile("<R></R").load());
  EXPECT_FALSE(XmlFile("<R></").load());
}

}  // namespace
