#include "quelcore/operations/XMLOperationIO.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "quelcore/base/dataFile.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/base/wideNumber.h"
#include "quelplatform/windows/wideText.h"

namespace {

using quelcore::decimalText;
using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::remark;
using quelcore::unlessOutOfMemory;

const qmWChar* const kVersion = u"VersionFile";
const qmWChar* const kOperation = u"Operation";
const qmWChar* const kId = u"ID";
const qmWChar* const kType = u"Type";
const qmWChar* const kTiles = u"Tiles";
const qmWChar* const kSize = u"Size";
const qmWChar* const kCopName = u"COP";
const qmWChar* const kUnknownName = u"Unknown";

// Two decimals, whatever the locale.
qmWString versionText(float version) {
  char digits[64];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, static_cast<double>(version), std::chars_format::fixed, 2);
  return qmWString(digits, end.ptr);
}

qmWString textOf(const std::vector<std::uint32_t>& values) {
  qmWString text;
  for (const std::uint32_t value : values) {
    text += decimalText(value);
    text += u' ';
  }
  return text;
}

// White space other than the blank separates no numbers, but stands in front of one that is converted.
std::size_t blanksInFront(std::u16string_view piece) {
  return static_cast<std::size_t>(std::find_if_not(piece.begin(), piece.end(), quelcore::isBlank) - piece.begin());
}

/// Appends the numbers of `text`; a piece that is none counts as the digits that it begins with.
void appendNumbers(std::u16string_view text, std::vector<std::uint32_t>& values) {
  const std::size_t before = values.size();
  std::size_t begin = text.find_first_not_of(u' ');
  while (begin != text.npos) {
    const std::size_t end = std::min(text.find(u' ', begin), text.size());
    const std::u16string_view piece = text.substr(begin, end - begin);
    values.push_back(quelcore::leadingUnsigned(piece.substr(blanksInFront(piece))));
    if (!quelcore::isWholeNumber(piece)) {
      remark({}, ProblemText::printed("number %zu", values.size() - before), ProblemText::quoted(piece),
             "a whole number");
    }
    begin = text.find_first_not_of(u' ', end);
  }
}

}  // namespace

/// The document that copies share.
struct XMLOperationIO::Document : CMarkupSTL {
  bool maySave = false;  ///< The last `load` succeeded: this is the document of its path.
};

XMLOperationIO::XMLOperationIO() = default;
XMLOperationIO::XMLOperationIO(const XMLOperationIO&) = default;
XMLOperationIO& XMLOperationIO::operator=(const XMLOperationIO&) = default;
XMLOperationIO::~XMLOperationIO() = default;

bool XMLOperationIO::load(const qmWChar* path, bool fileExists) noexcept {
  return quelcore::reading(path, false, [&] {
    if (!document_) document_ = std::make_shared<Document>();
    document_->maySave = false;
    qmWString name = path == nullptr ? qmWString() : qmWString(path);
    const bool begun = fileExists ? document_->Load(path) : document_->SetDoc(nullptr) && writeHeader();
    if (!begun) return quelcore::refuseXml(*document_);
    fileName_.swap(name);
    return document_->maySave = true;
  });
}

bool XMLOperationIO::save() noexcept { return document_ && document_->maySave && document_->Save(fileName_.c_str()); }

void XMLOperationIO::setCurVersion(float version) noexcept { version_ = version; }

const qmWChar* XMLOperationIO::getFileName() const noexcept { return fileName_.c_str(); }

bool XMLOperationIO::writeHeader() {
  return quelcore::beginDataFile(*document_) && document_->AddAttrib(kVersion, versionText(version_).c_str());
}

bool XMLOperationIO::readHeader() {
  if (!document_) return refuse({}, "", "no file was loaded");
  document_->ResetPos();
  if (!document_->FindElem(quelcore::kDataFileRoot)) return refuse({}, "", "another root", "QuelmetraDataFile");
  const qmWString version = document_->GetAttrib(kVersion);
  if (version.empty()) return refuse({}, "QuelmetraDataFile", "none", "VersionFile");
  version_ = static_cast<float>(_wtof(version.c_str()));
  return true;
}

