// What readings and writings of the doors leave behind, as errors. Hidden in the library.
#pragma once

#include <filesystem>
#include <string>
#include <thread>

#include "quel/base/Result.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace quel {

/// Collects the lines of level 3 and above that this thread logs while it lives: the reasons that go with a failure.
class Reasons {
 public:
  Reasons();
  ~Reasons();
  Reasons(const Reasons&) = delete;
  Reasons& operator=(const Reasons&) = delete;

  /// The lines, each behind a line break and two blanks; empty when there are none.
  std::string text() const;

 private:
  std::string text_;
  std::int32_t receiver_;
};

/// The error of a reading on this thread that failed: the problem that it left, or, where it left none, that `file`
/// cannot be read; `reasons` go behind the cause.
Error unreadable(const std::filesystem::path& file, const Reasons& reasons);

/// The first remark of the last reading on this thread as an error; nothing in `cause` where it left none.
Error firstRemark();

}  // namespace quel
