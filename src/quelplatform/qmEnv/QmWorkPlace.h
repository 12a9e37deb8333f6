// Where the system keeps its files.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Path services. The home directory is QUEL_HOME, else $XDG_DATA_HOME/quelmetra (unless that is relative), else
/// ~/.local/share/quelmetra. Empty variables count as unset. None of these calls creates anything.
class QUELPLATFORM_API QmWorkPlace {
 public:
#if defined(_WIN32)
  static constexpr qmWChar path_separator = u'\\';
#else
  static constexpr qmWChar path_separator = u'/';
#endif

  /// Writes the full path of the file `name` of the home directory to `buffer` of `size` units. Returns its length; or
  /// 0 with empty text when there is no home directory or the path does not fit.
  static std::int32_t MakeHomeFullPath(const qmWChar* name, qmWChar* buffer, std::int32_t size) noexcept;

  /// The path of quelmetra.ini of the home directory, which keeps persistent values. Buffer and result as above.
  static std::int32_t getQmIniFilePath(qmWChar* buffer, std::int32_t size) noexcept;
};
