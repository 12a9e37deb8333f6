#include "commands/Units.h"

#include <algorithm>
#include <iterator>

namespace queltool {

namespace {

struct Unit {
  const char* name;
  double millimetres;
};

constexpr Unit kUnits[] = {{"mm", 1.0}, {"cm", 10.0}, {"m", 1000.0}, {"in", 25.4}};

}  // namespace

std::vector<std::string> namesOfUnits() {
  std::vector<std::string> names;
  for (const Unit& unit : kUnits) names.emplace_back(unit.name);
  return names;
}

double millimetresOf(const std::string& unit) {
  return std::find_if(std::begin(kUnits), std::end(kUnits), [&](const Unit& each) { return each.name == unit; })
      ->millimetres;
}

}  // namespace queltool
