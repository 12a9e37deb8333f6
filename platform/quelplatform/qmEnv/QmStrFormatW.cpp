#include "quelplatform/qmEnv/QmStrFormatW.h"

#include "quelplatform/qmEnv/qmMessageTable.h"
#include "quelplatform/qmEnv/qmText.h"

QmStrFormatW::QmStrFormatW(std::uint32_t id) : text_(toWide(quelplatform::messageSentence(id))) {}
