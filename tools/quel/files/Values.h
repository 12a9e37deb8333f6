// The vectors and results of libQuel under the tool's own name.
#pragma once

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"

namespace queltool {

using quel::dot;
using quel::Error;
using quel::Mat3;
using quel::Mat4;
using quel::Result;
using quel::Vec2;
using quel::Vec3;

}  // namespace queltool
