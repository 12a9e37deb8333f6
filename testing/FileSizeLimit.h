// A limit on the size of files, which stands for a disk that runs full in the middle of a write.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace quel::testing {

/// Lets files of this process grow to a size and no further while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limited = {size, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_;
  void (*handler_)(int);
};

}  // namespace quel::testing
