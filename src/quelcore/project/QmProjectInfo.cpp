#include "quelcore/project/QmProjectInfo.h"

#include <algorithm>
#include <memory>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/problems.h"
#include "quelcore/project/subdirectories.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/windows/fileSearch.h"
#include "quelplatform/windows/tempFile.h"

using quelcore::joined;

namespace {

/// Levels of the walk below which links to directories are not followed: root and project.
constexpr int kLevelsWithLinks = 2;

qmWString orEmpty(const qmWChar* text) { return text == nullptr ? u"" : text; }

const qmWChar* markerOf(QmProjectInfo::FilterSetup filter) {
  static const qmWString setup = QmWorkPlace::getSetupFileTail();
  static const qmWString autoSetup = QmWorkPlace::getAutoSetupFileTail();
  switch (filter) {
    case QmProjectInfo::FS_SETUP:
      return setup.c_str();
    case QmProjectInfo::FS_AUTO_SETUP:
      return autoSetup.c_str();
    default:
      return u"";
  }
}

bool isPart(const qmWString& directory) {
  static const qmWString part = QmWorkPlace::getPartFileTail(false);
  static const qmWString partInfo = QmWorkPlace::getPartInfoFileTail();
  return QmFileExist(joined(directory, part).c_str()) || QmFileExist(joined(directory, partInfo).c_str());
}

std::vector<QmSetupInfo*> copiesOf(const std::vector<QmSetupInfo*>& setups) {
  std::vector<std::unique_ptr<QmSetupInfo>> copies;
  for (const QmSetupInfo* setup : setups) copies.push_back(std::make_unique<QmSetupInfo>(*setup));
  std::vector<QmSetupInfo*> released(copies.size());
  std::transform(copies.begin(), copies.end(), released.begin(), [](auto& copy) { return copy.release(); });
  return released;
}

}  // namespace

QmProjectInfo::QmProjectInfo(const QmProjectInfo& other)
    : filePath_(other.filePath_),
      root_(other.root_),
      projectName_(other.projectName_),
      partName_(other.partName_),
      setups_(copiesOf(other.setups_)) {}

// Required: the setups are shared, and the object's own ones are let go.
QmProjectInfo& QmProjectInfo::operator=(const QmProjectInfo& other) = default;

QmProjectInfo::~QmProjectInfo() {
  for (const QmSetupInfo* setup : setups_) delete setup;
}

// --- Walking through directories -------------------------------------------------------------------------------------

QmProjectInfo::ReturnCode QmProjectInfo::InitFromDir(const qmWChar* directory, FilterSetup filter) {
  const qmWString copy = orEmpty(directory);  // The caller's text may be the root's own.
  if (directory != nullptr) root_ = copy;
  if (!QmDirectoryExist(root_.c_str())) return RC_NO_DIR;
  return ParseDir(directory == nullptr ? nullptr : copy.c_str(), filter);
}

QmProjectInfo::ReturnCode QmProjectInfo::ParseDir(const qmWChar* directory, FilterSetup filter) {
  if (directory == nullptr) return RC_NULL_DIR;
  walk(directory, markerOf(filter), 0);
  return RC_OK;
}

void QmProjectInfo::walk(const qmWString& directory, const qmWChar* marker, int level) {
  for (const auto& [name, isLink] : quelcore::subdirectories(joined(directory, u"*"))) {
    const qmWString candidate = joined(directory, name);
    if (QmFileExist(joined(candidate, marker).c_str())) {
      append(partName_, name);
      continue;
    }
    if (isLink && level >= kLevelsWithLinks) continue;
    walkPart(candidate, name, marker, level);
    if (root_ != directory) continue;
    if (projectName_.empty()) projectName_ = name;
    // Required: also for a directory that was walked as a part just now.
    if (projectName_ == name) walk(candidate, marker, level + 1);
  }
}

void QmProjectInfo::walkPart(const qmWString& candidate, const qmWString& name, const qmWChar* marker, int level) {
  if (!isPart(candidate)) return;
  if (partName_.empty()) partName_ = name;
  if (partName_ == name) walk(candidate, marker, level + 1);
}

void QmProjectInfo::append(const qmWString& part, const qmWString& setupName) {
  auto setup = std::make_unique<QmSetupInfo>();
  setup->SetLoaded(false);
  setup->SetRoot(root_);
  setup->SetProject(projectName_);
  setup->SetPart(part);
  setup->SetSetup(setupName);
  setups_.push_back(setup.get());
  setup.release();
}

