#include "pictures/ColourLegend.h"

#include <fmt/core.h>

#include "models/ColourTable.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "quelplatform/QuelViz/QmPercentageLegend.h"

namespace queltool {

void drawColourLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes) {
  constexpr double kBarWidth = 22.0;
  constexpr double kTextSize = 12.0;
  QmPercentageLegend legend;
  deviationColours().UpdatePercentageLegend(&legend);
  const ColourTable table = readColourTable();
  const auto count = static_cast<std::size_t>(legend.GetNumOfColor());
  const double step = box.height / static_cast<double>(count);
  const double left = box.x + kBarWidth + 8.0;
  for (std::size_t i = 0; i < count; ++i) {
    const float* c = legend.GetColors() + 3 * i;
    const double y = box.y + static_cast<double>(i) * step;
    const std::size_t band = count - 1 - i;
    picture.fillBox({box.x, y, kBarWidth, step + 0.3},
                    {static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[2])});
    picture.text({left, y + 4.0}, fmt::format("{:g} %", legend.GetPositions()[i]), kTextSize, kInk);
    picture.text({left, y + 0.5 * step + 4.0}, table.bands[band].name, kTextSize, kInk, Align::Left, true);
    if (!notes.empty()) picture.text({left, y + 0.5 * step + 21.0}, notes[band], kTextSize, kPale);
  }
  picture.text({left, box.y + box.height + 4.0}, "0 %", kTextSize, kInk);
  picture.frameBox({box.x, box.y, kBarWidth, box.height}, kFrame, 1.0);
}

}  // namespace queltool
