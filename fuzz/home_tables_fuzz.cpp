// The tables of the home directory: parameters, camera types, and the machine's identifier. Input: a file, read as each
// of the three.
//
// Losses: lines that are no entries, entries that cannot be used, of equal names the later.
#include <cstring>
#include <map>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/ground/ini/IniFile.h"
#include "quelplatform/qmEnv/QmEnvLocale.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmParam.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

constexpr const char* kFiles[] = {"params.ini", "cameras.ini", "quelmetra.ini"};

/// A home directory with these files, for a block. Each has a name of its own, so that no state of a file can be taken
/// for another's.
class Home {
 public:
  explicit Home(std::string_view content) : before_(quelplatform::homeDirectory()) {
    static std::uint64_t count = 0;
    name_ = "home" + std::to_string(++count);
    quelfuzz::makeFolder(name_);
    for (const char* file : kFiles) quelfuzz::makeFile(name_ + '/' + file, content);
    quelplatform::setHomeDirectory(before_ + '/' + name_);
  }
  ~Home() {
    quelplatform::setHomeDirectory(before_);
    quelfuzz::removeFolder(name_);
  }
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

 private:
  std::string before_;
  std::string name_;
};

using Texts = std::map<std::string, std::string>;

/// The text of every key, and what its numbers are.
Texts parametersOf(const quelplatform::IniFile& ini) {
  Texts texts;
  for (const quelplatform::IniSection& section : ini.sections) {
    for (const quelplatform::IniEntry& entry : section.entries) {
      qmString text;
      const std::int32_t found = qmEnvGetParam2qmString(entry.key.c_str(), "", text);
      if (found != 0) texts[entry.key] = text.c_str();
      double real = 0.5;
      float single = 0.5F;
      std::int32_t whole = 5;
      _qmBool flag{};
      const std::int32_t isReal = qmEnvGetParam2double(entry.key.c_str(), 0.5, &real);
      const std::int32_t isWhole = qmEnvGetParam2int(entry.key.c_str(), 5, &whole);
      qmEnvGetParam2float(entry.key.c_str(), 0.5F, &single);
      qmEnvGetParam2qmBool(entry.key.c_str(), 0, &flag);
      quelfuzz::require(isReal != 0 || real == 0.5, "what is no number leaves the default");
      quelfuzz::require(isWhole == 0 || (isReal != 0 && real == whole), "a whole number is a number");
    }
  }
  return texts;
}

struct Camera {
  std::int32_t width;
  std::int32_t height;
  qmWString name;

  bool operator==(const Camera&) const = default;
};
using Cameras = std::map<std::int32_t, Camera>;

Cameras camerasOf(const quelplatform::IniFile& ini) {
  Cameras cameras;
  for (const quelplatform::IniSection& section : ini.sections) {
    if (section.name.size() < 8) continue;
    const auto type = static_cast<OH_CAMERA_TYPE>(std::strtol(section.name.c_str() + 7, nullptr, 10));
    CameraInfo info = {};
    if (!getCameraInfo(type, info)) continue;
    quelfuzz::require(type > 0 && info.type == type, "a type with a size has a number");
    quelfuzz::require(info.width >= 1 && info.width <= 100000 && info.height >= 1 && info.height <= 100000,
                      "sides are within their limits");
    if (type > 8) cameras[type] = {info.width, info.height, getOHCameraName(type)};
  }
  return cameras;
}

std::string textOf(const Texts& parameters, const Cameras& cameras) {
  std::string text = "# no mark, whatever the first key begins with\n";
  for (const auto& [key, value] : parameters) text += key + " = " + value + "\r\n";
  for (const auto& [type, camera] : cameras) {
    text += "[Camera " + std::to_string(type) + "]\nName=" + toNarrow(camera.name) +
            "\nWidth=" + std::to_string(camera.width) + "\nHeight=" + std::to_string(camera.height) + '\n';
  }
  return text;
}

/// Whether no text holds a NUL, at which the calls' texts end.
bool isPlain(const quelplatform::IniFile& ini) {
  for (const quelplatform::IniSection& section : ini.sections) {
    for (const quelplatform::IniEntry& entry : section.entries) {
      if ((entry.key + entry.value).find('\0') != std::string::npos) return false;
    }
  }
  return true;
}

void requireMachine() {
  char id[8];
  quelfuzz::require(qmEnvMachineID(id, 8) == 8, "a machine has an identifier of 8 characters");
  for (const char c : id) {
    quelfuzz::require(c > ' ' && c < 0x7F && c != '/' && c != '\\', "an identifier can name a file");
  }
}

/// Calls without a key or room, tables that are not there, and folders in their place.
void requireRefusals() {
  double real = 0.5;
  _qmBool flag{};
  qmString text;
  quelfuzz::require(qmEnvGetParam2double(nullptr, 2.5, &real) == 0 && real == 2.5, "without a key the default holds");
  quelfuzz::require(qmEnvGetParam2double("a", 2.5, nullptr) == 0 && qmEnvGetParam2qmBool(nullptr, 0, &flag) == 0 &&
                        qmEnvGetParam2qmBool("a", 0, nullptr) == 0,
                    "without room nothing is read");
  quelfuzz::require(qmEnvGetParam2qmString(nullptr, "b", text) == 0 && text.c_str() == std::string("b"), "the default");
  quelfuzz::require(qmEnvMachineID(nullptr, 8) == 0, "without room there is no identifier");
  quelfuzz::require(getOHCameraName(getDefCameraType()) == qmWString(u"Default"), "built-in types have names");
  const auto none = static_cast<OH_CAMERA_TYPE>(77);
  quelfuzz::require(getOHCameraName(none) == qmWString(u"Unknown"), "a type that is none has no name");
  quelfuzz::makeFolder("params.ini");
  qmEnvGetParam2qmString("a", "", text);
  quelfuzz::require(text.isNull(), "a folder holds no parameters");
  quelfuzz::removeFolder("params.ini");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  const quelplatform::IniFile ini = quelplatform::parseIniText(bytes);
  Texts parameters;
  Cameras cameras;
  {
    const Home home(bytes);
    const quelfuzz::MemoryWatch watch;
    parameters = parametersOf(ini);
    cameras = camerasOf(ini);
    requireMachine();
    if (QmEnvLocale* locale = QmEnvLocale::GetInstance(true)) {
      quelfuzz::require(QmEnvLocale::GetFactor(locale->GetUnits()) > 0.0, "the unit in force has a factor");
    }
    // Three tables of nodes, and those of this target.
    watch.requireAtMost(quelfuzz::kTimesFile, 300, size);
  }
  if (!isPlain(ini)) return 0;
  const Home home(textOf(parameters, cameras));
  const quelplatform::IniFile again = quelplatform::parseIniText(textOf(parameters, cameras));
  quelfuzz::require(camerasOf(again) == cameras, "camera types stay what they were");
  const Texts texts = parametersOf(again);
  for (const auto& [key, value] : parameters) {
    const auto found = texts.find(key);
    quelfuzz::require(found != texts.end() && found->second == value, "a parameter stays what it was");
  }
  return 0;
}
