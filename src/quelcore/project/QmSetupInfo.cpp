#include "quelcore/project/QmSetupInfo.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/problems.h"

namespace {

using View = std::u16string_view;
using Parts = std::initializer_list<View>;

/// Units that one read of a field delivers.
constexpr std::size_t kLongestField = quelcore::kPathSize - 1;

constexpr qmWChar kColon = u':';

std::size_t joinedLength(Parts parts) {
  std::size_t length = parts.size() - 1;
  for (const View part : parts) length += part.size();
  return length;
}

qmWChar* append(View text, qmWChar* at) { return std::copy(text.begin(), text.end(), at); }

/// Writes the parts with `joint` between them when they are shorter than `size`. Returns the size that they take, with
/// their NUL.
std::int32_t writeJoined(Parts parts, qmWChar joint, qmWChar* buffer, std::int32_t size) {
  const std::size_t length = joinedLength(parts);
  if (buffer != nullptr && size > 0 && length < static_cast<std::size_t>(size)) {
    qmWChar* at = append(*parts.begin(), buffer);
    for (const View* part = parts.begin() + 1; part != parts.end(); ++part) {
      *at++ = joint;
      at = append(*part, at);
    }
    *at = u'\0';
  }
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(length + 1, kMost));
}

/// What one read takes off the front of `rest`: up to the next `end`, at most 259 units.
View takeField(View& rest, qmWChar end) {
  const View field = rest.substr(0, std::min(rest.find(end), kLongestField));
  rest.remove_prefix(field.size());
  return field;
}

/// Takes a name and the colon behind it off the front of `rest`, which ends `line`.
bool takeName(View line, View& rest, const char* part, qmWString& name) {
  const auto column = static_cast<std::int32_t>(line.size() - rest.size() + 1);
  const View field = takeField(rest, kColon);
  if (field.empty() || rest.empty() || rest.front() != kColon) {
    return quelcore::refuse({.line = 1, .column = column}, part, quelcore::ProblemText::quoted(field),
                            "a name of 1 to 259 units and a colon");
  }
  rest.remove_prefix(1);
  name = field;
  return true;
}

}  // namespace

bool QmSetupInfo::IsValid() const { return IsRootChosen() && IsProjectChosen() && IsPartChosen() && IsSetupChosen(); }

void QmSetupInfo::Reset() {
  const FILETIME lastModified = lastModified_;
  *this = QmSetupInfo();
  lastModified_ = lastModified;
}

bool QmSetupInfo::operator==(const QmSetupInfo& other) const {
  return root_ == other.root_ && project_ == other.project_ && part_ == other.part_ && setup_ == other.setup_;
}

std::int32_t QmSetupInfo::SaveToStream(qmWChar* buffer, std::int32_t size) const {
  return writeJoined({project_, part_, setup_, root_}, kColon, buffer, size);
}

bool QmSetupInfo::FillByStream(const qmWChar* line) {
  return quelcore::reading(nullptr, false, [&] {
    const qmWString text = orEmpty(line);  // A copy, for the line may be one of this object's own texts.
    Reset();
    if (text.empty()) return true;
    SetRoot(QmWorkPlace::getCurProjRoot());
    View rest = text;
    if (!takeName(text, rest, "project", project_) || !takeName(text, rest, "part", part_) ||
        !takeName(text, rest, "setup", setup_)) {
      return false;
    }
    const View root = takeField(rest, u'\n');
    if (!root.empty()) root_ = root;
    return true;
  });
}

std::int32_t QmSetupInfo::GetSetupPath(qmWChar* buffer, std::int32_t size) const {
  if (!IsValid()) return 0;
  return writeJoined({root_, project_, part_, setup_}, QmWorkPlace::path_separator, buffer, size);
}

std::int32_t QmSetupInfo::GetSetupPath(qmWString& path) const {
  return quelcore::unlessOutOfMemory(0, [&] {
    const Parts parts = {root_, project_, part_, setup_};
    qmWString joined(joinedLength(parts), u'\0');
    const std::int32_t size =
        writeJoined(parts, QmWorkPlace::path_separator, joined.data(), static_cast<std::int32_t>(joined.size()) + 1);
    path.swap(joined);
    return size - 1;
  });
}

std::int32_t QmSetupInfo::MakeSetupFilePath(const qmWChar* tail, qmWChar* buffer, std::int32_t size) const {
  if (!IsValid() || tail == nullptr) return 0;
  return writeJoined({root_, project_, part_, setup_, tail}, QmWorkPlace::path_separator, buffer, size);
}

std::int32_t QmSetupInfo::GetPreviewFilePath(qmWChar* buffer, std::int32_t size) const {
  return MakeSetupFilePath(QmWorkPlace::getPreviewFileTail(), buffer, size);
}

std::int32_t QmSetupInfo::GetReadmeFilePath(qmWChar* buffer, std::int32_t size) const {
  return MakeSetupFilePath(QmWorkPlace::getReadmeFileTail(), buffer, size);
}
