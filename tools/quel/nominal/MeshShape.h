// The triangles of a mesh and where is outside at each of them, at their edges and at their corners.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "files/Values.h"
#include "nominal/MeshEdges.h"
#include "nominal/Nominal.h"
#include "nominal/TrianglePoint.h"
#include "quel/clouds/Surface.h"

namespace queltool {

/// What of a mesh is nearest. Features at the same distance are taken in this order.
struct MeshFeature {
  enum class Kind : std::uint8_t { Corner, Edge, Facet };
  Kind kind;
  std::uint32_t index;
  auto operator<=>(const MeshFeature&) const = default;
};

class MeshShape {
 public:
  /// Of vertices in the frame of the search, and of facets as `cleanMesh` leaves them. Puts what people must know into
  /// `remarks`. Throws `Failure` where no triangle has an area.
  MeshShape(std::vector<Vec3>&& vertices, std::vector<quel::Facet>&& facets, std::vector<std::string>& remarks);

  /// The triangles with an area, which are searched: those below this number.
  std::uint32_t countOfTriangles() const { return areas_; }

  Triangle triangle(std::uint32_t index) const {
    const quel::Facet& f = facets_[index];
    return {vertices_[f[0]], vertices_[f[1]], vertices_[f[2]], f, static_cast<double>(reaches_[index])};
  }

  MeshFeature featureOf(std::uint32_t triangle, TrianglePart part) const;

  /// Outward at a feature, of no stated length. An edge has the sum of the normals of its triangles, a corner their sum
  /// weighted by angle (Baerentzen and Aanaes 2005); these tell the side of every point that is nearest to it.
  struct Outward {
    Vec3 normal;
    Side side;
  };
  Outward outwardAt(const MeshFeature& feature) const;

  /// Where `feature` is an edge that is the long side of a triangle without area: the corner or short side of that
  /// which lies there, and knows what is beyond. `p` is what it is nearest to.
  MeshFeature uncovered(MeshFeature feature, const Vec3& p) const;

 private:
  // The triangles with an area on both sides, or in both places what is known instead.
  using Sides = std::array<std::uint32_t, 2>;

  void partByArea(std::vector<std::string>& remarks);
  bool hasArea(const quel::Facet& facet) const;
  std::size_t longestEdgeOf(std::uint32_t facet) const;
  void takeReaches();
  void markBacks(std::vector<std::string>& remarks);
  std::vector<std::uint32_t> standIns(const MeshEdges& mesh) const;
  void takeEdges(const MeshEdges& mesh, const std::vector<std::uint32_t>& standsFor);
  void takeCorners(const MeshEdges& mesh, const std::vector<std::uint32_t>& standsFor);
  void addAngles(const std::vector<std::uint32_t>& standsFor);
  bool isOneFan(const MeshEdges& mesh, std::uint32_t facet, std::size_t corner, std::uint32_t count) const;
  Vec3 normalOf(std::uint32_t facet) const;

  std::vector<Vec3> vertices_;
  std::vector<quel::Facet> facets_;  // Those with an area in front.
  std::uint32_t areas_ = 0;
  std::vector<float> reaches_;  // Of the facets with an area.
  std::vector<bool> hasBack_;   // The same triangle is there the other way round.
  std::vector<std::array<std::uint32_t, 3>> edgesOf_;
  std::vector<Sides> edges_;
  std::unordered_map<std::uint32_t, std::uint32_t> covers_;  // Of edges: the triangle without area on its long side.
  std::vector<Vec3> cornerNormals_;
  std::vector<Side> cornerSides_;
};

}  // namespace queltool
