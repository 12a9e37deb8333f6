// Runs a part of a test without the rights of the superuser, who may read and write whatever the mode of a file says.
#pragma once

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

namespace quel::testing {

inline constexpr uid_t kNobody = 65534;

/// Whether this process may give files to other users, and act as them.
inline bool isSuperuser() { return getuid() == 0; }

/// Whom files are given to: the superuser can name others, everybody else only himself, so that what is expected of
/// owner and group is to hold for both.
struct Owner {
  uid_t user;
  gid_t group;
};
inline Owner ownerLike(uid_t user, gid_t group) {
  return isSuperuser() ? Owner{user, group} : Owner{getuid(), getgid()};
}

/// Those as whom `holdsAsNobody` runs a check.
inline Owner nobodysFiles() { return ownerLike(kNobody, kNobody); }

/// Modes of a directory: everybody may list and enter it; everybody but the superuser may enter it only, the owner too,
/// who has to take his rights back before the directory can be removed.
inline constexpr auto kOpenToAll = static_cast<std::filesystem::perms>(0755);
inline constexpr auto kEnterOnly = static_cast<std::filesystem::perms>(0111);

/// Runs `check` in a child process as a user without rights of its own; as the present user where that is not the
/// superuser. What it expects by EXPECT_ and ASSERT_ counts: true when nothing failed there.
inline ::testing::AssertionResult holdsAsNobody(const std::function<void()>& check) {
  const pid_t child = fork();
  if (child < 0) return ::testing::AssertionFailure() << "there is no child process";
  if (child == 0) {
    const bool dropped = !isSuperuser() || (setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0);
    if (dropped) check();
    std::fflush(nullptr);
    _exit(dropped && !::testing::Test::HasFailure() ? 0 : 1);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return ::testing::AssertionFailure() << "the child process was lost";
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "the child process says so above, or ended with status " << status;
}

}  // namespace quel::testing
