#include "quelplatform/qmDistort/LutFileProblem.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace quelplatform {

bool LutFileProblem::say(const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return false;
}

bool LutFileProblem::sayMemoryExhausted() noexcept { return say("memory is exhausted"); }

bool LutFileProblem::saySystemError(const char* what, int error) noexcept {
  char cause[128];
  return say("%s: %s", what, strerror_r(error, cause, sizeof cause));
}

}  // namespace quelplatform
