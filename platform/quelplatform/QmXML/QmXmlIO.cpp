#include "quelplatform/QmXML/QmXmlIO.h"

#include <new>
#include <utility>

namespace {

const qmWChar* const kRoot = u"QuelmetraDataFile";

}  // namespace

QmXmlIO::QmXmlIO() = default;

QmXmlIO::QmXmlIO(const QmXmlIO& other) {
  if (!document_.SetDoc(other.GetFullDoc().c_str())) throw std::bad_alloc();  // It was a document.
}

QmXmlIO& QmXmlIO::operator=(const QmXmlIO& other) {
  if (this != &other && !document_.SetDoc(other.GetFullDoc().c_str())) throw std::bad_alloc();
  return *this;
}

QmXmlIO::~QmXmlIO() = default;

bool QmXmlIO::LoadDoc(const qmWChar* path) noexcept { return document_.Load(path); }

bool QmXmlIO::SetDoc(const qmWChar* text) noexcept { return document_.SetDoc(text); }

bool QmXmlIO::ReadHeader(QmXmlHeader& header) noexcept try {
  document_.ResetPos();
  if (!document_.FindElem(kRoot)) return false;
  QmXmlHeader read = {document_.GetAttrib(u"VersionProduct"), document_.GetAttrib(u"VersionCreate"),
                      document_.GetAttrib(u"VersionFile"),    document_.GetAttrib(u"ComponentType"),
                      document_.GetAttrib(u"TimeStamp"),      document_.GetAttrib(u"LastUpdate")};
  if (read.versionFile.empty()) return false;
  header = std::move(read);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

bool QmXmlIO::GetElem(const qmWChar* name, std::int32_t direction) noexcept {
  if (direction != Onward) document_.ResetMainPos();
  return document_.FindElem(name);
}

bool QmXmlIO::IntoElem() noexcept { return document_.IntoElem(); }

bool QmXmlIO::OutOfElem() noexcept { return document_.OutOfElem(); }

qmWString QmXmlIO::GetElemAttrib(const qmWChar* name) const { return document_.GetAttrib(name); }

qmWString QmXmlIO::GetElemSection() const { return document_.GetSection(); }

qmWString QmXmlIO::GetFullDoc() const { return document_.GetDoc(); }

qmWString QmXmlIO::GetError() const { return document_.GetError(); }
