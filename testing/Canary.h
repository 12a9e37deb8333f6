// Output arguments that can tell "never written" from "written wrongly".
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace quel::testing {

/// `Size` doubles that hold a value no computation yields (a signalling pattern of its own), to be handed to a function
/// as its output.
template <std::size_t Size>
class Canary {
 public:
  Canary() { values_.fill(std::bit_cast<double>(kPattern)); }

  operator double*() { return values_.data(); }
  double& operator*() { return values_.front(); }
  double operator[](std::size_t i) const { return values_[i]; }

  bool untouched(std::size_t i) const { return std::bit_cast<std::uint64_t>(values_[i]) == kPattern; }

  bool untouched() const {
    for (std::size_t i = 0; i < Size; ++i) {
      if (!untouched(i)) return false;
    }
    return true;
  }

 private:
  static constexpr std::uint64_t kPattern = 0x7ff8c0ffee15a11cULL;
  std::array<double, Size> values_;
};

}  // namespace quel::testing
