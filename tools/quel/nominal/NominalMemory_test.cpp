// Nominals where memory runs out: the failure is told, and nothing is left half made.
#include <new>

#include "files/Failure.h"
#include "nominal/CloudNominal.h"
#include "nominal/meshes_fixture.h"
#include "testing/FailingNew.h"

// Embree keeps some of what it has taken where it runs out of memory. Whether we give back what is ours, the other
// tests of meshes tell.
extern "C" [[gnu::weak]] void __lsan_disable();
extern "C" [[gnu::weak]] void __lsan_enable();

namespace queltool {
namespace {

// 1 for a nominal that answers, 0 where memory ran out; Embree does not always know that it is that.
template <typename Make>
int answers(const Make& make) try {
  const auto nominal = make();
  Nearest found;
  const Vec3 point = {0.5, 0.5, 3.0};
  nominal->findNearest({&point, 1}, {&found, 1});
  quel::testing::newSuccesses = -1;  // Embree ends the process where it has no memory to be released with.
  return found.deviation == 2.0 ? 1 : 2;
} catch (const std::bad_alloc&) {
  return 0;
} catch (const Failure&) {
  return 0;
}

template <typename Make>
void expectAllOrNothing(const Make& make) {
  // Some of what fails is for speed alone.
  std::int64_t told = 0;
  quel::testing::failEachNew([&] { return answers(make); },
                             [&](int answer, bool failed) {
                               EXPECT_TRUE(answer == 1 || (failed && answer == 0)) << answer;
                               told += answer == 0 ? 1 : 0;
                             });
  EXPECT_GT(told, 5);
}

TEST(NominalMemory, OfAMeshFailsAsAWhole) {
  const Surface surface = cube();
  if (__lsan_disable != nullptr) __lsan_disable();
  expectAllOrNothing([&] { return std::make_unique<MeshNominal>(surface); });
  if (__lsan_enable != nullptr) __lsan_enable();
}

TEST(NominalMemory, OfACloudFailsAsAWhole) {
  Surface surface;
  for (int n = 0; n < 25; ++n) surface.vertices.push_back({0.25 * (n % 5), 0.25 * (n / 5), 1.0});
  expectAllOrNothing([&] { return std::make_unique<CloudNominal>(Surface(surface), Vec3{0, 0, 9}); });
}

}  // namespace
}  // namespace queltool
