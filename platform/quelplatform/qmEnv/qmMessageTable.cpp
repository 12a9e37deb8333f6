#include "quelplatform/qmEnv/qmMessageTable.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "quelplatform/ground/files/systemErrors.h"

namespace quelplatform {

namespace {

constexpr std::array kMessages = {
    // Files of blocks.
    NumberedMessage{0xC4010026, "The file '%1' could not be copied: %2"},
    // The state of a tensor and its lens tables.
    NumberedMessage{0xC404000D, "The tensor is not usable (tensor status 15)."},
    NumberedMessage{0xC4040066, "The parameters of the lens tables were asked for before any head type was known."},
    NumberedMessage{0xC4040067, "The multi-stage calibration file of the head type was not found."},
    // The list of setup numbers.
    NumberedMessage{0xC4060001, "The setup number is reserved."},
    NumberedMessage{0xC4060002, "No setup has this number."},
    NumberedMessage{0xC4060003, "Another setup has this number."},
    NumberedMessage{0xC4060004, "No setup has this path."},
    NumberedMessage{0xC4060005, "Another setup has this path."},
    NumberedMessage{0xC4060006, "The path is missing or has too few levels to name a project, a part and a setup."},
    NumberedMessage{0xC4060007, "The setup map could not be opened."},
    NumberedMessage{0xC4060008, "The position in the list of setups is out of range."},
    NumberedMessage{0xC4060009, "The list of setups has no item at this position."},
    // What a tensor operation reported.
    NumberedMessage{0xC4070002, "The projection of a camera cannot be inverted (tensor status 2 or 3)."},
    NumberedMessage{0xC4070003, "The tensor operation failed (tensor status 4)."},
    NumberedMessage{0xC4070004, "The tensor operation failed (tensor status 5, 17, 21 or 22)."},
    NumberedMessage{0xC4070005, "The tensor operation failed (tensor status 6)."},
    NumberedMessage{0xC4070006, "The tensor operation failed (tensor status 7)."},
    NumberedMessage{0xC4070007, "The cameras of the tensor are not in the expected order (tensor status 8)."},
    NumberedMessage{0xC4070009, "The tensor operation failed (tensor status 10)."},
    NumberedMessage{0xC407000A, "The tensor operation failed (tensor status 12)."},
    NumberedMessage{0xC4070010, "The tensor operation failed (tensor status 11)."},
    NumberedMessage{0xC4070011, "The tensor operation failed with a status that has no number of its own."},
    NumberedMessage{0xC4070020, "The tensor operation failed (tensor status 9)."},
    NumberedMessage{0xC4070047, "The tensor operation failed (tensor status 1)."},
    NumberedMessage{0xC4070065, "The tensor operation failed (tensor status 13)."},
    NumberedMessage{0xC4070066, "The tensor operation failed (tensor status 14)."},
    NumberedMessage{0xC4070068, "The tensor operation failed (tensor status 16)."},
    NumberedMessage{0xC4070069, "The tensor operation failed (tensor status 18)."},
    NumberedMessage{0xC407006A, "The tensor operation failed (tensor status 19)."},
    NumberedMessage{0xC407006B, "The tensor operation failed (tensor status 20)."},
    // The table of blocks, and the names of the two bands of a new deviation colour scheme.
    NumberedMessage{0xC41D0001, "The configuration does not say how many blocks there are."},
    NumberedMessage{0xC41D0002, "A block of the configuration names no lens."},
    NumberedMessage{0xC41D0006, "Within tolerance"},
    NumberedMessage{0xC41D0007, "Out of tolerance"},
    // Measuring data.
    NumberedMessage{0xC43D0001, "Memory is exhausted."},
    NumberedMessage{0xC43D0003, "A value that the calculation needs is missing or invalid (%1)."},
    NumberedMessage{0xC43D001E, "The file '%1' could not be loaded."},
    NumberedMessage{0xC43D0030, "%1: the file '%2' could not be read or written: %4 (error %3)."},
    NumberedMessage{0xC43D0324, "Memory is exhausted: the cloud of points could not be converted."},
};

// System error numbers stay below this; the codes of this system lie far above.
constexpr std::uint32_t kSystemErrorLimit = 0x10000;

bool isPlace(std::string_view text, std::size_t i) {
  return text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
}

}  // namespace

std::span<const NumberedMessage> messageTable() { return kMessages; }

std::string messageSentence(std::uint32_t code) {
  const auto found = std::lower_bound(kMessages.begin(), kMessages.end(), code,
                                      [](const NumberedMessage& message, std::uint32_t c) { return message.code < c; });
  if (found != kMessages.end() && found->code == code) return std::string(found->text);
  if (code < kSystemErrorLimit) return systemErrorText(code);
  return "There is no text for this message.";
}

std::string messageText(std::uint32_t code, const std::vector<std::string>& arguments) {
  const std::string sentence = messageSentence(code);
  std::string filled;
  std::size_t places = 0;
  for (std::size_t i = 0; i < sentence.size(); ++i) {
    if (!isPlace(sentence, i)) {
      filled += sentence[i];
      continue;
    }
    const auto number = static_cast<std::size_t>(sentence[++i] - '0');
    filled += number <= arguments.size() ? arguments[number - 1] : "?";
    places = std::max(places, number);
  }
  for (std::size_t i = places; i < arguments.size(); ++i) filled += (i == places ? " [" : ", ") + arguments[i];
  if (arguments.size() > places) filled += ']';
  return filled + (code < kSystemErrorLimit ? fmt::format(" ({})", code) : fmt::format(" (0x{:08X})", code));
}

}  // namespace quelplatform
