#include "quelcore/project/setupIndex.h"

#include <functional>

namespace quelcore {

namespace {

std::size_t hashOf(std::u16string_view path) { return std::hash<std::u16string_view>()(path); }

}  // namespace

void SetupIndex::takeIn(const Items& items) {
  for (; taken_ < items.size(); ++taken_) {
    const auto at = static_cast<std::int32_t>(taken_);
    firstOfNumber_.try_emplace(items[taken_].GetSetupNumber(), at);
    byPathHash_.emplace(hashOf(items[taken_].GetPath()), at);
  }
}

std::int32_t SetupIndex::findNumber(const Items& items, std::int32_t number) {
  takeIn(items);
  const auto found = firstOfNumber_.find(number);
  return found == firstOfNumber_.end() ? -1 : found->second;
}

std::int32_t SetupIndex::findPath(const Items& items, std::u16string_view path) {
  takeIn(items);
  std::int32_t first = -1;
  const auto [begin, end] = byPathHash_.equal_range(hashOf(path));
  for (auto at = begin; at != end; ++at) {
    if (std::u16string_view(items[static_cast<std::size_t>(at->second)].GetPath()) != path) continue;
    if (first == -1 || at->second < first) first = at->second;
  }
  return first;
}

void SetupIndex::forget() {
  taken_ = 0;
  firstOfNumber_.clear();
  byPathHash_.clear();
}

}  // namespace quelcore
