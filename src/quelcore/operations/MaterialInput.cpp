#include "quelcore/operations/MaterialInput.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "quelcore/base/byteOrderMark.h"
#include "quelcore/base/wideNumber.h"
#include "quelcore/operations/NullCodecvt.h"

namespace quelcore {

namespace {

// `failed` says whether that is not known, so that units may pass for bytes.
bool beginsWithMarkOfUnits(const qmWChar* path, bool& failed) {
  FileBuf probe(path, u"rb");
  if (!probe.isOpen() && errno == ENOMEM) throw std::bad_alloc();
  char head[sizeof(kMarkOfUnits)] = {};
  const bool whole = probe.sgetn(head, sizeof(head)) == sizeof(head);
  failed = !probe.isOpen() || probe.isBroken();
  return whole && std::memcmp(head, kMarkOfUnits, sizeof(head)) == 0;
}

/// Units of a word that are kept to be cited: more than any citation shows.
constexpr std::size_t kMostCited = sizeof(QmProblem::found);

/// A word, as far as it is cited, and where it begins; the end of the file is an empty one.
struct PlacedWord {
  Place place;
  std::u16string text;
  bool isText = true;  ///< False where bytes follow that are no text.
};

/// The word that holds the unit at `position`, or the next one behind it. Reads the file again: places are not kept of
/// words that are sound.
PlacedWord wordAt(const qmWChar* path, std::uint64_t position) {
  MaterialFile file(path);
  WideFileBuf& units = file.units();
  PlacedWord word{{.line = 1, .column = 1}, {}};
  Place next = word.place;
  using Traits = WideFileBuf::traits_type;
  for (auto unit = units.sgetc(); !Traits::eq_int_type(unit, Traits::eof()); unit = units.snextc()) {
    const char16_t c = Traits::to_char_type(unit);
    if (isBlank(c) && !word.text.empty()) {
      if (units.position() > position) return word;
      word.text.clear();
    }
    if (!isBlank(c)) {
      if (word.text.empty()) word.place = next;
      if (word.text.size() < kMostCited) word.text += c;
    }
    next = c == u'\n' ? Place{.line = next.line + 1, .column = 1} : Place{.line = next.line, .column = next.column + 1};
  }
  if (word.text.empty() || units.isDamaged() || units.position() <= position) word = {next, {}};
  word.isText = !units.isDamaged();
  return word;
}

}  // namespace

// The facet belongs to no locale, which would lose it when memory is exhausted, and lives as long as the process.
std::locale unitsAsTheyAre() {
  static NullCodecvt& facet = *new NullCodecvt(1);
  return {std::locale::classic(), &facet};
}

MaterialFile::MaterialFile(const qmWChar* path)
    : units_(path, beginsWithMarkOfUnits(path, probeFailed_) ? u"rb" : u"r") {
  units_.pubimbue(unitsAsTheyAre());
  if (units_.isUnits()) units_.sbumpc();
}

std::uint64_t MaterialInput::position() const {
  const auto* units = dynamic_cast<const WideFileBuf*>(in_.rdbuf());
  return units == nullptr ? 0 : units->position();
}

bool MaterialInput::goesOnInWord() const {
  const auto next = in_.rdbuf()->sgetc();
  using Traits = WideIStream::traits_type;
  return !Traits::eq_int_type(next, Traits::eof()) && !isBlank(Traits::to_char_type(next));
}

template <typename Take>
bool MaterialInput::take(Take take, const char* expected) {
  const std::uint64_t begin = inWord_ ? wordAt_ : position();
  const char* what = inWord_ ? wordWas_ : expected;
  take();
  if (!in_.good()) return refuseAt(begin, what);
  if (!inWord_ && goesOnInWord()) remarkAt(begin, expected);
  inWord_ = goesOnInWord();
  wordAt_ = begin;
  wordWas_ = what;
  return true;
}

bool MaterialInput::word(std::u16string& text, const char* expected) {
  return take([&] { extractToken(in_, text); }, expected);
}

bool MaterialInput::whole(std::int32_t& value, const char* expected) {
  return take([&] { extractInteger(in_, value); }, expected);
}

bool MaterialInput::real(double& value, const char* expected) {
  return take([&] { extractReal(in_, value); }, expected);
}

ProblemText MaterialInput::part() const {
  if (row_ == nullptr) return "";
  return ProblemText::printed("row %d of %d of head %d with lens %d", row_->number, row_->count, row_->head,
                              row_->lens);
}

bool MaterialInput::refuseAt(std::uint64_t position, const char* expected) const {
  const bool hasPlaces = dynamic_cast<const WideFileBuf*>(in_.rdbuf()) != nullptr;
  if (!hasPlaces) return refuse({}, part(), in_.eof() ? "the end of the text" : "other text", expected);
  const PlacedWord found = wordAt(path_, position);
  if (!found.isText && in_.eof()) return refuse(found.place, part(), "bytes that are no text", expected);
  if (found.text.empty()) return refuse(found.place, part(), "the end of the file", expected);
  if (!in_.fail() && in_.eof()) return refuse(found.place, part(), "the end of the file right behind it", expected);
  return refuse(found.place, part(), ProblemText::quoted(found.text), expected);
}

void MaterialInput::remarkAt(std::uint64_t position, const char* expected) const {
  const bool hasPlaces = dynamic_cast<const WideFileBuf*>(in_.rdbuf()) != nullptr;
  if (!hasPlaces || !hasRoomForRemark()) return;
  const PlacedWord found = wordAt(path_, position);
  remark(found.place, part(), ProblemText::quoted(found.text), expected);
}

}  // namespace quelcore
