// The nominal of a part: the surface that measured points are compared with.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "files/Values.h"

namespace queltool {

/// What is known of a point against a nominal.
enum class Side : std::uint8_t {
  Known,   ///< Its deviation has a sign.
  Border,  ///< It is nearest to an open border, beyond which the nominal has no side.
  Unknown  ///< The nominal tells no side where the point is nearest.
};

/// Where a nominal is nearest to a point; all lengths in millimetres.
struct Nearest {
  Vec3 point;        ///< Of the nominal.
  Vec3 normal;       ///< Outward, of length 1; 0 where the nominal has none.
  double deviation;  ///< Distance to `point`, negative inside; without a sign unless `side` is Known.
  Side side;
};

class Nominal {
 public:
  Nominal() = default;
  Nominal(const Nominal&) = delete;
  Nominal& operator=(const Nominal&) = delete;
  virtual ~Nominal() = default;

  /// Fills `found` for as many finite points, each by itself: the same bits in whatever groups they come, and on
  /// whatever thread, of which several may call at once.
  virtual void findNearest(std::span<const Vec3> points, std::span<Nearest> found) const = 0;

  /// Length of the diagonal of the box around the nominal.
  virtual double size() const = 0;

  /// True where it is known at single places alone: between them the plane through the nearest one stands for it.
  virtual bool isSampled() const { return false; }

  /// What it is, for people: "mesh of 12 triangles".
  virtual std::string title() const = 0;

  /// What people must know of it, a sentence each: facets that are left out, windings that do not agree.
  const std::vector<std::string>& remarks() const { return remarks_; }

 protected:
  std::vector<std::string> remarks_;
};

}  // namespace queltool
