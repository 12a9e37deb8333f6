// The text of a numbered message as wide text.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Takes the text of a message from the table: QmStrFormatW(0xC41D0006) reads "Within tolerance". The text of an
/// unknown number says that it is one.
class QUELPLATFORM_API QmStrFormatW {
 public:
  /// Throws std::bad_alloc.
  explicit QmStrFormatW(std::uint32_t id);

  /// Valid as long as the object.
  operator const qmWChar*() const noexcept { return text_.c_str(); }

 private:
  qmWString text_;
};
