// Runs the tests of one program with a home directory of their own, so that no test reads or writes the user's.
#include <gmock/gmock.h>

#include <cstdlib>

#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "testing/TempHome.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  const quel::testing::TempHome home;
  quelplatform::setConsoleLogLevel(6);
  quelplatform::enableLogFile(false);
  setenv("RC_PARAMS", "seed=20261121", 0);
  return RUN_ALL_TESTS();
}
