// The header of a PLY file: what the file holds, in which form.
#pragma once

#include <cstddef>
#include <vector>

#include "quel/clouds/Rows.h"

namespace quel::ply {

enum class Format { Ascii, LittleEndian, BigEndian };

struct Header {
  Format format = Format::Ascii;
  std::vector<Element> elements;
  std::size_t lines = 0;  ///< With end_header.
};

/// Reads the header that `bytes` begin with. Throws `Error`, which names the line.
Header readHeader(Bytes& bytes);

}  // namespace quel::ply
