// A head in space, as the view of its page shows it; assets/scene.js draws it.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "files/Json.h"
#include "models/Uncertainty.h"
#include "quel/head/Head.h"

namespace queltool {

/// A camera with what it sees; lengths are millimetres of the head's world.
struct SceneCamera {
  int number;
  Vec3 place;
  Vec3 right;             ///< Where x of its image grows,
  Vec3 down;              ///< and y.
  Vec3 forward;           ///< Its optical axis.
  std::vector<Vec3> rim;  ///< The border of its image as far away as is shown, from its upper left corner; none where
                          ///< the size of its image is not known.
  bool undistorted;       ///< The lens model has no answer on that border, which then is a pinhole's.
};

struct HeadScene {
  std::vector<SceneCamera> cameras;
  std::optional<Volume> volume;
  std::string missing;  ///< Why there are no cameras.
};

/// Points of a rim between two corners.
inline constexpr std::size_t kRimSteps = 8;

/// The cameras see as far as the farthest corner of the volume; where there is none, as far as the head works.
HeadScene sceneOf(const quel::Head& head, const std::optional<Volume>& volume);

Json jsonOf(const HeadScene& scene);

}  // namespace queltool
