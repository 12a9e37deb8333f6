#include "quelcore/operations/OperationManagerBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "testing/FailingNew.h"
#include "testing/TempHome.h"

// The destructor of operations is not virtual, nor is that of the operation below.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

// An operation that counts what is asked of it and succeeds as told.
class CountedOperation final : public OperationBase {
 public:
  explicit CountedOperation(OperationTypeId type = OPERATION_COP, std::uint32_t id = 1) {
    type_ = type;
    setId(id);
  }
  ~CountedOperation() { ++destructions; }

  bool execute() override {
    ++executed;
    return succeeds;
  }
  bool cancel() override {
    ++cancelled;
    return succeeds;
  }

  static inline int destructions = 0;
  int executed = 0;
  int cancelled = 0;
  bool succeeds = true;
};

// What an application's manager does: it puts the operation in place.
class BenchManager : public OperationManagerBase {
 public:
  void toUndo(OperationBase* operation) { undoOperation_ = operation; }
  void toRedo(OperationBase* operation) { redoOperation_ = operation; }
  const std::vector<std::uint32_t>& undoable() const { return undoList_; }
  const std::vector<std::uint32_t>& redoable() const { return redoList_; }
  XMLOperationIO* file() const { return operationsFile_; }
  void saveOperationData(OperationBase*) override { ++saved; }

  // Leaves no room in the undo list.
  void forgetUndoable() { std::vector<std::uint32_t>().swap(undoList_); }

  int saved = 0;
};

TEST(OperationBase, IsOfUnknownKindAndDoesNothing) {
  OperationBase operation;
  EXPECT_EQ(operation.getType(), OPERATION_UNKNOWN);
  EXPECT_EQ(operation.getId(), 0u);
  EXPECT_FALSE(operation.execute());
  EXPECT_FALSE(operation.cancel());
}

TEST(OperationBase, HasADestructorThatIsNotVirtual) {
  EXPECT_FALSE(std::has_virtual_destructor_v<OperationBase>);
  EXPECT_TRUE(std::has_virtual_destructor_v<OperationManagerBase>);
}

TEST(OperationBase, CopiesItsKindAndKey) {
  const CountedOperation original(OPERATION_COP, 42);
  const OperationBase copy(original);
  EXPECT_EQ(copy.getType(), OPERATION_COP);
  EXPECT_EQ(copy.getId(), 42u);
}

TEST(OperationManager, HasNothingToUndoOrRedoWhenNew) {
  BenchManager manager;
  EXPECT_FALSE(manager.isUndoAvailable());
  EXPECT_FALSE(manager.isRedoAvailable());
  EXPECT_FALSE(manager.undo());
  EXPECT_FALSE(manager.redo());
  EXPECT_FALSE(manager.executeOperation(nullptr));
  manager.OperationManagerBase::saveOperationData(nullptr);
}

TEST(OperationManager, AsksNoOperationWhoseListIsEmptyAndNoListWithoutAnOperation) {
  BenchManager manager;
  auto* operation = new CountedOperation;
  manager.toUndo(operation);
  manager.toRedo(operation);
  EXPECT_FALSE(manager.undo());
  EXPECT_FALSE(manager.redo());
  EXPECT_EQ(operation->cancelled + operation->executed, 0);

  BenchManager listed;
  listed.executeOperation(operation);
  EXPECT_FALSE(listed.undo());
  EXPECT_THAT(listed.undoable(), ElementsAre(OPERATION_COP));
  listed.toUndo(new CountedOperation);
  listed.undo();
  EXPECT_FALSE(listed.redo());
  EXPECT_THAT(listed.redoable(), ElementsAre(OPERATION_COP));
}

TEST(OperationManager, SavesNoDataOfAnOperationByItself) {
  BenchManager manager;
  auto* operation = new CountedOperation;
  manager.executeOperation(operation);
  manager.toUndo(operation);
  manager.toRedo(operation);
  EXPECT_TRUE(manager.undo());
  EXPECT_TRUE(manager.redo());
  EXPECT_EQ(manager.saved, 0);
}

// The oldest stands in front, and what is taken comes from the end.
TEST(OperationManager, TakesFromTheEndOfItsLists) {
  BenchManager manager;
  auto* cop = new CountedOperation(OPERATION_COP);
  CountedOperation other(OPERATION_UNKNOWN);
  manager.executeOperation(cop);
  manager.executeOperation(&other);
  manager.toUndo(cop);
  EXPECT_TRUE(manager.undo());
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP));
  manager.executeOperation(&other);
  manager.executeOperation(cop);
  manager.undo();
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  manager.toUndo(&other);
  manager.undo();
  manager.toUndo(cop);
  ASSERT_THAT(manager.redoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  manager.toRedo(&other);
  EXPECT_TRUE(manager.redo());
  EXPECT_THAT(manager.redoable(), ElementsAre(OPERATION_COP));
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
}

