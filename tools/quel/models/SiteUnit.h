// The unit of length of the site's locale.
#pragma once

#include <string>

namespace queltool {

struct SiteUnit {
  double perMillimetre;
  std::string name;
};

SiteUnit siteUnit();

}  // namespace queltool
