// Outputs by reference that a caller may have made from a null pointer.
#pragma once

namespace quelcore {

/// Writes `value` to `out`; false, writing nothing, when the address of `out` is null. The address passes through a
/// volatile, because compilers take it for granted that a reference has one.
template <typename Value>
bool writeUnlessNull(const Value& value, Value& out) {
  Value* volatile address = &out;
  Value* const target = address;
  if (target == nullptr) return false;
  *target = value;
  return true;
}

}  // namespace quelcore
