// The cameras of a head in JSON. Input: the text.
//
// Losses: other keys; how a number was spelt.
#include <cstring>
#include <nlohmann/json.hpp>

#include "fuzz/support/Fuzzing.h"
#include "quel/cameras/CameraFile.h"

namespace {

using nlohmann::json;
using quel::Camera;

json jsonOf(const Camera& camera) {
  return {
      {"name", camera.name},
      {"width", camera.width},
      {"height", camera.height},
      {"fx", camera.fx},
      {"fy", camera.fy},
      {"cx", camera.cx},
      {"cy", camera.cy},
      {"skew", camera.skew},
      {"distortion", {{"k1", camera.k1}, {"k2", camera.k2}, {"k3", camera.k3}, {"p1", camera.p1}, {"p2", camera.p2}}},
      {"rotation", camera.rotation},
      {"translation", camera.translation}};
}

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
         a.p1 == b.p1 && a.p2 == b.p2 && a.rotation == b.rotation && a.translation == b.translation;
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
  json document = {{"cameras", json::array()}};
  for (const Camera& camera : cameras.value()) {
    quelfuzz::require(camera.width > 0 && camera.height > 0 && camera.fx > 0 && camera.fy > 0, "a camera sees");
    document["cameras"].push_back(jsonOf(camera));
  }
  const auto again = quel::parseCameras(document.dump());
  quelfuzz::require(again.ok(), "written cameras can be read");
  for (std::size_t i = 0; i < 3; ++i) {
    quelfuzz::require(isSame(cameras.value()[i], again.value()[i]), "a camera stays what it was");
  }
  return 0;
}
