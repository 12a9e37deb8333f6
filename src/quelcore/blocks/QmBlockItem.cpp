#include <algorithm>
#include <string_view>

#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/wideText.h"

namespace {

/// Calls `take` with each piece of `list` between separators; an empty list is one empty piece.
template <typename Take>
void forEachPiece(const qmWString& list, Take take) {
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = list.find(u';', start);
    take(list.substr(start, end == qmWString::npos ? end : end - start));
    if (end == qmWString::npos) return;
    start = end + 1;
  }
}

}  // namespace

void QmBlockItem::SetBlockName(const char* name) { blockName_ = toWide(name); }

void QmBlockItem::SetBlockName(const qmWChar* name) { blockName_ = name == nullptr ? u"" : name; }

void QmBlockItem::SetMapFileName(const qmWChar* name) { mapFileName_ = name == nullptr ? u"" : name; }

void QmBlockItem::AddLensSupport(int lens) {
  if (!IsLensSupport(lens)) lenses_.push_back(lens);
}

bool QmBlockItem::IsLensSupport(int lens) const {
  return std::find(lenses_.begin(), lenses_.end(), lens) != lenses_.end();
}

qmWString QmBlockItem::GetLensSupport() const {
  qmWString list;
  for (const int lens : lenses_) {
    if (!list.empty()) list += u';';
    list += toWide(std::to_string(lens));
  }
  return list;
}

int QmBlockItem::GetLensSupport(std::vector<int>& lenses) const {
  lenses = lenses_;
  return GetLensSupportCount();
}

void QmBlockItem::SetLensSupport(const int* lenses, int count) {
  if (lenses == nullptr || count < 1) {
    lenses_.clear();
  } else {
    lenses_.assign(lenses, lenses + count);
  }
}

int QmBlockItem::SetLensSupport1(const char* list) { return SetLensSupport2(toWide(list).c_str()); }

int QmBlockItem::SetLensSupport2(const qmWChar* list) {
  forEachPiece(list == nullptr ? u"" : list, [&](const qmWString& piece) { lenses_.push_back(_wtoi(piece.c_str())); });
  return GetLensSupportCount();
}
