#include "quelcore/presentation/QmExportTilesTicket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <limits>
#include <type_traits>

#include "quelplatform/qmEnv/QmEnvLocaleEmbedded.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::TempHome;
using testing::HasSubstr;
using testing::Not;

using Ticket = QmExportTilesTicket;

const qmWChar* const kKey = u"HKEY_CURRENT_USER\\Software\\Quelmetra\\Common\\ExportTilesTicket";

class Settings : public testing::Test {
 protected:
  ~Settings() override {
    quelplatform::setUnits(std::nullopt);
    quelplatform::setLocaleAvailable(true);
  }

  std::string stored() const { return readFile(home_.path() / "quelmetra.ini"); }

  // The key behind the tickets.
  static bool open(QmRegKey& key) { return key.Branch(kKey, true, QmRegKey::kReadWrite); }

  TempHome home_;
};

TEST_F(Settings, AreNotMadeByAReader) {
  Ticket ticket;
  EXPECT_FALSE(ticket.AccessData(false));
  EXPECT_FALSE(QmRegKey().IsBranch(kKey, QmRegKey::kRead));
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "quelmetra.ini"));
}

TEST_F(Settings, AreMadeByAWriterAndThereForAReaderThen) {
  Ticket writer;
  EXPECT_TRUE(writer.AccessData(true));
  EXPECT_THAT(stored(), HasSubstr("[HKEY_CURRENT_USER\\Software\\Quelmetra\\Common\\ExportTilesTicket]"));
  Ticket reader;
  EXPECT_TRUE(reader.AccessData(false));
}

TEST_F(Settings, CannotBeMadeWhereNothingCanBeWritten) {
  std::filesystem::create_directory(home_.path() / "quelmetra.ini");
  EXPECT_FALSE(Ticket().AccessData(true));
}

TEST_F(Settings, ComeBackAsTheyWereSet) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  ticket.set_Auto(true);
  ticket.set_CheckTargets(false);
  ticket.set_Format(u"st\u00E4dte \u6E2C");
  ticket.set_Overlap(false);
  ticket.set_Path(u"C:\\out put\\");
  ticket.set_PitchPixels(0.1);
  ticket.set_SaveTo(-3);
  ticket.set_Uniform(false);
  Ticket reader;
  ASSERT_TRUE(reader.AccessData(false));
  EXPECT_TRUE(reader.get_Auto());
  EXPECT_FALSE(reader.get_CheckTargets());
  EXPECT_EQ(reader.get_Format(), u"st\u00E4dte \u6E2C");
  EXPECT_FALSE(reader.get_Overlap());
  EXPECT_EQ(reader.get_Path(), u"C:\\out put\\");
  EXPECT_THAT(reader.get_PitchPixels(), SameBits(0.1));
  EXPECT_EQ(reader.get_SaveTo(), -3);
  EXPECT_FALSE(reader.get_Uniform());
}

TEST_F(Settings, AreStoredByTheirNamesABoolAsOneOrZero) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  ticket.set_Auto(true);
  ticket.set_CheckTargets(false);
  ticket.set_Format(u"f");
  ticket.set_Overlap(true);
  ticket.set_Path(u"p");
  ticket.set_PitchPixels(2.5);
  ticket.set_SaveTo(7);
  ticket.set_Uniform(false);
  QmRegKey key;
  ASSERT_TRUE(open(key));
  const auto text = [&](const qmWChar* name) -> qmWString {
    const QmRegValue value = key[name];
    const qmWChar* units = value;
    return units == nullptr ? u"(absent)" : units;
  };
  EXPECT_EQ(text(u"Auto"), u"1");
  EXPECT_EQ(text(u"CheckTargets"), u"0");
  EXPECT_EQ(text(u"Format"), u"f");
  EXPECT_EQ(text(u"Overlap"), u"1");
  EXPECT_EQ(text(u"Path"), u"p");
  EXPECT_EQ(text(u"PitchPixels"), u"2.5");
  EXPECT_EQ(text(u"SaveTo"), u"7");
  EXPECT_EQ(text(u"Uniform"), u"0");
}

