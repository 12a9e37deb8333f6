// Correction pairs and their files, for tests.
#pragma once

#include <cstring>
#include <filesystem>
#include <string>

#include "quelcore/transforms/QmCommutatorTrns.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace quel::testing {

/// A transform that moves by `x` along the first axis.
inline qmMathTransform moveBy(double x) {
  qmMathTransform t;
  qmMathIdTransformCreate(&t);
  t.translation[0] = x;
  return t;
}

/// A pair from `new` that moves by `x` on the left and 2 x on the right; dirty.
inline QmCommutatorTrns* newPair(std::uint32_t sourceId, double x = 1.0) {
  auto* pair = new QmCommutatorTrns(sourceId);
  pair->setTrn(TrnPosLeft, moveBy(x));
  pair->setTrn(TrnPosRight, moveBy(2 * x));
  return pair;
}

inline double leftMove(const QmCommutatorTrns* pair) { return pair->getTrn(TrnPosLeft).translation[0]; }
inline double rightMove(const QmCommutatorTrns* pair) { return pair->getTrn(TrnPosRight).translation[0]; }

/// Writes a transform file that moves by `x`.
inline void writeMove(const std::filesystem::path& path, double x) {
  const qmMathTransform t = moveBy(x);
  qmMathTransformStore(toWide(path.string()).c_str(), &t);
}

/// Writes both files of pair `stem`, such as "3_7".
inline void writePair(const std::filesystem::path& folder, const std::string& stem, double x = 1.0) {
  writeMove(folder / (stem + "_TrackerLeft.trn"), x);
  writeMove(folder / (stem + "_TrackerRight.trn"), 2 * x);
}

}  // namespace quel::testing
