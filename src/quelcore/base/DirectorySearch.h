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
    if (!found_) finish();
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
    if (!found_) finish();
  }

  /// Once nothing more is found: whether the directory was listed, or is not there. False where it may hold more.
  bool isComplete() const { return error_ == kErrorNoFile || error_ == kErrorNoDirectory || error_ == kErrorNoMore; }

  /// The system's number of what ended the search.
  std::uint32_t error() const { return error_; }

 private:
  static constexpr std::uint32_t kErrorNoFile = 2, kErrorNoDirectory = 3, kErrorNotEnoughMemory = 8, kErrorNoMore = 18;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

  void finish() {
    error_ = GetLastError();
    if (error_ == kErrorNotEnoughMemory) throw std::bad_alloc();
  }

  WIN32_FIND_DATAW entry_ = {};
  HANDLE handle_;
  bool found_ = false;
  std::uint32_t error_ = 0;
};

}  // namespace quelcore
