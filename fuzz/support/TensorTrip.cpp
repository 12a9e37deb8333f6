#include "fuzz/support/TensorTrip.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/support/Fuzzing.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "testing/TensorFile.h"

namespace quelfuzz {

namespace {

struct Record : tag_qmReconsTensorData {
  Record() { qmTensorInit(this); }
  ~Record() { qmTensorDestruct(this); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
};

struct Range {
  std::size_t begin;
  std::size_t size;
};

constexpr std::size_t kFixedPart = 18044;  // Behind it lie the identifiers, whose lengths vary.
constexpr Range kPads[] = {{8, 4}, {8440, 4}, {10752, 4}, {11480, 4}, {12136, 4}};
constexpr Range kCameraType = {17172, 4};
constexpr Range kDerived[] = {{17216, 388},
                              {17916, 80}};  // Projections with their flag; places and distance of cameras.

void blank(std::string& file, const Range& range) {
  if (range.begin + range.size > file.size()) return;
  std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(range.begin), range.size, '\0');
}

std::string fixedPart(std::string_view file, std::size_t size) {
  std::string part(file.substr(0, std::min(size, kFixedPart)));
  for (const Range& pad : kPads) blank(part, pad);
  for (const Range& derived : kDerived) blank(part, derived);
  return part;
}

/// Takes the part of a file that a version has behind the fixed one, as it is written again: what identifiers become is
/// told in the header. Nothing where it ends early.
class FloatingPart {
 public:
  FloatingPart(std::string_view file, std::int32_t version) : rest_(file.substr(std::min(kFixedPart, file.size()))) {
    const auto has = [version](std::int32_t since) { return version <= since; };
    if (has(-12)) takeIds();
    if (has(-13)) take(120);
    if (has(-14)) take(28);
    if (has(-15)) takeIds();
    if (has(-16)) take(512);
    if (has(-17)) take(4);
  }

  bool isWhole() const { return whole_; }
  const std::string& text() const { return text_; }

 private:
  std::string_view next(std::size_t size) {
    whole_ = whole_ && rest_.size() >= size;
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  void take(std::size_t size) { text_ += next(size); }

  void takeIds() {
    for (int camera = 0; camera < 3; ++camera) takeId();
  }

  void takeId() {
    std::uint16_t length = 0;
    const std::string_view word = next(sizeof length);
    std::memcpy(&length, word.data(), word.size());
    const std::string_view bytes = next(length);
    const std::string_view id = bytes.substr(0, std::min<std::size_t>(bytes.find('\0'), LUT_ID_SIZE - 1));
    if (length == 0 || length > LUT_ID_SIZE) {
      text_.append(2, '\0');
    } else {
      text_ += quel::testing::lutEntry(static_cast<std::uint16_t>(id.size() + 1), std::string(id) + '\0');
    }
  }

  std::string_view rest_;
  std::string text_;
  bool whole_ = true;
};

bool isZero(std::string_view file, const Range& range) {
  return file.substr(std::min(range.begin, file.size()), range.size) == std::string_view("\0\0\0\0", 4);
}

/// Of an identifier that is not in use nothing is kept.
void dropUnusedIds(tag_qmReconsTensorData& record) {
  for (auto* infos : {record.distortLutsInfo, record.distortLutsInfo2}) {
    for (int camera = 0; camera < 3; ++camera) {
      if (infos[camera].useLut == 0) std::memset(infos[camera].lutId, 0, LUT_ID_SIZE);
    }
  }
}

}  // namespace

std::string withTinyImages(std::string_view file) {
  std::string changed(file);
  std::int32_t version = 0;
  std::memcpy(&version, changed.data(), std::min(sizeof version, changed.size()));
  const std::size_t at = kCameraType.begin;
  if (version > -2 || changed.size() < at + kCameraType.size) return changed;
  std::int32_t type = 0;
  std::memcpy(&type, changed.data() + at, sizeof type);
  constexpr std::int32_t kTiny = 9;
  atFirst([] { makeFile("cameras.ini", "[Camera 9]\nName = Tiny\nWidth = 40\nHeight = 30\n"); });
  const bool isDefault = type == OH_CAMERA_INVALID && version <= -5;  // Older files have no distortion.
  if (isDefault || (type >= OH_CAMERA_QUELHEAD_100 && type <= OH_CAMERA_QUELHEAD_200_LARGE)) type = kTiny;
  std::memcpy(changed.data() + at, &type, sizeof type);
  return changed;
}

void requireTensorTrip(std::string_view input, tag_qmReconsTensorData& record) {
  dropUnusedIds(record);
  const qmWString path = pathOf("again.tns");
  require(qmTensorDataStoreByVersion(path.c_str(), &record, 1) == 1, "a record that was read can be written");
  const std::string written = contentOf("again.tns");
  require(written == quel::testing::tensorFileBytes(record, record.version), "a tensor file is as it is described");

  Record again;
  require(qmTensorDataForceLoad(path.c_str(), &again, 1) == 1, "what was written can be read");
  dropUnusedIds(again);
  // Not in such a file, but made of projections that may not have been there yet.
  if (record.version > -16) {
    std::memcpy(again.projectionsInLutFrame, record.projectionsInLutFrame, sizeof again.projectionsInLutFrame);
  }
  const std::string differing = quel::testing::differingFields(record, again);
  require(differing.empty(), ("what is read again is the record, " + differing + "apart").c_str());

  // A legacy file has no version word.
  std::int32_t first = 0;
  std::memcpy(&first, input.data(), std::min(sizeof first, input.size()));
  const std::string file = std::string(first > 0 ? sizeof first : 0, '\0').append(input);
  std::string before = fixedPart(file, written.size());
  std::string after = fixedPart(written, written.size());
  if (isZero(before, kCameraType)) blank(after, kCameraType);
  const FloatingPart floating(file, record.version);
  if (floating.isWhole() && record.version <= -12) {
    require(written.substr(kFixedPart) == floating.text(), "what lies behind identifiers keeps its bits");
  }
  if (before == after) return;
  const auto place = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first - before.begin();
  require(false, ("fields keep their bits, but for the byte at " + std::to_string(place)).c_str());
}

}  // namespace quelfuzz
