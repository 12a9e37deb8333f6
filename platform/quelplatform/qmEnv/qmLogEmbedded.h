// The log as an application sets it up: sinks, and capture of everything that is logged.
//
// Out of the box, levels 3 to 5 go to standard error and everything goes to the rotating file log/quelmetra.log of the
// home directory (1 MiB, with two older files), opened at the first line and again when the home directory is set anew.
// A home directory that cannot be written is reported once on standard error; no log call fails because of it.
#pragma once

#include <functional>
#include <vector>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmLog.h"

namespace quelplatform {

enum class LogCall : std::int32_t { WriteLogF, WriteLogI, SendError };

/// One log call as it was made. `text` is the finished text, UTF-8; empty for a bare trace.
struct LogRecord {
  LogCall call;
  std::int32_t level;
  std::int32_t line;
  std::string sourceFile;
  std::string buildDate;
  bool bare;           ///< `writeLogF` with a null format.
  std::uint32_t code;  ///< Of `writeLogI` and `sendError`; 0 otherwise.
  /// `writeLogF`: the formatted line. `writeLogI`: the arguments, each as text, joined by "|"; the table's sentence is
  /// in `message`. `sendError`: empty.
  std::string text;
  std::string message;  ///< What a person reads in the log file, without place and time.
};

using LogReceiver = std::function<void(const LogRecord&)>;

/// Hands every record to `receiver`, under the log's lock, until the returned handle is given to `removeLogReceiver`.
/// A receiver must not log; what it throws is dropped.
QUELPLATFORM_API std::int32_t addLogReceiver(LogReceiver receiver);
QUELPLATFORM_API void removeLogReceiver(std::int32_t handle);

/// Lowest level that standard error shows (default 3); 6 shows nothing. Bare traces never show there.
QUELPLATFORM_API void setConsoleLogLevel(std::int32_t lowest);

/// Switches the rotating file in the home directory on (default) or off.
QUELPLATFORM_API void enableLogFile(bool enabled);

}  // namespace quelplatform
