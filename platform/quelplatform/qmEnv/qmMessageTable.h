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

/// The text of `code` as it stands in the table, its places unfilled; for a code of the operating system the system's
/// text, for an unknown one a sentence that says so.
std::string messageSentence(std::uint32_t code);

/// The sentence of `code` with its arguments filled in and the code behind it in parentheses. An argument that the call
/// did not bring reads "?"; arguments without a place follow at the end.
std::string messageText(std::uint32_t code, const std::vector<std::string>& arguments);

}  // namespace quelplatform
