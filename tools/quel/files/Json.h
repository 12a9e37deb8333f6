// What the commands hand to machines: JSON text, members in the order in which they were given.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>
#include <vector>

namespace queltool {

/// A value to be written. Made of numbers, texts, arrays of these, and objects: `{{"points", 3}, {"file", name}}`.
class Json {
 public:
  using Member = std::pair<const char*, Json>;

  /// Null, until a member or an element is added.
  Json();
  Json(bool value);
  Json(double value);  ///< Null where it is not finite.
  Json(const char* text);
  Json(const std::string& text);
  template <std::signed_integral T>
  Json(T value) : Json(fromSigned(value)) {}
  template <std::unsigned_integral T>
  Json(T value) : Json(fromUnsigned(value)) {}
  template <typename T>
  Json(const std::vector<T>& values) : Json(list({})) {
    for (const T& value : values) add(value);
  }
  template <typename T, std::size_t Size>
  Json(const std::array<T, Size>& values) : Json(list({})) {
    for (const T& value : values) add(value);
  }
  template <typename T, std::size_t Size>
  requires(!std::same_as<T, char>) Json(const T (&values)[Size]) : Json(list({})) {
    for (const T& value : values) add(value);
  }
  Json(std::initializer_list<Member> members);
  static Json list(std::initializer_list<Json> elements);

  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(Json other) noexcept;
  ~Json();

  /// Adds an element to a list.
  void add(const Json& element);

  /// Adds or replaces a member of an object.
  void set(const std::string& key, const Json& value);

  /// One line for each value, indented by one blank a level. What is no UTF-8 becomes U+FFFD.
  std::string text() const;

 private:
  static Json fromSigned(std::int64_t value);
  static Json fromUnsigned(std::uint64_t value);

  std::unique_ptr<nlohmann::ordered_json> value_;
};

/// Writes the text of `json` to standard output.
void printJson(const Json& json);

}  // namespace queltool
