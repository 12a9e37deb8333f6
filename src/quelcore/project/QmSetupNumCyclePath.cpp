#include <array>
#include <string_view>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/project/QmSetupNumbersManager.h"

QmSetupNumCyclePath::QmSetupNumCyclePath(std::int32_t setupNumber, std::int32_t cycleNumber, const qmWChar* path)
    : setupNumber_(setupNumber), cycleNumber_(cycleNumber), path_(path == nullptr ? u"" : path) {}

QmSetupNumCyclePath::QmSetupNumCyclePath(const QmSetupInfo& setup) { SetPath(setup); }

std::int32_t QmSetupNumCyclePath::GetPath(qmWChar* buffer, std::int32_t size) const {
  if (path_.empty()) return 0;
  const auto length = static_cast<std::int32_t>(path_.size());
  if (buffer != nullptr && length < size) {
    path_.copy(buffer, path_.size());
    buffer[length] = u'\0';
  }
  return length + 1;
}

void QmSetupNumCyclePath::SetPath(const qmWChar* path) { path_ = path == nullptr ? u"" : path; }

void QmSetupNumCyclePath::SetPath(const QmSetupInfo& setup) { setup.GetSetupPath(path_); }

bool QmSetupNumCyclePath::ComparePath(const qmWChar* path) const { return path != nullptr && path_ == path; }

bool QmSetupNumCyclePath::FillSetupInfo(QmSetupInfo& setup) const {
  return quelcore::unlessOutOfMemory(false, [&] {
    using SetName = void (QmSetupInfo::*)(const qmWString&);
    constexpr std::array<SetName, 3> kFromTheEnd = {&QmSetupInfo::SetSetup, &QmSetupInfo::SetPart,
                                                    &QmSetupInfo::SetProject};
    std::u16string_view rest = path_;
    for (const SetName setName : kFromTheEnd) {
      const std::size_t separator = rest.find_last_of(u"\\/");
      if (separator == std::u16string_view::npos) return false;
      (setup.*setName)(qmWString(rest.substr(separator + 1)));
      rest = rest.substr(0, separator);
    }
    setup.SetRoot(qmWString(rest));
    return true;
  });
}
