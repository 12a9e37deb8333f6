// Where in an XML file an element stands.
#pragma once

#include <span>
#include <string_view>

#include "quelcore/base/problems.h"

namespace quelcore {

/// Names of elements that each stand in the first one of the name before, from the root on.
using XmlPath = std::span<const std::u16string_view>;

/// Where the start tag of an element begins in `text`, which is well-formed: element `number`, from 1, of those that
/// `path` leads to. No place for one that is not there.
Place placeOfElement(std::u16string_view text, XmlPath path, int number) noexcept;

/// Such an element of the file that is being read.
struct XmlElement {
  const qmWChar* file;
  XmlPath path;
  int number;

  /// Notes a remark on it, with the place of its start tag; without when the file cannot be read again or memory is
  /// exhausted.
  void remark(const ProblemText& found, const ProblemText& expected = "") const noexcept;
};

}  // namespace quelcore
