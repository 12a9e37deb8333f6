// The machine's identity and the table of camera types.
//
// Built-in types: 1 "QuelHead 100" 1536 x 1024; 2 1280 x 1024; 3 1624 x 1236; 4, the default, 1536 x 1024; 5 640 x 480;
// 6 2048 x 1536; 7 and 8, the QuelHead 200 family, 2448 x 2048 and 4096 x 3000. Further types come from cameras.ini of
// the home directory, one section a type:
//
//   [Camera 42]
//   Name = Bench head
//   Width = 1920
//   Height = 1200
//
// Sides are 1 to 100000 pixels. A built-in type stays as it is. A section that cannot be used is skipped and reported
// in one line with file, line and cause, once for each reading of the file; a file that changed is read again.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Camera type of a head. Values beyond the named ones come from cameras.ini.
enum OH_CAMERA_TYPE : std::int32_t {
  OH_CAMERA_INVALID = 0,
  OH_CAMERA_QUELHEAD_100 = 1,
  OH_CAMERA_1280x1024 = 2,
  OH_CAMERA_1624x1236 = 3,
  OH_CAMERA_DEFAULT = 4,
  OH_CAMERA_640x480 = 5,
  OH_CAMERA_2048x1536 = 6,
  OH_CAMERA_QUELHEAD_200 = 7,
  OH_CAMERA_QUELHEAD_200_LARGE = 8,
};

/// What is known of a camera type. Height is the third 32-bit word and width the fourth.
struct CameraInfo {
  std::int32_t type;
  std::int32_t isQuelHead200;
  std::int32_t height;  ///< Pixels.
  std::int32_t width;   ///< Pixels.
};

/// Fills `info` for `type`. False for a type that has no size; `info` is then untouched.
QUELPLATFORM_API bool getCameraInfo(OH_CAMERA_TYPE type, CameraInfo& info) noexcept;

/// Display name of a type. The text lives as long as the process. Unknown types have the name "Unknown".
QUELPLATFORM_API const qmWChar* getOHCameraName(const OH_CAMERA_TYPE& type) noexcept;

/// The type that a head has when nothing says otherwise: 4.
QUELPLATFORM_API OH_CAMERA_TYPE getDefCameraType() noexcept;

/// True for the types of the QuelHead 200 family.
QUELPLATFORM_API bool isQuelHead200(OH_CAMERA_TYPE type) noexcept;

/// Writes the machine identifier, 8 characters without a terminating NUL, to `buffer`; at most `size` of them. It is
/// stable for the machine; "MachineID" in section "Machine" of quelmetra.ini sets it (shorter text is padded on the
/// left with '0', longer text cut; printable ASCII characters but blanks, '/' and '\'). Returns the number of
/// characters written: 0 for a null `buffer` and for a `size` below 1.
QUELPLATFORM_API std::int32_t qmEnvMachineID(char* buffer, std::int32_t size) noexcept;
