#include "models/DeviationTexts.h"

#include <fmt/core.h>

#include "models/SiteUnit.h"

namespace queltool {

std::string lengthText(double millimetres) {
  const SiteUnit unit = siteUnit();
  return fmt::format("{:.12g} {}", unit.perMillimetre * millimetres, unit.name);
}

std::string shareText(std::size_t count, std::size_t all) {
  return fmt::format("{} points, {:.2f} %", count, 100.0 * static_cast<double>(count) / static_cast<double>(all));
}

std::array<std::string, 3> captionsOf(const Tolerance& tolerance) {
  const std::string lower = lengthText(tolerance.lower);
  const std::string upper = lengthText(tolerance.upper);
  return {"< " + lower, lower + " - " + upper, "> " + upper};
}

}  // namespace queltool
