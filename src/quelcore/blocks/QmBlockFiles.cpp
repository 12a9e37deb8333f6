// Copying the files of a block between directories.
#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/windows.h"

using quelcore::joinedHere;

namespace {

constexpr quelcore::ModuleLog kLog{"QmBlockNames"};

constexpr std::uint32_t kErrorCopy = 0xc4010026;
constexpr std::int32_t kFailIfExists = 1;

bool exists(const qmWString& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

/// A failed copy is reported, and nothing more.
void copyFile(const qmWString& source, const qmWString& target) {
  if (CopyFileW(source.c_str(), target.c_str(), kFailIfExists) != 0) return;
  const qmWString reason = QmFormatMessageW(GetLastError());
  kLog.message(quelcore::kLogError, kErrorCopy, source, reason);
}

/// Bare name of the LUT file that goes with a block file: cut at the first "." and ended with ".lut". A name without a
/// dot is taken as it is.
qmWString lutsFileNameOf(const qmWString& blockFileName) {
  qmWString name(blockFileName.size() + 1, u'\0');
  GetFileName(blockFileName.c_str(), name.data(), static_cast<std::int32_t>(name.size()));
  name.resize(name.find(u'\0'));
  const std::size_t dot = name.find(u'.');
  return dot == qmWString::npos ? name : name.substr(0, dot) + u".lut";
}

bool copyLuts(const qmWString& sourceDirectory, const qmWString& targetDirectory, const qmWString& blockFileName) {
  const qmWString name = lutsFileNameOf(blockFileName);
  const qmWString source = joinedHere(sourceDirectory, name);
  if (!exists(source)) return true;
  const qmWString target = joinedHere(targetDirectory, name);
  if (exists(target)) return true;
  copyFile(source, target);
  return true;
}

/// The directory of the two that has the file; null when neither has it.
const qmWString* directoryOf(const qmWString& name, const qmWString& first, const qmWString& second) {
  if (exists(joinedHere(first, name))) return &first;
  if (!second.empty() && exists(joinedHere(second, name))) return &second;
  return nullptr;
}

bool copyBlock(const qmWString& name, const qmWString& first, const qmWString& second, const qmWString& target) {
  const qmWString targetFile = joinedHere(target, name);
  if (exists(targetFile)) return true;
  const qmWString* source = directoryOf(name, first, second);
  if (source == nullptr) {
    kLog.write(quelcore::kLogNote, "cannot copy file %s: file doesn't exist not in \"%s\" and not in \"%s\" directory",
               name, first, second);
    return false;
  }
  if (!QmMakeDirectory(target.c_str())) kLog.write(quelcore::kLogError, "cannot create directory %s", target);
  copyFile(joinedHere(*source, name), targetFile);
  return CopyBlockLuts(*source, target, name);
}

}  // namespace

bool CopyBlockLuts(const qmWString& sourceDirectory, const qmWString& targetDirectory, const qmWString& blockFileName) {
  return quelcore::unlessOutOfMemory(false, [&] { return copyLuts(sourceDirectory, targetDirectory, blockFileName); });
}

bool CopyBlockCorrectionFile(const qmWString& /*name*/, const qmWString& /*sourceDirectory*/,
                             const qmWString& /*targetDirectory*/) {
  // Required: a test for a missing target directory stands the wrong way round, so that every call ends there.
  return false;
}

bool CopyImageBlock(const qmWChar* fileName, const qmWString& firstDirectory, const qmWString& secondDirectory,
                    const qmWString& targetDirectory) {
  if (fileName == nullptr) return false;
  return quelcore::unlessOutOfMemory(
      false, [&] { return copyBlock(fileName, firstDirectory, secondDirectory, targetDirectory); });
}
