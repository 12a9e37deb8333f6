#include "quelcore/transforms/QmCommutatorTrnsSet.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "quelcore/text/outOfMemory.h"
#include "quelcore/text/wideNumber.h"
#include "quelplatform/qmMath/qmMathTransformFile.h"
#include "quelplatform/windows/fileSearch.h"

using quelcore::decimalText;
using quelcore::unlessOutOfMemory;

namespace {

const qmWChar* const kLeftTail = u"TrackerLeft.trn";
const qmWChar* const kRightTail = u"TrackerRight.trn";

qmWString inDirectory(const qmWChar* dir, const qmWString& name) {
  return (dir == nullptr ? qmWString() : qmWString(dir)) + u"\\" + name;
}

// The number between the first and the second "_" of a file's name; 0 when there is none.
std::uint32_t sourceOf(std::u16string_view name) {
  const std::size_t first = name.find(u'_');
  if (first == name.npos) return 0;
  return quelcore::leadingUnsigned(name.substr(first + 1, name.find(u'_', first + 1) - first - 1));
}

// Calls `take` with the name of each file that fits `pattern`.
template <typename Take>
void eachFile(const qmWString& pattern, Take take) {
  struct Search {
    explicit Search(HANDLE begun) : handle(begun) {}
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    ~Search() { FindClose(handle); }
    HANDLE handle;
  };
  WIN32_FIND_DATAW file;
  const HANDLE begun = FindFirstFileW(pattern.c_str(), &file);
  if (begun == INVALID_HANDLE_VALUE) return;
  const Search search(begun);
  do {
    take(file.cFileName);
  } while (FindNextFileW(search.handle, &file) != 0);
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
  if (pair == nullptr || findTrns(pair->getSourceID()) != nullptr) return false;
  return unlessOutOfMemory(false, [&] {
    transforms_.push_back(pair);
    return dirty_ = true;
  });
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
  unlessOutOfMemory(false, [&] {
    eachFile(inDirectory(dir, decimalText(sequentialId_) + u"_*_" + kLeftTail), [&](const qmWChar* name) {
      const std::uint32_t sourceId = sourceOf(name);
      if (sourceId == 0) return;
      auto pair = std::make_unique<QmCommutatorTrns>(sourceId);
      if (!loadTrns(pair.get(), dir)) return;
      transforms_.push_back(pair.get());
      pair.release();
    });
    return true;
  });
  return transforms_.size() - before;
}

bool QmCommutatorTrnsSet::loadTrns(QmCommutatorTrns* pair, const qmWChar* dir) noexcept {
  if (pair == nullptr) return false;
  return unlessOutOfMemory(false, [&] {
    for (const TrnPos pos : {TrnPosLeft, TrnPosRight}) {
      qmMathTransform transform;
      if (qmMathTransformLoad(inDirectory(dir, getTrnFileName(pair, pos)).c_str(), &transform) != 1) return false;
      pair->setTrn(pos, transform);
    }
    return true;
  });
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
