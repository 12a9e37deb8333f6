// A turn at the files of a directory, among the processes and threads that read files there, change them and write
// them.
//
//   const quelplatform::FileTurn turn(path);
//   if (!turn.isMine()) return fail(toNarrow(QmFormatMessageW(turn.error())));
//   numbers.Initialize();
//   numbers.AddItem(17, setup, -1);
//   numbers.SaveSetupList();  // what was read is still what is there
//
// The doors that read and write take no turns of their own: of two programs that read, change and write at the same
// time the last one wins. Writers of profile files wait for whoever has the turn, since it is their lock that is held.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelplatform {

/// Has its turn from its making to its end. A thread that has its turn in a directory has it there again without
/// waiting; turns end in the reverse order of their making, on the thread that made them. A turn ends with its process
/// too, however that ends.
class QUELPLATFORM_API FileTurn {
 public:
  /// Waits, up to `patience` milliseconds, for a turn in the directory of the file at `path`, or of what that leads to
  /// if it is a link; the file need not be there. The home directory is made if it is not there yet.
  explicit FileTurn(const qmWChar* path, std::int32_t patience = 20000) noexcept;
  ~FileTurn();
  FileTurn(const FileTurn&) = delete;
  FileTurn& operator=(const FileTurn&) = delete;

  bool isMine() const noexcept { return error_ == 0; }

  /// Why there is no turn, as `GetLastError` numbers it: 32 where others did not finish, 5 for a directory that this
  /// process may not write in, 3 for one that is not there, 8 for exhausted memory, and so on; 0 where there is one.
  std::uint32_t error() const noexcept { return error_; }

 private:
  struct State;

  State* state_ = nullptr;
  std::uint32_t error_ = 0;
};

}  // namespace quelplatform
