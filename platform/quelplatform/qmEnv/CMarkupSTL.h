// An XML document with a cursor: a current level, and on it a current element or none.
//
//   CMarkupSTL xml;
//   if (xml.Load(path) && xml.FindElem(u"Root") && xml.IntoElem())
//     while (xml.FindElem(u"Item")) use(xml.GetAttrib(u"Name"));
//
// The top level holds the root element. `FindElem` goes on behind the current element, or at the level's beginning when
// there is none. A search that fails keeps the current element, but the next search starts at the level's end: go back
// with `ResetMainPos` or `ResetPos`.
//
// Documents are well-formed XML 1.0 of at most 16 MiB and 256 levels with one root. Nothing is ever expanded but
// character references and the five predefined entities; a document type declaration is refused. What stands before
// and behind the root (declaration, comments, blanks and line ends) is kept as it is, and so are blanks and line ends
// between elements; but a declared encoding is made to say UTF-8, which files are written in. An element that is added
// stands on a line of its own, indented as its neighbour is, or two blanks deeper than its parent; but where elements
// follow each other without line ends, so does it.
//
// Names and values are wide text. A document is for one thread at a time. Calls throw nothing but std::bad_alloc, and
// that only where there is no result to tell a failure by.
#pragma once

#include <memory>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

class QUELPLATFORM_API CMarkupSTL {
 public:
  /// An empty document: no root, nothing before it. Throws std::bad_alloc.
  CMarkupSTL();
  ~CMarkupSTL();
  CMarkupSTL(const CMarkupSTL&) = delete;
  CMarkupSTL& operator=(const CMarkupSTL&) = delete;

  /// Reads a file: UTF-8 with or without a mark, or UTF-16 of either byte order with its mark. False, with the document
  /// empty and `GetError` telling why, when the file cannot be read or is none that this class takes. A document
  /// without a root is refused. The last error (`GetLastError`) tells what is known of the file: 0 where it was read,
  /// be it sound or not; 2 or 3 where it is not there; anything else where nobody knows what is in it.
  bool Load(const qmWChar* path) noexcept;

  /// Writes the document as UTF-8 without a mark. The file at `path` is replaced as a whole: whatever happens, the old
  /// file or the new one is there. False, with `GetError` telling why, when that fails, the file is read-only, or there
  /// is no root or more than 16 MiB, so that the file could not be read again.
  bool Save(const qmWChar* path) noexcept;

  /// Makes `text` the document; null counts as empty. Unlike a file it need not have a root, but may be the declaration
  /// and comments in front of one. Otherwise as `Load`.
  bool SetDoc(const qmWChar* text) noexcept;

  /// The document's text.
  qmWString GetDoc() const;

  /// Why the last `Load`, `Save`, `SetDoc`, `AddElem`, `AddAttrib` or `RemoveElem` failed, in English, with line and
  /// column where there is one; empty when it succeeded.
  qmWString GetError() const;

  /// Moves to the next element of that name, or of any name for null, on the current level. False when there is none,
  /// and when memory is exhausted, which the last error (8) tells.
  bool FindElem(const qmWChar* name) noexcept;

  /// Goes down into the current element, in front of its first child; it need not have one. False without a current
  /// element.
  bool IntoElem() noexcept;

  /// Goes back up: the element that the level is in becomes the current one. False on the top level.
  bool OutOfElem() noexcept;

  /// Adds an element behind the current one, or at the level's end when there is none, and makes it current. Null
  /// `text` adds no text. `flags` is not used. False, with nothing changed, for a name that XML does not have, text
  /// with characters that XML cannot hold (control characters but tab and line ends), a second root, more than 256
  /// levels or exhausted memory.
  bool AddElem(const qmWChar* name, const qmWChar* text = nullptr, std::int32_t flags = 0) noexcept;

  /// Sets an attribute of the current element: the one of that name, or a new last one. Numbers in decimal; null text
  /// counts as empty. False, with nothing changed, without a current element, for name or text as in `AddElem`, and on
  /// exhausted memory.
  bool AddAttrib(const qmWChar* name, const qmWChar* text) noexcept;
  bool AddAttrib(const qmWChar* name, std::uint32_t value) noexcept;
  bool AddAttrib(const qmWChar* name, std::int32_t value) noexcept;

  /// Value of an attribute of the current element; empty when there is none.
  qmWString GetAttrib(const qmWChar* name) const;

  /// Text of the current element without that of elements in it; empty when there is none.
  qmWString GetData() const;

  /// Name of the current element; empty when there is none.
  qmWString GetTagName() const;

  /// The current element with its tags and all that is in it, as text that `SetDoc` takes; empty when there is none.
  qmWString GetSection() const;

  /// Removes the current element with the blanks in front of it. No element is current then, and the next search begins
  /// with the next sibling. False without a current element.
  bool RemoveElem() noexcept;

  /// Goes to the document's start: the top level, no current element.
  void ResetPos() noexcept;

  /// Goes to the start of the current level: no current element.
  void ResetMainPos() noexcept;

 private:
  struct Document;
  std::unique_ptr<Document> document_;
};
