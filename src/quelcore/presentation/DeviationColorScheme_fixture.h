// The table of deviation colours in a home directory of its own, and its protected parts.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "quelcore/presentation/DeviationColorScheme.h"
#include "testing/TempHome.h"

namespace quel::testing {

/// A table beside the one of the process.
class OwnScheme : public DeviationColorScheme {
 public:
  OwnScheme() = default;
  using DeviationColorScheme::init;
  using DeviationColorScheme::initDefault;
  using DeviationColorScheme::load;
  using DeviationColorScheme::writeHeader;
};

class ColorScheme : public ::testing::Test {
 protected:
  ~ColorScheme() override { DeviationColorScheme::FreeInstance(); }

  std::filesystem::path file() const { return home_.path() / "legends" / "DeviationColor.xml"; }

  void writeTable(const std::string& text) const {
    std::filesystem::create_directories(file().parent_path());
    writeFile(file(), text);
  }

  /// Writes a table of these `Value` elements.
  void writeValues(const std::string& values) const {
    writeTable("<QuelmetraDataFile><DeviationColorTable>" + values + "</DeviationColorTable></QuelmetraDataFile>");
  }

  static std::vector<std::pair<int, std::uint32_t>> entriesOf(DeviationColorScheme& scheme) {
    std::vector<std::pair<int, std::uint32_t>> entries;
    for (const auto& [percentage, info] : *scheme.getColorScheme()) entries.emplace_back(percentage, info.color);
    return entries;
  }

  TempHome home_;
};

}  // namespace quel::testing
