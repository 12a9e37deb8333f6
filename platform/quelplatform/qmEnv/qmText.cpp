#include "quelplatform/qmEnv/qmText.h"

#include "quelplatform/ground/text/conversion.h"

qmWString toWide(const char* narrow) { return narrow == nullptr ? qmWString() : quelplatform::utf16Of(narrow); }

qmWString toWide(std::string_view narrow) { return quelplatform::utf16Of(narrow); }

std::string toNarrow(const qmWChar* wide) { return wide == nullptr ? std::string() : quelplatform::utf8Of(wide); }

std::string toNarrow(std::u16string_view wide) { return quelplatform::utf8Of(wide); }
