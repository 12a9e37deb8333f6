// The words of a material file, taken one after the other; what cannot be had is told with its place.
#pragma once

#include <cstdint>
#include <locale>
#include <string>

#include "quelcore/base/problems.h"
#include "quelcore/operations/WideFileBuf.h"
#include "quelcore/operations/wideStream.h"

namespace quelcore {

/// A locale whose facet for 16-bit units leaves them as they are.
std::locale unitsAsTheyAre();

/// A material file that is open for reading, in front of its first word. One that begins with the bytes FF FE holds
/// 16-bit units, any other UTF-8.
class MaterialFile {
 public:
  /// `path` must outlive this object. `isOpen` tells whether that worked; if not, `errno` why.
  explicit MaterialFile(const qmWChar* path);

  bool isOpen() const { return units_.isOpen(); }
  WideFileBuf& units() { return units_; }

  /// True when what was read may be other than what is in the file, which could not be read in between.
  bool isBroken() const { return probeFailed_ || units_.isBroken(); }

 private:
  bool probeFailed_ = false;
  WideFileBuf units_;
};

/// A row of a table, for what is told about it.
struct MaterialRow {
  std::int32_t head;
  std::int32_t lens;
  std::int32_t number;  ///< From 1.
  std::int32_t count;
};

/// Takes words and numbers off a stream. Each call is false, with a problem, when the stream is not good behind it: the
/// end of the file counts wherever it is met. `expected` says what the word is.
///
/// A number ends where it can, be it within a word; the next one begins there then. Such a word is remarked on.
class MaterialInput {
 public:
  /// `in` reads a `MaterialFile` at `path`, so that places can be told, or anything else.
  MaterialInput(WideIStream& in, const qmWChar* path) : in_(in), path_(path) {}

  bool word(std::u16string& text, const char* expected);
  bool whole(std::int32_t& value, const char* expected);
  bool real(double& value, const char* expected);

  /// What follows belongs to this row; null for none. It must live as long.
  void setRow(const MaterialRow* row) { row_ = row; }

  /// Where the next word begins, for `remarkAt`.
  std::uint64_t position() const;

  /// Notes the word at `position` as the problem. Returns false.
  bool refuseAt(std::uint64_t position, const char* expected) const;

  /// Remarks on the word at `position`.
  void remarkAt(std::uint64_t position, const char* expected) const;

 private:
  template <typename Take>
  bool take(Take take, const char* expected);
  bool goesOnInWord() const;
  ProblemText part() const;

  WideIStream& in_;
  const qmWChar* path_;
  const MaterialRow* row_ = nullptr;
  bool inWord_ = false;            ///< The last number ended within a word,
  std::uint64_t wordAt_ = 0;       ///< which it began at,
  const char* wordWas_ = nullptr;  ///< and was this.
};

}  // namespace quelcore
