// The base of what runs operations, keeps the lists of what can be undone and redone, and writes the operations file.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/operations/OperationBase.h"
#include "quelcore/operations/XMLOperationIO.h"

/// An application derives its manager from this class. The lists hold kinds of operations, not operations: the derived
/// manager puts the object to undo or redo next into `undoOperation_` or `redoOperation_` before it calls `undo` or
/// `redo`, and looks at `isUndoAvailable` or `isRedoAvailable` first.
///
/// Required: copies copy the lists by value and the three pointers as they stand. The undo operation and the file then
/// have two owners, so only one of the copies may be destroyed.
class QUELCORE_API OperationManagerBase {
 public:
  OperationManagerBase();
  OperationManagerBase(const OperationManagerBase&);
  OperationManagerBase& operator=(const OperationManagerBase&);

  /// Destroys the operations file and the undo operation. Required: the latter through the destructor of
  /// `OperationBase`, which is not virtual: a derived operation's own destructor does not run. It must have come from
  /// `new`, with `OperationBase` as its first base. The redo operation stays with whoever made it.
  virtual ~OperationManagerBase();

  /// Cancels the undo operation, moves the kind from the end of the undo list to that of the redo list (as the
  /// operation names it) and takes the operation out of the file, which is saved; a failure of the latter two is not
  /// told. False, with nothing changed, when `cancel` gives false, the undo list is empty or there is no undo
  /// operation, and when memory is exhausted. Without a file, which `load` makes, there is nothing to take it out of.
  virtual bool undo();

  /// Executes the redo operation and moves its kind back from the redo list to the undo list. Required: the file is
  /// left alone; a derived manager writes the operation again. False, with nothing changed, when `execute` gives false,
  /// the redo list is empty or there is no redo operation, and when memory is exhausted.
  virtual bool redo();

  /// Executes `operation`, appends its kind to the undo list and empties the redo list. The operation is neither kept
  /// nor written. False, with nothing changed, when `execute` gives false, `operation` is null or memory is exhausted.
  virtual bool executeOperation(OperationBase* operation);

  /// Nothing here, and nothing here calls it.
  virtual void saveOperationData(OperationBase* operation);

  /// Loads the operations file, or begins a new one that `path` will name, and appends the kinds of its operations to
  /// what the undo list holds: loading twice appends them twice. Failures are not told. May throw std::bad_alloc.
  virtual void load(const qmWChar* path, bool fileExists);

  bool isUndoAvailable() const noexcept { return !undoList_.empty(); }
  bool isRedoAvailable() const noexcept { return !redoList_.empty(); }

 protected:
  std::vector<std::uint32_t> undoList_;  ///< `OperationTypeId` values, oldest first.
  std::vector<std::uint32_t> redoList_;
  OperationBase* undoOperation_ = nullptr;    ///< Owned.
  OperationBase* redoOperation_ = nullptr;    ///< Not owned.
  XMLOperationIO* operationsFile_ = nullptr;  ///< Made by `load`; owned.
};
