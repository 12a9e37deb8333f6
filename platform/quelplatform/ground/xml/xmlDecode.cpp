#include "quelplatform/ground/xml/xmlDecode.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "quelplatform/ground/text/asciiCase.h"
#include "quelplatform/ground/text/byteOrderMark.h"
#include "quelplatform/ground/text/conversion.h"
#include "quelplatform/ground/text/utf16.h"

namespace quelplatform {

namespace {

constexpr std::string_view kTooLarge = "larger than 16 MiB";

// "line 3, column 7: "; columns count characters.
std::string placeOf(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t feed = before.rfind('\n');
  const std::string_view column = before.substr(feed == before.npos ? 0 : feed + 1);
  const auto characters = std::count_if(column.begin(), column.end(),
                                        [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
  return "line " + std::to_string(line) + ", column " + std::to_string(characters + 1) + ": ";
}

std::string_view declaredEncoding(const XmlText& xml) {
  const XmlShape& shape = xml.shape;
  return std::string_view(xml.text).substr(shape.encodingBegin, shape.encodingEnd - shape.encodingBegin);
}

bool declaresAnother(const XmlText& xml) {
  const std::string_view encoding = declaredEncoding(xml);
  return !encoding.empty() && !sameButAsciiCase(encoding, "UTF-8");
}

// From now on the text is UTF-8, and is written so.
void declareUtf8(XmlText& xml) {
  if (!declaresAnother(xml)) return;
  const std::size_t length = xml.shape.encodingEnd - xml.shape.encodingBegin;
  xml.text.replace(xml.shape.encodingBegin, length, "UTF-8");
  xml.shape.rootBegin += 5 - length;
  xml.shape.rootEnd += 5 - length;
  xml.shape.encodingEnd = xml.shape.encodingBegin + 5;
}

std::string otherEncoding(const XmlText& xml) {
  return "declares the encoding " + std::string(declaredEncoding(xml)) + ", which is not read";
}

// What is wrong with the text; where it is no UTF-8 and says so itself, that.
std::string causeOf(const XmlText& xml, const XmlProblem& problem) {
  const bool isAscii = static_cast<unsigned char>(xml.text[std::min(problem.offset, xml.text.size() - 1)]) < 0x80;
  XmlText head{xml.text.substr(0, std::min(xml.text.find("?>"), problem.offset) + 2), {}};
  if (!isAscii && !checkXml(head.text, head.shape) && declaresAnother(head)) return otherEncoding(head);
  return placeOf(xml.text, problem.offset) + problem.cause;
}

std::optional<XmlText> check(std::string text, std::string& error) {
  if (text.size() > kLargestXml) {
    error = kTooLarge;
    return std::nullopt;
  }
  XmlText xml{std::move(text), {}};
  const auto problem = checkXml(xml.text, xml.shape);
  if (!problem) return xml;
  error = causeOf(xml, *problem);
  return std::nullopt;
}

std::optional<std::string> fromUtf16(std::string_view bytes, bool big, std::string& error) {
  const std::u16string units = utf16Units(bytes, big);
  std::string text = utf8Of(units);
  if (bytes.size() % 2 == 0 && utf16Of(text) == units) return text;
  error = "not UTF-16, which its mark announces";
  return std::nullopt;
}

}  // namespace

std::optional<XmlText> takeXmlText(std::string text, std::string& error) {
  auto xml = check(std::move(text), error);
  if (xml) declareUtf8(*xml);
  return xml;
}

std::optional<XmlText> decodeXmlFile(std::string bytes, std::string& error) {
  const std::string_view mark = markOf(bytes);
  if (isUtf16Mark(mark)) {
    auto text = fromUtf16(std::string_view(bytes).substr(mark.size()), mark == kUtf16BigMark, error);
    return text ? takeXmlText(std::move(*text), error) : std::nullopt;
  }
  bytes.erase(0, mark.size());
  auto xml = check(std::move(bytes), error);
  if (!xml || !declaresAnother(*xml)) return xml;
  const bool ascii =
      std::all_of(xml->text.begin(), xml->text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (!ascii) {
    error = otherEncoding(*xml);
    return std::nullopt;
  }
  declareUtf8(*xml);
  return xml;
}

}  // namespace quelplatform