TEST(OperationManager, ListsTheKindOfWhatItExecuted) {
  BenchManager manager;
  CountedOperation cop(OPERATION_COP);
  CountedOperation other(OPERATION_UNKNOWN);
  EXPECT_TRUE(manager.executeOperation(&cop));
  EXPECT_TRUE(manager.executeOperation(&other));
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  EXPECT_TRUE(manager.isUndoAvailable());
  EXPECT_EQ(cop.executed, 1);
}

TEST(OperationManager, ChangesNoListForAnOperationThatFails) {
  BenchManager manager;
  CountedOperation operation;
  manager.executeOperation(&operation);
  manager.toUndo(new CountedOperation);
  manager.undo();
  operation.succeeds = false;
  EXPECT_FALSE(manager.executeOperation(&operation));
  EXPECT_THAT(manager.undoable(), IsEmpty());
  EXPECT_THAT(manager.redoable(), ElementsAre(OPERATION_COP));
}

TEST(OperationManager, EmptiesItsRedoListWhenItExecutes) {
  BenchManager manager;
  CountedOperation operation;
  manager.executeOperation(&operation);
  manager.toUndo(new CountedOperation);
  manager.undo();
  ASSERT_TRUE(manager.isRedoAvailable());
  EXPECT_TRUE(manager.executeOperation(&operation));
  EXPECT_FALSE(manager.isRedoAvailable());
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP));
}

TEST(OperationManager, EndsWithTheSameUndoListAfterUndoAndRedo) {
  BenchManager manager;
  auto* operation = new CountedOperation(OPERATION_COP);
  manager.executeOperation(operation);
  manager.toUndo(operation);
  manager.toRedo(operation);
  EXPECT_TRUE(manager.undo());
  EXPECT_THAT(manager.undoable(), IsEmpty());
  EXPECT_THAT(manager.redoable(), ElementsAre(OPERATION_COP));
  EXPECT_TRUE(manager.redo());
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP));
  EXPECT_THAT(manager.redoable(), IsEmpty());
  EXPECT_EQ(operation->cancelled, 1);
  EXPECT_EQ(operation->executed, 2);
}

// The lists are told by the operation in place, not by what they hold.
TEST(OperationManager, MovesTheKindOfTheOperationInPlace) {
  BenchManager manager;
  CountedOperation cop(OPERATION_COP);
  manager.executeOperation(&cop);
  manager.toUndo(new CountedOperation(OPERATION_UNKNOWN));
  EXPECT_TRUE(manager.undo());
  EXPECT_THAT(manager.redoable(), ElementsAre(OPERATION_UNKNOWN));
}

TEST(OperationManager, ChangesNothingWhenRedoFails) {
  BenchManager manager;
  CountedOperation operation;
  manager.executeOperation(&operation);
  manager.toUndo(new CountedOperation);
  manager.undo();
  operation.succeeds = false;
  manager.toRedo(&operation);
  EXPECT_FALSE(manager.redo());
  EXPECT_THAT(manager.undoable(), IsEmpty());
  EXPECT_THAT(manager.redoable(), ElementsAre(OPERATION_COP));
}

class ManagerWithAFile : public testing::Test {
 protected:
  ManagerWithAFile() {
    writeFile(path(),
              "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"1\" Type=\"COP\"/>"
              "<Operation ID=\"2\" Type=\"Unknown\"/></QuelmetraDataFile>");
  }

  std::filesystem::path path() const { return folder_.path() / "operations.xml"; }
  void load(OperationManagerBase& manager) { manager.load(folder_.wide("operations.xml").c_str(), true); }

  TempDir folder_;
};

TEST_F(ManagerWithAFile, AppendsTheFilesKindsEachTimeItLoads) {
  BenchManager manager;
  load(manager);
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  const XMLOperationIO* file = manager.file();
  load(manager);
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN, OPERATION_COP, OPERATION_UNKNOWN));
  EXPECT_EQ(manager.file(), file);
}

TEST_F(ManagerWithAFile, BeginsANewOneWithoutReadingWhatIsThere) {
  const std::string before = readFile(path());
  BenchManager manager;
  manager.load(folder_.wide("operations.xml").c_str(), false);
  EXPECT_THAT(manager.undoable(), IsEmpty());
  EXPECT_EQ(readFile(path()), before);
  std::vector<std::uint32_t> tiles = {5};
  ASSERT_TRUE(manager.file()->addOperation(7, OPERATION_COP, tiles));
  EXPECT_TRUE(manager.file()->save());
  EXPECT_THAT(readFile(path()), testing::HasSubstr("VersionFile=\"1.00\">\r\n  <Operation ID=\"7\""));
}

