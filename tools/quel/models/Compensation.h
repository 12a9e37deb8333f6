// A head at another temperature: the correction table of its block applied to it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

struct Compensated {
  std::unique_ptr<QmReconsTensor> block;
  std::size_t rates;                 ///< Of the table, that compensation knows.
  std::vector<std::string> leftOut;  ///< The others of the table, by name and camera.
};

/// `block` as it is at `temperature` (degrees Celsius) by the correction table in the file `table`. Projections,
/// distortion and camera locations are compensated; the transfer and reconstruction tables stay as they are.
///
/// The reference temperature of the result is `temperature`, so that nobody who compensates it again counts the same
/// degrees twice. Throws `Failure` when the file is no correction table, when something in it is read otherwise than it
/// stands there (what is no number is 0 for the library), when it holds no known rate of cameras 0 to 2, and when the
/// rates make no head.
Compensated compensate(const QmReconsTensor& block, const std::filesystem::path& table, double temperature);

}  // namespace queltool
