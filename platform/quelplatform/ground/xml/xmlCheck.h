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

/// Where the parts of a document are, and how much of what is in its root. Without a root both ends of it are the end
/// of the text.
struct XmlShape {
  bool hasRoot = false;
  std::size_t rootBegin = 0;
  std::size_t rootEnd = 0;
  std::size_t encodingBegin = 0;  ///< The encoding's name in the declaration; nothing when both are equal.
  std::size_t encodingEnd = 0;
  std::size_t nodes = 0;  ///< Elements, comments, instructions and texts that are not blank.
  std::size_t blankTexts = 0;
  std::size_t attributes = 0;

  /// Whether a tree of it takes no more memory than some 18 times the text, with or without its blank texts.
  bool fitsWithBlanks() const { return fits(nodes + blankTexts); }
  bool fitsWithoutBlanks() const { return fits(nodes); }

 private:
  // A node of the tree takes 64 bytes and an attribute 40, besides the text; what is small may take more.
  bool fits(std::size_t kept) const {
    return kept * 64 + attributes * 40 <= 18 * (rootEnd - rootBegin) + (std::size_t{512} << 10);
  }
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
