#include "files/Transforms.h"

#include "files/Failure.h"
#include "files/Files.h"
#include "files/Temporaries.h"

namespace queltool {

qmMathTransform readTransform(const std::filesystem::path& file) {
  qmMathTransform transform;
  if (qmMathTransformLoad(widePath(file).c_str(), &transform) == 1) return transform;
  if (!std::filesystem::exists(file)) throw Failure(file.string() + ": there is no such file");
  throw Failure(file.string() +
                ": is no transform file, or it is damaged or was changed by hand; \"quel trn make\" makes one");
}

void writeTransform(const std::filesystem::path& file, const qmMathTransform& transform) {
  const Undisturbed storing;
  if (qmMathTransformStore(widePath(file).c_str(), &transform) != 1) {
    throw Failure(file.string() + ": cannot be written");
  }
}

Vec3 transformed(const qmMathTransform& transform, const Vec3& p) {
  Vec3 moved{};
  for (std::size_t i = 0; i < 3; ++i) {
    const double* const r = transform.rotation[i];
    moved[i] = r[0] * p[0] + r[1] * p[1] + r[2] * p[2] + transform.translation[i];
  }
  return moved;
}

}  // namespace queltool
