#include "testing/faults/SystemCalls.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

// Carries a call out from a place that the filter lets pass.
asm(R"(
  .text
  .globl quel_faults_call
  .globl quel_faults_call_made
  .type quel_faults_call, @function
quel_faults_call:
  movq %rdi, %rax
  movq %rsi, %rdi
  movq %rdx, %rsi
  movq %rcx, %rdx
  movq %r8, %r10
  movq %r9, %r8
  movq 8(%rsp), %r9
  syscall
quel_faults_call_made:
  ret
  .size quel_faults_call, . - quel_faults_call
)");

extern "C" {
long quel_faults_call(long number, long a, long b, long c, long d, long e, long f);
extern const char quel_faults_call_made;
}

namespace quel::faults {

namespace {

constexpr long kTrapped[] = {
    SYS_open,      SYS_openat,     SYS_openat2,   SYS_creat,           SYS_read,     SYS_pread64,    SYS_readv,
    SYS_write,     SYS_pwrite64,   SYS_writev,    SYS_close,           SYS_fsync,    SYS_fdatasync,  SYS_rename,
    SYS_renameat,  SYS_renameat2,  SYS_unlink,    SYS_unlinkat,        SYS_link,     SYS_linkat,     SYS_symlink,
    SYS_mkdir,     SYS_mkdirat,    SYS_rmdir,     SYS_ftruncate,       SYS_truncate, SYS_stat,       SYS_fstat,
    SYS_lstat,     SYS_newfstatat, SYS_statx,     SYS_lseek,           SYS_chmod,    SYS_fchmod,     SYS_fchmodat,
    SYS_chown,     SYS_fchown,     SYS_fchownat,  SYS_flock,           SYS_fcntl,    SYS_getdents64, SYS_access,
    SYS_faccessat, SYS_faccessat2, SYS_utimensat, SYS_copy_file_range, SYS_sendfile, SYS_fallocate,  SYS_readlink,
    SYS_readlinkat};

// Of the process, not of a thread: the handler may run anywhere.
CallPlan current;
std::int64_t calls = 0;
long met = -1;
int given = 0;

bool inPlace = false;

bool isTransfer(long number) {
  constexpr long kTransfers[] = {SYS_read, SYS_write, SYS_pread64, SYS_pwrite64};
  return std::find(std::begin(kTransfers), std::end(kTransfers), number) != std::end(kTransfers);
}

using Arguments = std::array<long, 6>;

long call(long number, const Arguments& a) { return quel_faults_call(number, a[0], a[1], a[2], a[3], a[4], a[5]); }

// Whether this call is the one that is meant; the process ends here if it is to.
bool countCall(long number) {
  const bool isMeant = current.at == calls++ && current.fault != CallFault::None;
  if (!isMeant) return false;
  met = number;
  given = current.error;
  if (current.fault == CallFault::Kill) call(SYS_kill, {call(SYS_getpid, {}), SIGKILL});
  return true;
}

// The two paths of a renaming in this process' working directory, or nothing.
std::optional<std::array<long, 2>> renamedPaths(long number, const Arguments& a) {
  if (number == SYS_rename) return {{a[0], a[1]}};
  if (number == SYS_renameat || (number == SYS_renameat2 && a[4] == 0)) return {{a[1], a[3]}};
  return std::nullopt;
}

long copyInPlace(long from, long to) {
  constexpr long kMost = 1L << 30;
  const long source = call(SYS_open, {from, O_RDONLY});
  const long target = call(SYS_open, {to, O_WRONLY | O_CREAT | O_TRUNC, 0644});
  countCall(SYS_write);
  call(SYS_sendfile, {target, source, 0, kMost});
  call(SYS_close, {source});
  call(SYS_close, {target});
  return call(SYS_unlink, {from});
}

constexpr long kEvery = 200;  // bytes of what was read, of which the last is another

std::optional<long> lie(long number, const Arguments& a) {
  if (number == SYS_write || number == SYS_pwrite64) return a[2];
  if (number == SYS_unlink || number == SYS_unlinkat || renamedPaths(number, a)) return 0;
  if (number != SYS_read && number != SYS_pread64) return std::nullopt;
  const long result = call(number, a);
  for (long i = kEvery - 1; i < result; i += kEvery) reinterpret_cast<unsigned char*>(a[1])[i] ^= 1U;
  return result;
}

long carryOut(long number, Arguments a) {
  const bool isMeant = countCall(number);
  const CallFault fault = isMeant ? current.fault : CallFault::None;
  if (fault == CallFault::Error && number != SYS_close) return -current.error;
  if (fault == CallFault::Short && isTransfer(number) && a[2] > 1) a[2] /= 2;
  if (fault == CallFault::Lie) {
    if (const auto lied = lie(number, a)) return *lied;
  }
  const auto renamed = renamedPaths(number, a);
  const long result = inPlace && renamed ? copyInPlace((*renamed)[0], (*renamed)[1]) : call(number, a);
  return fault == CallFault::Error ? -current.error : result;
}

void onTrap(int, siginfo_t* info, void* context) {
  greg_t* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  registers[REG_RAX] =
      carryOut(info->si_syscall, {static_cast<long>(registers[REG_RDI]), static_cast<long>(registers[REG_RSI]),
                                  static_cast<long>(registers[REG_RDX]), static_cast<long>(registers[REG_R10]),
                                  static_cast<long>(registers[REG_R8]), static_cast<long>(registers[REG_R9])});
}

sock_filter load(std::size_t offset) { return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)); }
sock_filter giveBack(std::uint32_t action) { return BPF_STMT(BPF_RET | BPF_K, action); }
sock_filter jumpIfEqual(std::uint32_t value, std::uint8_t steps, std::uint8_t otherwise) {
  return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, steps, otherwise);
}

std::vector<sock_filter> filter() {
  const auto made = reinterpret_cast<std::uintptr_t>(&quel_faults_call_made);
  constexpr std::size_t kAddress = offsetof(seccomp_data, instruction_pointer);
  std::vector<sock_filter> code = {load(kAddress),
                                   jumpIfEqual(static_cast<std::uint32_t>(made), 0, 3),
                                   load(kAddress + 4),
                                   jumpIfEqual(static_cast<std::uint32_t>(made >> 32), 0, 1),
                                   giveBack(SECCOMP_RET_ALLOW),
                                   load(offsetof(seccomp_data, nr))};
  for (auto number = std::begin(kTrapped); number != std::end(kTrapped); ++number) {
    const auto left = static_cast<std::uint8_t>(std::end(kTrapped) - number);
    code.push_back(jumpIfEqual(static_cast<std::uint32_t>(*number), left, 0));
  }
  code.push_back(giveBack(SECCOMP_RET_ALLOW));
  code.push_back(giveBack(SECCOMP_RET_TRAP));
  return code;
}

}  // namespace

bool trapSystemCalls() {
  struct sigaction action = {};
  action.sa_sigaction = onTrap;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  if (sigaction(SIGSYS, &action, nullptr) != 0) return false;
  std::vector<sock_filter> code = filter();
  const sock_fprog program = {static_cast<unsigned short>(code.size()), code.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

void renameInPlace() { inPlace = true; }

void planSystemCalls(const CallPlan& plan) {
  current = plan;
  calls = 0;
  met = -1;
  given = 0;
}

std::int64_t stopSystemCallPlan() {
  current = {};
  return calls;
}

long callMet() { return met; }

int errorGiven() { return given; }

}  // namespace quel::faults
