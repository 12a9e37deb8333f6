#include "models/Indexing.h"

#include <utility>

#include "files/Failure.h"
#include "files/Progress.h"

namespace queltool {

namespace {

template <typename Make>
IndexedCloud sorted(Make make) {
  Result<IndexedCloud> index = during("sorting into bins", make);
  if (!index) throw Failure(index.error().message());
  return std::move(index.value());
}

}  // namespace

IndexedCloud indexBySpace(const std::vector<Vec3>& points) {
  return sorted([&] { return IndexedCloud::bySpace(points); });
}

IndexedCloud indexByImage(const QmReconsTensor& head, const std::vector<Vec3>& points, std::int32_t camera,
                          _ProjectDistortMode mode) {
  return sorted([&] {
    return IndexedCloud::byImage(quel::Head::fromRecord(head), points, camera, static_cast<quel::Mode>(mode));
  });
}

}  // namespace queltool
