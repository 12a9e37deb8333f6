// A cloud of points as the nominal of a part: the nearest point counts, with the side that its normal tells.
#pragma once

#include <memory>
#include <optional>

#include "nominal/Nominal.h"
#include "nominal/NominalFrame.h"
#include "quel/clouds/Surface.h"

namespace queltool {

class CloudNominal : public Nominal {
 public:
  /// Of the vertices of `surface` with their normals; where it has none, a normal is that of the plane of the 16 points
  /// that are nearest to a point, turned to the viewpoint. Points that are not finite, and those that lie where another
  /// one does, are left out. Throws `Failure` where no point is left, or neither normals nor a viewpoint are there.
  CloudNominal(quel::Surface&& surface, const std::optional<Vec3>& viewpoint);
  ~CloudNominal() override;

  void findNearest(std::span<const Vec3> points, std::span<Nearest> found) const override;
  double size() const override { return frame_.size(); }
  bool isSampled() const override { return true; }
  std::string title() const override;

 private:
  struct Tree;

  void keepFinite(quel::Surface& surface);
  void keepPlacesOnce(quel::Surface& surface);
  Vec3 normalAt(std::size_t place) const;
  Vec3 planeNormalAt(std::size_t place) const;

  NominalFrame frame_;
  std::vector<Vec3> points_;   // In the frame.
  std::vector<Vec3> normals_;  // As many, or none.
  Vec3 viewpoint_{};           // In the frame.
  std::unique_ptr<const Tree> tree_;
};

}  // namespace queltool
