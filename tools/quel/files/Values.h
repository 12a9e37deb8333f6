// The vectors and results that this tool has in common with the others, under its own name.
#pragma once

#include "common/Result.h"
#include "common/Vectors.h"

namespace queltool {

using toolbox::dot;
using toolbox::Error;
using toolbox::Mat3;
using toolbox::Mat4;
using toolbox::Result;
using toolbox::Vec2;
using toolbox::Vec3;

}  // namespace queltool
