#include "models/Reasons.h"

namespace queltool {

namespace {

constexpr std::int32_t kLowestLevel = 3;

}  // namespace

Reasons::Reasons()
    : receiver_(quelplatform::addLogReceiver([this](const quelplatform::LogRecord& record) {
        if (record.bare || record.level < kLowestLevel) return;
        const std::lock_guard lock(mutex_);
        text_ += "\n  " + record.message;
      })) {}

Reasons::~Reasons() { quelplatform::removeLogReceiver(receiver_); }

std::string Reasons::text() const {
  const std::lock_guard lock(mutex_);
  return text_;
}

}  // namespace queltool
