// Standard streams of bytes on files that are opened by wide path.
//
//   FileBuf file(path, u"rb");
//   std::istream in(&file);
//   if (!file.isOpen()) return false;
#pragma once

#include <streambuf>
#include <vector>

#include "quelcore/base/File.h"

namespace quelcore {

/// A stream buffer on a file that `qmFileOpen` opens, so that the system's path rules hold. It reads or writes, as its
/// mode says, in blocks; it does not seek.
class FileBuf : public std::streambuf {
 public:
  /// Opens `path`, which must outlive this object; `mode` is u"rb", u"wb", u"ab", u"r" or u"w". `isOpen` tells whether
  /// that worked.
  FileBuf(const qmWChar* path, const qmWChar* mode);
  FileBuf(const FileBuf&) = delete;
  FileBuf& operator=(const FileBuf&) = delete;
  ~FileBuf() override;

  bool isOpen() const { return file_.isOpen(); }

  /// True when the disk failed while the open file was read: what seems to be its end is none.
  bool isBroken() const { return isOpen() && std::ferror(file_.get()) != 0; }

  /// Writes what is left and closes. False when any of the data could not be written (an old file then stays), and when
  /// nothing is open.
  bool close();

 protected:
  int_type underflow() override;
  std::streamsize xsgetn(char* to, std::streamsize count) override;
  int_type overflow(int_type unit) override;
  std::streamsize xsputn(const char* from, std::streamsize count) override;
  int sync() override;

 private:
  bool flushBlock();

  // Made first: a file that is opened for writing is not to meet a failure for want of memory.
  std::vector<char> block_;
  File file_;
  bool writes_ = false;
};

}  // namespace quelcore
