#include "files/Json.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

namespace queltool {

using nlohmann::ordered_json;

Json::Json() : value_(std::make_unique<ordered_json>()) {}
Json::Json(bool value) : value_(std::make_unique<ordered_json>(value)) {}
Json::Json(double value) : value_(std::make_unique<ordered_json>(value)) {}
Json::Json(const char* text) : value_(std::make_unique<ordered_json>(text)) {}
Json::Json(const std::string& text) : value_(std::make_unique<ordered_json>(text)) {}

Json::Json(std::initializer_list<Member> members) : Json() {
  for (const auto& [key, value] : members) set(key, value);
}

Json Json::list(std::initializer_list<Json> elements) {
  Json json;
  *json.value_ = ordered_json::array();
  for (const Json& element : elements) json.add(element);
  return json;
}

Json Json::fromSigned(std::int64_t value) {
  Json json;
  *json.value_ = value;
  return json;
}

Json Json::fromUnsigned(std::uint64_t value) {
  Json json;
  *json.value_ = value;
  return json;
}

Json::Json(const Json& other) : value_(std::make_unique<ordered_json>(*other.value_)) {}
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(Json other) noexcept {
  value_.swap(other.value_);
  return *this;
}
Json::~Json() = default;

void Json::add(const Json& element) { value_->push_back(*element.value_); }

void Json::set(const std::string& key, const Json& value) { (*value_)[key] = *value.value_; }

std::string Json::text() const { return value_->dump(1, ' ', false, ordered_json::error_handler_t::replace); }

void printJson(const Json& json) { fmt::print("{}\n", json.text()); }

}  // namespace queltool
