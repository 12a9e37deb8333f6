// Exceptions of the library: a place, and a note.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Where something went wrong.
class QUELCORE_API QmException {
 public:
  /// Null `sourceFile` counts as empty. Throws std::bad_alloc.
  QmException(std::int32_t sourceLine, const qmWChar* sourceFile, std::uint8_t sourceFlag);
  QmException(const QmException&);
  QmException& operator=(const QmException&);
  virtual ~QmException();

  std::int32_t line;
  std::uint8_t flag;
  qmWString file;  ///< Name of the source module.
};

/// The same with a note in English.
class QUELCORE_API QmExceptionNote : public QmException {
 public:
  QmExceptionNote(std::int32_t sourceLine, const qmWChar* sourceFile, std::uint8_t sourceFlag, const qmWChar* text);
  QmExceptionNote(const QmExceptionNote&);
  QmExceptionNote& operator=(const QmExceptionNote&);
  ~QmExceptionNote() override;

  qmWString note;
};
