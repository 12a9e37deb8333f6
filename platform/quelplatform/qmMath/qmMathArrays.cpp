#include <limits>

#include "quelplatform/qmEnv/qmMemory.h"
#include "quelplatform/qmMath/qmMath.h"

namespace {

using Allocate = std::int32_t (*)(std::size_t, void**) noexcept;

template <typename Element>
std::int32_t construct(Allocate allocate, std::size_t count, Element** out) {
  if (out == nullptr) return 0;
  *out = nullptr;
  if (count > std::numeric_limits<std::size_t>::max() / sizeof(Element)) return 0;
  void* memory = nullptr;
  const std::int32_t result = allocate(count * sizeof(Element), &memory);
  *out = static_cast<Element*>(memory);
  return result;
}

template <typename Element>
void destruct(Element** array) {
  if (array == nullptr) return;
  void* memory = *array;
  qmMallocFree(&memory);
  *array = nullptr;
}

}  // namespace

std::int32_t qmMathVec2ArrayConstruct(std::size_t count, double (**out)[2]) noexcept {
  return construct(qmMallocInitZero, count, out);
}

std::int32_t qmMathVec2ArrayConstructNoInit(std::size_t count, double (**out)[2]) noexcept {
  return construct(qmMallocNoInit, count, out);
}

std::int32_t qmMathVec3ArrayConstructNoInit(std::size_t count, double (**out)[3]) noexcept {
  return construct(qmMallocNoInit, count, out);
}

std::int32_t qmMathVecConstructNoInit(std::size_t count, double** out) noexcept {
  return construct(qmMallocNoInit, count, out);
}

void qmMathVec2ArrayDestruct(double (**array)[2]) noexcept { destruct(array); }

void qmMathVec3ArrayDestruct(double (**array)[3]) noexcept { destruct(array); }

void qmMathVecDestruct(double** vector) noexcept { destruct(vector); }