bool XMLOperationIO::getOperations(std::vector<OperationTypeId>& types) noexcept {
  quelcore::beginReading(fileName_.c_str());
  const bool read = unlessOutOfMemory(false, [&] {
    if (!readHeader() || !document_->IntoElem()) return false;
    for (int number = 1; document_->FindElem(nullptr); ++number) types.push_back(readType(number));
    return true;
  });
  if (!read) quelcore::refuseForMemory();  // Unless the cause is known.
  return false;                            // Required: whatever was read.
}

OperationTypeId XMLOperationIO::readType(int number) {
  const qmWString name = document_->GetAttrib(kType);
  const OperationTypeId type = getOperationTypeByName(name.c_str());
  if (type == OPERATION_UNKNOWN && name != kUnknownName) {
    remark({}, ProblemText::printed("Operation %d", number), ProblemText::quoted(name),
           "\"COP\" or \"Unknown\" as Type");
  }
  return type;
}

bool XMLOperationIO::addOperation(std::uint32_t id, OperationTypeId type, std::vector<std::uint32_t>& tiles) noexcept {
  if (!document_ || !document_->AddElem(kOperation) || !document_->AddAttrib(kId, id)) return false;
  if (!document_->AddAttrib(kType, getOperationNameByType(type))) return true;
  document_->IntoElem();
  writeArray(tiles, kTiles);
  document_->OutOfElem();
  return true;
}

bool XMLOperationIO::removeOperation(std::uint32_t id) noexcept {
  unlessOutOfMemory(false, [&] { return findOperation(id) && document_->RemoveElem(); });
  return true;
}

bool XMLOperationIO::getOperationData(std::uint32_t id, std::vector<std::uint32_t>& tiles) noexcept {
  return quelcore::reading(fileName_.c_str(), false, [&] {
    const auto part = ProblemText::printed("Operation with ID %u", id);
    if (!findOperation(id)) return refuse({}, part, "there is none");
    document_->IntoElem();
    const auto read =
        unlessOutOfMemory(std::optional<bool>(), [&] { return std::optional(appendArray(tiles, kTiles)); });
    document_->OutOfElem();
    if (!read) return quelcore::refuseForMemory();
    return *read || refuse({}, part, "none", "Tiles");
  });
}

bool XMLOperationIO::findOperation(std::uint32_t id) { return findWith(kOperation, kId, decimalText(id).c_str()); }

const qmWChar* XMLOperationIO::getOperationNameByType(OperationTypeId type) noexcept {
  return type == OPERATION_COP ? kCopName : kUnknownName;
}

OperationTypeId XMLOperationIO::getOperationTypeByName(const qmWChar* name) noexcept {
  const bool isCop = name != nullptr && std::u16string_view(name) == kCopName;
  return isCop ? OPERATION_COP : OPERATION_UNKNOWN;
}

bool XMLOperationIO::FindElem(const qmWChar* name) noexcept {
  if (!document_) return false;
  if (document_->FindElem(name)) return true;
  if (name == nullptr) return false;
  document_->ResetMainPos();
  return document_->FindElem(name);
}

bool XMLOperationIO::FindElem(const qmWChar* name, const qmWChar* attribute, const qmWChar* value) noexcept {
  return unlessOutOfMemory(false, [&] { return findWith(name, attribute, value); });
}

bool XMLOperationIO::findWith(const qmWChar* name, const qmWChar* attribute, const qmWChar* value) {
  if (!document_ || attribute == nullptr || value == nullptr) return false;
  document_->ResetMainPos();
  while (document_->FindElem(name)) {
    if (document_->GetAttrib(attribute) == value) return true;
  }
  return false;
}

bool XMLOperationIO::readArray(std::vector<std::uint32_t>& values, const qmWChar* name) noexcept {
  return unlessOutOfMemory(false, [&] { return appendArray(values, name); });
}

bool XMLOperationIO::appendArray(std::vector<std::uint32_t>& values, const qmWChar* name) {
  if (!FindElem(name)) return false;
  appendNumbers(document_->GetData(), values);
  return true;
}

bool XMLOperationIO::writeArray(std::vector<std::uint32_t>& values, const qmWChar* name) noexcept {
  return unlessOutOfMemory(false, [&] {
    if (!document_ || name == nullptr) return false;
    if (FindElem(name)) document_->RemoveElem();
    if (values.empty()) return true;
    return document_->AddElem(name, textOf(values).c_str()) &&
           document_->AddAttrib(kSize, static_cast<std::uint32_t>(values.size()));
  });
}
