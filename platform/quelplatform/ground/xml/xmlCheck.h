// Whether a text is well-formed XML 1.0 of the kind that the system takes, before anything is made of it.
//
// No document type declaration, no entity but the five predefined ones, at most `kDeepestXml` levels of elements. The
// check needs no recursion and time in proportion to the text, whatever that holds.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quelplatform {

inline constexpr std::size_t kDeepestXml = 256;

/// Where the parts of a document are. Without a root both ends of it are the end of the text.
struct XmlShape {
  bool hasRoot = false;
  std::size_t rootBegin = 0;
  std::size_t rootEnd = 0;
  std::size_t encodingBegin = 0;  ///< The encoding's name in the declaration; nothing when both are equal.
  std::size_t encodingEnd = 0;
};

/// What is wrong, in English, and the byte at which it shows.
struct XmlProblem {
  std::size_t offset = 0;
  std::string cause;
};

/// Checks a document in UTF-8, with a root or without. Nothing when it is in order; `shape` tells its parts then.
std::optional<XmlProblem> checkXml(std::string_view text, XmlShape& shape);

/// True when `text` is UTF-8 of characters that XML can hold.
bool isXmlText(std::string_view text);

/// True when `name` can name an element or an attribute.
bool isXmlName(std::string_view name);

}  // namespace quelplatform
