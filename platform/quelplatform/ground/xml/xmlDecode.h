// From the bytes of an XML file to UTF-8 text that says so.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "quelplatform/ground/xml/xmlCheck.h"

namespace quelplatform {

inline constexpr std::size_t kLargestXml = std::size_t{16} << 20;

/// A document that is in order: UTF-8 without a mark whose declaration, if it names an encoding, names UTF-8.
struct XmlText {
  std::string text;
  XmlShape shape;
};

/// Takes the bytes of a file: UTF-8 with or without a mark, or UTF-16 with its mark. A file of bytes that declares
/// another encoding must be plain ASCII. Nothing, with `error` in English, when it is not in order.
std::optional<XmlText> decodeXmlFile(std::string bytes, std::string& error);

/// Takes a document that was text already, whatever encoding it declares.
std::optional<XmlText> takeXmlText(std::string text, std::string& error);

}  // namespace quelplatform
