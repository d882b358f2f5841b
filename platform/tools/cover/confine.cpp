#include "cover/confine.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

namespace vexo::cover {
namespace {

constexpr rlim_t kMemoryBytes = rlim_t{1} << 30U; // 50 megapixels take half of it
constexpr rlim_t kOpenFiles = 16;

void Limit(__rlimit_resource resource, rlim_t soft, rlim_t hard) {
  const rlimit limit{soft, hard};
  static_cast<void>(setrlimit(resource, &limit));
}

void Limit(__rlimit_resource resource, rlim_t most) { Limit(resource, most, most); }

constexpr sock_filter Statement(unsigned code, uint32_t operand) {
  return {static_cast<uint16_t>(code), 0, 0, operand};
}

constexpr sock_filter Jump(unsigned code, uint32_t operand, std::size_t if_true,
                           std::size_t if_false) {
  return {static_cast<uint16_t>(code), static_cast<uint8_t>(if_true),
          static_cast<uint8_t>(if_false), operand};
}

#if defined(__x86_64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr uint32_t kArchitecture = 0; // not known here: no filter
#endif

constexpr std::array<uint32_t, 22> kAllowed = {
    __NR_read,   __NR_pread64,        __NR_readv,  __NR_write,         __NR_writev,
    __NR_lseek,  __NR_fstat,          __NR_fcntl,  __NR_close,         __NR_newfstatat,
    __NR_mmap,   __NR_munmap,         __NR_mremap, __NR_madvise,       __NR_brk,
    __NR_futex,  __NR_rt_sigprocmask, __NR_gettid, __NR_clock_gettime, __NR_getrandom,
    __NR_getpid, __NR_exit_group,
};

/// A program of the kernel's: everything else fails with EPERM, and calls of another architecture's
/// numbers end the process.
void AllowFewCalls() {
  constexpr std::size_t kHead = 4;
  std::array<sock_filter, kHead + kAllowed.size() + 2> filter{};
  filter[0] = Statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch));
  filter[1] = Jump(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0);
  filter[2] = Statement(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
  filter[3] = Statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
  for (std::size_t i = 0; i < kAllowed.size(); ++i) {
    filter[kHead + i] = Jump(BPF_JMP | BPF_JEQ | BPF_K, kAllowed[i], kAllowed.size() - i, 0);
  }
  filter[filter.size() - 2] = Statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | 1U); // EPERM
  filter[filter.size() - 1] = Statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  const sock_fprog program{filter.size(), filter.data()};
  static_cast<void>(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
}

} // namespace

void Confine(unsigned cpu_seconds) {
  Limit(RLIMIT_AS, kMemoryBytes);
  Limit(RLIMIT_CPU, cpu_seconds, rlim_t{cpu_seconds} + 1); // at both it is SIGKILL
  Limit(RLIMIT_FSIZE, 0); // a pipe is no file; a log is one, where a word then goes nowhere
  std::signal(SIGXFSZ, SIG_IGN);
  Limit(RLIMIT_CORE, 0);
  Limit(RLIMIT_NOFILE, kOpenFiles);
  static_cast<void>(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
  if (kArchitecture != 0) {
    AllowFewCalls();
  }
}

} // namespace vexo::cover
