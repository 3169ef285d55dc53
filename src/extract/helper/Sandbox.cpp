// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/Sandbox.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/prctl.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vellumhound::extract::helper {
namespace {

constexpr rlim_t maxMemoryBytes = rlim_t(1) << 30;
/// Over all files of one process; the program on the other end watches each file.
constexpr rlim_t maxCpuSeconds = 1'800;
constexpr rlim_t maxDescriptors = 64;

constexpr bool isSanitized =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    true;
#else  // no sanitizer: SANITIZE
    false;
#endif

/// The rights of landlock's later versions, which the headers of older systems do not name.
struct LandlockRules {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

void limit(__rlimit_resource resource, rlim_t most)
{
    const rlimit value{most, most};
    ::setrlimit(resource, &value);
}

void limitResources()
{
    if (!isSanitized)  // shadow memory is larger than any limit that makes sense
        limit(RLIMIT_AS, maxMemoryBytes);
    limit(RLIMIT_CPU, maxCpuSeconds);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, maxDescriptors);
    limit(RLIMIT_NPROC, 0);
    limit(RLIMIT_MEMLOCK, 0);
}

LandlockRules everythingOf(int version)
{
    LandlockRules rules;
    rules.files = (1u << 13) - 1;
    if (version >= 2)
        rules.files |= 1u << 13;  // moving between folders
    if (version >= 3)
        rules.files |= 1u << 14;  // truncating
    if (version >= 5)
        rules.files |= 1u << 15;  // ioctl on devices
    if (version >= 4)
        rules.network = 3;  // bind, connect
    if (version >= 6)
        rules.scopes = 3;  // abstract sockets, signals
    return rules;
}

std::size_t sizeOfRules(int version)
{
    return version >= 6 ? 24 : version >= 4 ? 16 : 8;
}

void allowReading(int ruleset, const char *folder)
{
    const int descriptor = ::open(folder, O_PATH | O_CLOEXEC);
    if (descriptor < 0)
        return;
    const landlock_path_beneath_attr beneath{
        LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR, descriptor};
    ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0);
    ::close(descriptor);
}

/// The version in force, 0 for none.
int restrictFiles()
{
    const auto version =
        int(::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION));
    if (version <= 0)
        return 0;
    const auto rules = everythingOf(version);
    const auto ruleset =
        int(::syscall(SYS_landlock_create_ruleset, &rules, sizeOfRules(version), 0));
    if (ruleset < 0)
        return 0;
    allowReading(ruleset, "/usr/share/poppler");
    const auto result = ::syscall(SYS_landlock_restrict_self, ruleset, 0);
    ::close(ruleset);
    return result == 0 ? version : 0;
}

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

constexpr std::array freeCalls{SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(readv), SCMP_SYS(close),
    SCMP_SYS(fstat), SCMP_SYS(newfstatat), SCMP_SYS(statx), SCMP_SYS(stat), SCMP_SYS(lstat),
    SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
    SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(lseek), SCMP_SYS(fadvise64),
    SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(brk), SCMP_SYS(madvise), SCMP_SYS(futex),
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigaltstack),
    SCMP_SYS(exit), SCMP_SYS(exit_group), SCMP_SYS(getrandom), SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_getres), SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(getpid),
    SCMP_SYS(gettid), SCMP_SYS(getuid), SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid),
    SCMP_SYS(getrusage), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity), SCMP_SYS(sysinfo),
    SCMP_SYS(uname), SCMP_SYS(getcwd), SCMP_SYS(restart_syscall), SCMP_SYS(set_robust_list),
    SCMP_SYS(rseq)};

bool allow(const Filter &filter, int call)
{
    return seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0) == 0;
}

bool allowIf(const Filter &filter, int call, const scmp_arg_cmp &condition)
{
    return seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, 1, &condition) == 0;
}

/// Argument number `argument` has none of the bits.
scmp_arg_cmp hasNone(unsigned argument, scmp_datum_t bits)
{
    return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}

scmp_arg_cmp is(unsigned argument, scmp_datum_t value)
{
    return {argument, SCMP_CMP_EQ, value, 0};
}

bool filterCalls()
{
    // Whatever is more than reading a file that is there.
    constexpr scmp_datum_t writing = O_ACCMODE | O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);
    const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), &seccomp_release);
    if (!filter)
        return false;
    bool isWhole = true;
    for (const int call : freeCalls)
        isWhole = allow(filter, call) && isWhole;
    return isWhole && allowIf(filter, SCMP_SYS(openat), hasNone(2, writing)) &&
           allowIf(filter, SCMP_SYS(mmap), hasNone(2, PROT_EXEC)) &&
           allowIf(filter, SCMP_SYS(mprotect), hasNone(2, PROT_EXEC)) &&
           allowIf(filter, SCMP_SYS(recvmsg), is(0, requestSocket)) &&
           allowIf(filter, SCMP_SYS(sendmsg), is(0, requestSocket))
           // What libraries complain of before they abort; it leads nowhere.
           && allowIf(filter, SCMP_SYS(write), is(0, STDERR_FILENO)) &&
           allowIf(filter, SCMP_SYS(writev), is(0, STDERR_FILENO)) &&
           allowIf(filter, SCMP_SYS(tgkill), is(0, scmp_datum_t(::getpid()))) &&
           allowIf(filter, SCMP_SYS(prlimit64), is(2, 0))  // asking, not setting
           && allowIf(filter, SCMP_SYS(fcntl), is(1, F_GETFL)) &&
           allowIf(filter, SCMP_SYS(fcntl), is(1, F_GETFD)) &&
           allowIf(filter, SCMP_SYS(fcntl), is(1, F_SETFD)) && seccomp_load(filter.get()) == 0;
}

}  // namespace

void stepBehindOthers()
{
    constexpr int idleDiskClass = 3 << 13, thisProcess = 1;
    const sched_param parameters{};
    ::sched_setscheduler(0, SCHED_IDLE, &parameters);
    ::syscall(SYS_ioprio_set, thisProcess, 0, idleDiskClass);
}

std::optional<Confinement> confine()
{
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return std::nullopt;
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    Confinement confinement;
    confinement.landlockVersion = restrictFiles();
    limitResources();
    if (!filterCalls())
        return std::nullopt;
    return confinement;
}

}  // namespace vellumhound::extract::helper
