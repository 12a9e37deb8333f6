// A table that is made from an ini file of the home directory and made anew whenever that file changes.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "quelplatform/ground/files/FileStamp.h"
#include "quelplatform/ground/files/home.h"
#include "quelplatform/ground/ini/IniFile.h"
#include "quelplatform/qmEnv/platformLog.h"

namespace quelplatform {

/// `Table` is made from an `IniFile&`, to which it reports what it cannot use. Each reading of the file logs its
/// problems as warnings of the module, one line each with file, line and cause.
template <typename Table>
class HomeTable {
 public:
  HomeTable(const char* fileName, const char* module) : fileName_(fileName), module_(module) {}

  /// The table as the file stands now. Throws nothing but std::bad_alloc.
  std::shared_ptr<const Table> get() {
    const std::string path = homeFile(fileName_);
    const FileStamp stamp = stampOf(path);
    IniFile file;
    std::shared_ptr<const Table> table;
    {
      const std::lock_guard lock(mutex_);
      if (table_ != nullptr && path == path_ && stamp == stamp_) return table_;
      file = readIniFile(path);
      table = std::make_shared<const Table>(file);
      path_ = path;
      table_ = table;
      stamp_ = stamp;
    }
    logProblems(path, file);  // Outside the lock: who receives log lines may hold locks of its own.
    return table;
  }

 private:
  void logProblems(const std::string& path, const IniFile& file) const {
    for (const IniProblem& problem : file.problems) {
      if (problem.line == 0) {
        tell(kLogWarning, module_, "%s: %s", path, problem.cause);
      } else {
        tell(kLogWarning, module_, "%s:%d: %s", path, problem.line, problem.cause);
      }
    }
  }

  const char* fileName_;
  const char* module_;
  std::mutex mutex_;
  std::string path_;
  FileStamp stamp_;
  std::shared_ptr<const Table> table_;
};

}  // namespace quelplatform
