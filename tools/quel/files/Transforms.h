// Transform files (.trn).
#pragma once

#include <filesystem>

#include "files/Values.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

namespace queltool {

/// The transform that the file holds. Throws `Failure`.
qmMathTransform readTransform(const std::filesystem::path& file);

/// R p + t.
Vec3 transformed(const qmMathTransform& transform, const Vec3& point);

}  // namespace queltool
