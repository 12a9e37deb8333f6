#include "quelplatform/ground/files/FileStamp.h"

#include "quelplatform/ground/files/systemCalls.h"

namespace quelplatform {

FileStamp stampOf(const std::string& path) noexcept {
  struct stat status {};
  if (statusOf(path, status) != 0) return {};
  return {status.st_dev,          status.st_ino,         status.st_size,        status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

}  // namespace quelplatform
