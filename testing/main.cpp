// Runs the tests of one program with a home directory of their own, so that no test reads or writes the user's.
#include <gmock/gmock.h>

#include <cstdlib>

#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "testing/TempHome.h"

// Under the sanitizers an allocation that is too large gives null, as it does everywhere else.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

// The OpenMP runtime of Clang keeps what it made for its threads, the library of fonts what it found.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libomp\nleak:libfontconfig"; }
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  const quel::testing::TempHome home;
  quelplatform::setConsoleLogLevel(6);
  quelplatform::enableLogFile(false);
  setenv("RC_PARAMS", "seed=20261121", 0);
  return RUN_ALL_TESTS();
}
