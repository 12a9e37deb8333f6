// A process that may open no further files, so that a sound file cannot be read for the moment.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace quel::testing {

/// While it lives every further open of a file fails with EMFILE. A sanitizer that meets a class with virtual functions
/// for the first time opens a pipe: what is looked at meanwhile has to be looked at before.
class NoDescriptors {
 public:
  NoDescriptors() {
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(next, 0);
    close(next);
    const rlimit none{static_cast<rlim_t>(next), before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_EQ(open("/dev/null", O_RDONLY | O_CLOEXEC), -1);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit before_ = {};
};

}  // namespace quel::testing
