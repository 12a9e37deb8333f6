#include "files/StandardOutput.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "files/Failure.h"
#include "files/Progress.h"

namespace queltool {

namespace {

std::FILE* data = stdout;

Failure notWritten(int error) {
  return Failure("standard output: cannot be written: " + std::generic_category().message(error));
}

}  // namespace

void keepStandardOutputForData() {
  if (data != stdout) return;
  std::fflush(stdout);
  const int copy = dup(STDOUT_FILENO);
  std::FILE* const opened = copy == -1 ? nullptr : fdopen(copy, "wb");
  if (opened == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) == -1) throw notWritten(errno);
  data = opened;
}

// On a terminal it would come in the midst of what is shown of the work.
void writeData(std::string_view content) {
  if (isatty(fileno(data)) == 1) Progress::silence();
  if (std::fwrite(content.data(), 1, content.size(), data) != content.size() || std::fflush(data) != 0) {
    throw notWritten(errno);
  }
}

void finishStandardOutput() {
  const bool failedBefore = std::ferror(stdout) != 0;
  if (std::fflush(stdout) != 0) throw notWritten(errno);
  if (failedBefore) throw notWritten(EIO);  // The cause is no longer known.
}

}  // namespace queltool
