// The formats of files that the library owns: how one is known, and who checks it.
#pragma once

#include <vector>

#include "models/FileChecks.h"
#include "models/FileSample.h"

namespace queltool {

struct FileKind {
  const char* word;  ///< By which the command line names it.
  const char* name;
  bool (*looksSo)(const FileSample& sample);  ///< By its content; null where that tells nothing.
  std::vector<const char*> names;             ///< Patterns of the end of its path, for where the content tells nothing.
  FileProblems (*check)(const std::filesystem::path& file);
};

/// All of them. Where several may look like it, the first is meant.
const std::vector<FileKind>& fileKinds();

/// The one that the file is of: by its content, and where nothing there is known, by its name. Null for none.
const FileKind* kindOf(const FileSample& sample);

/// The one of this word; null for none.
const FileKind* kindNamed(const std::string& word);

}  // namespace queltool
