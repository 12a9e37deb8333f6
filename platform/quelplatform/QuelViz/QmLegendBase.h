// Colour legends.
#pragma once

#include "quelplatform/QuelPlatformApi.h"

/// What all legends have in common: that they are legends. Each kind says by a function of its own whether a legend is
/// one of it.
class QUELPLATFORM_API QmLegendBase {
 public:
  virtual ~QmLegendBase() = default;

 protected:
  QmLegendBase() = default;
  QmLegendBase(const QmLegendBase&) = default;
  QmLegendBase& operator=(const QmLegendBase&) = default;
};
