#include "quelplatform/ground/files/nativePath.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "quelplatform/ground/files/home.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "quelplatform/ground/text/conversion.h"

namespace quelplatform {

namespace {

int makeDirectory(const std::string& path) {
  if (uninterrupted([&] { return mkdir(path.c_str(), 0777); }) == 0) return 0;
  const int error = errno;
  return isDirectory(path) ? 0 : error;
}

}  // namespace

std::string nativePath(std::u16string_view path) {
  std::string native = utf8Of(path);
  std::replace(native.begin(), native.end(), '\\', '/');
  if (!path.starts_with(u'\\')) return native;
  std::string home = homePath();
  return home.empty() ? home : home + native;
}

std::string directoryOf(const std::string& path) {
  const std::size_t separator = path.find_last_of('/');
  if (separator == std::string::npos) return ".";
  return separator == 0 ? "/" : path.substr(0, separator);
}

bool isDirectory(const std::string& path) {
  struct stat status {};
  return statusOf(path, status) == 0 && S_ISDIR(status.st_mode);
}

int makeDirectories(const std::string& path) {
  if (path.empty()) return ENOENT;
  for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    if (const int error = makeDirectory(path.substr(0, end)); error != 0) return error;
  }
  return makeDirectory(path);
}

namespace {

// The home directory without a separator at its end when `path` lies in it; empty otherwise.
std::string homeAround(const std::string& path) {
  std::string home = homePath();
  while (home.size() > 1 && home.ends_with('/')) home.pop_back();
  return path.starts_with(home + '/') ? home : std::string();
}

bool makeUnlessThere(const std::string& directory) {
  return !isDirectory(directory) && makeDirectories(directory) == 0;
}

}  // namespace

bool makeHomeOf(const std::string& path) {
  const std::string home = homeAround(path);
  return !home.empty() && makeUnlessThere(home);
}

void makeFolderInHome(const std::string& path) {
  if (!homeAround(path).empty()) makeUnlessThere(directoryOf(path));
}

}  // namespace quelplatform
