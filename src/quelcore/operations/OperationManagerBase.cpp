#include "quelcore/operations/OperationManagerBase.h"

#include <algorithm>
#include <new>

#include "quelcore/base/outOfMemory.h"

namespace {

// Makes room for one more, so that nothing can fail once an operation has done its work.
bool roomForOne(std::vector<std::uint32_t>& list) noexcept {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (list.size() == list.capacity()) list.reserve(std::max<std::size_t>(2 * list.size(), 16));
    return true;
  });
}

}  // namespace

OperationManagerBase::OperationManagerBase() = default;
OperationManagerBase::OperationManagerBase(const OperationManagerBase&) = default;
OperationManagerBase& OperationManagerBase::operator=(const OperationManagerBase&) = default;

OperationManagerBase::~OperationManagerBase() {
  delete operationsFile_;
  if (undoOperation_ == nullptr) return;
  // Only the base is destroyed, whatever was derived from it; the memory goes back without a size, since that of the
  // base is not what was allocated.
  undoOperation_->OperationBase::~OperationBase();
  ::operator delete(static_cast<void*>(undoOperation_));
}

bool OperationManagerBase::undo() {
  if (undoOperation_ == nullptr || undoList_.empty()) return false;
  if (!roomForOne(redoList_) || !undoOperation_->cancel()) return false;
  undoList_.pop_back();
  redoList_.push_back(undoOperation_->getType());
  if (operationsFile_ != nullptr) {
    operationsFile_->removeOperation(undoOperation_->getId());
    operationsFile_->save();
  }
  return true;
}

bool OperationManagerBase::redo() {
  if (redoOperation_ == nullptr || redoList_.empty()) return false;
  if (!roomForOne(undoList_) || !redoOperation_->execute()) return false;
  redoList_.pop_back();
  undoList_.push_back(redoOperation_->getType());
  return true;
}

bool OperationManagerBase::executeOperation(OperationBase* operation) {
  if (operation == nullptr || !roomForOne(undoList_) || !operation->execute()) return false;
  undoList_.push_back(operation->getType());
  redoList_.clear();
  return true;
}

void OperationManagerBase::saveOperationData(OperationBase*) {}

void OperationManagerBase::load(const qmWChar* path, bool fileExists) {
  if (operationsFile_ == nullptr) operationsFile_ = new XMLOperationIO;
  operationsFile_->load(path, fileExists);
  std::vector<OperationTypeId> types;
  operationsFile_->getOperations(types);
  undoList_.insert(undoList_.end(), types.begin(), types.end());
}
