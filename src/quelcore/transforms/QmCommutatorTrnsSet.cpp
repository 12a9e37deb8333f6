#include "quelcore/transforms/QmCommutatorTrnsSet.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "quelcore/base/DirectorySearch.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"

using quelcore::decimalText;
using quelcore::DirectorySearch;
using quelcore::Presence;
using quelcore::ProblemText;
using quelcore::unlessOutOfMemory;

namespace {

const qmWChar* const kLeftTail = u"TrackerLeft.trn";
const qmWChar* const kRightTail = u"TrackerRight.trn";

qmWString inDirectory(const qmWChar* dir, const qmWString& name) {
  return quelcore::joined(dir == nullptr ? u"" : dir, name);
}

// The number between the first and the second "_" of a file's name; 0 when there is none.
std::uint32_t sourceOf(std::u16string_view name) {
  const std::size_t first = name.find(u'_');
  if (first == name.npos) return 0;
  return quelcore::leadingUnsigned(name.substr(first + 1, name.find(u'_', first + 1) - first - 1));
}

constexpr const char* kCauses[] = {"there is no such file", "it is no sound transform file", "it cannot be read"};

// Notes a file that is missing or none; the set goes on without its pair.
bool loadTransform(const qmWString& path, qmMathTransform& transform) {
  if (qmMathTransformLoad(path.c_str(), &transform) == 1) return true;
  const Presence presence = quelcore::presenceByLastError();
  quelcore::goOnReading(path.c_str());
  quelcore::remark({}, "", kCauses[static_cast<std::size_t>(presence)]);
  return false;
}

}  // namespace

QmCommutatorTrnsSet::QmCommutatorTrnsSet(std::uint32_t sequentialId) noexcept : sequentialId_(sequentialId) {}
QmCommutatorTrnsSet::QmCommutatorTrnsSet(const QmCommutatorTrnsSet&) = default;
QmCommutatorTrnsSet& QmCommutatorTrnsSet::operator=(const QmCommutatorTrnsSet&) = default;

QmCommutatorTrnsSet::~QmCommutatorTrnsSet() { clearAllTrns(); }

void QmCommutatorTrnsSet::setSequentialID(std::uint32_t sequentialId) noexcept {
  dirty_ = dirty_ || sequentialId != sequentialId_;
  sequentialId_ = sequentialId;
}

QmCommutatorTrns* QmCommutatorTrnsSet::getTrns(std::size_t index) const noexcept {
  return index < transforms_.size() ? transforms_[index] : nullptr;
}

QmCommutatorTrns* QmCommutatorTrnsSet::findTrns(std::uint32_t sourceId) const noexcept {
  const auto found = std::find_if(transforms_.begin(), transforms_.end(),
                                  [&](const QmCommutatorTrns* pair) { return pair->getSourceID() == sourceId; });
  return found == transforms_.end() ? nullptr : *found;
}

bool QmCommutatorTrnsSet::addTrns(QmCommutatorTrns* pair) noexcept {
  if (pair == nullptr || findTrns(pair->getSourceID()) != nullptr || mayBeOnDisk(pair->getSourceID())) return false;
  return unlessOutOfMemory(false, [&] {
    transforms_.push_back(pair);
    return dirty_ = true;
  });
}

bool QmCommutatorTrnsSet::mayBeOnDisk(std::uint32_t sourceId) const noexcept {
  return !listed_ || std::find(unread_.begin(), unread_.end(), sourceId) != unread_.end();
}

void QmCommutatorTrnsSet::clearAllTrns() noexcept {
  for (const QmCommutatorTrns* pair : transforms_) delete pair;
  transforms_.clear();
}

bool QmCommutatorTrnsSet::isDirty() const noexcept {
  return dirty_ ||
         std::any_of(transforms_.begin(), transforms_.end(), [](const auto* pair) { return pair->isDirty(); });
}

qmWString QmCommutatorTrnsSet::getTrnFileName(const QmCommutatorTrns* pair, TrnPos pos) const {
  if (pair == nullptr) return {};
  return decimalText(sequentialId_) + u"_" + decimalText(pair->getSourceID()) + u"_" +
         (pos == TrnPosLeft ? kLeftTail : kRightTail);
}

std::size_t QmCommutatorTrnsSet::loadAllTrns(const qmWChar* dir) noexcept {
  const std::size_t before = transforms_.size();
  listed_ = false;
  unread_.clear();
  quelcore::reading(dir, false, [&] {
    const qmWString pattern = inDirectory(dir, decimalText(sequentialId_) + u"_*_" + kLeftTail);
    DirectorySearch search(pattern);
    for (; search.found(); search.goOn()) {
      const std::uint32_t sourceId = sourceOf(search.entry().cFileName);
      if (sourceId == 0) {
        quelcore::remark({}, "", ProblemText::quoted(search.entry().cFileName), "a name with the number of its source");
        continue;
      }
      auto pair = std::make_unique<QmCommutatorTrns>(sourceId);
      if (!readTrns(*pair, dir)) {
        if (quelcore::presenceByLastError() == Presence::Unknown) unread_.push_back(sourceId);
        continue;
      }
      transforms_.push_back(pair.get());
      pair.release();
    }
    listed_ = search.isComplete();
    return true;
  });
  return transforms_.size() - before;
}

bool QmCommutatorTrnsSet::loadTrns(QmCommutatorTrns* pair, const qmWChar* dir) noexcept {
  return pair != nullptr && unlessOutOfMemory(false, [&] { return readTrns(*pair, dir); });
}

bool QmCommutatorTrnsSet::readTrns(QmCommutatorTrns& pair, const qmWChar* dir) const {
  for (const TrnPos pos : {TrnPosLeft, TrnPosRight}) {
    qmMathTransform transform;
    if (!loadTransform(inDirectory(dir, getTrnFileName(&pair, pos)), transform)) return false;
    pair.setTrn(pos, transform);
  }
  return true;
}

bool QmCommutatorTrnsSet::saveAllTrns(const qmWChar* dir) noexcept {
  if (!isDirty()) return true;
  const bool saved =
      std::all_of(transforms_.begin(), transforms_.end(), [&](const auto* pair) { return saveTrns(pair, dir); });
  if (saved) dirty_ = false;
  return saved;
}

bool QmCommutatorTrnsSet::saveTrns(const QmCommutatorTrns* pair, const qmWChar* dir) noexcept {
  if (pair == nullptr) return false;
  if (!pair->isDirty()) return true;
  dirty_ = false;
  return unlessOutOfMemory(false, [&] {
    for (const TrnPos pos : {TrnPosLeft, TrnPosRight}) {
      if (qmMathTransformStore(inDirectory(dir, getTrnFileName(pair, pos)).c_str(), &pair->getTrn(pos)) != 1)
        return false;
    }
    return true;
  });
}
