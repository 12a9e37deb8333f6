// What is wrong with a LUT file, and where.
#pragma once

namespace quelplatform {

/// Such as "set 2 ("QH-7_1_0"), offset 128: the layers' depths do not ascend". Sets count from 1.
struct LutFileProblem {
  char text[256] = "";

  /// Sets the text as printf would print it, cut to fit. Returns false, for the check that failed to hand on.
  [[gnu::format(printf, 2, 3)]] bool say(const char* format, ...) noexcept;

  bool sayMemoryExhausted() noexcept;

  /// `what`, and the system's words for the `errno` value `error`.
  bool saySystemError(const char* what, int error) noexcept;
};

}  // namespace quelplatform
