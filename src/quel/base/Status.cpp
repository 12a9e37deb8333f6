#include "quel/base/Status.h"

#include <cstddef>
#include <iterator>

namespace quel {

const char* nameOf(Status status) {
  constexpr const char* kNames[] = {"ok", "outside", "linear instead", "behind", "distortion", "failed"};
  const auto index = static_cast<std::size_t>(status);
  return index < std::size(kNames) ? kNames[index] : "";
}

}  // namespace quel
