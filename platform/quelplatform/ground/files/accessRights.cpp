#include "quelplatform/ground/files/accessRights.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "quelplatform/ground/files/systemCalls.h"

namespace quelplatform {

namespace {

constexpr const char* kListName = "system.posix_acl_access";

/// An access list as the system hands it over: a head of 4 bytes, then entries of 8, the rights in the second 16 bits.
class AccessList {
 public:
  /// Reads the list of the file at `path`; a file without one has an empty list. Returns 0 or the `errno` of the
  /// failure.
  int read(const std::string& path) noexcept {
    const ssize_t size = uninterrupted([&] { return getxattr(path.c_str(), kListName, bytes_.data(), bytes_.size()); });
    if (size < 0) return errno == ENODATA || errno == ENOTSUP ? 0 : errno;
    size_ = static_cast<std::size_t>(size);
    return 0;
  }

  bool isEmpty() const noexcept { return size_ == 0; }

  /// Makes this the list of the file; an empty one takes away what the file has from its folder's defaults.
  int give(int descriptor) const noexcept {
    const auto set = [&] {
      return isEmpty() ? fremovexattr(descriptor, kListName)
                       : fsetxattr(descriptor, kListName, bytes_.data(), size_, 0);
    };
    if (uninterrupted(set) == 0) return 0;
    return isEmpty() && (errno == ENODATA || errno == ENOTSUP) ? 0 : errno;
  }

  /// Changes the rights of each entry.
  template <typename Change>
  void forEachRight(const Change& change) noexcept {
    for (std::size_t at = kHead + kRight; at + sizeof(std::uint16_t) <= size_; at += kEntry) {
      std::uint16_t right;
      std::memcpy(&right, &bytes_[at], sizeof right);
      right = change(right);
      std::memcpy(&bytes_[at], &right, sizeof right);
    }
  }

 private:
  static constexpr std::size_t kHead = 4, kEntry = 8, kRight = 2;

  std::array<std::byte, 65536> bytes_;
  std::size_t size_ = 0;
};

// Tries to give the file its owner and group, or the group alone. True when it has the group.
bool giveOwner(int descriptor, const struct stat& wanted, struct stat& status) noexcept {
  const auto belongs = [&] { return status.st_uid == wanted.st_uid && status.st_gid == wanted.st_gid; };
  if (fstat(descriptor, &status) != 0) return false;
  if (belongs()) return true;
  const auto give = [&](uid_t owner) {
    return uninterrupted([&] { return fchown(descriptor, owner, wanted.st_gid); }) == 0;
  };
  if (!give(wanted.st_uid) && !give(uid_t(-1))) return false;
  return fstat(descriptor, &status) == 0 && status.st_gid == wanted.st_gid;
}

int giveRights(int descriptor, mode_t rights) noexcept {
  return uninterrupted([&] { return fchmod(descriptor, rights); });
}

constexpr mode_t groupRights(mode_t mode) { return (mode >> 3) & 7; }
constexpr mode_t otherRights(mode_t mode) { return mode & 7; }

// Who may write may take the lock, which takes reading and writing.
constexpr mode_t lockRights(mode_t rights) { return (rights & 2) != 0 ? 6 : 0; }

}  // namespace

int takeOverRights(int descriptor, const std::string& path, const struct stat& old) noexcept {
  AccessList list;
  if (const int error = list.read(path); error != 0) return error;
  struct stat mine {};
  const bool hasGroup = giveOwner(descriptor, old, mine);
  if (!hasGroup && (!list.isEmpty() || groupRights(old.st_mode) != otherRights(old.st_mode))) return EPERM;
  if (const int error = list.give(descriptor); error != 0) return error;
  // File systems without rights, as those of memory sticks, refuse to change what they do not keep.
  static_cast<void>(giveRights(descriptor, old.st_mode & kRights));
  if (fstat(descriptor, &mine) != 0) return errno;
  return (mine.st_mode & kRights & ~old.st_mode) == 0 ? 0 : EPERM;
}

void followFolder(int descriptor, const std::string& folder) noexcept {
  AccessList list;
  struct stat wanted {};
  struct stat mine {};
  if (statusOf(folder, wanted) != 0 || list.read(folder) != 0) return;
  const bool hasGroup = giveOwner(descriptor, wanted, mine);
  if (!list.isEmpty() && hasGroup) {
    list.forEachRight([](std::uint16_t right) { return static_cast<std::uint16_t>(lockRights(right)); });
    static_cast<void>(list.give(descriptor));
    return;
  }
  const mode_t others = otherRights(wanted.st_mode);
  const mode_t group = hasGroup ? groupRights(wanted.st_mode) : groupRights(wanted.st_mode) & others;
  const mode_t owner = mine.st_uid == wanted.st_uid ? wanted.st_mode >> 6 : 2;
  static_cast<void>(AccessList().give(descriptor));
  static_cast<void>(giveRights(descriptor, lockRights(owner) << 6 | lockRights(group) << 3 | lockRights(others)));
}

}  // namespace quelplatform
