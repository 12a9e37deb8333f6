#include "quelcore/operations/QmMaterialIO.h"

#include <algorithm>
#include <cerrno>
#include <locale>
#include <new>
#include <streambuf>

#include "quelcore/base/byteOrderMark.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/operations/MaterialInput.h"
#include "quelcore/operations/WideFileBuf.h"
#include "quelcore/operations/wideStream.h"

using quelcore::extractToken;
using quelcore::insertInteger;
using quelcore::insertReal;
using quelcore::insertText;
using quelcore::kByteOrderMark;
using quelcore::MaterialFile;
using quelcore::MaterialInput;
using quelcore::MaterialRow;
using quelcore::WideFileBuf;
using quelcore::WideIStream;
using quelcore::WideOStream;

namespace {

using MaterialHeader = std::map<std::pair<OPTICAL_HEAD, QmLens>, std::int32_t>;

const qmWChar* const kMagic = u"QmM1";

qmWString replaced(qmWString text, qmWChar from, qmWChar to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

bool readRow(MaterialInput& in, QmMaterialTable& table) {
  qmWString name;
  QmMaterialTable::mapped_type params;
  const std::uint64_t begin = in.position();
  if (!in.word(name, "a name") || !in.real(params.value1, "the first number") ||
      !in.real(params.value2, "the second number") || !in.real(params.value3, "the third number") ||
      !in.whole(params.value4, "the last number, a whole one")) {
    return false;
  }
  if (!table.emplace(replaced(std::move(name), u';', u' '), params).second) {
    in.remarkAt(begin, "a name that no earlier row of the table has");
  }
  return true;
}

/// A line of the header; the pair of one that is there already does not count.
bool readHeaderLine(MaterialInput& in, MaterialHeader& header) {
  std::int32_t head = 0;
  std::int32_t lens = 0;
  std::int32_t rows = 0;
  const std::uint64_t begin = in.position();
  if (!in.whole(head, "the head of a table") || !in.whole(lens, "the lens of a table") ||
      !in.whole(rows, "the number of rows of a table")) {
    return false;
  }
  const MaterialHeader::key_type pair(static_cast<OPTICAL_HEAD>(head), static_cast<QmLens>(lens));
  if (!header.empty() && pair < header.rbegin()->first) {
    in.remarkAt(begin, header.count(pair) == 0 ? "a pair behind those before it, as rows are read in their order"
                                               : "a pair that no earlier line has");
  } else if (!header.empty() && pair == header.rbegin()->first) {
    in.remarkAt(begin, "a pair that no earlier line has");
  }
  header.emplace(pair, rows);
  return true;
}

bool readTable(MaterialInput& in, const MaterialHeader::value_type& line, QmMaterialTable& table) {
  MaterialRow row = {line.first.first, line.first.second, 0, line.second};
  in.setRow(&row);
  bool read = true;
  while (read && row.number < row.count) {
    ++row.number;
    read = readRow(in, table);
  }
  in.setRow(nullptr);
  return read;
}

/// What is put into a stream, until there is no more memory.
class UnitsInMemory : public std::basic_streambuf<qmWChar> {
 public:
  const qmWString& text() const { return text_; }

 protected:
  int_type overflow(int_type unit) override {
    text_ += traits_type::to_char_type(unit);
    return unit;
  }

  std::streamsize xsputn(const qmWChar* from, std::streamsize count) override {
    text_.append(from, static_cast<std::size_t>(count));
    return count;
  }

 private:
  qmWString text_;
};

/// All that takes memory is done before the file is opened.
bool writeUnits(const qmWChar* path, const qmWString& text) {
  const std::locale locale = quelcore::unitsAsTheyAre();
  WideFileBuf file(path, u"wb");
  file.pubimbue(locale);
  const auto size = static_cast<std::streamsize>(text.size());
  return file.sputn(text.data(), size) == size && file.close();
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

void QmMaterialIO::setFileName(const qmWChar* fileName) {
  fileName_ = fileName == nullptr ? u"" : fileName;
  unknown_ = false;
}

bool QmMaterialIO::read() noexcept {
  unknown_ = true;  // Until it is read, also where memory runs out on the way.
  return quelcore::reading(fileName_.c_str(), false, [&] {
    MaterialFile file(fileName_.c_str());
    if (!file.isOpen()) {
      const int error = errno;
      unknown_ = error != ENOENT && error != ENOTDIR;
      return quelcore::refuseUnreadable(error);
    }
    outOfMemory_ = false;
    const bool read = readWords(file.units());
    unknown_ = outOfMemory_ || file.isBroken();
    return read;
  });
}

bool QmMaterialIO::readWords(quelcore::WideFileBuf& units) {
  WideIStream in(&units);
  qmWString magic;
  extractToken(in, magic);
  if (in.fail() || magic != kMagic) {
    in.setstate(std::ios_base::failbit);  // It is the word itself that is wrong.
    return MaterialInput(in, fileName_.c_str()).refuseAt(0, "\"QmM1\", as a material file begins");
  }
  return readHeader1(in) && readTable1(in);
}

bool QmMaterialIO::readHeader1(std::basic_istream<qmWChar>& in) try {
  header_.clear();
  MaterialInput input(in, fileName_.c_str());
  std::int32_t count = 0;
  if (!input.whole(count, "the number of tables")) return false;
  for (std::int32_t line = 0; line < count; ++line) {
    if (!readHeaderLine(input, header_)) return false;
  }
  return true;
} catch (const std::bad_alloc&) {
  outOfMemory_ = true;
  return quelcore::refuseForMemory();
}

bool QmMaterialIO::readTable1(std::basic_istream<qmWChar>& in) try {
  tables_.clear();
  MaterialInput input(in, fileName_.c_str());
  for (const auto& line : header_) {
    if (!readTable(input, line, tables_[line.first])) return false;
  }
  return in.good();
} catch (const std::bad_alloc&) {
  outOfMemory_ = true;
  return quelcore::refuseForMemory();
}

bool QmMaterialIO::write() const noexcept {
  if (unknown_) return false;
  return quelcore::unlessOutOfMemory(false, [&] {
    UnitsInMemory units;
    WideOStream out(&units);
    out.put(kByteOrderMark);
    insertText(out, kMagic).put(u'\n');
    return writeHeader1(out) && writeTable1(out) && writeUnits(fileName_.c_str(), units.text());
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
