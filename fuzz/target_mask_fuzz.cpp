// Files of target masks. Input: a file.
//
// Losses: a sample that comes to a full cell, to an exhausted pool or again goes, and so does one of 65535; what stands
// behind the last position goes; a file that ends early is filled up with empty positions; samples of positions that
// share a cell stand at each of them.
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/features/QmTargetCopMask.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"

namespace {

/// Grids beyond take long to poison, not to read; their memory has a test of its own beside the class.
constexpr std::uint64_t kMostPositions = std::uint64_t{1} << 20;
constexpr std::uint64_t kMostCells = std::uint64_t{1} << 18;
constexpr std::uint64_t kMostWritten = 4096;

using Samples = std::vector<std::uint32_t>;

struct Header {
  std::uint32_t firstDim = 0;
  std::uint32_t secondDim = 0;
  std::uint32_t maxCells = 0;
};

Header headerOf(quelfuzz::Input in) {
  Header header;
  for (std::uint32_t* value : {&header.firstDim, &header.secondDim, &header.maxCells}) {
    if (in.rest().size() < sizeof *value) break;
    *value = in.word();
  }
  return header;
}

/// A mask as plain as it can be: samples by entry, an entry for each position that shares it.
class PlainMask {
 public:
  PlainMask(const Header& header, std::string_view records) : header_(header) { read(records); }

  Samples samplesAt(std::uint32_t a, std::uint32_t b) const {
    const auto found = entries_.find(entryOf(a, b));
    return found == entries_.end() ? Samples() : found->second;
  }

 private:
  std::uint64_t entryOf(std::uint32_t a, std::uint32_t b) const { return std::uint64_t{header_.firstDim} * a + b; }

  void read(std::string_view rest) {
    for (std::uint32_t a = 0; header_.secondDim != 0 && a < header_.firstDim; ++a) {
      for (std::uint32_t b = 0; b < header_.secondDim; ++b) {
        std::uint64_t count = 0;
        if (!take(rest, count)) return;
        for (; count > 0; --count) {
          std::uint16_t sample = 0;
          if (!take(rest, sample)) return;
          add(a, b, sample);
        }
      }
    }
  }

  template <typename Value>
  static bool take(std::string_view& rest, Value& value) {
    if (rest.size() < sizeof value) return false;
    std::memcpy(&value, rest.data(), sizeof value);
    rest.remove_prefix(sizeof value);
    return true;
  }

  void add(std::uint32_t a, std::uint32_t b, std::uint16_t sample) {
    const std::uint64_t entry = entryOf(a, b);
    // A cell is given away with the first sample that comes, whatever it is.
    if (entries_.count(entry) == 0 && entries_.size() + refused_.size() >= header_.maxCells) refused_[entry] = true;
    if (refused_.count(entry) != 0) return;
    Samples& samples = entries_[entry];
    const auto kept = static_cast<std::uint32_t>(static_cast<std::int16_t>(sample));
    for (const std::uint32_t before : samples) {
      if (before == sample) return;  // Never true from 0x8000 on: those come with their upper bits set.
    }
    if (samples.size() < 4 && sample != 0xFFFF) samples.push_back(kept);
  }

  Header header_;
  std::map<std::uint64_t, Samples> entries_;
  std::map<std::uint64_t, bool> refused_;
};

/// Bytes of this process that lie in memory.
std::size_t residentSize() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  unsigned long pages = 0;
  quelfuzz::require(file != nullptr && std::fscanf(file, "%*u %lu", &pages) == 1, "the system tells of memory");
  std::fclose(file);
  return pages * 4096;
}

bool load(QmTargetCopMask& mask, const qmWString& path, std::size_t size) {
  constexpr std::size_t kOfSanitizer = std::size_t{2} << 20;
  const std::size_t before = residentSize();
  const bool loaded = mask.loadFromFile(path.c_str());
  const std::size_t after = residentSize();
  quelfuzz::require(after <= before + 8 * size + (std::size_t{1} << 20) + kOfSanitizer,
                    "resident memory grows with what was read");
  return loaded;
}

/// Files that are not there, sizes that no memory holds, and a mask without a grid.
void requireRefusals() {
  QmTargetCopMask mask;
  Samples samples = {1};
  const qmWString nowhere = quelfuzz::pathOf("nowhere/mask");
  quelfuzz::require(!mask.loadFromFile(nowhere.c_str()) && !mask.storeToFile(nowhere.c_str()),
                    "what is no file is none");
  quelfuzz::require(!mask.addIndex(0, 0, std::uint16_t{1}), "without a grid there are no samples");
  const qmWString path = quelfuzz::pathOf("mask");
  quelfuzz::require(mask.storeToFile(path.c_str()) && quelfuzz::contentOf("mask").empty(), "no grid is an empty file");
  quelfuzz::makeFile("mask", std::string(12, '\xFF'));
  quelfuzz::require(!mask.loadFromFile(path.c_str()), "more cells than can be are refused");
  quelplatform::failAllocations(0, 1);
  quelfuzz::require(!mask.init(1, 1, 1), "without memory there is no grid");
  quelplatform::stopFailingAllocations();
  quelfuzz::require(mask.init(1, 1, 1) && !mask.addIndex(1, 0, std::uint32_t{7}), "a position lies in the grid");
  mask.getIndexArray(0, 1, samples);
  quelfuzz::require(samples.empty(), "outside the grid there are no samples");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst(requireRefusals);
  const std::string_view input = quelfuzz::bytesOf(data, size);
  const Header header = headerOf(quelfuzz::Input(input));
  const std::uint64_t positions = std::uint64_t{header.firstDim} * header.secondDim;
  if (positions > kMostPositions || header.maxCells > kMostCells) return 0;
  const qmWString path = quelfuzz::makeFile("mask", input);
  QmTargetCopMask mask;
  quelfuzz::require(load(mask, path, size), "a file of a possible size is read, be it short");
  if (positions > kMostWritten) return 0;

  const PlainMask plain(header, input.substr(std::min<std::size_t>(12, size)));
  const auto requireSame = [&] {
    Samples samples;
    for (std::uint32_t a = 0; a < header.firstDim && positions != 0; ++a) {
      for (std::uint32_t b = 0; b < header.secondDim; ++b) {
        mask.getIndexArray(a, b, samples);
        quelfuzz::require(samples == plain.samplesAt(a, b), "the samples of a position are those of the file");
      }
    }
  };
  requireSame();
  quelfuzz::require(mask.maxSamleIndex() >= -32768 && mask.storeToFile(path.c_str()), "what was read can be written");
  if (header.firstDim < header.secondDim) return 0;  // Shared cells are written more than once.
  const std::string written = quelfuzz::contentOf("mask");
  QmTargetCopMask again;
  quelfuzz::require(again.loadFromFile(path.c_str()) && again.storeToFile(path.c_str()),
                    "what was written can be read");
  quelfuzz::require(quelfuzz::contentOf("mask") == written, "what is read again is written to the byte");
  return 0;
}
