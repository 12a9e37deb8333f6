// The list of executed operations, held as an XML document and written to one file.
//
//   <?xml version="1.0" encoding="UTF-8" ?>
//   <QuelmetraDataFile VersionFile="1.00">
//     <Operation ID="7" Type="COP">
//       <Tiles Size="3">3 14 159 </Tiles>
//     </Operation>
//   </QuelmetraDataFile>
//
// The document's cursor is part of the object's state: every operation, reading ones included, moves it. Call `load`
// and then `getOperations`, which leaves the cursor inside the root element; `addOperation`, `removeOperation` and
// `getOperationData` work at that level, and beside the root without it.
//
// `load`, `getOperations` and `getOperationData` leave a problem (base/QmProblem.h); remarks are types that are not
// known and tiles that are no numbers.
//
// Nothing here logs or throws but std::bad_alloc where there is no result to tell a failure by. Before the first
// successful `load` every operation that needs a document gives false. One thread at a time.
#pragma once

#include <memory>
#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/OperationTypeId.h"
#include "quelplatform/qmEnv/CMarkupSTL.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Copies share one document, cursor included, so that what one adds the other finds; the document lives as long as the
/// last of them. File name and version are each object's own.
class QUELCORE_API XMLOperationIO {
 public:
  XMLOperationIO();
  XMLOperationIO(const XMLOperationIO&);
  XMLOperationIO& operator=(const XMLOperationIO&);
  ~XMLOperationIO();

  /// With `fileExists`, reads the file at `path`. Otherwise begins a new document of the current version; nothing is
  /// read then, and the file is not made before `save`. Takes over `path` for `save`. False, with the former path kept,
  /// when the file is no document that `CMarkupSTL` takes. Whether it is one of operations is not looked at here. After
  /// a failure the document is not the one of that path any more, so `save` refuses until a `load` succeeds.
  bool load(const qmWChar* path, bool fileExists) noexcept;

  /// Writes the document to the path of the last successful `load`. The file is replaced as a whole: after a failure,
  /// which gives false, the old one is there. False, with no file touched, when the last `load` of the document failed,
  /// be it by a copy of this object.
  bool save() noexcept;

  /// Version that a new document states, 1.0 at first; reading a document's header replaces it by what that says.
  void setCurVersion(float version) noexcept;

  /// Path of the last successful `load`; empty before. Lives until the next `load`.
  const qmWChar* getFileName() const noexcept;

  /// Adds an operation with its tiles behind the current one. False when the element or its ID cannot be written.
  /// Required: when only the type cannot be written the result is true, and the tiles are not written; and whether the
  /// tiles could be written it does not tell.
  bool addOperation(std::uint32_t id, OperationTypeId type, std::vector<std::uint32_t>& tiles) noexcept;

  /// Removes the operation with that ID. Always true, whether there is one or not.
  bool removeOperation(std::uint32_t id) noexcept;

  /// Reads the header and appends the types of all elements in the root, of whatever name, in document order.
  /// Required: the result is false in every case, after a full reading too. What counts is that the cursor is inside
  /// the root afterwards, unless the header cannot be read.
  bool getOperations(std::vector<OperationTypeId>& types) noexcept;

  /// Appends the tiles of the operation with that ID. False when there is none, or it has no tiles.
  bool getOperationData(std::uint32_t id, std::vector<std::uint32_t>& tiles) noexcept;

  /// "COP" for `OPERATION_COP`, else "Unknown". Lives as long as the process.
  static const qmWChar* getOperationNameByType(OperationTypeId type) noexcept;

  /// `OPERATION_COP` for exactly "COP", else `OPERATION_UNKNOWN`; null is no name.
  static OperationTypeId getOperationTypeByName(const qmWChar* name) noexcept;

  /// Moves to the next element of that name on the current level, and when there is none to the first one. For null: to
  /// the next of any name, without a second search.
  bool FindElem(const qmWChar* name) noexcept;

  /// Moves to the first element of that name on the current level whose attribute has exactly that value.
  bool FindElem(const qmWChar* name, const qmWChar* attribute, const qmWChar* value) noexcept;

  /// Appends the numbers in the text of the element of that name on the current level. They are separated by blanks; a
  /// token counts as far as it is a number, 0 when it begins with none, and the largest number when it is larger than
  /// that. The attribute "Size" is not looked at. True for an element without text; false without an element.
  bool readArray(std::vector<std::uint32_t>& values, const qmWChar* name) noexcept;

  /// Replaces the element of that name on the current level by one with these numbers, each followed by a blank, and
  /// their count in "Size"; by nothing when there are none. False, with nothing touched, for a null name.
  bool writeArray(std::vector<std::uint32_t>& values, const qmWChar* name) noexcept;

 private:
  struct Document;

  bool readHeader();
  bool writeHeader();
  bool findOperation(std::uint32_t id);
  QUELCORE_LOCAL bool findWith(const qmWChar* name, const qmWChar* attribute, const qmWChar* value);
  QUELCORE_LOCAL bool appendArray(std::vector<std::uint32_t>& values, const qmWChar* name);
  QUELCORE_LOCAL OperationTypeId readType(int number);

  std::shared_ptr<Document> document_;
  qmWString fileName_;
  float version_ = 1.0F;
};
