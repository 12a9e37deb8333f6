// What the libraries logged while something was tried: the reasons that go with a failure.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace queltool {

/// Collects the lines of level 3 and above while it lives.
class Reasons {
 public:
  Reasons();
  ~Reasons();
  Reasons(const Reasons&) = delete;
  Reasons& operator=(const Reasons&) = delete;

  /// The lines, each behind a line break and two blanks; empty when there are none.
  std::string text() const;

 private:
  mutable std::mutex mutex_;
  std::string text_;
  std::int32_t receiver_;
};

}  // namespace queltool