// --- From an XML listing -------------------------------------------------------------------------------------------

bool QmProjectInfo::InitByXMLHeader(const qmWChar* text, FilterSetup) {
  quelcore::beginReading(nullptr);
  CMarkupSTL xml;
  if (!xml.SetDoc(text)) quelcore::refuseXml(xml);
  xml.FindElem(nullptr);
  xml.IntoElem();
  if (!xml.FindElem(u"dir")) return !quelcore::refuse({}, "project", "none", "dir");
  projectName_ = xml.GetAttrib(u"name");
  if (projectName_.empty()) return !quelcore::refuse({}, "dir of the project", "none", "name");
  xml.IntoElem();
  xml.FindElem(u"dir");
  partName_ = xml.GetAttrib(u"name");
  if (partName_.empty()) return !quelcore::refuse({}, "dir of the part", "none", "name");
  xml.IntoElem();
  for (int number = 1; xml.FindElem(u"dir"); ++number) {
    const qmWString name = xml.GetAttrib(u"name");
    // Required: the part of each setup is the name of the project.
    if (!name.empty()) {
      append(projectName_, name);
    } else {
      quelcore::remark({}, quelcore::ProblemText::printed("dir of setup %d", number), "none", "name");
    }
  }
  return true;  // Required: whatever was read.
}

// --- The list of setups --------------------------------------------------------------------------------------------

bool QmProjectInfo::mayTake(const QmSetupInfo* setup) const {
  return setup != nullptr && FindSetupInfo(setup->GetSetup()) == nullptr;
}

bool QmProjectInfo::AddSetupInfo(QmSetupInfo* setup) {
  if (!mayTake(setup)) return false;
  return quelcore::unlessOutOfMemory(false, [&] {
    setups_.push_back(setup);
    return true;
  });
}

bool QmProjectInfo::InsertSetupInfo(std::uint32_t index, QmSetupInfo* setup) {
  if (index >= setups_.size() || !mayTake(setup)) return false;
  return quelcore::unlessOutOfMemory(false, [&] {
    setups_.insert(setups_.begin() + index, setup);
    return true;
  });
}

bool QmProjectInfo::RemoveSetupInfo(QmSetupInfo* setup, bool destroy) {
  const auto found = std::find(setups_.begin(), setups_.end(), setup);
  if (setup == nullptr || found == setups_.end()) return false;
  setups_.erase(found);
  if (destroy) delete setup;
  return true;
}

QmSetupInfo* QmProjectInfo::FindSetupInfo(const qmWChar* setupName) const {
  if (setupName == nullptr) return nullptr;
  const std::u16string_view name(setupName);
  const auto found = std::find_if(setups_.begin(), setups_.end(),
                                  [name](const QmSetupInfo* setup) { return setup->GetSetup() == name; });
  return found == setups_.end() ? nullptr : *found;
}

QmSetupInfo* QmProjectInfo::GetSetupInfo(std::uint32_t index) const {
  return index < setups_.size() ? setups_[index] : nullptr;
}

// --- Names ---------------------------------------------------------------------------------------------------------

void QmProjectInfo::SetRoot(const qmWChar* root) {
  root_ = orEmpty(root);
  for (QmSetupInfo* setup : setups_) setup->SetRoot(root_);
}

void QmProjectInfo::SetProjectName(const qmWChar* name) {
  projectName_ = orEmpty(name);
  for (QmSetupInfo* setup : setups_) setup->SetProject(projectName_);
}

void QmProjectInfo::SetPartName(const qmWChar* name) {
  partName_ = orEmpty(name);
  for (QmSetupInfo* setup : setups_) setup->SetPart(partName_);
}

void QmProjectInfo::SetFilePath(const qmWChar* path) { filePath_ = orEmpty(path); }

qmWString QmProjectInfo::GetFullProjPath() const { return joined(root_, projectName_); }

qmWString QmProjectInfo::GetFullPartPath() const { return joined(GetFullProjPath(), partName_); }

void QmProjectInfo::GetTmpFilePath(qmWChar* buffer) {
  if (buffer == nullptr) return;
  buffer[0] = u'\0';
  qmWChar directory[quelcore::kPathSize] = {};
  GetTempPathW(quelcore::kPathSize, directory);
  GetTempFileNameW(directory, u"qm_", 0, buffer);
}
