#include "quel/clouds/Obj.h"

#include <fmt/core.h>

#include <algorithm>

#include "quel/clouds/TextLines.h"

namespace quel {

namespace {

constexpr std::string_view kStatements[] = {
    "v",         "vt",     "vn",  "vp",   "f",     "l",        "p",        "g",      "o",      "s",
    "usemtl",    "mtllib", "mg",  "lod",  "bevel", "c_interp", "d_interp", "usemap", "maplib", "shadow_obj",
    "trace_obj", "cstype", "deg", "bmat", "step",  "curv",     "curv2",    "surf",   "parm",   "trim",
    "hole",      "scrv",   "sp",  "end",  "con",   "ctech",    "stech",    "call",   "csh",    "merge"};

bool isStatement(std::string_view word) {
  return std::find(std::begin(kStatements), std::end(kStatements), word) != std::end(kStatements);
}

// A line that ends in a backslash goes on in the next one.
bool goesOn(const TextLines& lines) {
  std::string_view text = lines.whole();
  while (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return text.ends_with('\\');
}

Vec3 vertexOf(TextLines& lines) {
  const double x = lines.number(), y = lines.number(), z = lines.number();
  return {x, y, z};
}

}  // namespace

bool looksLikeObj(std::string_view begin) try {
  Bytes bytes(begin);
  TextLines lines(bytes);
  for (bool further = false; lines.nextOf(); further = goesOn(lines)) {
    const std::string_view word = lines.word();
    if (further) continue;
    if (!isStatement(word)) return false;
    if (word != "v") continue;
    vertexOf(lines);
    return true;
  }
  return false;
} catch (const Error&) {
  return false;
}

std::vector<Vec3> readObj(Bytes& bytes) {
  std::vector<Vec3> points;
  TextLines lines(bytes);
  for (bool further = false; lines.nextOf(); further = goesOn(lines)) {
    const std::string_view word = lines.word();
    if (further) continue;
    if (!isStatement(word)) lines.fail(fmt::format("\"{}\" is no statement", shown(word)));
    try {
      if (word == "v") points.push_back(vertexOf(lines));
    } catch (const Error& bad) {
      lines.fail(fmt::format("vertex {}: {}", points.size(), bad.cause));
    }
  }
  if (points.empty()) throw Error{"has no vertices"};
  return points;
}

}  // namespace quel
