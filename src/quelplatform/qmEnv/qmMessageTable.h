// The English text of every numbered message of the system.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quelplatform {

/// A message: "%1" to "%9" stand for its arguments.
struct NumberedMessage {
  std::uint32_t code;
  std::string_view text;
};

/// All messages, ascending by code.
std::span<const NumberedMessage> messageTable();

/// The sentence of `code` with its arguments filled in and the code behind it in parentheses. An argument that the call
/// did not bring reads "?"; arguments without a place follow at the end. A code of the operating system gets the
/// system's text, an unknown code a sentence that says so.
std::string messageText(std::uint32_t code, const std::vector<std::string>& arguments);

}  // namespace quelplatform
