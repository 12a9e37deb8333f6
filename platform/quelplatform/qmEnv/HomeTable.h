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

  /// The table as the file stands now; as it stood last where it cannot be read for the moment, which is told once,
  /// until it could be. Throws nothing but std::bad_alloc.
  std::shared_ptr<const Table> get() {
    const std::string path = homeFile(fileName_);
    const FileStamp stamp = stampOf(path);
    IniFile file;
    std::shared_ptr<const Table> table;
    {
      const std::lock_guard lock(mutex_);
      const bool ofThatFile = table_ != nullptr && path == path_;
      if (ofThatFile && stamp == stamp_) return table_;
      file = readIniFile(path);
      table = file.unknown && ofThatFile ? table_ : std::make_shared<const Table>(file);
      if (std::exchange(unknown_, file.unknown) && file.unknown) return table;
      if (!file.unknown) keep(path, stamp, table);
    }
    logProblems(path, file);  // Outside the lock: who receives log lines may hold locks of its own.
    return table;
  }

 private:
  void keep(const std::string& path, const FileStamp& stamp, const std::shared_ptr<const Table>& table) {
    path_ = path;
    stamp_ = stamp;
    table_ = table;
  }

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
  bool unknown_ = false;  ///< At the last reading.
};

}  // namespace quelplatform
