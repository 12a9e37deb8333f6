#include "quelcore/transforms/QmCommutatorTrnsMan.h"

#include <algorithm>
#include <memory>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/base/xmlPlaces.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmFile.h"

using quelcore::extractedUnsigned;
using quelcore::Presence;
using quelcore::presenceByLastError;
using quelcore::ProblemText;
using quelcore::unlessOutOfMemory;
using quelcore::XmlElement;

namespace {

constexpr std::uint32_t kNoIndex = 0xFFFFFFFF;
constexpr const qmWChar* kList = u"CommutatorTrns";
const qmWChar* const kCurrent = u"currentSequentialID";
const qmWChar* const kNext = u"nextSequentialID";
constexpr const qmWChar* kSet = u"TrnsSet";
const qmWChar* const kNumber = u"sequentialID";
constexpr std::u16string_view kPath[] = {kList, kSet};

/// An attribute of the current element, `byDefault`, with a remark, where it is no number.
std::uint32_t readNumber(const CMarkupSTL& xml, const qmWChar* attribute, std::uint32_t byDefault,
                         const XmlElement& element) {
  const qmWString text = xml.GetAttrib(attribute);
  if (!quelcore::isWholeNumber(text)) {
    const auto name = ProblemText::plain(attribute);
    element.remark(ProblemText::quoted(text), ProblemText::printed("a whole number as %.40s", name.text));
  }
  return extractedUnsigned(text).value_or(byDefault);
}

}  // namespace

QmCommutatorTrnsMan* QmCommutatorTrnsMan::me_ = nullptr;

QmCommutatorTrnsMan::QmCommutatorTrnsMan() noexcept = default;
QmCommutatorTrnsMan::QmCommutatorTrnsMan(const QmCommutatorTrnsMan&) = default;
QmCommutatorTrnsMan& QmCommutatorTrnsMan::operator=(const QmCommutatorTrnsMan&) = default;

QmCommutatorTrnsMan::~QmCommutatorTrnsMan() { clearAllTrnsSets(); }

QmCommutatorTrnsMan* QmCommutatorTrnsMan::createInstance() {
  if (me_ == nullptr) {
    me_ = new QmCommutatorTrnsMan;
    me_->loadAllTrnsSets();
  }
  return me_;
}

QmCommutatorTrnsMan::Entry* QmCommutatorTrnsMan::findEntry(std::uint32_t sequentialId) noexcept {
  const auto found = std::find_if(sets_.begin(), sets_.end(),
                                  [&](const Entry& entry) { return entry.set->getSequentialID() == sequentialId; });
  return found == sets_.end() ? nullptr : &*found;
}

std::uint32_t QmCommutatorTrnsMan::highestId() const noexcept {
  std::uint32_t highest = 0;
  for (const Entry& entry : sets_) highest = std::max(highest, entry.set->getSequentialID());
  return highest;
}

// True when a reading was tried.
bool QmCommutatorTrnsMan::loadOnDemand(Entry& entry) noexcept {
  if (entry.loaded) return false;
  entry.loaded = entry.set->loadAllTrns(rootDir_.c_str()) != 0;
  return true;
}

QmCommutatorTrnsSet* QmCommutatorTrnsMan::getTrnsSet(std::size_t index) noexcept {
  if (index >= sets_.size()) return nullptr;
  if (loadOnDemand(sets_[index])) dirty_ = true;
  return sets_[index].set;
}

QmCommutatorTrnsSet* QmCommutatorTrnsMan::getCurTrnsSet() noexcept { return getTrnsSet(currentIndex_); }

QmCommutatorTrnsSet* QmCommutatorTrnsMan::findTrnsSet(std::uint32_t sequentialId) noexcept {
  Entry* entry = findEntry(sequentialId);
  if (entry == nullptr) return nullptr;
  loadOnDemand(*entry);
  return entry->set;
}

QmCommutatorTrns* QmCommutatorTrnsMan::findTrns(std::uint32_t sequentialId, std::uint32_t sourceId) noexcept {
  const QmCommutatorTrnsSet* set = findTrnsSet(sequentialId);
  return set == nullptr ? nullptr : set->findTrns(sourceId);
}

bool QmCommutatorTrnsMan::append(QmCommutatorTrnsSet* set) noexcept {
  return unlessOutOfMemory(false, [&] {
    sets_.push_back({true, set});
    return dirty_ = true;
  });
}

