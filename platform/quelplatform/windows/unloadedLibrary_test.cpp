// A program that loads the platform, asks it for a date, unloads it and goes on with ICU by itself.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>

#include <cstdint>
#include <memory>

#include "quelplatform/windows/dates.h"

namespace {

using AskDate = decltype(&VarDateFromStr);

TEST(UnloadedLibrary, LeavesIcuUsable) {
  void* library = dlopen(QUEL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto ask = reinterpret_cast<AskDate>(dlsym(library, "_Z14VarDateFromStrPKDsjjPd"));
  ASSERT_NE(ask, nullptr);
  double date = 0.0;
  EXPECT_EQ(ask(u"2026-03-04", 0x0407, 0, &date), 0);
  dlclose(library);
  const std::unique_ptr<icu::DateFormat> format(
      icu::DateFormat::createDateInstance(icu::DateFormat::kLong, icu::Locale("fr", "FR")));
  ASSERT_NE(format, nullptr);
  icu::UnicodeString text;
  EXPECT_FALSE(format->format(0.0, text).isEmpty());
}

}  // namespace
