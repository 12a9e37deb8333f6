// Where the system keeps its files.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmCamera.h"
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
  /// 0 with empty text when there is no home directory (last error 3), the path does not fit (last error 111) or memory
  /// is exhausted (8).
  static std::int32_t MakeHomeFullPath(const qmWChar* name, qmWChar* buffer, std::int32_t size) noexcept;

  /// The path of quelmetra.ini of the home directory, which keeps persistent values. Buffer and result as above.
  static std::int32_t getQmIniFilePath(qmWChar* buffer, std::int32_t size) noexcept;

  /// The path of the legend file `name`, in the folder legends of the home directory. Buffer and result as above.
  static std::int32_t MakeLegendFullPath(const qmWChar* name, qmWChar* buffer, std::int32_t size) noexcept;

  /// The path of SetupMap.txt of the home directory, which gives setups their numbers. Buffer and result as above.
  static std::int32_t getSetupMapFilePath(qmWChar* buffer, std::int32_t size) noexcept;

  /// The file whose presence makes a directory a setup: "setup.qms".
  static const qmWChar* getSetupFileTail() noexcept;
  /// The file whose presence makes a directory a setup that was made automatically: "autosetup.qms".
  static const qmWChar* getAutoSetupFileTail() noexcept;
  /// The file whose presence makes a directory a part: "part.qmp"; `withSeparator` puts `path_separator` in front.
  static const qmWChar* getPartFileTail(bool withSeparator) noexcept;
  /// The other file whose presence makes a directory a part: "partinfo.qmp".
  static const qmWChar* getPartInfoFileTail() noexcept;
  /// The picture that a setup shows itself by: "preview.png".
  static const qmWChar* getPreviewFileTail() noexcept;
  /// The notes of a setup: "readme.txt".
  static const qmWChar* getReadmeFileTail() noexcept;

  /// The root directory of the projects that are being worked on: what the application set (see
  /// QmWorkPlaceEmbedded.h), else the directory "projects" of the home directory; empty when there is neither. The text
  /// is valid until the same thread asks again. Throws std::bad_alloc.
  static const qmWChar* getCurProjRoot();

  /// The path of the multi-stage calibration file of a camera type, `multistage/<number of the type>.ini` of the home
  /// directory. Buffer and result as above; 0 with empty text for a type that is none (0 and below) as well.
  static std::int32_t MakeMultiStageCalibFullPath(OH_CAMERA_TYPE type, qmWChar* buffer, std::int32_t size) noexcept;
};
