// The multi-stage calibration file of a camera type, which is only read. Input: the file.
#include "fuzz/support/Fuzzing.h"
#include "quelcore/patches/lutsParams.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/ground/text/wideNumber.h"

namespace {

/// The flag as it stands in the file.
bool flagIn(const quelplatform::ProfileFile& file, const qmWChar* key) {
  const auto value = file.value(u"General", key);
  return value && quelplatform::wrappedInteger(*value) != 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = quelfuzz::bytesOf(data, size);
  quelfuzz::makeFile("multistage/5.ini", bytes);
  quelcore::LutsParams& params = quelcore::lutsParams();
  params = {};
  {
    const quelfuzz::MemoryWatch watch;
    quelfuzz::require(quelcore::readLutsParams(OH_CAMERA_640x480), "a file that is there is read");
    watch.requireAtMost(2 * quelfuzz::kTimesFile, 0, size);
  }
  const auto file = quelplatform::ProfileFile::decode(std::string(bytes));
  quelfuzz::require(params.bUseDistortLutCopBased_ == flagIn(file, u"qmDistortLutCopBased"), "the first flag");
  quelfuzz::require(params.bUseDistortLutTrgBased_ == flagIn(file, u"qmDistortLutTrgBased"), "the second flag");
  quelfuzz::require(quelcore::readLutsParams(OH_CAMERA_640x480), "what was read is kept");
  quelfuzz::require(quelcore::readLutsParams(OH_CAMERA_INVALID) && params.ohType == OH_CAMERA_640x480,
                    "a type that is none changes nothing");
  quelfuzz::require(!quelcore::readLutsParams(OH_CAMERA_2048x1536) && !params.initialised, "another type has no file");
  quelfuzz::require(!quelcore::readLutsParams(OH_CAMERA_INVALID), "a type that is none has nothing");
  return 0;
}
