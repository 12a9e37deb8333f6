// What the tests of features share.
#pragma once

#include <cstring>
#include <vector>

#include "quelplatform/prim_geom/QmPlane.h"

namespace quel::testing {

/// What a getter says to an output whose address is null, as callers that go by pointers can hand it in.
template <typename Object, typename T>
#if defined(__clang__)
__attribute__((no_sanitize("undefined")))
#endif
bool writesNowhere(const Object& object, bool (Object::*get)(T&) const) {
  T* volatile null = nullptr;
  return (object.*get)(*null);
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