bool QmCommutatorTrnsMan::addTrnsSet(QmCommutatorTrnsSet* set, bool makeCurrent) noexcept {
  if (set == nullptr) return false;
  if (set->getSequentialID() == 0) set->setSequentialID(nextSequentialId_++);
  const bool added = findEntry(set->getSequentialID()) == nullptr && append(set);
  if (makeCurrent) setCurTrnsSet(set->getSequentialID());
  return added;
}

bool QmCommutatorTrnsMan::setCurTrnsSet(std::uint32_t sequentialId) noexcept {
  const Entry* entry = findEntry(sequentialId);
  if (entry == nullptr) return false;
  const auto index = static_cast<std::uint32_t>(entry - sets_.data());
  if (index == currentIndex_) return true;
  currentIndex_ = index;
  return dirty_ = true;
}

void QmCommutatorTrnsMan::clearAllTrnsSets() noexcept {
  for (const Entry& entry : sets_) delete entry.set;
  sets_.clear();
  currentIndex_ = kNoIndex;
  nextSequentialId_ = 1;
}

bool QmCommutatorTrnsMan::isDirty() const noexcept {
  return dirty_ || std::any_of(sets_.begin(), sets_.end(),
                               [](const Entry& entry) { return entry.loaded && entry.set->isDirty(); });
}

qmWString QmCommutatorTrnsMan::listPath() const { return quelcore::joined(rootDir_, u"CommutatorTrnsManager.xml"); }

bool QmCommutatorTrnsMan::readList() {
  CMarkupSTL xml;
  const qmWString path = listPath();
  quelcore::goOnReading(path.c_str());
  if (!xml.Load(path.c_str())) return presenceByLastError() == Presence::Absent || quelcore::refuseXml(xml);
  if (!xml.FindElem(kList)) return quelcore::refuse({}, "root", "another one", "CommutatorTrns");
  const XmlElement list = {path.c_str(), {kPath, 1}, 1};
  const std::uint32_t current = readNumber(xml, kCurrent, 0, list);
  nextSequentialId_ = readNumber(xml, kNext, 1, list);
  xml.IntoElem();
  for (int number = 1; xml.FindElem(kSet); ++number) {
    auto set = std::make_unique<QmCommutatorTrnsSet>(readNumber(xml, kNumber, 0, {path.c_str(), kPath, number}));
    sets_.push_back({false, set.get()});
    set.release();
  }
  setCurTrnsSet(current);
  nextSequentialId_ = std::max(nextSequentialId_, highestId());
  return true;
}

std::size_t QmCommutatorTrnsMan::loadAllTrnsSets() noexcept {
  clearAllTrnsSets();
  unknown_ = true;  // Until it is read, also where memory runs out on the way.
  const bool read = quelcore::reading(nullptr, false, [&] {
    const bool good = readList();
    unknown_ = presenceByLastError() == Presence::Unknown;
    return good;
  });
  if (!read) clearAllTrnsSets();
  return sets_.size();
}

bool QmCommutatorTrnsMan::saveAllTrnsSets() noexcept {
  return unlessOutOfMemory(false, [&] {
    if (!QmDirectoryExist(rootDir_.c_str()) && !QmMakeDirectory(rootDir_.c_str())) return false;
    if (!isDirty()) return true;
    if (unknown_) return false;
    CMarkupSTL xml;
    const QmCommutatorTrnsSet* current = getCurTrnsSet();
    bool made = xml.AddElem(kList) && xml.AddAttrib(kCurrent, current == nullptr ? 0 : current->getSequentialID()) &&
                xml.AddAttrib(kNext, highestId() + 1);
    xml.IntoElem();
    for (const Entry& entry : sets_) {
      // Required: the list ends in front of a set that cannot be saved.
      if (entry.loaded && !entry.set->saveAllTrns(rootDir_.c_str())) break;
      made = made && xml.AddElem(kSet) && xml.AddAttrib(kNumber, entry.set->getSequentialID());
    }
    xml.OutOfElem();
    if (!made) return false;  // For want of memory; half a list must not take the place of a whole one.
    const bool written = xml.Save(listPath().c_str());
    dirty_ = false;
    return written;
  });
}
