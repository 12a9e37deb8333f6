// The tensor as an owning object: deep copies, counted LUTs, files with their LUTs, getters that honour the file
// version.
//
//   QmReconsTensor head;
//   if (!head.LoadFromFile(u"ABC-12.tns")) return;        // the log says why
//   double pixel[2];
//   qmRTProjectPointtoImage(head, point, 0, PROJECT_EXACT, pixel);
#pragma once

#include <map>
#include <set>
#include <string>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmIdentity.h"
#include "quelcore/records/qmImage.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/qmMath/qmMath.h"

class QmBlockCorrectionParameters;

/// One calibrated head. The object is the record and nothing more: plain functions that take a record take the object.
///
/// It owns the six distortion images, its own copies, and one reference per used LUT: of the set that `luts` points to,
/// whatever set `lutId` may have come to name since. An object is empty (version 0) or loaded. It has no lock; copies
/// of one object may be made and destroyed on several threads.
class QUELCORE_API QmReconsTensor : public tag_qmReconsTensorData {
 public:
  /// An empty tensor.
  QmReconsTensor();

  /// Copies the record, its distortion images (null where memory is exhausted), and takes a reference of each used LUT
  /// that is attached: where `luts` is null there is none to take.
  /// Required: a reference is taken for every `useLut` but 0 and dropped only for 1, so one for another flag stays
  /// until all LUTs of the process are released.
  QmReconsTensor(const tag_qmReconsTensorData& tensor);
  QmReconsTensor(const QmReconsTensor& other);
  QmReconsTensor& operator=(const tag_qmReconsTensorData& tensor);
  QmReconsTensor& operator=(const QmReconsTensor& other);

  ~QmReconsTensor();

  operator tag_qmReconsTensorData*() { return this; }
  operator const tag_qmReconsTensorData*() const { return this; }

  /// -17.0: the file version that this library writes, not this object's.
  double GetVersion() const;

  /// True when the object's version equals `v`.
  bool IsVersion(double v) const;

  /// These answer for every version.
  bool GetCCDPixelSize(double& size) const;
  bool GetLensType(double& lens) const;
  bool GetPixel2WorldRatio(double& ratio) const;
  bool GetWorkingDistance(double& distance) const;

  /// False, with nothing written, for a source outside 0 to 2.
  bool GetTemperature(TemperatureSource source, double& temperature) const;

  bool GetReconstBoxCenterAndHalfSize(double& centerX, double& halfSizeX, double& centerY, double& halfSizeY,
                                      double& centerZ, double& halfSizeZ) const;

  /// Greatest calibration result of the three cameras.
  /// Required: the average answers for every version (-1.0 where the file had none), the other two from -5 on.
  bool GetResultAvg(double& result) const;
  bool GetResultMax(double& result) const;
  bool GetResultStd(double& result) const;

  /// The identity of the calibration. Each answers for version -6 and newer, and is otherwise false with nothing
  /// written.
  bool GetCalibrationID(int& blockNumber) const;
  /// Required: hands back nothing; only the result tells.
  bool GetMappingID(int mappingId) const;
  bool GetCalibrationInfo(tag_qmCalibrationID& calibration) const;
  /// File name of the tensor file by its identity, such as ABC-12.tns.
  bool GetFileName(qmWString& name) const;
  /// 8 bytes; false also for a null buffer and a size below 8.
  bool GetMachineID(unsigned char* buffer, int size) const;

  /// For version -8 and newer.
  bool GetCalibrationTimeStamp(std::int32_t& timeStamp) const;

  /// `IsBlockCompatibleToImage` (blocks/QmBlockNames.h) of this tensor.
  bool IsCompatibleToImage(const tag_qmImageID& image) const;

  /// Empties the object, loads the tensor file and attaches the LUTs that it names, from the block's LUT file beside
  /// `lutsSource`, or beside `tensorFile` when that is null. Also warms the caches of qmReconsFilterByZ.h for this
  /// lens.
  ///
  /// False, with one line of level 5 and a problem (base/QmProblem.h) that tells them apart, when `tensorFile` is null,
  /// it does not load, or LUTs do not load; they do not where the tensor's machine makes the name of their file a path
  /// that leads elsewhere. The object then holds what was read; the next load or the destructor clears
  /// it.
  bool LoadFromFile(const qmWChar* tensorFile, const qmWChar* lutsSource = nullptr);

  /// Writes the tensor file, and before it, for heads outside the QuelHead 200 family, the LUT file of the block beside
  /// it: every used LUT under the identifier that this block's LUT should have, which the object then uses.
  ///
  /// The LUTs are read back from the new file: what another tensor has loaded under the same identifiers stays its own.
  ///
  /// False when either fails. The tensor file is written even when the LUTs are not. A LUT that is not read back stays
  /// attached as it was, so that the tensor projects as before, under its new identifier. A null file name writes
  /// nothing.
  bool StoreToFile(const qmWChar* fileName);

