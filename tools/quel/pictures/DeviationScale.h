// The scale of deviations in words and as a picture.
#pragma once

#include <string>
#include <vector>

#include "pictures/Picture.h"
#include "quel/geometry/DeviationScale.h"

namespace queltool {

class DeviationScale : public quel::DeviationScale {
 public:
  explicit DeviationScale(const std::vector<double>& deviations, bool isSigned = true)
      : quel::DeviationScale(deviations, isSigned) {}

  /// What each interval holds, in words, ascending; the outermost are open: "below −0.35 mm".
  std::vector<std::string> ranges() const;

  /// Draws the scale as a bar in `box`, with what each interval holds and the share of deviations in it.
  void draw(Picture& picture, const Box& box) const;
};

}  // namespace queltool
