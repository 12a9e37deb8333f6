// What a fault is tried on: one thing that the system does to files, or learns from them.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quel::faults {

/// All of it runs in a process of its own, in a working directory of its own that is also the home directory and empty
/// before `prepare`.
struct Scenario {
  std::string name;

  /// Makes the old state.
  std::function<void()> prepare;

  /// Goes from the old state to the new one, and tells what it was told of success.
  std::function<bool()> act;

  /// Whether a failure that was reported may leave a part of the new file, as its door says.
  bool mayLeavePart = false;

  /// Whether the change is one of several steps, each of which may stand alone.
  bool inSteps = false;

  /// Whether a failure that was reported may be made up for when an object ends.
  bool mayTryAgain = false;

  /// Whether what is reported says nothing of the disk, as the door says: true although nothing was written.
  bool reportsBlindly = false;

  /// Whether the process holds what it read for the rest of its life, so that it can act only once.
  bool onlyOnce = false;

  /// After `act`, in the same process and without faults: empty, or what the program holds that does not go with
  /// `success` or with what is on the disk.
  std::function<std::string(bool success)> agrees = nullptr;

  /// After a stop that left neither the old state nor the new one, in a process of its own: empty, or what is wrong
  /// with that. Null where nothing else may be left.
  std::function<std::string()> accepts = nullptr;
};

std::vector<Scenario> platformScenarios();
std::vector<Scenario> calibrationScenarios();
std::vector<Scenario> projectScenarios();
std::vector<Scenario> dataScenarios();

}  // namespace quel::faults
