#include "quelcore/operations/WideFileBuf.h"

#include <algorithm>
#include <cstring>

namespace quelcore {
namespace {

constexpr std::size_t kBlockBytes = 1 << 16;
constexpr std::size_t kBlockUnits = kBlockBytes;  // A byte never makes more than one unit.

}  // namespace

WideFileBuf::WideFileBuf(const qmWChar* path, const qmWChar* mode)
    : block_(kBlockBytes),
      units_(kBlockUnits),
      bytes_(path, mode),
      writes_(mode[0] != u'r'),
      isText_(mode[1] == u'\0') {
  if (writes_ && isOpen()) setp(units_.data(), units_.data() + units_.size());
}

bool WideFileBuf::close() {
  if (!isOpen()) return false;
  const bool flushed = flushUnits();
  setg(nullptr, nullptr, nullptr);
  setp(nullptr, nullptr);
  return bytes_.close() && flushed;
}

void WideFileBuf::imbue(const std::locale& locale) {
  if (!isText_) locale_ = locale;
}

WideFileBuf::int_type WideFileBuf::underflow() {
  if (gptr() != egptr()) return traits_type::to_int_type(*gptr());
  if (!isOpen() || writes_) return traits_type::eof();
  std::size_t count = 0;
  for (bool atEnd = false; count == 0 && !atEnd && !damaged_;) {
    const auto room = static_cast<std::streamsize>(block_.size() - pending_);
    const std::streamsize read = bytes_.sgetn(block_.data() + pending_, room);
    pending_ += static_cast<std::size_t>(read);
    atEnd = read < room;
    count = decode(atEnd);
  }
  before_ += static_cast<std::uint64_t>(egptr() - eback());
  setg(units_.data(), units_.data(), units_.data() + count);
  return count == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

// Makes units of the bytes in `block_` and keeps those of an incomplete one. Returns the number of units.
std::size_t WideFileBuf::decode(bool atEnd) {
  const auto& facet = std::use_facet<Facet>(locale_);
  const char* const end = block_.data() + pending_;
  const char* next = block_.data();
  char16_t* made = units_.data();
  const auto result = facet.in(state_, block_.data(), end, next, units_.data(), units_.data() + units_.size(), made);
  damaged_ = result == Facet::error || (atEnd && next != end);
  pending_ = static_cast<std::size_t>(end - next);
  std::memmove(block_.data(), next, pending_);
  return static_cast<std::size_t>(made - units_.data());
}

WideFileBuf::int_type WideFileBuf::overflow(int_type unit) {
  if (!isOpen() || !writes_ || !flushUnits()) return traits_type::eof();
  if (!traits_type::eq_int_type(unit, traits_type::eof())) sputc(traits_type::to_char_type(unit));
  return traits_type::not_eof(unit);
}

std::streamsize WideFileBuf::xsputn(const char16_t* from, std::streamsize count) {
  std::streamsize put = 0;
  while (put < count && isOpen() && writes_) {
    const std::streamsize piece = std::min<std::streamsize>(count - put, epptr() - pptr());
    std::copy_n(from + put, piece, pptr());
    pbump(static_cast<int>(piece));
    if (pptr() == epptr() && !flushUnits()) break;
    put += piece;
  }
  return put;
}

int WideFileBuf::sync() {
  if (!isOpen() || !writes_) return 0;
  return flushUnits() && bytes_.pubsync() == 0 ? 0 : -1;
}

bool WideFileBuf::flushUnits() {
  if (!writes_) return true;
  const auto& facet = std::use_facet<Facet>(locale_);
  const char16_t* from = pbase();
  bool written = true;
  while (written && from != pptr()) {
    const char16_t* next = from;
    char* made = block_.data();
    const auto result = facet.out(state_, from, pptr(), next, block_.data(), block_.data() + block_.size(), made);
    const std::streamsize count = made - block_.data();
    written = result != Facet::error && next != from && bytes_.sputn(block_.data(), count) == count;
    from = next;
  }
  setp(units_.data(), units_.data() + units_.size());
  return written;
}

}  // namespace quelcore
