// How a subcommand fails: what is wrong, with which file, and what to do. `main` prints it and exits with 1.
#pragma once

#include <stdexcept>
#include <utility>

#include "quel/base/Result.h"

namespace queltool {

class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a function of libQuel gives; its error is thrown.
template <typename T>
T orFail(quel::Result<T>&& result) {
  if (!result) throw Failure(result.error().message());
  return std::move(result).value();
}

}  // namespace queltool
