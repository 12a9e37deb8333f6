// Kinds of persisted operations.
#pragma once

#include <cstdint>

/// What an operation does, as the operations file names it.
enum OperationTypeId : std::uint32_t {
  OPERATION_UNKNOWN = 0,  ///< "Unknown": also what any text that names no kind reads as.
  OPERATION_COP = 1,      ///< "COP": works on a cloud of points.
};
