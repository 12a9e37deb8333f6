// A setup as one line of text, and its path. Input: the line in UTF-16.
//
// Losses: what stands behind a line end or the 259th unit of the root.
#include "fuzz/support/Fuzzing.h"
#include "quelcore/project/QmSetupNumbersManager.h"

namespace {

constexpr std::int32_t kRoom = 2048;

void requireLine(const QmSetupInfo& info, const qmWString& line) {
  qmWChar buffer[kRoom] = {};
  const std::int32_t size = info.SaveToStream(buffer, kRoom);
  quelfuzz::require(size <= 4 * 260 && qmWString(buffer).size() + 1 == static_cast<std::size_t>(size),
                    "the size of a line is that of its text");
  QmSetupInfo again;
  quelfuzz::require(again.FillByStream(buffer) && again == info, "a written line reads as the setup");
  const qmWString written(buffer);
  const bool hasRoot = line.find(u"::") == line.npos && line.back() != u':';
  if (hasRoot && line.find(u'\n') == line.npos && line.size() < 260) {
    quelfuzz::require(written == line, "a plain line is written as it was");
  }
  qmWChar shortBuffer[4] = {u'x'};
  quelfuzz::require(info.SaveToStream(shortBuffer, 4) == size && (size <= 4 || shortBuffer[0] == u'x'),
                    "a line that does not fit is not begun");
}

/// The path of a setup, taken apart again. Names with separators give other names.
void requirePath(const QmSetupInfo& info) {
  qmWString path;
  const std::int32_t length = info.GetSetupPath(path);
  qmWChar buffer[kRoom] = {};
  quelfuzz::require(info.GetSetupPath(buffer, kRoom) == length + 1 && path == buffer, "both forms give one path");
  for (const qmWChar* name : {info.GetProject(), info.GetPart(), info.GetSetup()}) {
    if (qmWString(name).find_first_of(u"/\\") != qmWString::npos) return;
  }
  QmSetupInfo apart;
  quelfuzz::require(QmSetupNumCyclePath(3, 1, path.c_str()).FillSetupInfo(apart), "the path of a setup has four parts");
  quelfuzz::require(apart == info, "the path of a setup leads back to it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const qmWString line = quelfuzz::unitsOf(quelfuzz::bytesOf(data, size));
  QmSetupInfo info;
  bool filled = false;
  {
    const quelfuzz::MemoryWatch watch;
    filled = info.FillByStream(line.c_str());
    watch.requireAtMost(quelfuzz::kTimesFile, 1, size);
  }
  if (filled && !line.empty()) {
    quelfuzz::require(info.IsValid(), "a line that was read names a setup");
    requireLine(info, line);
    requirePath(info);
  }
  if (!info.IsValid()) quelfuzz::require(info.GetSetupPath(nullptr, 0) == 0, "a setup that is none has no path");
  QmSetupInfo apart;
  QmSetupNumCyclePath(3, 1, line.c_str()).FillSetupInfo(apart);
  return 0;
}
