#include "quelcore/features/QmTargetCopMask.h"

#include <algorithm>
#include <cerrno>
#include <istream>
#include <limits>
#include <ostream>

#include "quelcore/base/FileStream.h"
#include "quelcore/base/MemoryBlock.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"

namespace {

using quelcore::FileBuf;
using quelcore::ProblemText;
using quelcore::unlessOutOfMemory;

constexpr quelcore::ModuleLog kLog{"QmTargetCopMask"};

constexpr int kSlotsPerCell = 4;
constexpr std::int32_t kNoEntry = -1;
constexpr std::uint16_t kFreeSlot = 0xFFFF;
constexpr std::uint16_t kUntouched = 0;  ///< What a free slot is kept as.

// Entries and slots are kept complemented, so that memory full of zeros is a grid without entries and a pool of free
// slots.
std::int32_t entryIn(std::int32_t cell) { return ~cell; }
std::uint16_t sampleIn(std::uint16_t slot) { return static_cast<std::uint16_t>(~slot); }

/// The sample of a slot as it counts everywhere: by its sign.
std::int16_t signedSample(std::uint16_t slot) { return static_cast<std::int16_t>(sampleIn(slot)); }

bool invalidIndex(quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  kLog.write(place, "Invalid index.");
  return false;
}

/// `count` zeros, or null. Memory that nobody writes to is not taken from the machine, so a grid costs what its samples
/// touch, whatever its dimensions claim.
template <typename Value>
Value* allocateZeros(std::uint64_t count) {
  return quelcore::MemoryBlock<Value>::zeroed(count).release();
}

struct Header {
  std::uint32_t firstDim = 0;
  std::uint32_t secondDim = 0;
  std::uint32_t maxCells = 0;

