#include "quelplatform/qmDistort/LutTable.h"

#include "quelplatform/ground/files/Lasting.h"

namespace quelplatform {

LutTable& lutTable() noexcept {
  static Lasting<LutTable> table;
  return table.get();
}

LutTable::Set* LutTable::setOf(std::string_view id) noexcept {
  const auto found = names_.find(id);
  return found == names_.end() ? nullptr : found->second;
}

LutTable::Set* LutTable::setOf(const tag_qmDistortLuts* luts) noexcept {
  const auto found = sets_.find(luts);
  return found == sets_.end() ? nullptr : &found->second;
}

// Nobody can reach a set that has neither a name nor a reference.
void LutTable::freeIfLost(Set& set) noexcept {
  if (set.names == 0 && set.references == 0) sets_.erase(set.luts.get());
}

void LutTable::rename(Names::iterator name, Set* set) noexcept {
  Set* before = name->second;
  if (before == set) return;
  name->second = set;
  ++set->names;
  if (before == nullptr) return;
  --before->names;
  freeIfLost(*before);
}

// Everything is allocated by now, so this cannot fail halfway. Nodes keep their addresses when they move between maps.
void LutTable::publish(Sets& sets, Names& names) noexcept {
  sets_.merge(sets);
  while (!names.empty()) {
    auto node = names.extract(names.begin());
    Set* set = node.mapped();
    node.mapped() = nullptr;
    rename(names_.insert(std::move(node)).position, set);
  }
}

// The set that a file's set of this name and content is shared with: one without references may be on its way out, and
// one of other content is another set, whatever it is called.
LutTable::Set* LutTable::heldSetOf(std::string_view id, std::uint64_t digest) noexcept {
  Set* set = setOf(id);
  return set != nullptr && set->references > 0 && set->digest == digest ? set : nullptr;
}

const tag_qmDistortLuts* LutTable::put(std::string_view id, LutSetPointer luts, std::optional<std::uint64_t> digest) {
  const tag_qmDistortLuts* const key = luts.get();
  Sets sets;
  Names names;
  Set& set = sets[key];
  names.emplace(id, &set);
  set.luts = std::move(luts);
  set.digest = digest;
  set.references = 1;
  publish(sets, names);
  return key;
}

const tag_qmDistortLuts* LutTable::adopt(std::string_view id, LutSetPointer luts) {
  const std::uint64_t digest = lutDigest(*luts);
  const std::lock_guard lock(mutex_);
  return put(id, std::move(luts), digest);
}

bool LutTable::deliver(const LutFile& file, DistortLutsManager::LutMap& luts) {
  const std::lock_guard lock(mutex_);
  Sets sets;
  Names names;
  std::vector<std::pair<DistortLutsManager::LutMap::iterator, Set*>> delivered;
  for (auto wanted = luts.begin(); wanted != luts.end(); ++wanted) {
    const auto stored = file.find(wanted->first);
    if (!stored) continue;
    const std::uint64_t digest = file.digest(*stored);
    Set* set = heldSetOf(wanted->first, digest);
    if (set == nullptr) {
      LutSetPointer made = file.makeSet(*stored);
      if (!made) return false;
      set = &sets[made.get()];
      set->luts = std::move(made);
      set->digest = digest;
      names.emplace(wanted->first, set);
    }
    delivered.emplace_back(wanted, set);
  }
  for (const auto& [wanted, set] : delivered) {
    wanted->second = set->luts.get();
    ++set->references;
  }
  publish(sets, names);
  return true;
}

const tag_qmDistortLuts* LutTable::addReferenceOrCreate(std::string_view id) {
  const std::lock_guard lock(mutex_);
  if (Set* set = setOf(id)) {
    ++set->references;
    return set->luts.get();
  }
  LutSetPointer made = allocateEmptyLutSet();
  if (!made) return nullptr;
  return put(id, std::move(made), std::nullopt);
}

bool LutTable::addName(std::string_view newId, std::string_view oldId) {
  const std::lock_guard lock(mutex_);
  Set* set = setOf(oldId);
  if (set == nullptr) return false;
  auto name = names_.find(newId);
  if (name == names_.end()) name = names_.emplace(newId, nullptr).first;
  rename(name, set);
  ++set->references;
  return true;
}

const tag_qmDistortLuts* LutTable::find(std::string_view id, bool addReference) noexcept {
  const std::lock_guard lock(mutex_);
  Set* set = setOf(id);
  if (set == nullptr) return nullptr;
  if (addReference) ++set->references;
  return set->luts.get();
}

void LutTable::addReference(std::string_view id) noexcept { find(id, true); }

void LutTable::addReference(const tag_qmDistortLuts* luts) noexcept {
  const std::lock_guard lock(mutex_);
  if (Set* set = setOf(luts)) ++set->references;
}

void LutTable::drop(Set* set) noexcept {
  if (set != nullptr && set->references > 0) --set->references;
}

void LutTable::dropReference(std::string_view id) noexcept {
  const std::lock_guard lock(mutex_);
  drop(setOf(id));
}

void LutTable::dropReference(const tag_qmDistortLuts* luts) noexcept {
  const std::lock_guard lock(mutex_);
  Set* set = setOf(luts);
  drop(set);
  if (set != nullptr) freeIfLost(*set);
}

std::int32_t LutTable::removeUnused() noexcept {
  const std::lock_guard lock(mutex_);
  std::erase_if(names_, [](const auto& name) { return name.second->references == 0; });
  return static_cast<std::int32_t>(std::erase_if(sets_, [](const auto& set) { return set.second.references == 0; }));
}

void LutTable::removeAll() noexcept {
  const std::lock_guard lock(mutex_);
  names_.clear();
  sets_.clear();
}

std::int64_t LutTable::references(std::string_view id) noexcept {
  const std::lock_guard lock(mutex_);
  const Set* set = setOf(id);
  return set == nullptr ? -1 : set->references;
}

}  // namespace quelplatform
