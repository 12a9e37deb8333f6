// Where the numbers and paths of a list of setups stand, so that a list grows in linear time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quelcore/project/QmSetupNumbersManager.h"

namespace quelcore {

/// Of one list, which may grow at its end at any time; after any other change `forget` is to be called. Calls that take
/// new items in throw std::bad_alloc, with the index fit for use.
class SetupIndex {
 public:
  using Items = std::vector<QmSetupNumCyclePath>;

  /// The first item with this number, or this path; -1 when there is none.
  std::int32_t findNumber(const Items& items, std::int32_t number);
  std::int32_t findPath(const Items& items, std::u16string_view path);

  /// Begins anew at the next question.
  void forget();

 private:
  void takeIn(const Items& items);

  std::size_t taken_ = 0;  ///< How many items, from the first on, are known here.
  std::unordered_map<std::int32_t, std::int32_t> firstOfNumber_;
  std::unordered_multimap<std::size_t, std::int32_t> byPathHash_;
};

}  // namespace quelcore
