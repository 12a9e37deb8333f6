// A mesh of triangles as the nominal of a part; outside is where its triangles turn counter-clockwise.
#pragma once

#include <memory>

#include "nominal/MeshShape.h"
#include "nominal/MeshTree.h"
#include "nominal/Nominal.h"
#include "nominal/NominalFrame.h"
#include "quel/clouds/Surface.h"

namespace queltool {

class MeshNominal : public Nominal {
 public:
  /// Of the facets of `surface`, in millimetres. What is left out or tells no side is among the remarks. Throws
  /// `Failure` where no triangle has an area.
  explicit MeshNominal(quel::Surface surface);

  void findNearest(std::span<const Vec3> points, std::span<Nearest> found) const override;
  double size() const override { return frame_.size(); }
  std::string title() const override;

 private:
  void refine(MeshTree::Hit& hit, const Vec3& p) const;
  Nearest nearestOf(const Vec3& point, const Vec3& inFrame, const MeshTree::Hit& hit) const;

  NominalFrame frame_;
  std::unique_ptr<const MeshShape> shape_;
  std::unique_ptr<const MeshTree> tree_;
};

}  // namespace queltool
