// The colours of deviations against a tolerance, and their legend.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "models/ColourTable.h"
#include "models/Deviations.h"
#include "models/SignedBands.h"
#include "pictures/Picture.h"

namespace queltool {

/// Which colours the points get: those of the table, or by side and size.
enum class DeviationPalette { Table, Diverging };

class DeviationColours {
 public:
  DeviationColours(const Tolerance& tolerance, DeviationPalette palette)
      : tolerance_(tolerance), palette_(palette), table_(readColourTable()), bands_(tolerance.lower, tolerance.upper) {}

  /// Grey for NaN.
  Colour operator()(double deviation) const;

  /// With how many of `deviations` each band has.
  void drawLegend(Picture& picture, const Box& box, std::span<const double> deviations) const;

  const ColourTable& table() const { return table_; }

 private:
  bool isSigned() const { return palette_ == DeviationPalette::Diverging; }
  std::size_t levelOf(double deviation) const;
  void drawSignedLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes) const;

  Tolerance tolerance_;
  DeviationPalette palette_;
  ColourTable table_;
  SignedBands bands_;
};

}  // namespace queltool
