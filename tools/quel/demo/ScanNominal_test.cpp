#include "demo/ScanNominal.h"

#include <gmock/gmock.h>

#include <cmath>

#include "quel/clouds/Cloud.h"

namespace queltool {
namespace {

using ::testing::StartsWith;

// A scanner's view of a wavy wall half a metre away, and of a step in front of its right half.
std::vector<Vec3> wall(double step) {
  std::vector<Vec3> points;
  for (int row = 0; row < 60; ++row) {
    for (int column = 0; column < 60; ++column) {
      const double u = 0.01 * (column - 30), v = 0.01 * (row - 30);
      const double z = -500.0 + std::sin(20.0 * u) + (column >= 30 ? step : 0.0);
      points.push_back({u * -z, v * -z, z});
    }
  }
  return points;
}

Vec3 normalOf(const ScanMesh& mesh, const std::array<std::uint32_t, 3>& facet) {
  const Vec3 &a = mesh.vertices[facet[0]], &b = mesh.vertices[facet[1]], &c = mesh.vertices[facet[2]];
  const Vec3 u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

TEST(ScanNominal, IsAThinnedMeshThatFacesTheScanner) {
  const ScanMesh mesh = nominalOf(wall(0.0), 15);
  EXPECT_NEAR(static_cast<double>(mesh.vertices.size()), 15.0 * 15.0, 32.0);
  EXPECT_NEAR(static_cast<double>(mesh.facets.size()), 2.0 * 14.0 * 14.0, 64.0);
  for (const auto& facet : mesh.facets) EXPECT_GT(normalOf(mesh, facet)[2], 0.0);
}

TEST(ScanNominal, IsSmooth) {
  for (const Vec3& v : nominalOf(wall(0.0), 15).vertices) {
    const double u = v[0] / -v[2];
    EXPECT_NEAR(v[2], -500.0 + std::sin(20.0 * u), 0.5);
  }
}

TEST(ScanNominal, IsOpenWhereTheDepthJumps) {
  const ScanMesh mesh = nominalOf(wall(100.0), 15);
  EXPECT_FALSE(mesh.facets.empty());
  for (const Vec3& v : mesh.vertices) EXPECT_TRUE(std::abs(v[2] + 500.0) < 1.5 || std::abs(v[2] + 400.0) < 1.5) << v[2];
  for (const auto& facet : mesh.facets) {
    EXPECT_LT(std::abs(mesh.vertices[facet[0]][2] - mesh.vertices[facet[1]][2]), 10.0);
    EXPECT_LT(std::abs(mesh.vertices[facet[0]][2] - mesh.vertices[facet[2]][2]), 10.0);
  }
}

TEST(ScanNominal, HasNoFacetWithTwoCornersInOnePlace) {
  // Three cells of four, alone: each is smoothed to the mean of all three.
  std::vector<Vec3> few;
  const auto add = [&few](double column, double row) { few.push_back({5.0 * column, 5.0 * row, -500.0}); };
  add(0.0, 0.0);
  add(80.0, 80.0);
  for (int n = 0; n < 7; ++n) {
    const double at = 10.0 * n + 5.5;
    add(at, at);
    add(at + 1.0, at);
    add(at + 1.0, at + 1.0);
  }
  const ScanMesh mesh = nominalOf(few, 80);
  for (const auto& f : mesh.facets) {
    EXPECT_NE(mesh.vertices[f[0]], mesh.vertices[f[1]]);
    EXPECT_NE(mesh.vertices[f[1]], mesh.vertices[f[2]]);
    EXPECT_NE(mesh.vertices[f[2]], mesh.vertices[f[0]]);
  }
}

TEST(ScanNominal, OfNothingIsNothing) {
  EXPECT_TRUE(nominalOf({}, 15).facets.empty());
  EXPECT_TRUE(nominalOf(std::vector<Vec3>(100, Vec3{1.0, 2.0, -500.0}), 15).facets.empty());
}

TEST(ScanNominal, IsWrittenAsAMeshThatIsRead) {
  const ScanMesh mesh = nominalOf(wall(0.0), 15);
  const std::string ply = plyOf(mesh);
  EXPECT_THAT(ply, StartsWith("ply\nformat ascii 1.0\n"));
  const auto points = quel::parseCloud(ply, quel::CloudFormat::Ply);
  ASSERT_TRUE(points);
  EXPECT_EQ(points.value(), mesh.vertices);
}

}  // namespace
}  // namespace queltool
