// What crosses the boundary of the library as it is installed: this program links the shared library itself.
#include <gtest/gtest.h>

#include "quelcore/presentation/QmExportTilesTicket.h"
#include "testing/TempHome.h"

namespace {

// The line of the error, if it is caught as that class.
template <typename Caught>
std::int32_t lineCaughtAs() {
  const QmExportTilesTicket ticket;
  try {
    ticket.get_Format();
  } catch (const Caught& caught) {
    return caught.line;
  } catch (...) {
  }
  return 0;
}

TEST(SharedLibrary, ThrowsAnErrorThatEachClassOfItsChainCatches) {
  const quel::testing::TempHome home;
  EXPECT_GT(lineCaughtAs<QmExportTilesTicket::AccessError>(), 0);
  EXPECT_GT(lineCaughtAs<QmExceptionNote>(), 0);
  EXPECT_GT(lineCaughtAs<QmException>(), 0);
}

TEST(SharedLibrary, ThrowsAnErrorOfATypeThatBothSidesKnow) {
  const quel::testing::TempHome home;
  const QmExportTilesTicket ticket;
  try {
    ticket.get_Format();
    FAIL() << "nothing was thrown";
  } catch (const QmException& caught) {
    EXPECT_NE(dynamic_cast<const QmExportTilesTicket::AccessError*>(&caught), nullptr);
    EXPECT_EQ(dynamic_cast<const QmExceptionNote&>(caught).note, u"Read Export Tiles Data Error");
  }
}

}  // namespace
