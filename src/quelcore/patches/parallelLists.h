// Lists that run side by side: what is added to one must not be missing from the other when memory is exhausted.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace quelcore {

/// Makes room for `more` elements, so that adding them cannot fail; a list that is too small at least doubles. Throws
/// std::bad_alloc with the list as it was.
template <typename Element>
void makeRoomFor(std::size_t more, std::vector<Element>& list) {
  if (list.capacity() - list.size() < more) list.reserve(list.size() + std::max(more, list.size()));
}

/// Appends `from` to `to`, which may be the same list. Throws as `makeRoomFor` does.
template <typename Element>
void append(const std::vector<Element>& from, std::vector<Element>& to) {
  const std::size_t count = from.size();
  makeRoomFor(count, to);
  std::copy_n(from.begin(), count, std::back_inserter(to));
}

}  // namespace quelcore
