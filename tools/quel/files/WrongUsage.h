// Wrong usage that shows only when all options are known.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace queltool {

/// Told as wrong usage of the option alone is, with exit code 2.
class WrongUsage : public std::runtime_error {
 public:
  WrongUsage(std::string option, const std::string& why) : std::runtime_error(why), option_(std::move(option)) {}
  const std::string& option() const { return option_; }

 private:
  std::string option_;
};

}  // namespace queltool
