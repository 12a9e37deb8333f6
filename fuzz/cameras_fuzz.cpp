// The cameras of a head in JSON. Input: the text.
//
// Losses: other keys; how a number was spelt.
#include <cmath>
#include <nlohmann/json.hpp>
#include <span>

#include "fuzz/support/Fuzzing.h"
#include "quel/cameras/CameraFile.h"

namespace {

using nlohmann::json;
using quel::Camera;

json jsonOf(const Camera& camera) { return json::parse(quel::textOfCameras(std::span(&camera, 1)))["cameras"][0]; }

/// Whether a camera has what its object says: `whole` is what would be written for it.
bool isAsWritten(const json& object, const json& whole) {
  for (const auto& [key, value] : object.items()) {
    if (key == "distortion") {
      if (!isAsWritten(value, whole[key])) return false;
    } else if (whole.contains(key) && value != whole[key]) {
      return false;
    }
  }
  return true;
}

bool isSame(const Camera& a, const Camera& b) {
  return a.name == b.name && a.width == b.width && a.height == b.height && a.fx == b.fx && a.fy == b.fy &&
         a.cx == b.cx && a.cy == b.cy && a.skew == b.skew && a.k1 == b.k1 && a.k2 == b.k2 && a.k3 == b.k3 &&
         a.p1 == b.p1 && a.p2 == b.p2 && a.rotation == b.rotation && a.translation == b.translation &&
         a.lens.model == b.lens.model && a.lens.parameters == b.lens.parameters;
}

// The lens can be asked for a pixel, and its way back leads where it came from.
void useLens(const Camera& camera) {
  const quel::Vec2 pixel = {0.3 * camera.width, 0.3 * camera.height};
  const auto ideal = quel::undistortedPixel(camera, pixel);
  if (!ideal) return;
  const quel::Vec2 seen = quel::distortedPixel(camera, *ideal);
  quelfuzz::require(std::hypot(seen[0] - pixel[0], seen[1] - pixel[1]) <= 1e-8, "an undistorted pixel is seen there");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    for (const char* name : {"nowhere.json", "legends"}) {
      const qmWString nowhere = quelfuzz::pathOf(name);
      quelfuzz::require(!quel::readCameras(std::string(nowhere.begin(), nowhere.end())), "what is no file is none");
    }
  });
  const std::string text(quelfuzz::bytesOf(data, size));
  const qmWString path = quelfuzz::makeFile("cameras.json", text);
  const std::string folder(path.begin(), path.end());
  const quelfuzz::MemoryWatch watch;
  const auto cameras = quel::readCameras(folder);
  // A value of one digit and its comma is a node of 16 bytes in a list that grows by doubling.
  watch.requireAtMost(quelfuzz::kTimesXml, 40, size);
  quelfuzz::require(cameras.ok() || !cameras.error().cause.empty(), "a refused file says why");
  if (!cameras) return 0;
  const json given = json::parse(text)["cameras"];
  for (std::size_t i = 0; i < 3; ++i) {
    quelfuzz::require(isAsWritten(given[i], jsonOf(cameras.value()[i])), "a camera is as it was given");
  }
  for (const Camera& camera : cameras.value()) {
    quelfuzz::require(camera.width > 0 && camera.height > 0 && camera.fx > 0 && camera.fy > 0, "a camera sees");
  }
  useLens(cameras.value()[0]);
  const auto again = quel::parseCameras(quel::textOfCameras(cameras.value()));
  quelfuzz::require(again.ok(), "written cameras can be read");
  for (std::size_t i = 0; i < 3; ++i) {
    quelfuzz::require(isSame(cameras.value()[i], again.value()[i]), "a camera stays what it was");
  }
  return 0;
}