  /// Renames the LUTs of a block whose number changes: in the identifier of every used LUT the prefix of `oldNumber`
  /// gives way to that of `newNumber`, and the tables get the new name. Another tensor whose tables had that name keeps
  /// them without it; tables that had lost the old name to others get no new one. Does nothing for equal numbers.
  /// Returns true; false only when memory is exhausted. Required: the prefix is replaced by position; nothing tests
  /// that it was the old one.
  bool updateLutsId(const char* machineId, int oldNumber, int newNumber);

  /// Makes of this tensor a corrected copy that holds at `temperature` (degrees Celsius): with d the difference from
  /// the reference temperature of this tensor, every rate of `parameters` shifts its quantity by rate times d.
  ///
  ///   ax, ay, skew, xp, yp    intrinsics; xp and yp also become the distortion's principal point
  ///   rx, ry, rz              degrees per degree: R becomes Rz Ry Rx R, the camera staying where it is
  ///   D01, D02, D12           the camera moves along the base line of the two cameras that the name tells
  ///   k1, k2, k3, p1, p2      distortion
  ///
  /// Each projection is decomposed, shifted and put together again with its entry [2][3] made 1 (to rounding), with no
  /// rate too; `projectionsInLutFrame` is its product with `lutFrameTransform`, with its own entry [2][3] made 1 to
  /// rounding (whatever that entry is: 0 gives values that are not finite). Camera locations follow D and rotation;
  /// everything else stays as copied, temperatures too.
  ///
  /// False, with one line of level 5, when a projection cannot be decomposed or has 0 at [2][3]; the cameras before it
  /// are then corrected. False also when memory runs out. `corrected` may be this object. Required: with a rotation, t
  /// is formed from the stored camera location and not from the decomposed t.
  bool BuildCorrectedTensor(double temperature, QmBlockCorrectionParameters& parameters,
                            QmReconsTensor& corrected) const;

  /// The same at the reference temperature of the first of `images`; false also for a null array or image.
  bool BuildCorrectedTensor(const tag_qmImage* const* images, QmBlockCorrectionParameters& parameters,
                            QmReconsTensor& corrected) const;

  /// Drops the LUTs of three cameras: their references, flags, identifiers and pointers. False for a null argument.
  static bool clearLUTs(tag_qmDistortParams* params, tag_qmDistortLutsInfo* infos);

 protected:
  /// Copies the record like the public constructors; a null pointer gives an empty tensor.
  explicit QmReconsTensor(const tag_qmReconsTensorData* tensor);

 private:
  /// The members of one LUT type that go together.
  struct LutType {
    tag_qmDistortParams* params;
    tag_qmDistortLutsInfo* infos;
  };
  QUELCORE_LOCAL LutType lutType(int type);

  QUELCORE_LOCAL bool correctCamera(QmBlockCorrectionParameters& parameters, QmReconsTensor& corrected,
                                    const double& deltaT, unsigned camera) const;
  QUELCORE_LOCAL void UpdatedCorrectedTensorInternalParams(QmBlockCorrectionParameters& parameters,
                                                           QmReconsTensor& corrected, const double& deltaT,
                                                           unsigned camera, double K[3][3]) const;
  QUELCORE_LOCAL void UpdatedCorrectedTensorExternalParams(QmBlockCorrectionParameters& parameters,
                                                           QmReconsTensor& corrected, const double& deltaT,
                                                           unsigned camera, qmMathTransform& pose) const;
  QUELCORE_LOCAL void UpdatedCorrectedTensorDistortParams(QmBlockCorrectionParameters& parameters,
                                                          QmReconsTensor& corrected, const double& deltaT,
                                                          unsigned camera) const;
  QUELCORE_LOCAL void copyFrom(const tag_qmReconsTensorData& tensor);
  QUELCORE_LOCAL void takeContentOf(QmReconsTensor& other);
  QUELCORE_LOCAL void clear();
  QUELCORE_LOCAL void clearTensorLuts();
  QUELCORE_LOCAL void clearCameraLuts(tag_qmDistortParams& params, tag_qmDistortLutsInfo& info);
  QUELCORE_LOCAL void addLutsRef();
  QUELCORE_LOCAL void copyDistortTable(const tag_qmReconsTensorData& tensor);
  QUELCORE_LOCAL void getTensorLutIds(std::set<std::string>& ids) const;
  QUELCORE_LOCAL bool getLutsFileByTensorFile(const qmWChar* path, qmWChar* buffer, int size) const;
  QUELCORE_LOCAL bool loadDistortLuts(const qmWChar* tensorFile);
  QUELCORE_LOCAL bool attachLuts(const std::map<std::string, const tag_qmDistortLuts*>& luts, const qmWChar* lutsFile);
  QUELCORE_LOCAL bool storeLuts(const qmWChar* fileName);
  QUELCORE_LOCAL bool renameLuts(const char* machineId, int oldNumber, int newNumber);
  QUELCORE_LOCAL bool ownLutId(int type, int camera, std::string& id) const;
};
