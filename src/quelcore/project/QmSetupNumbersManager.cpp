#include "quelcore/project/QmSetupNumbersManager.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/problems.h"
#include "quelcore/project/setupIndex.h"
#include "quelcore/project/setupMap.h"
#include "quelplatform/qmEnv/qmFile.h"

using quelcore::Presence;

namespace {

constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kNoNumber = -1;

using Items = std::vector<QmSetupNumCyclePath>;

/// The path of the setup map.
struct MapPath {
  MapPath() { QmWorkPlace::getSetupMapFilePath(text, quelcore::kPathSize); }

  qmWChar text[quelcore::kPathSize] = {};
};

template <typename Wanted>
std::int32_t firstIndex(const Items& items, Wanted wanted) {
  const auto found = std::find_if(items.begin(), items.end(), wanted);
  return found == items.end() ? -1 : static_cast<std::int32_t>(found - items.begin());
}

/// True when an item at another index than `index` is wanted.
template <typename Wanted>
bool isElsewhere(const Items& items, std::int32_t index, Wanted wanted) {
  const auto own = items.begin() + index;
  return std::any_of(items.begin(), own, wanted) || std::any_of(own + 1, items.end(), wanted);
}

auto hasNumber(std::int32_t number) {
  return [number](const QmSetupNumCyclePath& item) { return item.GetSetupNumber() == number; };
}

auto hasPath(const qmWChar* path) {
  return [path](const QmSetupNumCyclePath& item) { return item.ComparePath(path); };
}

std::u16string_view pathOf(const QmSetupNumCyclePath& item) { return item.GetPath(); }

template <typename Key>
void sortBy(Items& items, Key key) {
  std::stable_sort(items.begin(), items.end(), [key](const auto& a, const auto& b) { return key(a) < key(b); });
}

}  // namespace

QmSetupNumbersManager::QmSetupNumbersManager() = default;

QmSetupNumbersManager::QmSetupNumbersManager(const QmSetupNumbersManager& other)
    : dirty_(other.dirty_), unknown_(other.unknown_), items_(other.items_) {}

QmSetupNumbersManager& QmSetupNumbersManager::operator=(const QmSetupNumbersManager& other) {
  items_ = other.items_;
  dirty_ = other.dirty_;
  unknown_ = other.unknown_;
  index_.reset();
  return *this;
}

QmSetupNumbersManager::~QmSetupNumbersManager() { Uninitialize(); }

quelcore::SetupIndex& QmSetupNumbersManager::index() const {
  if (index_ == nullptr) index_ = std::make_unique<quelcore::SetupIndex>();
  return *index_;
}

std::int32_t QmSetupNumbersManager::Initialize() {
  dirty_ = false;
  unknown_ = true;
  items_.clear();
  index_.reset();
  const MapPath path;
  const bool read = quelcore::reading(path.text, false, [&] {
    if (path.text[0] == u'\0') return quelcore::refuse({}, "", "its path is too long, or memory is exhausted");
    const Presence presence = quelcore::readSetupMap(path.text, items_);
    unknown_ = presence == Presence::Unknown;
    return presence == Presence::Present;
  });
  if (read) return kSuccess;
  items_.clear();
  return SETUPNUM_E_FILE;
}

std::int32_t QmSetupNumbersManager::Uninitialize() {
  const std::int32_t status = SaveSetupList();
  items_.clear();
  index_.reset();
  return status;
}

std::int32_t QmSetupNumbersManager::SaveSetupList() {
  if (!dirty_ || items_.empty()) return kSuccess;
  if (unknown_) return SETUPNUM_E_FILE;
  return quelcore::unlessOutOfMemory(SETUPNUM_E_FILE, [&] {
    const std::string text = quelcore::setupMapText(items_);
    return qmFileWriteWhole(MapPath().text, text.data(), text.size()) == 1 ? kSuccess : SETUPNUM_E_FILE;
  });
}

std::int32_t QmSetupNumbersManager::AddItem(std::int32_t setupNumber, const qmWChar* path, std::int32_t cycleNumber) {
  if (IsReserved(setupNumber)) return SETUPNUM_E_RESERVED;
  if (path == nullptr) return SETUPNUM_E_BAD_PATH;
  return quelcore::unlessOutOfMemory(SETUPNUM_E_FILE, [&] {
    if (index().findNumber(items_, setupNumber) != -1) return SETUPNUM_E_NUMBER_USED;
    if (index().findPath(items_, path) != -1) return SETUPNUM_E_PATH_USED;
    QmSetupNumCyclePath item(setupNumber, cycleNumber, path);
    items_.push_back(std::move(item));
    dirty_ = true;
    return kSuccess;
  });
}

