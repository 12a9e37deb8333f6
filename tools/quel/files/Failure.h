// How a subcommand fails: what is wrong, with which file, and what to do. `main` prints it and exits with 1.
#pragma once

#include <stdexcept>

namespace queltool {

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace queltool
