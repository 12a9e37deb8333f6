// The base of a persisted action that can be undone.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/OperationTypeId.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An application derives its operations from this class; the library has none of its own. Copies copy type and id.
///
/// Required: the destructor is not virtual. A manager that destroys an operation through a pointer to this class runs
/// no destructor of the derived class, so members of a derived operation that need one must be released by other means.
class QUELCORE_API OperationBase {
 public:
  OperationBase() noexcept;

  /// Does the work; true on success. Here: false.
  virtual bool execute();

  /// Undoes the work; true on success. Here: false.
  virtual bool cancel();

  OperationTypeId getType() const noexcept { return type_; }

  /// Key of the operation in the operations file.
  std::uint32_t getId() const noexcept { return id_; }
  void setId(std::uint32_t id) noexcept { id_ = id; }

 protected:
  /// Nothing here; a derived operation decides what it reads and writes, and when.
  virtual void readData();
  virtual void writeData();

  OperationTypeId type_ = OPERATION_UNKNOWN;  ///< Written by the derived class.

 private:
  std::uint32_t id_ = 0;
};

#pragma GCC diagnostic pop