TEST_F(Settings, HaveDefaultsWhereTheyMayBeAbsent) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  EXPECT_TRUE(ticket.get_CheckTargets());
  EXPECT_TRUE(ticket.get_Overlap());
  EXPECT_EQ(ticket.get_SaveTo(), 0);
}

template <typename Get>
std::int32_t lineOfError(const Get& get) {
  try {
    get();
  } catch (const Ticket::AccessError& error) {
    EXPECT_EQ(error.note, u"Read Export Tiles Data Error");
    EXPECT_EQ(error.file, u"QmExportTilesTicket");
    EXPECT_EQ(error.flag, 1);
    return error.line;
  }
  ADD_FAILURE() << "nothing was thrown";
  return 0;
}

TEST_F(Settings, RaiseAnErrorOfTheGettersLineWhereTheyMustNotBeAbsent) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  const std::string before = stored();
  const std::int32_t lines[] = {lineOfError([&] { ticket.get_Auto(); }), lineOfError([&] { ticket.get_Format(); }),
                                lineOfError([&] { ticket.get_Path(); }), lineOfError([&] { ticket.get_PitchPixels(); }),
                                lineOfError([&] { ticket.get_Uniform(); })};
  for (int i = 0; i < 5; ++i) {
    EXPECT_GT(lines[i], 0);
    for (int j = 0; j < i; ++j) EXPECT_NE(lines[i], lines[j]);
  }
  EXPECT_EQ(stored(), before);
}

TEST_F(Settings, RaiseAnErrorBeforeTheyAreOpened) {
  const Ticket ticket;
  EXPECT_THROW(ticket.get_Auto(), Ticket::AccessError);
  EXPECT_TRUE(ticket.get_Overlap());
  EXPECT_EQ(ticket.get_SaveTo(), 0);
}

TEST_F(Settings, StoreNothingBeforeTheyAreOpenedOrWhenOpenedForReading) {
  Ticket().set_SaveTo(5);
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "quelmetra.ini"));
  ASSERT_TRUE(Ticket().AccessData(true));
  Ticket reader;
  ASSERT_TRUE(reader.AccessData(false));
  reader.set_SaveTo(5);
  EXPECT_EQ(reader.get_SaveTo(), 0);
}

TEST_F(Settings, ReadValuesOfAnotherTypeAsTheirStoreDoes) {
  QmRegKey key;
  ASSERT_TRUE(open(key));
  key[u"Auto"] = u"yes";
  key[u"CheckTargets"] = u"";
  key[u"SaveTo"] = u"12 tiles";
  key[u"PitchPixels"] = u"wide";
  key[u"Format"] = 5;
  key[u"Uniform"] = -2;
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(false));
  EXPECT_FALSE(ticket.get_Auto());
  EXPECT_FALSE(ticket.get_CheckTargets());
  EXPECT_EQ(ticket.get_SaveTo(), 12);
  EXPECT_EQ(ticket.get_PitchPixels(), 0.0);
  EXPECT_EQ(ticket.get_Format(), u"5");
  EXPECT_TRUE(ticket.get_Uniform());
}

TEST_F(Settings, KeepNoPitchAndNoUnits) {
  QmRegKey key;
  ASSERT_TRUE(open(key));
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  key[u"Pitch"] = u"5 mm";
  key[u"Units"] = 3;
  EXPECT_EQ(ticket.get_Pitch(), u"");
  EXPECT_TRUE(key.IsValue(u"Pitch"));
  ticket.set_Pitch(u"7 mm");
  EXPECT_FALSE(key.IsValue(u"Pitch"));
  EXPECT_TRUE(key.IsValue(u"Units"));
  ticket.set_Units(9);
  EXPECT_FALSE(key.IsValue(u"Units"));
}

