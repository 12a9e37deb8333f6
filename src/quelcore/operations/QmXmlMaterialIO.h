// The global materials configuration: for each model of optical head and lens, the materials, the processes of each
// material and three numbers for each process.
//
//   <QuelmetraDataFile VersionFile="1.0">
//     <ConfigTable Type="GLOBAL_MATERIALS">
//       <OpticalHeadModel Type="OH2002">
//         <Lens Type="50">
//           <Material Name="Steel">
//             <Process Name="milled" Param1="0.25" Param2="1.5" Param3="3"/>
//
// It is only read. `Open` and `Read` leave a problem (base/QmProblem.h); remarks are what is left out of the table, and
// text that is no number.
#pragma once

#include <map>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/QmXML/QmXmlIO.h"
#include "quelplatform/qmEnv/qmHead.h"

/// The numbers of a process; what they mean is settled by who uses them.
struct QmMaterialParams {
  double Param1;
  double Param2;
  double Param3;
};

/// Parameters by lens, material name and process name; names order unit by unit.
using QmGlobalMaterialTable = std::map<QmLens, std::map<qmWString, std::map<qmWString, QmMaterialParams>>>;

/// One document. Calls throw nothing; exhausted memory gives false. One thread at a time: reading moves the document's
/// cursor.
class QUELCORE_API QmXmlGlobalMaterialIO {
 public:
  QmXmlGlobalMaterialIO();
  virtual ~QmXmlGlobalMaterialIO();

  /// Loads the document at `path`. False for an empty or null path, and when the file is no XML document.
  bool Open(const qmWChar* path) noexcept;

  /// Puts what the document holds for `head` into `table`. False when the root is not that of a data file, when the
  /// first ConfigTable is not of type "GLOBAL_MATERIALS" (later ones are not looked at), when there are no materials
  /// for the head, or when the table is empty afterwards.
  ///
  /// The table is not emptied first: a lens or material with anything in it replaces one of the same name, all else
  /// stays; so a table that held something gives true even where the document adds nothing. Left out are a Lens whose
  /// type is 0 or no number, a Material or Process without a name, a Process that lacks one of its numbers, and
  /// whatever is empty then. Of two processes of one name in a material the later counts. Text that is no number reads
  /// as 0.
  ///
  /// Heads 3 to 6 share one section, that of the first OpticalHeadModel of type "OH2002". Head 1 logs "Optical Head 100
  /// don't supported in this version!" at level 5, every other number "Optical Head '%s' don't supported in this
  /// version!" with its name.
  bool Read(OPTICAL_HEAD head, QmGlobalMaterialTable& table) noexcept;

  /// Makes `text` the whole document. False when that is empty, as it is before `Open`.
  bool ReadAllToStream(qmWString& text) noexcept;

 protected:
  /// As `Read`, on the current level.
  bool ReadMtrlTable(OPTICAL_HEAD head, QmGlobalMaterialTable& table) noexcept;

  /// The section of the current level that serves `head`, as text; emptied first. True when there is one.
  bool GetHeadSection(OPTICAL_HEAD head, qmWString& section) noexcept;

  /// As above, as a document.
  bool GetHeadSection(OPTICAL_HEAD head, QmXmlIO& section) noexcept;

  /// Puts the lenses of a section, which is a document of its own, into `table`. True when the table holds anything.
  bool FillMtrlTable(QmXmlIO& section, QmGlobalMaterialTable& table) noexcept;

 private:
  QmXmlIO document_;
  QmXmlHeader header_;
  qmWString path_;
};
