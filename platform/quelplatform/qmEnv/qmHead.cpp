#include "quelplatform/qmEnv/qmHead.h"

#include <string>

#include "quelplatform/qmEnv/qmText.h"

const qmWChar* getOH_Name(OPTICAL_HEAD head) noexcept {
  switch (head) {
    case OPTICAL_HEAD_100:
      return u"100";
    case OPTICAL_HEAD_200:
      return u"200";
    case OPTICAL_HEAD_2002_A:
      return u"2002 A";
    case OPTICAL_HEAD_2002_B:
      return u"2002 B";
    case OPTICAL_HEAD_2002_C:
      return u"2002 C";
    case OPTICAL_HEAD_2002_D:
      return u"2002 D";
    case OPTICAL_HEAD_UNKNOWN:
      break;
  }
  return u"Unknown";
}

qmWString getLensName(QmLens lens) { return lens < 1 ? u"None" : toWide(std::to_string(lens) + " mm"); }
