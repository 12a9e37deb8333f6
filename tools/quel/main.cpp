// The command-line tool of the measuring system. Exit codes: 0 done, 1 failed, 2 wrong usage.
#include <cstdio>
#include <exception>
#include <new>

#include "commands/Commands.h"
#include "files/Failure.h"
#include "files/Invocation.h"
#include "files/StandardOutput.h"
#include "files/Temporaries.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
// The library that finds the fonts of the pictures keeps what it found for the life of the process.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig"; }
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
#endif
#endif

namespace {

constexpr int kFailed = 1;
constexpr int kNoConsole = 6;

int run(int argc, char** argv) {
  queltool::keepInvocation(QUEL_VERSION, argc, argv);
  queltool::ToolLine line(QUEL_VERSION);
  const int code = line.run(argc, argv);
  queltool::finishStandardOutput();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  queltool::removeTemporariesOnSignals();
  // The commands tell the reasons themselves; the log file keeps everything.
  quelplatform::setConsoleLogLevel(kNoConsole);
  try {
    return run(argc, argv);
  } catch (const queltool::Failure& failure) {
    std::fprintf(stderr, "quel: %s\n", failure.what());
  } catch (const std::bad_alloc&) {
    std::fputs("quel: out of memory\n", stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "quel: %s\n", failure.what());
  }
  return kFailed;
}
