// A value, or the reason why there is none.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace toolbox {

/// Why something failed: one or more lines that say what is wrong, where, and what to do.
struct Error {
  std::string message;
};

/// Holds a `T` or an `Error`. `value()` may be called only when `ok()`, `error()` only when not.
template <typename T>
class Result {
 public:
  Result(T value) : content_(std::move(value)) {}
  Result(Error error) : content_(std::move(error)) {}

  bool ok() const { return std::holds_alternative<T>(content_); }
  explicit operator bool() const { return ok(); }

  T& value() { return std::get<T>(content_); }
  const T& value() const { return std::get<T>(content_); }
  const std::string& error() const { return std::get<Error>(content_).message; }

 private:
  std::variant<T, Error> content_;
};

}  // namespace toolbox
