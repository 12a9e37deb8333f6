// Memory for ICU that is there before ICU asks for it.
//
// ICU does not stand a failed allocation everywhere: some end the process, and what it was about to set up then may
// stay unusable for good. So what sets up anything in ICU runs with memory that was put aside before, and does not run
// where there is none; the next call tries again.
#pragma once

#include <cstddef>
#include <mutex>

namespace quelplatform {

class IcuPool;

/// While one lives, ICU's allocations of this thread come from memory that was put aside. One at a time; another thread
/// waits. ICU keeps some of that memory for later calls.
class IcuSession {
 public:
  IcuSession();
  ~IcuSession();
  IcuSession(const IcuSession&) = delete;
  IcuSession& operator=(const IcuSession&) = delete;

  /// False where there was no memory to put aside: ICU is not to be called then.
  bool isReady() const noexcept { return pool_ != nullptr; }

 private:
  std::unique_lock<std::mutex> turn_;
  IcuPool* pool_;
};

/// Bytes of what was put aside that ICU holds, and what lies between them.
std::size_t bytesKeptForIcu() noexcept;

}  // namespace quelplatform