TEST_F(Settings, TellTheUnitsOfTheLocale) {
  const Ticket ticket;
  EXPECT_EQ(ticket.get_Units(), 0);
  quelplatform::setUnits(QM_UNITS_INCH);
  EXPECT_EQ(ticket.get_Units(), QM_UNITS_INCH);
  quelplatform::setLocaleAvailable(false);
  EXPECT_EQ(ticket.get_Units(), 0);
}

TEST_F(Settings, LosePitchAndUnitsAndNothingElseWhenATicketGoes) {
  QmRegKey key;
  ASSERT_TRUE(open(key));
  {
    Ticket ticket;
    ASSERT_TRUE(ticket.AccessData(true));
    ticket.set_SaveTo(4);
    key[u"Pitch"] = u"5 mm";
    key[u"Units"] = 3;
  }
  EXPECT_FALSE(key.IsValue(u"Pitch"));
  EXPECT_FALSE(key.IsValue(u"Units"));
  EXPECT_TRUE(key.IsValue(u"SaveTo"));
}

TEST_F(Settings, AreOpenForWritingInACopyOfAReader) {
  ASSERT_TRUE(Ticket().AccessData(true));
  Ticket reader;
  ASSERT_TRUE(reader.AccessData(false));
  Ticket copy(reader);
  copy.set_SaveTo(8);
  EXPECT_EQ(reader.get_SaveTo(), 8);
  Ticket assigned;
  assigned = reader;
  EXPECT_EQ(assigned.get_SaveTo(), 8);
}

TEST_F(Settings, AreSharedByProcesses) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  const pid_t child = fork();
  if (child == 0) {
    Ticket other;
    bool done = other.AccessData(true);
    for (std::int32_t i = 1; i <= 20; ++i) other.set_SaveTo(i);
    done = done && other.get_SaveTo() == 20;
    _exit(done ? 0 : 1);
  }
  for (int i = 0; i < 20; ++i) ticket.set_PitchPixels(i);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(ticket.get_SaveTo(), 20);
  EXPECT_EQ(ticket.get_PitchPixels(), 19.0);
}

TEST(AccessError, IsCaughtAsEachClassOfItsChain) {
  const Ticket ticket;
  EXPECT_THROW(ticket.get_Path(), Ticket::AccessError);
  EXPECT_THROW(ticket.get_Path(), QmExceptionNote);
  EXPECT_THROW(ticket.get_Path(), QmException);
  EXPECT_TRUE(std::has_virtual_destructor_v<QmException>);
  EXPECT_TRUE((std::is_base_of_v<QmExceptionNote, Ticket::AccessError>));
  EXPECT_FALSE((std::is_base_of_v<std::exception, QmException>));
}

TEST(AccessError, HoldsItsPlaceAndLogsIt) {
  const RecordingLog log;
  const Ticket::AccessError error(42, u"module", 3);
  EXPECT_EQ(error.line, 42);
  EXPECT_EQ(error.file, u"module");
  EXPECT_EQ(error.flag, 3);
  EXPECT_EQ(error.note, u"Read Export Tiles Data Error");
  EXPECT_THAT(log.records(),
              testing::ElementsAre(quel::testing::Line(
                  0, "QmExportTilesTicket", "created QmExceptionNote : AccessError() with line 42 file module")));
}

TEST(AccessError, TakesANullNameForAnEmptyOne) {
  EXPECT_EQ(Ticket::AccessError(1, nullptr, 1).file, u"");
  EXPECT_EQ(QmExceptionNote(1, nullptr, 1, nullptr).note, u"");
}

TEST_F(Settings, KeepTheirTextWhereANewOneHasALineEnd) {
  Ticket ticket;
  ASSERT_TRUE(ticket.AccessData(true));
  ticket.set_Format(u"before");
  for (const qmWChar* text : {u"a\nb", u"a\r", u"\n"}) {
    ticket.set_Format(text);
    EXPECT_EQ(ticket.get_Format(), u"before");
  }
}

}  // namespace
