// File services under their Windows names, with Windows results.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// What `GetFileAttributesW` gives for something that is not there.
inline constexpr std::uint32_t INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFu;
inline constexpr std::uint32_t FILE_ATTRIBUTE_READONLY = 0x1u;
inline constexpr std::uint32_t FILE_ATTRIBUTE_DIRECTORY = 0x10u;
inline constexpr std::uint32_t FILE_ATTRIBUTE_NORMAL = 0x80u;
inline constexpr std::uint32_t FILE_ATTRIBUTE_REPARSE_POINT = 0x400u;  ///< A link; given by file search only.

/// The calling thread's last error code, in Windows numbers (2 file not found, 3 path not found, 5 access denied, 80
/// file exists, 112 disk full, ...). Set by the calls below when they fail; a success leaves it alone.
QUELPLATFORM_API std::uint32_t GetLastError() noexcept;

/// Attributes of a file or directory, or `INVALID_FILE_ATTRIBUTES`. What nobody may write to is read-only.
QUELPLATFORM_API std::uint32_t GetFileAttributesW(const qmWChar* path) noexcept;

/// Copies the file `source` to `target` with its modification time. Non-zero `failIfExists` refuses an existing target
/// (80); otherwise it is replaced unless it is read-only, a directory or a device (5). The copy has the rights of the
/// source (0777); where its group is another one, that group's rights are at most those of all others. Returns 1; or 0,
/// in which case no partly written target stays and an existing one is as it was.
QUELPLATFORM_API std::int32_t CopyFileW(const qmWChar* source, const qmWChar* target,
                                        std::int32_t failIfExists) noexcept;
