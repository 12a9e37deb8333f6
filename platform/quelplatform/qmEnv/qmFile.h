// Files and directories by wide path.
//
// Off Windows both '\' and '/' separate, and a path that begins with '\' is rooted in the home directory. The first
// file that is written into a home directory that is not there yet makes it.
#pragma once

#include <cstdio>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Opens `path` as a buffered stream; `mode` is u"rb", u"wb", u"ab", u"r" or u"w". Returns 1; or 0 with `*file` null
/// and `errno` set: a null path (EINVAL), a directory (EISDIR), a pipe or socket (EINVAL; it could block for ever), or
/// what the system reports.
///
/// u"wb" and u"w" write a file as a whole. What is written goes to a temporary file beside it, and `qmFileClose` puts
/// that in its place; until then readers see the old file, or none, and so they do for ever when the process ends
/// before or closes the stream by other means. The file must be one that the process may write to, and its directory
/// one that it may make files in. A link stands for the file that it leads to, and permissions stay. A device is
/// written as it stands.
QUELPLATFORM_API std::int32_t qmFileOpen(const qmWChar* path, const qmWChar* mode, std::FILE** file) noexcept;

/// Closes `*file` and nulls it; a null `file` or `*file` is left alone. `path` is what it was opened by and is used for
/// nothing but messages. A file that was written as a whole is flushed to disk and takes the place of the old one.
/// Returns 1, or 0 with `errno` set when data could not be written, now (what the system reports) or by an earlier
/// write, which the stream's error mark tells (EIO); an old file is then as it was. Who wants what was written until a
/// failure in its place takes the mark away before (std::clearerr), with nothing left in the stream's buffer.
QUELPLATFORM_API std::int32_t qmFileClose(const qmWChar* path, std::FILE** file) noexcept;

/// Replaces the content of the file at `path` by `size` bytes, or makes the file. Whatever happens, a crash and a full
/// disk included, the old file or the new one is there: the bytes go to a temporary file beside it, to the disk, and
/// then take its place. A link stands for what it leads to, and permissions stay. Returns 1; or 0 with `errno` set and
/// an old file as it was: EINVAL for a null path, null data of a size other than 0 and for a device, EISDIR for a
/// directory, EACCES for a write-protected file or directory, or what the system reports.
QUELPLATFORM_API std::int32_t qmFileWriteWhole(const qmWChar* path, const void* data, std::size_t size) noexcept;

/// Converts `count` elements of `elementSize` bytes between file order (little-endian) and host order. On the
/// little-endian hosts that the system runs on it returns 1 and touches nothing.
QUELPLATFORM_API std::int32_t qmEnvFlip(void* address, std::size_t count, std::size_t elementSize) noexcept;

/// True for anything that exists and is no directory; false for a path that ends in a separator.
QUELPLATFORM_API bool QmFileExist(const qmWChar* path) noexcept;

/// True for an existing directory; false for null and for the empty path.
QUELPLATFORM_API bool QmDirectoryExist(const qmWChar* path) noexcept;

/// Makes the directory and its parents. True when it is there afterwards; true for the empty path, which makes nothing.
QUELPLATFORM_API bool QmMakeDirectory(const qmWChar* path) noexcept;

/// Copies the bare file name of `path` (what follows its last separator) into `buffer` of `size` units, cut to fit and
/// always terminated. Returns the length copied.
QUELPLATFORM_API std::int32_t GetFileName(const qmWChar* path, qmWChar* buffer, std::int32_t size) noexcept;

/// Copies the directory of `path`, without its last separator unless that is the root, into `buffer` of `limit` + 1
/// units; empty when `path` has none. A directory longer than `limit` units gives empty text. Returns the length
/// copied.
QUELPLATFORM_API std::int32_t GetFullPath(const qmWChar* path, qmWChar* buffer, std::int32_t limit) noexcept;
