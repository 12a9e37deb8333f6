// A value, or the reason why there is none. Nothing of this library throws but `std::bad_alloc`.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace quel {

#pragma GCC visibility push(default)

/// Why something failed. `cause` always says it; `file` and `place` are empty where the failure has none. Texts are
/// UTF-8.
struct Error {
  std::string cause;       ///< What is wrong and, where that helps, what to do; may have several lines.
  std::string file = {};   ///< The file as it was given.
  std::string place = {};  ///< The place in the file, such as "line 2, column 1" or "byte 12".

  /// All of it in the form `file, place: cause`.
  std::string message() const {
    std::string where = file;
    if (!place.empty()) where += (where.empty() ? "" : ", ") + place;
    return where.empty() ? cause : where + ": " + cause;
  }
};

/// Holds a `T` or an `Error`. `value()` and the operators that lead to it may be used only when `ok()`, `error()` only
/// when not.
template <typename T>
class Result {
 public:
  Result(T value) : content_(std::move(value)) {}
  Result(Error error) : content_(std::move(error)) {}

  bool ok() const noexcept { return std::holds_alternative<T>(content_); }
  explicit operator bool() const noexcept { return ok(); }

  T& value() & noexcept { return *std::get_if<T>(&content_); }
  const T& value() const& noexcept { return *std::get_if<T>(&content_); }
  T&& value() && noexcept { return std::move(*std::get_if<T>(&content_)); }
  const Error& error() const noexcept { return *std::get_if<Error>(&content_); }

  T& operator*() & noexcept { return value(); }
  const T& operator*() const& noexcept { return value(); }
  T&& operator*() && noexcept { return std::move(*this).value(); }
  T* operator->() noexcept { return &value(); }
  const T* operator->() const noexcept { return &value(); }

 private:
  std::variant<T, Error> content_;
};

/// Success, or the reason of a failure.
template <>
class Result<void> {
 public:
  Result() = default;
  Result(Error error) : error_(std::move(error)), ok_(false) {}

  bool ok() const noexcept { return ok_; }
  explicit operator bool() const noexcept { return ok_; }
  const Error& error() const noexcept { return error_; }

 private:
  Error error_;
  bool ok_ = true;
};

#pragma GCC visibility pop

}  // namespace quel
