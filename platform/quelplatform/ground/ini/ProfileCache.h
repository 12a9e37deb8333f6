// The entries of the profile file that was read last, so that a program that asks for one value after the other reads
// and parses the file once.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "quelplatform/ground/files/FileStamp.h"
#include "quelplatform/ground/ini/ProfileFile.h"

namespace quelplatform {

/// The values of a profile file by section and key: of equal names the first, as `ProfileFile::value` finds them.
class ProfileEntries {
 public:
  explicit ProfileEntries(const ProfileFile& file);

  /// Null for an entry that is not there. Names are without blanks around them.
  const std::u16string* value(std::u16string_view section, std::u16string_view key) const;

 private:
  using Keys = std::unordered_map<std::u16string, std::u16string>;
  std::unordered_map<std::u16string, Keys> sections_;
  bool narrow_;
};

/// One file at a time, known by its stamp. The stamp of a file that was changed a moment ago may stay what it is
/// through the next change, since clocks of file systems tick slowly: such a file is read anew at every question, until
/// it has settled. May be asked from several threads.
class ProfileCache {
 public:
  explicit ProfileCache(std::chrono::nanoseconds settling) : settling_(settling) {}

  /// The entries of the file as it stands; null where they are not kept, since the file cannot be read, has not settled
  /// or is larger than 4 MiB. Throws std::bad_alloc.
  std::shared_ptr<const ProfileEntries> entriesOf(const std::string& nativePath);

 private:
  const std::chrono::nanoseconds settling_;
  std::mutex mutex_;
  std::string path_;
  FileStamp stamp_;
  std::shared_ptr<const ProfileEntries> entries_;
};

/// The one of this process; files settle in two seconds, the coarsest clock of a file system in use.
ProfileCache& profileCache();

}  // namespace quelplatform
