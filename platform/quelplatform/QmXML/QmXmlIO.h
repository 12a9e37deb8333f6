// Reader of the system's XML data files: their common header and a cursor on their elements.
//
// The root element of a data file is QuelmetraDataFile, and its attributes are the header. The cursor and what counts
// as a document are those of `CMarkupSTL`.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"

/// Attributes of a data file's root, each empty when it is not there.
struct QmXmlHeader {
  qmWString versionProduct;
  qmWString versionCreate;
  qmWString versionFile;
  qmWString componentType;
  qmWString timeStamp;
  qmWString lastUpdate;
};

/// A document with its cursor. Throws nothing but std::bad_alloc, and that only where there is no result to tell a
/// failure by. One thread at a time.
class QUELPLATFORM_API QmXmlIO {
 public:
  /// Directions of `GetElem`.
  enum Direction : std::int32_t { Onward = 0, FromStart = 1 };

  /// An empty document.
  QmXmlIO();
  /// Copies the document; the cursor of the copy is at the start. Throws std::bad_alloc.
  QmXmlIO(const QmXmlIO& other);
  QmXmlIO& operator=(const QmXmlIO& other);
  ~QmXmlIO();

  /// Reads a file into the document. False, with an empty document, when that fails.
  bool LoadDoc(const qmWChar* path) noexcept;

  /// Makes `text` the document; null counts as empty. False, with an empty document, when it is none.
  bool SetDoc(const qmWChar* text) noexcept;

  /// Goes to the root and reads its attributes into `header`. False, with `header` untouched, when the root is not
  /// QuelmetraDataFile or has no "VersionFile".
  bool ReadHeader(QmXmlHeader& header) noexcept;

  /// Moves to the next element of that name, or of any name for null, on the current level: behind the current element
  /// for direction 0, from the level's start for any other. False when there is none.
  bool GetElem(const qmWChar* name, std::int32_t direction) noexcept;

  /// Goes down into the current element, in front of its first child. False without a current element.
  bool IntoElem() noexcept;

  /// Goes back up: the element that the level is in becomes the current one. False on the top level.
  bool OutOfElem() noexcept;

  /// Value of an attribute of the current element; empty when there is none.
  qmWString GetElemAttrib(const qmWChar* name) const;

  /// The current element with its tags, as a document of its own; empty when there is none.
  qmWString GetElemSection() const;

  /// The whole document; empty before `LoadDoc`.
  qmWString GetFullDoc() const;

  /// Why the last `LoadDoc` or `SetDoc` failed, in English; empty when it succeeded.
  qmWString GetError() const;

 private:
  CMarkupSTL document_;
};
