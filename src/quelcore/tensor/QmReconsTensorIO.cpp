#include "quelcore/tensor/QmReconsTensorIO.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#include "quelcore/base/File.h"
#include "quelcore/base/problems.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "quelcore/tensor/tensorFileFormat.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelcore/tensor/tensorFileReader.h"
#include "quelcore/tensor/tensorFileWriter.h"
#include "quelplatform/qmEnv/qmFile.h"

using quelcore::kTensorFileLog;

namespace {

constexpr std::uint32_t kErrorFileAccess = 0xc43d0030;

/// `where` names the step in the system's own words.
void reportFileError(const char* where, const qmWChar* path, int error) {
  kTensorFileLog.message(quelcore::kLogError, kErrorFileAccess, where, path == nullptr ? u"" : path, error,
                         std::strerror(error));
}

/// Projections and camera locations of a record whose file has metric tables but no projections.
bool deriveProjections(tag_qmReconsTensorData& tensor) {
  if (tensor.reconsFlag == 0 || tensor.projectionsValid != 0) return true;
  if (qmRTComputeProjections(&tensor, tensor.projections) != 0) tensor.projectionsValid = 1;
  return quelcore::deriveCameraLocations(tensor, true);
}

/// Writes the record to the open `file` and closes it. The system's error where that fails.
std::optional<int> storeIn(quelcore::File& file, tag_qmReconsTensorData& tensor, std::int32_t version) {
  quelcore::flipRecord(tensor);
  quelcore::TensorFileWriter writer(file.get(), tensor);
  const bool written = writer.write(version);
  quelcore::flipRecord(tensor);
  // Required: the partial file stays, so the platform is not to take it for one that is given up.
  if (!written) std::clearerr(file.get());
  errno = 0;
  const bool closed = file.close();
  if (!written) return writer.error();
  if (closed) return std::nullopt;
  const int error = errno;
  kTensorFileLog.trace();
  return error;
}

std::int32_t store(const qmWChar* path, tag_qmReconsTensorData& tensor, std::int32_t version) {
  quelcore::File file(path, u"wb");
  if (!file.isOpen()) return kTensorFileLog.tracedFailure();
  const std::optional<int> error = storeIn(file, tensor, version);
  if (!error) return 1;
  reportFileError("qmTensorDataLoad-WriteDataByFields ", path, *error);
  return 0;
}

}  // namespace

void quelcore::flipRecord(tag_qmReconsTensorData& tensor) {
  for (const FileField& field : kFieldsOfAllVersions) {
    if (!isPad(field)) qmEnvFlip(fieldOf(tensor, field), field.flipCount, field.flipSize);
  }
}

std::int32_t qmTensorDataForceLoad(const qmWChar* path, tag_qmReconsTensorData* tensor, std::int32_t force) {
  quelcore::beginReading(path);
  const quelcore::File file(path, u"rb");
  if (!file.isOpen()) {
    quelcore::refuseUnreadable(errno);
    return kTensorFileLog.tracedFailure();
  }
  if (tensor == nullptr) return 0;
  qmTensorDestruct(tensor);

  quelcore::TensorFileReader reader(file.get(), *tensor, force != 0);
  if (!reader.read()) {
    if (reader.error() == 0) return kTensorFileLog.tracedFailure();
    reportFileError("qmTensorDataLoad-ReadDataByFields", path, reader.error());
    return 0;
  }
  calcDistortTables(tensor);
  quelcore::flipRecord(*tensor);
  if (!deriveProjections(*tensor)) return kTensorFileLog.tracedFailure();
  return 1;
}

std::int32_t qmTensorDataLoad(const qmWChar* path, tag_qmReconsTensorData* tensor) {
  if (qmTensorDataForceLoad(path, tensor, 0) == 0) return kTensorFileLog.tracedFailure();
  return 1;
}

std::int32_t qmTensorDataStore(const qmWChar* path, tag_qmReconsTensorData* tensor) {
  return qmTensorDataStoreByVersion(path, tensor, 0);
}

std::int32_t qmTensorDataStoreByVersion(const qmWChar* path, tag_qmReconsTensorData* tensor, std::int32_t keepVersion) {
  if (tensor == nullptr) return kTensorFileLog.tracedFailure();
  const std::int32_t version = keepVersion != 0 ? tensor->version : quelcore::kNewestVersion;
  // Before the file is opened, so that what stands there survives a record that cannot be stored.
  if (version > quelcore::kOldestVersion || version < quelcore::kNewestVersion) return kTensorFileLog.tracedFailure();
  return store(path, *tensor, version);
}
