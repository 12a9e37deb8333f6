// What the tests of features share.
#pragma once

#include <cstring>
#include <vector>

#include "quelplatform/prim_geom/QmPlane.h"

namespace quel::testing {

/// A reference without an object, as a caller's null pointer becomes one. The compiler must not see through it, nor the
/// sanitizer stop at it: that the library stands it is what is tested.
template <typename T>
#if defined(__clang__)
__attribute__((no_sanitize("undefined")))
#endif
T& nowhere() {
  T* volatile null = nullptr;
  return *null;
}

inline QmPlane planeAt(const QmVec3& point, const QmVec3& normal) { return QmPlane(point.v, normal.v); }

/// The field of an object that stands `offset` bytes from its start.
template <typename Field, typename Object>
Field fieldAt(const Object& object, std::size_t offset) {
  Field field;
  std::memcpy(&field, reinterpret_cast<const char*>(&object) + offset, sizeof(field));
  return field;
}

}  // namespace quel::testing