  std::uint64_t positions() const { return std::uint64_t{firstDim} * secondDim; }
};

template <typename Value>
void writeValue(std::ostream& out, Value value) {
  out.write(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// A mask's file, and how much of it was read.
class Input {
 public:
  explicit Input(std::istream& in) : in_(in) {}

  /// False, with `value` as it was and a problem noted, where the file ends before.
  template <typename Value>
  bool read(Value& value, const char* part) {
    Value read;
    in_.read(reinterpret_cast<char*>(&read), sizeof(read));
    offset_ += in_.gcount();
    if (!in_) {
      const auto expected = ProblemText::printed("%zu bytes", sizeof(read));
      return quelcore::refuse({.offset = offset_}, part, "the end of the file", expected);
    }
    value = read;
    return true;
  }

 private:
  std::istream& in_;
  std::int64_t offset_ = 0;
};

Header readHeader(Input& in) {
  Header header;
  in.read(header.firstDim, "first dimension") && in.read(header.secondDim, "second dimension") &&
      in.read(header.maxCells, "number of cells");
  return header;
}

/// Hands each sample to `take(position, sample)`, positions counted in file order. Stops where the stream ends.
template <typename Take>
void readRecords(Input& in, const Header& header, Take take) {
  for (std::uint64_t position = 0; position < header.positions(); ++position) {
    std::uint64_t count = 0;
    if (!in.read(count, "number of samples of a position")) return;
    for (std::uint64_t i = 0; i < count; ++i) {
      std::uint16_t sample = 0;
      if (!in.read(sample, "sample")) return;
      take(position, sample);
    }
  }
}

bool refuseSize(const Header& header) {
  return quelcore::refuse(
      {.offset = 0}, "dimensions",
      ProblemText::printed("%u x %u with %u cells", header.firstDim, header.secondDim, header.maxCells),
      "no more than memory holds");
}

}  // namespace

QmTargetCopMask::~QmTargetCopMask() { clear(); }

bool QmTargetCopMask::init(std::uint32_t firstDim, std::uint32_t secondDim, std::uint32_t maxCells) {
  constexpr std::uint32_t kMostCells = std::numeric_limits<std::int32_t>::max() / kSlotsPerCell;
  clear();
  if (maxCells > kMostCells) return false;
  cells_ = allocateZeros<std::int32_t>(std::uint64_t{firstDim} * secondDim);
  slots_ = allocateZeros<std::uint16_t>(std::uint64_t{maxCells} * kSlotsPerCell);
  if (cells_ == nullptr || slots_ == nullptr) {
    clear();
    return false;
  }
  firstDim_ = firstDim;
  secondDim_ = secondDim;
  slotCount_ = static_cast<std::int32_t>(maxCells) * kSlotsPerCell;
  return true;
}

void QmTargetCopMask::clear() {
  quelcore::freeMemory(cells_);
  quelcore::freeMemory(slots_);
  firstDim_ = secondDim_ = 0;
  slotCount_ = nextFreeSlot_ = 0;
}

bool QmTargetCopMask::isInside(std::uint32_t a, std::uint32_t b) const { return a < firstDim_ && b < secondDim_; }

// By the smaller dimension. Where that is the first one, these are the entries that positions share; otherwise each
// position has an entry of its own, as it has with firstDim * a + b, and none lies past the end.
std::int32_t& QmTargetCopMask::cellOf(std::uint32_t a, std::uint32_t b) const {
  return cells_[std::uint64_t{std::min(firstDim_, secondDim_)} * a + b];
}

/// The four slots of a position of the grid, or null where it has none: nothing came, or it came when the pool was
/// exhausted.
const std::uint16_t* QmTargetCopMask::slotsOf(std::uint32_t a, std::uint32_t b) const {
  const std::int32_t entry = entryIn(cellOf(a, b));
  return entry == kNoEntry || entry >= slotCount_ ? nullptr : slots_ + entry;
}

bool QmTargetCopMask::addIndex(std::uint32_t a, std::uint32_t b, std::uint16_t sample) {
  constexpr std::int32_t kLastBlock = std::numeric_limits<std::int32_t>::max() - kSlotsPerCell;
  if (cells_ == nullptr) return false;
  if (!isInside(a, b)) return invalidIndex();
  std::int32_t& cell = cellOf(a, b);
  if (entryIn(cell) == kNoEntry) {
    cell = ~nextFreeSlot_;
    if (nextFreeSlot_ <= kLastBlock) nextFreeSlot_ += kSlotsPerCell;
  }
  const std::int32_t entry = entryIn(cell);
  if (entry >= slotCount_) return invalidIndex();
  for (std::uint16_t* slot = slots_ + entry; slot != slots_ + entry + kSlotsPerCell; ++slot) {
    // Required: a signed slot against an unsigned sample, so that 0x8000 and above never match.
    if (signedSample(*slot) == std::int32_t{sample}) return true;
    if (sampleIn(*slot) == kFreeSlot) {
      *slot = static_cast<std::uint16_t>(~sample);
      return true;
    }
  }
  return false;
}

bool QmTargetCopMask::addIndex(std::uint32_t a, std::uint32_t b, std::uint32_t sample) {
  return addIndex(a, b, static_cast<std::uint16_t>(sample));
}

void QmTargetCopMask::getIndexArray(std::uint32_t a, std::uint32_t b, std::vector<std::uint32_t>& samples) const {
  samples.clear();
  const std::uint16_t* slots = cells_ != nullptr && isInside(a, b) ? slotsOf(a, b) : nullptr;
  for (int i = 0; slots != nullptr && i < kSlotsPerCell && sampleIn(slots[i]) != kFreeSlot; ++i) {
    samples.push_back(static_cast<std::uint32_t>(signedSample(slots[i])));
  }
}

std::int16_t QmTargetCopMask::maxSamleIndex() const {
  std::int16_t largest = -1;
  if (cells_ == nullptr || secondDim_ == 0) return largest;
  for (std::uint32_t a = 0; a < firstDim_; ++a) {
    for (std::uint32_t b = 0; b < secondDim_; ++b) {
      const std::uint16_t* slots = slotsOf(a, b);
      for (int i = 0; slots != nullptr && i < kSlotsPerCell; ++i) largest = std::max(largest, signedSample(slots[i]));
    }
  }
  return largest;
}

bool QmTargetCopMask::storeToFile(const qmWChar* path) const {
  return unlessOutOfMemory(false, [&] {
    FileBuf file(path, u"wb");
    if (!file.isOpen()) return false;
    if (cells_ == nullptr) return true;
    std::ostream out(&file);
    writeValue(out, firstDim_);
    writeValue(out, secondDim_);
    writeValue(out, static_cast<std::uint32_t>(slotCount_ / kSlotsPerCell));
    for (std::uint32_t a = 0; secondDim_ != 0 && a < firstDim_; ++a) {
      for (std::uint32_t b = 0; b < secondDim_; ++b) {
        const std::uint16_t* slots = slotsOf(a, b);
        const auto free = slots == nullptr ? kSlotsPerCell : std::count(slots, slots + kSlotsPerCell, kUntouched);
        const auto count = static_cast<std::uint64_t>(kSlotsPerCell - free);
        writeValue(out, count);
        for (std::uint64_t i = 0; i < count; ++i) writeValue(out, sampleIn(slots[i]));
      }
    }
    return true;  // Required: whether or not everything was written.
  });
}

bool QmTargetCopMask::loadFromFile(const qmWChar* path) {
  return quelcore::reading(path, false, [&] {
    FileBuf file(path, u"rb");
    if (!file.isOpen()) return quelcore::refuseUnreadable(errno);
    std::istream bytes(&file);
    Input in(bytes);
    const Header header = readHeader(in);
    clear();
    if (!init(header.firstDim, header.secondDim, header.maxCells)) return refuseSize(header);
    readRecords(in, header, [&](std::uint64_t position, std::uint16_t sample) {
      addIndex(static_cast<std::uint32_t>(position / header.secondDim),
               static_cast<std::uint32_t>(position % header.secondDim), sample);
    });
    return true;
  });
}
