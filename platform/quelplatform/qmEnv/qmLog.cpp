#include "quelplatform/qmEnv/qmLog.h"

#include <spdlog/sinks/stdout_sinks.h>

#include <exception>
#include <map>
#include <mutex>
#include <utility>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/LogFile.h"
#include "quelplatform/qmEnv/LogText.h"
#include "quelplatform/qmEnv/platformLog.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "quelplatform/qmEnv/qmMessageTable.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

using quelplatform::LogCall;
using quelplatform::LogReceiver;
using quelplatform::LogRecord;

/// Everything that log calls go to, in the order of its lock.
class Log {
 public:
  // Lives as long as the process, so that destructors of static objects may log.
  static Log& instance() {
    static Log& log = *new Log;
    return log;
  }

  void submit(const LogRecord& record) {
    const std::lock_guard lock(mutex_);
    for (const auto& [handle, receiver] : receivers_) hand(receiver, record);
    if (!record.bare && record.level >= consoleLevel_) print(quelplatform::consoleLine(record));
    const std::string failure = file_.write(record);
    if (!failure.empty()) print("the log file cannot be written: " + quelplatform::withoutControls(failure));
  }

  std::int32_t add(LogReceiver receiver) {
    const std::lock_guard lock(mutex_);
    receivers_.emplace(++lastHandle_, std::move(receiver));
    return lastHandle_;
  }

  void remove(std::int32_t handle) {
    const std::lock_guard lock(mutex_);
    receivers_.erase(handle);
  }

  void setConsoleLevel(std::int32_t lowest) {
    const std::lock_guard lock(mutex_);
    consoleLevel_ = lowest;
  }

  void enableFile(bool enabled) {
    const std::lock_guard lock(mutex_);
    file_.enable(enabled);
  }

 private:
  Log() { console_.set_pattern("quelmetra: %v"); }

  // A receiver that fails takes nothing from the others.
  static void hand(const LogReceiver& receiver, const LogRecord& record) noexcept try {
    if (receiver) receiver(record);
  } catch (...) {
  }

  void print(const std::string& line) { console_.log(spdlog::details::log_msg("", spdlog::level::info, line)); }

  std::mutex mutex_;
  std::map<std::int32_t, LogReceiver> receivers_;
  std::int32_t lastHandle_ = 0;
  std::int32_t consoleLevel_ = quelplatform::kLogWarning;
  spdlog::sinks::stderr_sink_st console_;
  quelplatform::LogFile file_;
};

std::string orEmpty(const char* text) { return text == nullptr ? std::string() : std::string(text); }

LogRecord recordOf(LogCall call, std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate) {
  return {call, level, line, orEmpty(sourceFile), orEmpty(buildDate), false, 0, {}, {}};
}

std::string joined(const std::vector<std::string>& texts) {
  std::string out;
  for (std::size_t i = 0; i < texts.size(); ++i) out += (i == 0 ? "" : "|") + texts[i];
  return out;
}

}  // namespace

// A line that memory or a sink has no room for is lost: no measurement fails because of its log.

void qmWriteLogArgsF(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate,
                     const char* format, const qmLogArg* args, std::size_t count) noexcept try {
  LogRecord record = recordOf(LogCall::WriteLogF, level, line, sourceFile, buildDate);
  record.bare = format == nullptr;
  if (format != nullptr) record.text = quelplatform::formattedText(format, args, args == nullptr ? 0 : count);
  record.message = record.text;
  Log::instance().submit(record);
} catch (const std::exception&) {
}

void qmWriteLogArgsI(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate,
                     std::uint32_t code, const qmLogArg* args, std::size_t count) noexcept try {
  std::vector<std::string> texts;
  for (std::size_t i = 0; args != nullptr && i < count; ++i) texts.push_back(quelplatform::textOf(args[i]));
  LogRecord record = recordOf(LogCall::WriteLogI, level, line, sourceFile, buildDate);
  record.code = code;
  record.text = joined(texts);
  record.message = quelplatform::messageText(code, texts);
  Log::instance().submit(record);
} catch (const std::exception&) {
}

void sendError(std::int32_t level, std::int32_t line, const char* sourceFile, const char* buildDate,
               std::uint32_t code) noexcept try {
  LogRecord record = recordOf(LogCall::SendError, level, line, sourceFile, buildDate);
  record.code = code;
  record.message = quelplatform::messageText(code, {});
  Log::instance().submit(record);
} catch (const std::exception&) {
}

qmWString QmFormatMessageW(std::uint32_t systemError) { return toWide(quelplatform::systemErrorText(systemError)); }

std::int32_t quelplatform::addLogReceiver(LogReceiver receiver) { return Log::instance().add(std::move(receiver)); }

void quelplatform::removeLogReceiver(std::int32_t handle) { Log::instance().remove(handle); }

void quelplatform::setConsoleLogLevel(std::int32_t lowest) { Log::instance().setConsoleLevel(lowest); }

void quelplatform::enableLogFile(bool enabled) { Log::instance().enableFile(enabled); }
