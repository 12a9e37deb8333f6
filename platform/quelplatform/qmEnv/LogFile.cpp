#include "quelplatform/qmEnv/LogFile.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "quelplatform/ground/files/home.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/qmEnv/LogText.h"
#include "quelplatform/qmEnv/platformLog.h"

namespace quelplatform {

namespace {

constexpr std::size_t kFileBytes = std::size_t{1} << 20;
constexpr std::size_t kOlderFiles = 2;
constexpr auto kPauseAfterFailure = std::chrono::seconds(10);

}  // namespace

void LogFile::enable(bool enabled) {
  enabled_ = enabled;
  sink_.reset();
  told_ = false;
  nextAttempt_ = Clock::time_point::min();
}

std::string LogFile::write(const LogRecord& record) try {
  if (!enabled_) return {};
  if (const std::uint64_t now = homeGeneration(); now != generation_) {
    enable(true);
    generation_ = now;
  }
  if (sink_ == nullptr) {
    if (std::string cause = open(); sink_ == nullptr) return cause;
  }
  sink_->log(spdlog::details::log_msg("", spdlog::level::info, fileLine(record)));
  if (record.level >= kLogWarning) sink_->flush();
  return {};
} catch (const spdlog::spdlog_ex& error) {
  return fail(error.what());
}

// A file that cannot be opened is tried again after a pause only, so that a broken home directory slows nobody down.
std::string LogFile::open() {
  if (Clock::now() < nextAttempt_) return {};
  const std::string path = homeFile("log/quelmetra.log");
  if (path.empty()) return fail("there is no home directory");
  if (const int error = makeDirectories(directoryOf(path)); error != 0) return fail(path + ": " + std::strerror(error));
  const Descriptor probe(openFile(path, O_WRONLY | O_CREAT | O_APPEND));
  if (!probe.isOpen()) return fail(path + ": " + std::strerror(errno));
  sink_ = std::make_unique<spdlog::sinks::rotating_file_sink_st>(path, kFileBytes, kOlderFiles);
  sink_->set_pattern("%Y-%m-%d %H:%M:%S.%e [%t] %v");
  return {};
}

std::string LogFile::fail(const std::string& cause) {
  sink_.reset();
  nextAttempt_ = Clock::now() + kPauseAfterFailure;
  if (told_) return {};
  told_ = true;
  return cause;
}

}  // namespace quelplatform
