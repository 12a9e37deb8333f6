// Everything that is logged while it lives, in order.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace quel::testing {

class RecordingLog {
 public:
  RecordingLog();
  ~RecordingLog();
  RecordingLog(const RecordingLog&) = delete;
  RecordingLog& operator=(const RecordingLog&) = delete;

  std::vector<quelplatform::LogRecord> records() const;

  /// The records without bare traces.
  std::vector<quelplatform::LogRecord> told() const;

  void clear();

 private:
  mutable std::mutex mutex_;
  std::vector<quelplatform::LogRecord> records_;
  std::int32_t handle_;
};

/// A `writeLogF` line of this level, source module and text.
::testing::Matcher<quelplatform::LogRecord> Line(std::int32_t level, const std::string& module,
                                                 const std::string& text);

/// A bare trace of level 1 from this module.
::testing::Matcher<quelplatform::LogRecord> BareTrace(const std::string& module);

/// A numbered message with its arguments, each as text, joined by "|".
::testing::Matcher<quelplatform::LogRecord> Message(std::int32_t level, const std::string& module, std::uint32_t code,
                                                    const std::string& arguments);

/// A numbered error.
::testing::Matcher<quelplatform::LogRecord> NumberedError(std::int32_t level, const std::string& module,
                                                          std::uint32_t code);

}  // namespace quel::testing

namespace quelplatform {
/// How a failed expectation shows a record.
void PrintTo(const LogRecord& record, std::ostream* out);
}  // namespace quelplatform
