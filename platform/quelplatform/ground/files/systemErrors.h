// Error numbers of the operating system in Windows terms.
#pragma once

#include <cstdint>
#include <string>

namespace quelplatform {

/// Windows numbers that the platform itself speaks of; all others come from the table of `windowsError`.
inline constexpr std::uint32_t kErrorFileNotFound = 2;
inline constexpr std::uint32_t kErrorPathNotFound = 3;
inline constexpr std::uint32_t kErrorAccessDenied = 5;
inline constexpr std::uint32_t kErrorInvalidHandle = 6;
inline constexpr std::uint32_t kErrorNotEnoughMemory = 8;
inline constexpr std::uint32_t kErrorNoMoreFiles = 18;
inline constexpr std::uint32_t kErrorFileExists = 80;
inline constexpr std::uint32_t kErrorInvalidParameter = 87;
inline constexpr std::uint32_t kErrorBufferOverflow = 111;
inline constexpr std::uint32_t kErrorDirectory = 267;

/// The Windows number of an `errno` value; 31, a failure without a number of its own, for those that have no
/// counterpart.
std::uint32_t windowsError(int error) noexcept;

/// As above for a failed call on the native path `path`: something missing is 2 when its directory is there, 3 if not.
std::uint32_t windowsError(int error, const std::string& path);

/// What a Windows error number means, in a sentence without a line end; every number has one.
std::string systemErrorText(std::uint32_t systemError);

/// The calling thread's last error, which `GetLastError` gives.
std::uint32_t lastSystemError() noexcept;
void setLastError(std::uint32_t systemError) noexcept;

/// Sets it to what a reading of the native path `path` met: 0 for an `error` of 0, otherwise the Windows number.
void setLastErrorOfReading(int error, const std::string& path);

}  // namespace quelplatform
