#include "quelplatform/qmEnv/qmCamera.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>

#include "quelplatform/ground/text/asciiCase.h"
#include "quelplatform/ground/text/blanks.h"
#include "quelplatform/ground/text/iniNumber.h"
#include "quelplatform/qmEnv/HomeTable.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

using quelplatform::IniEntry;
using quelplatform::IniFile;
using quelplatform::iniNumber;
using quelplatform::IniSection;

struct BuiltInCamera {
  OH_CAMERA_TYPE type;
  const qmWChar* name;
  std::int32_t width;
  std::int32_t height;
};

constexpr std::array kBuiltInCameras = {
    BuiltInCamera{OH_CAMERA_QUELHEAD_100, u"QuelHead 100", 1536, 1024},
    BuiltInCamera{OH_CAMERA_1280x1024, u"1280 x 1024", 1280, 1024},
    BuiltInCamera{OH_CAMERA_1624x1236, u"1624 x 1236", 1624, 1236},
    BuiltInCamera{OH_CAMERA_DEFAULT, u"Default", 1536, 1024},
    BuiltInCamera{OH_CAMERA_640x480, u"640 x 480", 640, 480},
    BuiltInCamera{OH_CAMERA_2048x1536, u"2048 x 1536", 2048, 1536},
    BuiltInCamera{OH_CAMERA_QUELHEAD_200, u"QuelHead 200", 2448, 2048},
    BuiltInCamera{OH_CAMERA_QUELHEAD_200_LARGE, u"QuelHead 200 Large", 4096, 3000},
};

constexpr std::int32_t kLargestSide = 100000;
constexpr std::string_view kSectionPrefix = "Camera ";

const BuiltInCamera* findBuiltIn(std::int32_t type) {
  const auto found = std::find_if(kBuiltInCameras.begin(), kBuiltInCameras.end(),
                                  [type](const BuiltInCamera& camera) { return camera.type == type; });
  return found == kBuiltInCameras.end() ? nullptr : &*found;
}

struct AddedCamera {
  qmWString name;
  std::int32_t width;
  std::int32_t height;
};

std::string sidesRule() { return " must be a whole number from 1 to " + std::to_string(kLargestSide); }

/// The camera types of cameras.ini. A section that cannot be used is reported and skipped.
class AddedCameras {
 public:
  explicit AddedCameras(IniFile& file) {
    for (const IniSection& section : file.sections) {
      if (section.line == 0) {
        file.report(section.entries.front().line, "stands in no section");
      } else if (std::string cause = take(section); !cause.empty())
        file.report(section.line, std::move(cause));
    }
  }

  const AddedCamera* find(std::int32_t type) const {
    const auto found = cameras_.find(type);
    return found == cameras_.end() ? nullptr : &found->second;
  }

 private:
  // Returns what is wrong with the section, or nothing when it was taken.
  std::string take(const IniSection& section) {
    const std::optional<std::int32_t> type = typeOf(section.name);
    if (!type) return "[" + section.name + "] is no section \"Camera\" with a positive number";
    if (findBuiltIn(*type) != nullptr)
      return "camera type " + std::to_string(*type) + " is built in and stays as it is";
    if (cameras_.contains(*type)) return "camera type " + std::to_string(*type) + " has a section above";

    const IniEntry* name = section.find("Name");
    if (name == nullptr || name->value.empty()) return "[" + section.name + "] has no Name";
    const std::int32_t width = sideOf(section, "Width");
    if (width == 0) return "[" + section.name + "]: Width" + sidesRule();
    const std::int32_t height = sideOf(section, "Height");
    if (height == 0) return "[" + section.name + "]: Height" + sidesRule();
    cameras_[*type] = {toWide(name->value), width, height};
    return {};
  }

  static std::optional<std::int32_t> typeOf(std::string_view sectionName) {
    if (!quelplatform::sameButAsciiCase(sectionName.substr(0, kSectionPrefix.size()), kSectionPrefix))
      return std::nullopt;
    const auto number = iniNumber<std::int32_t>(quelplatform::trimmed(sectionName.substr(kSectionPrefix.size())));
    return number && *number > 0 ? number : std::nullopt;
  }

  // 0 when it is absent or out of range.
  static std::int32_t sideOf(const IniSection& section, std::string_view key) {
    const IniEntry* entry = section.find(key);
    const std::int32_t side = entry == nullptr ? 0 : iniNumber<std::int32_t>(entry->value).value_or(0);
    return side >= 1 && side <= kLargestSide ? side : 0;
  }

  std::map<std::int32_t, AddedCamera> cameras_;
};

std::shared_ptr<const AddedCameras> addedCameras() {
  static auto& table = *new quelplatform::HomeTable<AddedCameras>("cameras.ini", "qmCamera");
  return table.get();
}

// Names are handed out for the life of the process, so each one that was ever asked for is kept.
const qmWChar* keptForEver(const qmWString& name) {
  static auto& mutex = *new std::mutex;
  static auto& names = *new std::set<qmWString>;
  const std::lock_guard lock(mutex);
  return names.insert(name).first->c_str();
}

}  // namespace

bool getCameraInfo(OH_CAMERA_TYPE type, CameraInfo& info) noexcept try {
  if (const BuiltInCamera* camera = findBuiltIn(type)) {
    info = {type, isQuelHead200(type) ? 1 : 0, camera->height, camera->width};
    return true;
  }
  const std::shared_ptr<const AddedCameras> cameras = addedCameras();
  const AddedCamera* camera = cameras->find(type);
  if (camera == nullptr) return false;
  info = {type, 0, camera->height, camera->width};
  return true;
} catch (const std::exception&) {
  return false;
}

const qmWChar* getOHCameraName(const OH_CAMERA_TYPE& type) noexcept try {
  if (const BuiltInCamera* camera = findBuiltIn(type)) return camera->name;
  const std::shared_ptr<const AddedCameras> cameras = addedCameras();
  const AddedCamera* camera = cameras->find(type);
  return camera == nullptr ? u"Unknown" : keptForEver(camera->name);
} catch (const std::exception&) {
  return u"Unknown";
}

OH_CAMERA_TYPE getDefCameraType() noexcept { return OH_CAMERA_DEFAULT; }

bool isQuelHead200(OH_CAMERA_TYPE type) noexcept {
  return type == OH_CAMERA_QUELHEAD_200 || type == OH_CAMERA_QUELHEAD_200_LARGE;
}
