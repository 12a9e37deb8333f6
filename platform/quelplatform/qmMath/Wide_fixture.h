// Numbers of 256 bits for references in tests.
#pragma once

#include <gmpxx.h>

namespace quel::testing {

class Wide : public mpf_class {
 public:
  Wide(double value = 0.0) : mpf_class(value, 256) {}
  template <typename Expression>
  Wide(const __gmp_expr<mpf_t, Expression>& value) : mpf_class(value, 256) {}
};

}  // namespace quel::testing
