// The header of a PCD file: which fields a point has, how many points there are, and in which form.
#pragma once

#include <cstddef>

#include "quel/clouds/Rows.h"

namespace quel::pcd {

enum class Form { Ascii, Binary, Compressed };

struct Header {
  Form form = Form::Ascii;
  Element points = {"point", 0, {}};  ///< A field of several values is as many properties.
  std::size_t lines = 0;              ///< With DATA.
};

/// Reads the header that `bytes` begin with. Throws `Error`, which names the line.
Header readHeader(Bytes& bytes);

}  // namespace quel::pcd
