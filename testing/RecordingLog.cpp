#include "testing/RecordingLog.h"

#include <algorithm>
#include <ostream>

namespace quel::testing {

using quelplatform::LogCall;
using quelplatform::LogRecord;
using ::testing::AllOf;
using ::testing::Field;
using ::testing::Matcher;

RecordingLog::RecordingLog()
    : handle_(quelplatform::addLogReceiver([this](const LogRecord& record) {
        const std::lock_guard lock(mutex_);
        records_.push_back(record);
      })) {}

RecordingLog::~RecordingLog() { quelplatform::removeLogReceiver(handle_); }

std::vector<LogRecord> RecordingLog::records() const {
  const std::lock_guard lock(mutex_);
  return records_;
}

std::vector<LogRecord> RecordingLog::told() const {
  std::vector<LogRecord> result = records();
  std::erase_if(result, [](const LogRecord& record) { return record.bare; });
  return result;
}

void RecordingLog::clear() {
  const std::lock_guard lock(mutex_);
  records_.clear();
}

Matcher<LogRecord> Line(std::int32_t level, const std::string& module, const std::string& text) {
  return AllOf(Field(&LogRecord::call, LogCall::WriteLogF), Field(&LogRecord::bare, false),
               Field(&LogRecord::level, level), Field(&LogRecord::sourceFile, module), Field(&LogRecord::text, text));
}

Matcher<LogRecord> BareTrace(const std::string& module) {
  return AllOf(Field(&LogRecord::call, LogCall::WriteLogF), Field(&LogRecord::bare, true), Field(&LogRecord::level, 1),
               Field(&LogRecord::sourceFile, module));
}

Matcher<LogRecord> Message(std::int32_t level, const std::string& module, std::uint32_t code,
                           const std::string& arguments) {
  return AllOf(Field(&LogRecord::call, LogCall::WriteLogI), Field(&LogRecord::level, level),
               Field(&LogRecord::sourceFile, module), Field(&LogRecord::code, code),
               Field(&LogRecord::text, arguments));
}

Matcher<LogRecord> NumberedError(std::int32_t level, const std::string& module, std::uint32_t code) {
  return AllOf(Field(&LogRecord::call, LogCall::SendError), Field(&LogRecord::level, level),
               Field(&LogRecord::sourceFile, module), Field(&LogRecord::code, code));
}

}  // namespace quel::testing

void quelplatform::PrintTo(const LogRecord& record, std::ostream* out) {
  *out << "level " << record.level << ' ' << record.sourceFile << ' ';
  if (record.bare) {
    *out << "bare trace";
  } else if (record.call == LogCall::WriteLogF) {
    *out << '"' << record.text << '"';
  } else {
    *out << std::hex << "0x" << record.code << std::dec << " (" << record.text << ')';
  }
}
