// Narrow text that may be null.
#pragma once

#include <optional>
#include <string>
#include <utility>

/// Owns UTF-8 text, or is null. A new one is null.
class qmString {
 public:
  qmString() = default;
  qmString(std::string text) : text_(std::move(text)) {}

  /// A copy of `text`; null stays null.
  qmString(const char* text) {
    if (text != nullptr) text_ = text;
  }

  bool isNull() const noexcept { return !text_.has_value(); }

  /// The text, closed by a NUL, or null. Valid until this object changes or ends.
  const char* c_str() const noexcept { return text_ ? text_->c_str() : nullptr; }

  operator const char*() const noexcept { return c_str(); }

 private:
  std::optional<std::string> text_;
};