std::int32_t QmSetupNumbersManager::UpdateItem(std::int32_t index, const std::int32_t* setupNumber,
                                               const std::int32_t* cycleNumber, const qmWChar* path) {
  QmSetupNumCyclePath* item = GetItemByIndex(index);
  if (item == nullptr) return SETUPNUM_E_BAD_INDEX;
  if (setupNumber != nullptr && isElsewhere(items_, index, hasNumber(*setupNumber))) return SETUPNUM_E_NUMBER_USED;
  if (path != nullptr && isElsewhere(items_, index, hasPath(path))) return SETUPNUM_E_PATH_USED;
  index_.reset();
  return quelcore::unlessOutOfMemory(SETUPNUM_E_FILE, [&] {
    if (path != nullptr) item->SetPath(path);
    if (setupNumber != nullptr) item->SetSetupNumber(*setupNumber);
    if (cycleNumber != nullptr) item->SetCycleNumber(*cycleNumber);
    dirty_ = dirty_ || path != nullptr || setupNumber != nullptr || cycleNumber != nullptr;
    return kSuccess;
  });
}

// Required: what follows a removed item is kept unseen.
std::int32_t QmSetupNumbersManager::RemoveItem(std::int32_t setupNumber) {
  std::size_t kept = 0;
  const auto keep = [&](std::size_t from) {
    if (kept != from) items_[kept] = std::move(items_[from]);
    ++kept;
  };
  for (std::size_t at = 0; at < items_.size(); ++at) {
    if (items_[at].GetSetupNumber() != setupNumber) {
      keep(at);
    } else if (++at < items_.size()) {
      keep(at);
    }
  }
  items_.resize(kept);
  index_.reset();
  return kSuccess;
}

std::int32_t QmSetupNumbersManager::CleanSetupNumber(std::int32_t setupNumber) {
  QmSetupNumCyclePath* item = GetItemByIndex(FindItemBySetupNumber(setupNumber));
  if (item == nullptr) return SETUPNUM_E_NO_NUMBER;
  item->SetSetupNumber(kNoNumber);
  dirty_ = true;
  return kSuccess;
}

// By the index where there is memory for one, else one after the other.
std::int32_t QmSetupNumbersManager::FindItemBySetupNumber(std::int32_t setupNumber) const try {
  return index().findNumber(items_, setupNumber);
} catch (const std::bad_alloc&) {
  return firstIndex(items_, hasNumber(setupNumber));
}

std::int32_t QmSetupNumbersManager::FindItemByPath(const qmWChar* path) const try {
  return path == nullptr ? -1 : index().findPath(items_, path);
} catch (const std::bad_alloc&) {
  return firstIndex(items_, hasPath(path));
}

// Who holds an item may change it.
QmSetupNumCyclePath* QmSetupNumbersManager::GetItemByIndex(std::int32_t index) {
  index_.reset();
  return index >= 0 && index < GetItemCount() ? &items_[static_cast<std::size_t>(index)] : nullptr;
}

std::int32_t QmSetupNumbersManager::FindItemBySetupNumber(std::int32_t setupNumber, std::int32_t& index) const {
  index = FindItemBySetupNumber(setupNumber);
  return index == -1 ? SETUPNUM_E_NO_NUMBER : kSuccess;
}

std::int32_t QmSetupNumbersManager::FindItemByPath(const qmWChar* path, std::int32_t& index) const {
  index = FindItemByPath(path);
  return index == -1 ? SETUPNUM_E_NO_PATH : kSuccess;
}

std::int32_t QmSetupNumbersManager::GetItemByIndex(std::int32_t index, QmSetupNumCyclePath*& item) {
  item = GetItemByIndex(index);
  return item == nullptr ? SETUPNUM_E_BAD_INDEX : kSuccess;
}

std::int32_t QmSetupNumbersManager::FillSetupInfo(std::int32_t index, QmSetupInfo& setup) const {
  if (index < 0 || index >= GetItemCount()) return SETUPNUM_E_BAD_INDEX;
  return items_[static_cast<std::size_t>(index)].FillSetupInfo(setup) ? kSuccess : SETUPNUM_E_BAD_PATH;
}

void QmSetupNumbersManager::FillDataBySetupInfoVec(const std::vector<QmSetupInfo*>& setups) {
  items_.reserve(items_.size() + setups.size());  // So that the texts below stay where they are.
  std::unordered_set<std::u16string_view> known;
  for (const QmSetupNumCyclePath& item : items_) known.insert(pathOf(item));
  for (const QmSetupInfo* setup : setups) {
    if (setup == nullptr) continue;
    qmWChar path[quelcore::kPathSize] = {};
    setup->GetSetupPath(path, quelcore::kPathSize);
    if (known.count(path) != 0) continue;
    items_.emplace_back(kNoNumber, -1, path);
    known.insert(pathOf(items_.back()));
  }
}

void QmSetupNumbersManager::Sort(std::int32_t key) {
  index_.reset();
  switch (key) {
    case 0:
      return sortBy(items_, [](const QmSetupNumCyclePath& item) { return item.GetSetupNumber(); });
    case 1:
      return sortBy(items_, [](const QmSetupNumCyclePath& item) { return item.GetCycleNumber(); });
    case 2:
      return sortBy(items_, pathOf);
    default:
      return;
  }
}
