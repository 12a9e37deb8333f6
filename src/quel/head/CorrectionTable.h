// The correction table of a block: how its cameras change with the temperature.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quel/base/Result.h"

class QmBlockCorrectionParameters;

namespace quel {

#pragma GCC visibility push(default)

/// Rates of the quantities ax, ay, skew, xp, yp, rx, ry, rz, D01, D02, D12, k1, k2, k3, p1 and p2 of cameras 0 to 2. A
/// value; copies share what was read.
class CorrectionTable {
 public:
  /// Reads an XML file. Fails, with file, place and cause, when it is no correction table, when something in it would
  /// be read otherwise than it stands there, and when it holds no rate that is known.
  static Result<CorrectionTable> load(const std::filesystem::path& file);

  CorrectionTable(const CorrectionTable&) = default;
  CorrectionTable& operator=(const CorrectionTable&) = default;
  ~CorrectionTable() = default;

  const std::filesystem::path& file() const noexcept { return file_; }

  /// How many rates of cameras 0 to 2 it holds that are known.
  std::size_t rates() const noexcept { return rates_; }

  /// What else it holds, in the order of the file, such as "focus of camera 1".
  const std::vector<std::string>& leftOut() const noexcept { return leftOut_; }

  /// What the functions of the fixed interface take; it belongs to this table and its copies.
  const QmBlockCorrectionParameters& parameters() const noexcept { return *parameters_; }

 private:
  CorrectionTable() = default;

  std::filesystem::path file_;
  std::shared_ptr<const QmBlockCorrectionParameters> parameters_;
  std::size_t rates_ = 0;
  std::vector<std::string> leftOut_;
};

#pragma GCC visibility pop

}  // namespace quel
