// A search for the entries of a directory that ends with its object.
#pragma once

#include <new>

#include "quelplatform/windows/fileSearch.h"

namespace quelcore {

///   for (DirectorySearch search(pattern); search.found(); search.goOn()) use(search.entry());
///
/// A directory that cannot be listed counts as empty; but one that memory did not suffice for throws std::bad_alloc.
class DirectorySearch {
 public:
  explicit DirectorySearch(const qmWString& pattern) : handle_(FindFirstFileW(pattern.c_str(), &entry_)) {
    found_ = isOpen();
    if (found_) return;
    throwIfOutOfMemory();
    const std::uint32_t error = GetLastError();
    complete_ = error == kErrorNoFile || error == kErrorNoDirectory;
  }
  ~DirectorySearch() {
    if (isOpen()) FindClose(handle_);
  }
  DirectorySearch(const DirectorySearch&) = delete;
  DirectorySearch& operator=(const DirectorySearch&) = delete;

  bool found() const { return found_; }
  const WIN32_FIND_DATAW& entry() const { return entry_; }

  void goOn() {
    found_ = FindNextFileW(handle_, &entry_) != 0;
    if (!found_) throwIfOutOfMemory();
  }

  /// Once nothing more is found: whether the directory was listed, or is not there. False where it may hold anything.
  bool isComplete() const { return complete_; }

 private:
  static constexpr std::uint32_t kErrorNoFile = 2, kErrorNoDirectory = 3, kErrorNotEnoughMemory = 8;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

  static void throwIfOutOfMemory() {
    if (GetLastError() == kErrorNotEnoughMemory) throw std::bad_alloc();
  }

  WIN32_FIND_DATAW entry_ = {};
  HANDLE handle_;
  bool found_ = false;
  bool complete_ = true;
};

}  // namespace quelcore
