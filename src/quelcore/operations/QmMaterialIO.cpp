#include "quelcore/operations/QmMaterialIO.h"

#include <algorithm>
#include <cstring>
#include <locale>
#include <new>

#include "quelcore/base/byteOrderMark.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/operations/NullCodecvt.h"
#include "quelcore/operations/WideFileBuf.h"
#include "quelcore/operations/wideStream.h"

using quelcore::extractInteger;
using quelcore::extractReal;
using quelcore::extractToken;
using quelcore::FileBuf;
using quelcore::insertInteger;
using quelcore::insertReal;
using quelcore::insertText;
using quelcore::kByteOrderMark;
using quelcore::kMarkOfUnits;
using quelcore::WideFileBuf;
using quelcore::WideIStream;
using quelcore::WideOStream;

namespace {

const qmWChar* const kMagic = u"QmM1";

// The facet belongs to no locale, which would lose it when memory is exhausted, and lives as long as the process.
std::locale unitsAsTheyAre() {
  static quelcore::NullCodecvt& facet = *new quelcore::NullCodecvt(1);
  return {std::locale::classic(), &facet};
}

bool beginsWithByteOrderMark(const qmWChar* path) {
  FileBuf probe(path, u"rb");
  char head[sizeof(kMarkOfUnits)] = {};
  return probe.sgetn(head, sizeof(head)) == sizeof(head) && std::memcmp(head, kMarkOfUnits, sizeof(head)) == 0;
}

qmWString replaced(qmWString text, qmWChar from, qmWChar to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

bool readRow(WideIStream& in, QmMaterialTable& table) {
  qmWString name;
  QmMaterialTable::mapped_type params;
  extractToken(in, name);
  extractReal(in, params.value1);
  extractReal(in, params.value2);
  extractReal(in, params.value3);
  extractInteger(in, params.value4);
  if (!in.good()) return false;
  table.emplace(replaced(std::move(name), u';', u' '), params);
  return true;
}

void writeRow(WideOStream& out, const qmWString& name, const QmMaterialTable::mapped_type& params) {
  insertText(out, replaced(name, u' ', u';')).put(u' ');
  insertReal(out, params.value1).put(u' ');
  insertReal(out, params.value2).put(u' ');
  insertReal(out, params.value3).put(u' ');
  insertInteger(out, params.value4).put(u'\n');
}

}  // namespace

QmMaterialIO::QmMaterialIO(const qmWChar* fileName) { setFileName(fileName); }
QmMaterialIO::QmMaterialIO(const QmMaterialIO&) = default;
QmMaterialIO& QmMaterialIO::operator=(const QmMaterialIO&) = default;
QmMaterialIO::~QmMaterialIO() = default;

const qmWChar* QmMaterialIO::getFileName() const noexcept { return fileName_.c_str(); }

void QmMaterialIO::setFileName(const qmWChar* fileName) { fileName_ = fileName == nullptr ? u"" : fileName; }

bool QmMaterialIO::read() noexcept {
  return quelcore::unlessOutOfMemory(false, [&] {
    const bool isWide = beginsWithByteOrderMark(fileName_.c_str());
    WideFileBuf file(fileName_.c_str(), isWide ? u"rb" : u"r");
    WideIStream in(&file);
    in.imbue(unitsAsTheyAre());
    if (!file.isOpen()) return false;
    if (isWide) in.get();
    qmWString magic;
    return extractToken(in, magic) && magic == kMagic && readHeader1(in) && readTable1(in);
  });
}

bool QmMaterialIO::readHeader1(std::basic_istream<qmWChar>& in) try {
  header_.clear();
  std::int32_t count = 0;
  extractInteger(in, count);
  for (std::int32_t line = 0; line < count; ++line) {
    std::int32_t head = 0;
    std::int32_t lens = 0;
    std::int32_t rows = 0;
    extractInteger(extractInteger(extractInteger(in, head), lens), rows);
    if (!in.good()) return false;
    header_.emplace(std::pair(static_cast<OPTICAL_HEAD>(head), static_cast<QmLens>(lens)), rows);
  }
  return in.good();
} catch (const std::bad_alloc&) {
  return false;
}

bool QmMaterialIO::readTable1(std::basic_istream<qmWChar>& in) try {
  tables_.clear();
  for (const auto& [pair, rows] : header_) {
    QmMaterialTable& table = tables_[pair];
    for (std::int32_t row = 0; row < rows && in.good(); ++row) {
      if (!readRow(in, table)) return false;
    }
  }
  return in.good();
} catch (const std::bad_alloc&) {
  return false;
}

bool QmMaterialIO::write() const noexcept {
  return quelcore::unlessOutOfMemory(false, [&] {
    WideFileBuf file(fileName_.c_str(), u"wb");
    WideOStream out(&file);
    out.imbue(unitsAsTheyAre());
    if (!file.isOpen()) return false;
    out.put(kByteOrderMark);
    insertText(out, kMagic).put(u'\n');
    return writeHeader1(out) && writeTable1(out) && file.close();
  });
}

bool QmMaterialIO::writeHeader1(std::basic_ostream<qmWChar>& out) const try {
  const auto hasRows = [](const auto& entry) { return !entry.second.empty(); };
  insertInteger(out, std::count_if(tables_.begin(), tables_.end(), hasRows)).put(u'\n');
  for (const auto& entry : tables_) {
    if (!out.good()) return false;
    if (!hasRows(entry)) continue;
    insertInteger(out, entry.first.first).put(u' ');
    insertInteger(out, entry.first.second).put(u' ');
    insertInteger(out, static_cast<std::int64_t>(entry.second.size())).put(u'\n');
  }
  return out.good();
} catch (const std::bad_alloc&) {
  return false;
}

bool QmMaterialIO::writeTable1(std::basic_ostream<qmWChar>& out) const try {
  for (const auto& [pair, table] : tables_) {
    for (const auto& [name, params] : table) {
      writeRow(out, name, params);
      if (!out.good()) return false;
    }
  }
  return out.good();
} catch (const std::bad_alloc&) {
  return false;
}

QmMaterialTables& QmMaterialIO::getMaterialTables() noexcept { return tables_; }

std::int32_t QmMaterialIO::getMaterialTables(OPTICAL_HEAD head, std::map<QmLens, QmMaterialTable>& tables) const {
  tables.clear();
  for (const auto& [pair, table] : tables_) {
    if (pair.first == head) tables.emplace(pair.second, table);
  }
  return static_cast<std::int32_t>(tables.size());
}

QmMaterialTable& QmMaterialIO::getMapMaterial(OPTICAL_HEAD head, QmLens lens) { return tables_[{head, lens}]; }
