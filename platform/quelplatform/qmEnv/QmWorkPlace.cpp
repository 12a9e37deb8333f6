#include "quelplatform/qmEnv/QmWorkPlace.h"

#include <cstring>
#include <mutex>
#include <new>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/ground/files/home.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

/// The project root that the application set, if any.
struct ChosenRoot {
  std::mutex mutex;
  qmWString path;
};

ChosenRoot& chosenRoot() noexcept {
  static quelplatform::Lasting<ChosenRoot> root;
  return root.get();
}

std::int32_t failWith(std::uint32_t systemError) noexcept {
  quelplatform::setLastError(systemError);
  return 0;
}

}  // namespace

void quelplatform::setHomeDirectory(const std::string& path) { chooseHome(path); }

std::string quelplatform::homeDirectory() { return homePath(); }

std::int32_t QmWorkPlace::MakeHomeFullPath(const qmWChar* name, qmWChar* buffer, std::int32_t size) noexcept try {
  if (buffer == nullptr || size <= 0) return 0;
  buffer[0] = u'\0';
  if (name == nullptr) return 0;
  const qmWString path = toWide(quelplatform::homeFile(toNarrow(name)));
  if (path.empty()) return failWith(quelplatform::kErrorPathNotFound);
  if (path.size() >= static_cast<std::size_t>(size)) return failWith(quelplatform::kErrorBufferOverflow);
  std::memcpy(buffer, path.c_str(), (path.size() + 1) * sizeof(qmWChar));
  return static_cast<std::int32_t>(path.size());
} catch (const std::bad_alloc&) {
  return failWith(quelplatform::kErrorNotEnoughMemory);
}

std::int32_t QmWorkPlace::getQmIniFilePath(qmWChar* buffer, std::int32_t size) noexcept {
  return MakeHomeFullPath(u"quelmetra.ini", buffer, size);
}

std::int32_t QmWorkPlace::getSetupMapFilePath(qmWChar* buffer, std::int32_t size) noexcept {
  return MakeHomeFullPath(u"SetupMap.txt", buffer, size);
}

const qmWChar* QmWorkPlace::getSetupFileTail() noexcept { return u"setup.qms"; }

const qmWChar* QmWorkPlace::getAutoSetupFileTail() noexcept { return u"autosetup.qms"; }

const qmWChar* QmWorkPlace::getPartFileTail(bool withSeparator) noexcept {
  static constexpr qmWChar kTail[] = {path_separator, u'p', u'a', u'r', u't', u'.', u'q', u'm', u'p', u'\0'};
  return withSeparator ? kTail : kTail + 1;
}

const qmWChar* QmWorkPlace::getPartInfoFileTail() noexcept { return u"partinfo.qmp"; }

const qmWChar* QmWorkPlace::getPreviewFileTail() noexcept { return u"preview.png"; }

const qmWChar* QmWorkPlace::getReadmeFileTail() noexcept { return u"readme.txt"; }

void quelplatform::setCurProjRoot(const qmWString& path) {
  ChosenRoot& root = chosenRoot();
  const std::lock_guard lock(root.mutex);
  root.path = path;
}

const qmWChar* QmWorkPlace::getCurProjRoot() {
  thread_local qmWString given;
  {
    ChosenRoot& root = chosenRoot();
    const std::lock_guard lock(root.mutex);
    given = root.path;
  }
  if (given.empty()) given = toWide(quelplatform::homeFile("projects"));
  return given.c_str();
}

std::int32_t QmWorkPlace::MakeLegendFullPath(const qmWChar* name, qmWChar* buffer, std::int32_t size) noexcept try {
  return MakeHomeFullPath(name == nullptr ? nullptr : (u"legends/" + qmWString(name)).c_str(), buffer, size);
} catch (const std::bad_alloc&) {
  MakeHomeFullPath(nullptr, buffer, size);
  return failWith(quelplatform::kErrorNotEnoughMemory);
}

std::int32_t QmWorkPlace::MakeMultiStageCalibFullPath(OH_CAMERA_TYPE type, qmWChar* buffer, std::int32_t size) noexcept
    try {
  const bool isType = type > OH_CAMERA_INVALID;
  const qmWString name = toWide("multistage/" + std::to_string(static_cast<std::int32_t>(type)) + ".ini");
  return MakeHomeFullPath(isType ? name.c_str() : nullptr, buffer, size);
} catch (const std::bad_alloc&) {
  MakeHomeFullPath(nullptr, buffer, size);
  return failWith(quelplatform::kErrorNotEnoughMemory);
}
