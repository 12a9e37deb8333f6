#include "quelplatform/qmEnv/CMarkupSTL.h"

#include <cerrno>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/ground/xml/XmlDocument.h"
#include "quelplatform/qmEnv/qmText.h"

using quelplatform::XmlText;

struct CMarkupSTL::Document {
  quelplatform::XmlDocument xml;
  std::string error;
  bool outOfMemory = false;

  // Runs `step`, which says whether it succeeded and otherwise leaves its reason in `error`.
  template <typename Step>
  bool attempt(const Step& step) noexcept try {
    error.clear();
    outOfMemory = false;
    return step();
  } catch (const std::bad_alloc&) {
    outOfMemory = true;
    return false;
  }

  bool refuse(const char* cause) {
    if (cause != nullptr) error = cause;
    return cause == nullptr;
  }

  bool setAttribute(const qmWChar* name, const std::string& value) {
    const std::string attribute = toNarrow(name);
    if (!quelplatform::isXmlName(attribute)) return refuse("not a name of an attribute");
    if (!quelplatform::isXmlText(value)) return refuse("a control character in the value of an attribute");
    return refuse(xml.setAttribute(attribute, value));
  }

  bool take(std::optional<XmlText> text) {
    if (text) xml.set(std::move(*text));
    return text.has_value();
  }
};

namespace {

const qmWChar* const kNoMemory = u"memory is exhausted";

std::string failedFile(const char* what, int error, const std::string& path) {
  return what + quelplatform::systemErrorText(quelplatform::windowsError(error, path));
}

// Returns 0 or the `errno` of the failure.
int writeWhole(const std::string& path, const std::string& text) {
  if (path.empty()) return ENOENT;
  if (quelplatform::isWriteProtected(path)) return EACCES;
  int error = 0;
  quelplatform::writeFileAtomically(path, std::as_bytes(std::span(text)), error);
  return error;
}

}  // namespace

CMarkupSTL::CMarkupSTL() : document_(std::make_unique<Document>()) {}

CMarkupSTL::~CMarkupSTL() = default;

bool CMarkupSTL::Load(const qmWChar* path) noexcept {
  document_->xml.clear();
  const bool loaded = document_->attempt([&] {
    const std::string native = path == nullptr ? std::string() : quelplatform::nativePath(path);
    std::string bytes;
    const int error = quelplatform::readWholeFile(native, quelplatform::kLargestXml, bytes);
    if (error == ENOMEM) throw std::bad_alloc();
    quelplatform::setLastErrorOfReading(error, native);
    if (error == EFBIG) return document_->refuse("larger than 16 MiB");
    if (error != 0) return document_->refuse(failedFile("cannot be read: ", error, native).c_str());
    auto text = quelplatform::decodeXmlFile(std::move(bytes), document_->error);
    if (text && !text->shape.hasRoot) return document_->refuse("there is no root element");
    return document_->take(std::move(text));
  });
  if (document_->outOfMemory) quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return loaded;
}

bool CMarkupSTL::Save(const qmWChar* path) noexcept {
  return document_->attempt([&] {
    if (!document_->xml.hasRoot()) return document_->refuse("there is no root element");
    const std::string text = document_->xml.text();
    if (text.size() > quelplatform::kLargestXml) return document_->refuse("larger than 16 MiB");
    const std::string native = path == nullptr ? std::string() : quelplatform::nativePath(path);
    const int error = writeWhole(native, text);
    if (error == ENOMEM) throw std::bad_alloc();
    return error == 0 || document_->refuse(failedFile("cannot be written: ", error, native).c_str());
  });
}

bool CMarkupSTL::SetDoc(const qmWChar* text) noexcept {
  document_->xml.clear();
  return document_->attempt(
      [&] { return document_->take(quelplatform::takeXmlText(toNarrow(text), document_->error)); });
}

qmWString CMarkupSTL::GetDoc() const { return toWide(document_->xml.text()); }

qmWString CMarkupSTL::GetError() const { return document_->outOfMemory ? kNoMemory : toWide(document_->error); }

bool CMarkupSTL::FindElem(const qmWChar* name) noexcept try {
  if (name == nullptr) return document_->xml.find(nullptr);
  return document_->xml.find(toNarrow(name).c_str());
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return false;
}

bool CMarkupSTL::IntoElem() noexcept { return document_->xml.into(); }

bool CMarkupSTL::OutOfElem() noexcept { return document_->xml.outOf(); }

bool CMarkupSTL::AddElem(const qmWChar* name, const qmWChar* text, std::int32_t) noexcept {
  return document_->attempt([&] {
    const std::string element = toNarrow(name);
    const std::string content = toNarrow(text);
    if (!quelplatform::isXmlName(element)) return document_->refuse("not a name of an element");
    if (!quelplatform::isXmlText(content)) return document_->refuse("a control character in the text of an element");
    return document_->refuse(document_->xml.add(element, content));
  });
}

bool CMarkupSTL::AddAttrib(const qmWChar* name, const qmWChar* text) noexcept {
  return document_->attempt([&] { return document_->setAttribute(name, toNarrow(text)); });
}

bool CMarkupSTL::AddAttrib(const qmWChar* name, std::uint32_t value) noexcept {
  return document_->attempt([&] { return document_->setAttribute(name, std::to_string(value)); });
}

bool CMarkupSTL::AddAttrib(const qmWChar* name, std::int32_t value) noexcept {
  return document_->attempt([&] { return document_->setAttribute(name, std::to_string(value)); });
}

qmWString CMarkupSTL::GetAttrib(const qmWChar* name) const {
  return toWide(document_->xml.current().attribute(toNarrow(name).c_str()).value());
}

qmWString CMarkupSTL::GetData() const {
  std::string text;
  for (const pugi::xml_node node : document_->xml.current()) {
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) text += node.value();
  }
  return toWide(text);
}

qmWString CMarkupSTL::GetTagName() const { return toWide(document_->xml.current().name()); }

qmWString CMarkupSTL::GetSection() const { return toWide(document_->xml.section()); }

bool CMarkupSTL::RemoveElem() noexcept {
  return document_->attempt([&] { return document_->refuse(document_->xml.remove()); });
}

void CMarkupSTL::ResetPos() noexcept { document_->xml.toStart(); }

void CMarkupSTL::ResetMainPos() noexcept { document_->xml.toLevelStart(); }