TEST_F(ManagerWithAFile, DoesNotWriteWhatItExecutes) {
  const std::string before = readFile(path());
  BenchManager manager;
  load(manager);
  CountedOperation operation(OPERATION_COP, 3);
  EXPECT_TRUE(manager.executeOperation(&operation));
  EXPECT_EQ(readFile(path()), before);
  std::vector<OperationTypeId> types;
  manager.file()->getOperations(types);
  EXPECT_EQ(types.size(), 2u);
}

TEST_F(ManagerWithAFile, TakesAnUndoneOperationOutOfTheFile) {
  BenchManager manager;
  load(manager);
  manager.toUndo(new CountedOperation(OPERATION_UNKNOWN, 2));
  EXPECT_TRUE(manager.undo());
  EXPECT_EQ(readFile(path()),
            "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"1\" Type=\"COP\"/></QuelmetraDataFile>");
}

TEST_F(ManagerWithAFile, LeavesTheFileAloneWhenCancelFails) {
  const std::string before = readFile(path());
  BenchManager manager;
  load(manager);
  auto* operation = new CountedOperation(OPERATION_UNKNOWN, 2);
  operation->succeeds = false;
  manager.toUndo(operation);
  EXPECT_FALSE(manager.undo());
  EXPECT_EQ(readFile(path()), before);
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  EXPECT_THAT(manager.redoable(), IsEmpty());
}

TEST_F(ManagerWithAFile, LeavesTheFileAloneWhenItRedoes) {
  BenchManager manager;
  load(manager);
  auto* operation = new CountedOperation(OPERATION_UNKNOWN, 2);
  manager.toUndo(operation);
  manager.undo();
  const std::string before = readFile(path());
  manager.toRedo(operation);
  EXPECT_TRUE(manager.redo());
  EXPECT_EQ(readFile(path()), before);
}

TEST_F(ManagerWithAFile, UndoesThoughTheFileCannotBeSaved) {
  BenchManager manager;
  load(manager);
  std::filesystem::remove_all(folder_.path());
  manager.toUndo(new CountedOperation(OPERATION_UNKNOWN, 2));
  EXPECT_TRUE(manager.undo());
  EXPECT_THAT(manager.undoable(), ElementsAre(OPERATION_COP));
  std::filesystem::create_directory(folder_.path());
}

TEST(OperationManager, HasAFileWithNothingInItWhenThatCannotBeRead) {
  const TempDir folder;
  BenchManager manager;
  manager.load(folder.wide("absent").c_str(), true);
  EXPECT_NE(manager.file(), nullptr);
  EXPECT_THAT(manager.undoable(), IsEmpty());
}

// Required: only the base of the undo operation is destroyed, and nothing of the redo operation.
TEST(OperationManager, RunsNoDestructorOfADerivedOperation) {
  CountedOperation::destructions = 0;
  auto redo = std::make_unique<CountedOperation>();
  {
    BenchManager manager;
    manager.toUndo(new CountedOperation);
    manager.toRedo(redo.get());
  }
  EXPECT_EQ(CountedOperation::destructions, 0);
}

TEST_F(ManagerWithAFile, SharesItsPointersWithItsCopies) {
  BenchManager manager;
  load(manager);
  auto* operation = new CountedOperation;
  manager.toUndo(operation);
  BenchManager copy(manager);
  EXPECT_EQ(copy.file(), manager.file());
  EXPECT_TRUE(copy.undo());
  EXPECT_EQ(operation->cancelled, 1);
  EXPECT_EQ(copy.undoable().size(), 1u);
  EXPECT_EQ(manager.undoable().size(), 2u);
  copy = BenchManager();  // Gives the shared pointers up, so that only the original destroys what they lead to.
  EXPECT_EQ(copy.file(), nullptr);
}

TEST(OperationManager, NeitherUndoesNorRedoesWhatItCannotList) {
  const auto met = quel::testing::failEachNew(
      [] {
        auto* operation = new (std::nothrow) CountedOperation;
        if (operation == nullptr) return false;
        BenchManager manager;
        manager.toUndo(operation);
        manager.toRedo(operation);
        const bool done = manager.executeOperation(operation);
        const bool undone = done && manager.undo();
        EXPECT_EQ(operation->cancelled, undone ? 1 : 0);
        manager.forgetUndoable();
        const bool redone = undone && manager.redo();
        EXPECT_EQ(operation->executed, int{done} + int{redone});
        return redone && manager.undoable().size() == 1;
      },
      [](bool redone, bool failed) { EXPECT_EQ(redone, !failed); });
  EXPECT_EQ(met, 4);  // The operation, and each list's room.
}

TEST(OperationManager, RefusesToExecuteWhatItCannotList) {
  quel::testing::failEachNew(
      [] {
        BenchManager manager;
        CountedOperation operation;
        const bool done = manager.executeOperation(&operation);
        EXPECT_EQ(operation.executed, done ? 1 : 0);
        return done && manager.undoable().size() == 1;
      },
      [](bool done, bool failed) { EXPECT_EQ(done, !failed); });
}

}  // namespace
