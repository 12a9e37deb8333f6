// Streams that write a file as a whole: until such a stream is closed an old file stays, whatever happens.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

/// A file in the making and the stream that writes to it. At the end of its life the stream is no longer known, and
/// what was written is gone unless it took the place of the target.
struct WholeFileStream {
  PendingFile file;
  std::FILE* stream = nullptr;
  std::unique_ptr<WholeFileStream> next;
};

/// Whether a file at `path` is to be written as a whole: one that is there and no device, which this process may write
/// to, or none. Returns 0 or the `errno` of what forbids writing at all.
int canBeWrittenWhole(const std::string& path, bool& whole);

/// A stream on `descriptor`, which it takes over, in a mode of fopen. Null with `errno` set on failure. What is still
/// remembered of a stream at the same address, which was then closed by other means, is forgotten.
std::FILE* streamOn(Descriptor& descriptor, const char* mode) noexcept;

/// Opens a stream that is to replace the file at `path`, and remembers it. Null with `errno` set on failure. Throws
/// std::bad_alloc.
std::FILE* openWholeFileStream(const std::string& path);

/// Hands over what belongs to `stream`, which is remembered no longer; null for any other stream.
std::unique_ptr<WholeFileStream> takeWholeFileStream(const std::FILE* stream) noexcept;

}  // namespace quelplatform
