// The correction table of a block: named values per camera, read from an XML file; tensor compensation applies them.
//
//   <BlockCorrectionParameters>
//     <BlockParameter Name="ax" CameraId="0" Value="0.0125"/>
//   </BlockCorrectionParameters>
//
// "Name" in any case is stored lower-case; an element without it is passed over. "CameraId" that is missing or no
// number is 0, "Value" likewise 0.0. Of two elements for one name and camera the first counts. Elements of other names
// are passed over.
//
// An object has no lock. Log lines bear the name QmBlockCorrectionParameters.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

class CMarkupSTL;
namespace quelcore {
struct XmlElement;
}

class QUELCORE_API QmBlockCorrectionParameters {
 public:
  QmBlockCorrectionParameters() = default;
  QmBlockCorrectionParameters(const QmBlockCorrectionParameters&) = default;
  QmBlockCorrectionParameters& operator=(const QmBlockCorrectionParameters&) = default;
  virtual ~QmBlockCorrectionParameters();

  /// Makes the table that of `file`. True at once when that is the file loaded last, by its exact name; it is not read
  /// again then, nor looked for.
  ///
  /// False when the name is empty or no file has it (note of level 4; the table stays), and when the file cannot be
  /// read or has another root (0xC43D001E at level 5, note of level 4, and "Failed to load ..." at level 5). Required:
  /// such a file empties the table and keeps the name of the file loaded before; asked for that one again the answer is
  /// true, and no parameter is found until another name is given. Memory that runs out on the way counts as a file that
  /// cannot be read: the table is never half a file's. Leaves a problem (base/QmProblem.h); remarks are elements that
  /// are passed over and attributes that are no numbers.
  bool Initialize(const qmWString& file);

  /// True when a file was loaded and still exists; otherwise a note of level 4.
  bool IsInitialized() const;

  /// Looks a value up. True with `value` set; false, with a note of level 4 and `value` untouched, when it is not
  /// there. Required: `name` is changed to lower case, and every call leaves the log lines of `Initialize`.
  bool GetParameter(qmWString& name, std::uint32_t camera, double& value);

  /// Puts a value into the table unless one is there.
  /// Required: the name goes in as it is. One with a capital is never found, since `GetParameter` looks for lower case.
  void insertParameterValue(const qmWString& name, std::uint32_t camera, double value);

 private:
  QUELCORE_LOCAL bool IsValidForCorrection(const qmWString& file) const;
  QUELCORE_LOCAL bool readFromXml(const qmWString& file);
  QUELCORE_LOCAL void readParameterValue(CMarkupSTL& xml, const quelcore::XmlElement& element);

  qmWString loadedFile_;
  std::map<std::pair<qmWString, std::uint32_t>, double> parameters_;
};
