// The table of all LUT sets of the process with their names and references.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutSet.h"

namespace quelplatform {

/// Guarded by itself. Calls mean what the calls of `DistortLutsManager` mean. Those that make something throw
/// std::bad_alloc, with the table as it was.
class LutTable {
 public:
  /// Delivers the sets of `file` that `luts` asks for. False, with nothing changed, when memory is exhausted.
  bool deliver(const LutFile& file, DistortLutsManager::LutMap& luts);

  /// Puts the sound set `set` under the name `id` with one reference.
  const tag_qmDistortLuts* adopt(std::string_view id, LutSetPointer set);

  /// The set of `id` with one more reference, or a new one without tables; null when memory is exhausted.
  const tag_qmDistortLuts* addReferenceOrCreate(std::string_view id);

  bool addName(std::string_view newId, std::string_view oldId);
  const tag_qmDistortLuts* find(std::string_view id, bool addReference) noexcept;
  void addReference(std::string_view id) noexcept;
  void addReference(const tag_qmDistortLuts* luts) noexcept;
  void dropReference(std::string_view id) noexcept;
  void dropReference(const tag_qmDistortLuts* luts) noexcept;
  std::int32_t removeUnused() noexcept;
  void removeAll() noexcept;

  /// -1 for an unknown identifier.
  std::int64_t references(std::string_view id) noexcept;

 private:
  struct Set {
    LutSetPointer luts;
    std::optional<std::uint64_t> digest;  ///< `lutDigest`; nothing for a set without tables.
    std::int64_t references = 0;
    std::int32_t names = 0;
  };
  using Sets = std::map<const tag_qmDistortLuts*, Set>;
  using Names = std::map<std::string, Set*, std::less<>>;

  // These want the lock held.
  Set* setOf(std::string_view id) noexcept;
  Set* setOf(const tag_qmDistortLuts* luts) noexcept;
  Set* heldSetOf(std::string_view id, std::uint64_t digest) noexcept;
  const tag_qmDistortLuts* put(std::string_view id, LutSetPointer luts, std::optional<std::uint64_t> digest);
  void publish(Sets& sets, Names& names) noexcept;
  void rename(Names::iterator name, Set* set) noexcept;
  void freeIfLost(Set& set) noexcept;
  static void drop(Set* set) noexcept;

  std::mutex mutex_;
  Sets sets_;
  Names names_;
};

/// The one table of the process. It outlives every static object that may still release a set, and getting it needs no
/// memory.
LutTable& lutTable() noexcept;

}  // namespace quelplatform
