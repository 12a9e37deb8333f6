// What the system's XML data files have in common.
#pragma once

class CMarkupSTL;

namespace quelcore {

/// Name of the root of every data file.
inline constexpr const char16_t* kDataFileRoot = u"QuelmetraDataFile";

/// Makes `xml` a new data file: the declaration and a root without attributes, on which the cursor stays. False when
/// memory is exhausted.
bool beginDataFile(CMarkupSTL& xml);

}  // namespace quelcore
