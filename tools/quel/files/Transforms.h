// Transform files (.trn).
#pragma once

#include <filesystem>

#include "files/Values.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace queltool {

/// The transform that the file holds. Throws `Failure`.
qmMathTransform readTransform(const std::filesystem::path& file);

/// Writes a transform file, which takes its place as a whole. Throws `Failure`.
void writeTransform(const std::filesystem::path& file, const qmMathTransform& transform);

/// R p + t.
Vec3 transformed(const qmMathTransform& transform, const Vec3& point);

}  // namespace queltool
