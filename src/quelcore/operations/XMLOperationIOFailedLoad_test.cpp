// What an operations file and its document are worth behind a load that failed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "quelcore/operations/XMLOperationIO.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::writeFile;

using Numbers = std::vector<std::uint32_t>;

const std::string kGood =
    "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"1\" Type=\"COP\"/></QuelmetraDataFile>";

class FailedLoad : public testing::Test {
 protected:
  FailedLoad() {
    writeFile(folder_.path() / "good.xml", kGood);
    EXPECT_TRUE(io_.load(good().c_str(), true));
  }

  std::u16string good() const { return folder_.wide("good.xml"); }
  std::string goodNow() const { return readFile(folder_.path() / "good.xml"); }

  /// A reading that fails.
  void fail(XMLOperationIO& io) const {
    writeFile(folder_.path() / "damaged.xml", "<QuelmetraDataFile");
    EXPECT_FALSE(io.load(folder_.wide("damaged.xml").c_str(), true));
  }

  static bool addAndSave(XMLOperationIO& io) {
    Numbers tiles = {7};
    io.addOperation(9, OPERATION_COP, tiles);
    return io.save();
  }

  TempDir folder_;
  XMLOperationIO io_;
};

TEST_F(FailedLoad, KeepsTheGoodFileFromBeingSavedOver) {
  fail(io_);
  EXPECT_EQ(std::u16string(io_.getFileName()), good());
  EXPECT_FALSE(addAndSave(io_));
  EXPECT_EQ(goodNow(), kGood);
  EXPECT_FALSE(io_.load(nullptr, true));
  EXPECT_FALSE(io_.load(folder_.wide("absent.xml").c_str(), true));
  EXPECT_FALSE(addAndSave(io_));
  EXPECT_EQ(goodNow(), kGood);
  EXPECT_EQ(readFile(folder_.path() / "damaged.xml"), "<QuelmetraDataFile");
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "absent.xml"));
}

TEST_F(FailedLoad, KeepsCopiesOfTheObjectFromSavingToo) {
  XMLOperationIO copy(io_);
  fail(copy);
  EXPECT_FALSE(addAndSave(io_));
  EXPECT_EQ(goodNow(), kGood);
}

TEST_F(FailedLoad, IsOverWithALoadThatSucceeds) {
  fail(io_);
  std::vector<OperationTypeId> types;
  ASSERT_TRUE(io_.load(good().c_str(), true));
  io_.getOperations(types);
  EXPECT_TRUE(addAndSave(io_));
  EXPECT_THAT(goodNow(), testing::HasSubstr("<Operation ID=\"1\" Type=\"COP\"/>"));
  EXPECT_THAT(goodNow(), testing::HasSubstr("<Operation ID=\"9\" Type=\"COP\">"));
}

TEST_F(FailedLoad, IsOverWithADocumentThatIsBegunAnew) {
  fail(io_);
  std::vector<OperationTypeId> types;
  ASSERT_TRUE(io_.load(good().c_str(), false));
  io_.getOperations(types);
  EXPECT_TRUE(addAndSave(io_));
  EXPECT_THAT(goodNow(), testing::HasSubstr("<QuelmetraDataFile VersionFile=\"1.00\">\r\n  <Operation ID=\"9\""));
}

using OperationArray = FailedLoad;

TEST_F(OperationArray, WithoutANameTouchesNothing) {
  std::vector<OperationTypeId> types;
  io_.getOperations(types);
  Numbers values = {1};
  Numbers none;
  ASSERT_TRUE(io_.FindElem(u"Operation"));
  EXPECT_FALSE(io_.writeArray(values, nullptr));
  EXPECT_FALSE(io_.writeArray(none, nullptr));
  EXPECT_TRUE(io_.save());
  EXPECT_EQ(goodNow(), kGood);
}

}  // namespace
