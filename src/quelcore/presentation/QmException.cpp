#include "quelcore/presentation/QmException.h"

namespace {

qmWString textOrEmpty(const qmWChar* text) { return text == nullptr ? qmWString() : qmWString(text); }

}  // namespace

QmException::QmException(std::int32_t sourceLine, const qmWChar* sourceFile, std::uint8_t sourceFlag)
    : line(sourceLine), flag(sourceFlag), file(textOrEmpty(sourceFile)) {}
QmException::QmException(const QmException&) = default;
QmException& QmException::operator=(const QmException&) = default;
QmException::~QmException() = default;

QmExceptionNote::QmExceptionNote(std::int32_t sourceLine, const qmWChar* sourceFile, std::uint8_t sourceFlag,
                                 const qmWChar* text)
    : QmException(sourceLine, sourceFile, sourceFlag), note(textOrEmpty(text)) {}
QmExceptionNote::QmExceptionNote(const QmExceptionNote&) = default;
QmExceptionNote& QmExceptionNote::operator=(const QmExceptionNote&) = default;
QmExceptionNote::~QmExceptionNote() = default;
