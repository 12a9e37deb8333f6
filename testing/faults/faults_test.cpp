// Every allocation, every system call and every moment may be the one that fails: nothing is lost, nothing lies.
//
// A share of the trials runs by default; with QUEL_FAULTS=whole in the environment all do.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "testing/faults/Scenario.h"
#include "testing/faults/Trials.h"

namespace {

using namespace quel::faults;

bool whole() {
  const char* value = std::getenv("QUEL_FAULTS");
  return value != nullptr && std::string(value) == "whole";
}

Share share(std::int64_t step) { return whole() ? Share{} : Share{step, 0}; }

std::vector<Scenario> allScenarios() {
  std::vector<Scenario> all;
  for (const auto& table : {platformScenarios, calibrationScenarios, projectScenarios, dataScenarios}) {
    for (Scenario& scenario : table()) all.push_back(std::move(scenario));
  }
  return all;
}

void report(const char* kind, const Scenario& scenario, const Trials& trials) {
  std::printf("%-12s %-40s %6lld\n", kind, scenario.name.c_str(), static_cast<long long>(trials.runs));
  for (const std::string& finding : trials.findings) ADD_FAILURE() << scenario.name << ", " << finding;
}

class Faults : public ::testing::TestWithParam<Scenario> {};

TEST_P(Faults, OfAnyAllocationLoseNothing) { report("allocations", GetParam(), tryAllocations(GetParam(), share(5))); }

TEST_P(Faults, OfAnySystemCallLoseNothing) { report("calls", GetParam(), trySystemCalls(GetParam(), share(3))); }

TEST_P(Faults, StopsAtAnyMomentLeaveTheOldOrTheNew) { report("stops", GetParam(), tryStops(GetParam(), share(1))); }

INSTANTIATE_TEST_SUITE_P(Of, Faults, ::testing::ValuesIn(allScenarios()),
                         [](const auto& scenario) { return scenario.param.name; });

// --- What is wrong on purpose is found ----------------------------------------------------------------------------

class PlantedFaults : public ::testing::TestWithParam<Scenario> {};

TEST_P(PlantedFaults, AreFound) {
  const Scenario& scenario = GetParam();
  EXPECT_FALSE(tryCrashingAllocations(scenario).findings.empty());
  // Where a scenario neither writes nor reads a content, or its door promises nothing, no lie can show.
  if (!scenario.reportsBlindly && scenario.name != "SetupsAreListed") {
    EXPECT_FALSE(tryLies(scenario).findings.empty());
  }
  const bool replacesOneFile = !scenario.inSteps && scenario.agrees == nullptr;
  if (replacesOneFile) {
    EXPECT_FALSE(tryStopsInPlace(scenario).findings.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Of, PlantedFaults, ::testing::ValuesIn(allScenarios()),
                         [](const auto& scenario) { return scenario.param.name; });

TEST(PlantedFaults, OfWhoHoldsSomethingElseThanTheDiskIsFound) {
  Scenario scenario = allScenarios().front();
  scenario.agrees = [](bool success) { return std::string(success ? "" : "does not agree"); };
  EXPECT_FALSE(trySystemCalls(scenario, {}).findings.empty());
}

}  // namespace
