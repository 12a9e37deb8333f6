// Texts of the log and of messages, filled with what comes from outside. Input: the number of a message, then arguments
// as long as there are any, each a byte for its kind and its value.
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/qmEnv/LogText.h"
#include "quelplatform/qmEnv/QmStrFormatW.h"
#include "quelplatform/qmEnv/qmMessageTable.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

/// Formats are the library's own: every conversion that it uses, and those that do not fit.
constexpr const char* kFormats[] = {"%s",
                                    "'%s' vs. '%s'",
                                    "%d and %i of %u, %x",
                                    "%5.2f|%-8s|%08.8s|%c",
                                    "%% %s%%",
                                    "%lld %llu %zu",
                                    "%g %e",
                                    "no place",
                                    "%",
                                    "%d %d %d %d %d %d %d %d"};

struct Arguments {
  std::vector<std::string> narrow;
  std::vector<qmWString> wide;
  std::vector<qmLogArg> list;
};

void read(quelfuzz::Input& in, Arguments& arguments) {
  constexpr std::size_t kMost = 12;
  arguments.narrow.reserve(kMost);
  arguments.wide.reserve(kMost);
  while (!in.atEnd() && arguments.list.size() < kMost) {
    switch (in.byte() % 7) {
      case 0:
        arguments.list.emplace_back(static_cast<std::int32_t>(in.word()));
        break;
      case 1:
        arguments.list.emplace_back(in.word());
        break;
      case 2:
        arguments.list.emplace_back(in.real());
        break;
      case 3:
        arguments.list.emplace_back(arguments.narrow.emplace_back(in.text()));
        break;
      case 4:
        arguments.list.emplace_back(arguments.wide.emplace_back(toWide(std::string(in.text()).c_str())));
        break;
      case 5:
        arguments.list.emplace_back(static_cast<const char*>(nullptr));
        break;
      default:
        arguments.list.emplace_back(static_cast<std::int64_t>(in.word()) << 20);
    }
  }
}

void requireFormats(const Arguments& arguments) {
  const char* format = kFormats[arguments.list.size() % std::size(kFormats)];
  quelplatform::formattedText(format, arguments.list.data(), arguments.list.size());
  for (const qmLogArg& argument : arguments.list) {
    if (argument.kind() != qmLogArg::Kind::Narrow && argument.kind() != qmLogArg::Kind::Wide) continue;
    quelfuzz::require(quelplatform::formattedText("<%s>", &argument, 1) == '<' + quelplatform::textOf(argument) + '>',
                      "a text is printed as it is");
  }
}

/// No text passes for a line of its own: every further line is indented.
void requireOneLine(const std::string& message) {
  quelplatform::LogRecord record = {quelplatform::LogCall::WriteLogF, 5, 7, "module", "today", false, 0, "", message};
  const std::string console = quelplatform::consoleLine(record);
  record.level = static_cast<std::int32_t>(message.size() % 8);
  for (const std::string& line : {console, quelplatform::fileLine(record)}) {
    for (std::size_t feed = line.find('\n'); feed != line.npos; feed = line.find('\n', feed + 1)) {
      quelfuzz::require(line.compare(feed + 1, 4, "    ") == 0, "further lines are indented");
    }
    quelfuzz::require(line.find('\r') == line.npos, "no line is written over");
  }
}

void requireMessages(std::uint32_t number, const Arguments& arguments) {
  std::vector<std::string> texts;
  for (const qmLogArg& argument : arguments.list) texts.push_back(quelplatform::textOf(argument));
  const auto table = quelplatform::messageTable();
  const std::uint32_t code = number % 2 == 0 ? number : table[number / 2 % table.size()].code;
  const std::string sentence = quelplatform::messageSentence(code);
  quelfuzz::require(!sentence.empty(), "every number has a sentence");
  quelfuzz::require(toNarrow(QmStrFormatW(code)) == sentence, "the call gives the same sentence");
  const std::string message = quelplatform::messageText(code, texts);
  for (const std::string& text : texts) {
    quelfuzz::require(message.find(text) != message.npos, "every argument stands in the message");
  }
  requireOneLine(message);
  if (!texts.empty()) requireOneLine(texts.back());
}

/// Text that is not there, and a place without words.
void requireNothing() {
  quelfuzz::require(quelplatform::textOf(static_cast<const qmWChar*>(nullptr)) == "(null)", "no text is told as such");
  const quelplatform::LogRecord bare = {quelplatform::LogCall::WriteLogF, 1, 7, "module", "today", true, 0, "", ""};
  quelfuzz::require(quelplatform::consoleLine(bare) == "trace module:7", "a bare trace is its place");
  const qmLogArg wide(std::int64_t{1} << 40);
  quelfuzz::require(quelplatform::formattedText("%lld", &wide, 1) == "1099511627776", "long numbers stay whole");
  const qmLogArg unsignedWide(std::uint64_t{1} << 40);
  quelfuzz::require(quelplatform::formattedText("%llu", &unsignedWide, 1) == "1099511627776", "whatever their sign");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireNothing);
  quelfuzz::Input in(quelfuzz::bytesOf(data, size));
  const std::uint32_t number = in.word();
  Arguments arguments;
  read(in, arguments);
  const quelfuzz::MemoryWatch watch;
  requireFormats(arguments);
  requireMessages(number, arguments);
  watch.requireAtMost(quelfuzz::kTimesXml, 0, size);
  return 0;
}
