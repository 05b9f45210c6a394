#include "scene/import/process/sandbox.h"

#include <cerrno>
#include <initializer_list>

#include <fcntl.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tov::importer {

namespace {

/// Allows the system calls that reading needs; all others fail.
bool filterSystemCalls()
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
    if (!filter)
        return false;
    int result = 0;
    const auto allow = [&](int call, std::initializer_list<scmp_arg_cmp> when = {}) {
        // A call that this machine lacks needs no rule.
        const int added = seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, unsigned(when.size()), when.begin());
        if (added != 0 && added != -EDOM)
            result = added;
    };
    for (const int call :
         {// open files, and information about other files
          SCMP_SYS(read), SCMP_SYS(readv), SCMP_SYS(pread64), SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(pwrite64),
          SCMP_SYS(lseek), SCMP_SYS(close), SCMP_SYS(fstat), SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(newfstatat),
          SCMP_SYS(statx), SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
          SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(getcwd),
          // memory
          SCMP_SYS(brk), SCMP_SYS(mmap), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(mprotect), SCMP_SYS(madvise),
          // the process itself
          SCMP_SYS(futex), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn),
          SCMP_SYS(sigaltstack), SCMP_SYS(restart_syscall), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getppid),
          SCMP_SYS(getuid), SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid), SCMP_SYS(getrlimit),
          SCMP_SYS(getrusage), SCMP_SYS(getrandom), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity),
          SCMP_SYS(sysinfo), SCMP_SYS(uname), SCMP_SYS(exit), SCMP_SYS(exit_group),
          // time
          SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
          SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(times)})
        allow(call);
    // Opened for reading only, neither created nor truncated.
    const scmp_datum_t changing = O_ACCMODE | O_CREAT | O_TRUNC;
    allow(SCMP_SYS(open), {SCMP_A1(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)});
    allow(SCMP_SYS(openat), {SCMP_A2(SCMP_CMP_MASKED_EQ, changing, O_RDONLY)});
    for (const scmp_datum_t command : {F_GETFL, F_GETFD, F_SETFD})
        allow(SCMP_SYS(fcntl), {SCMP_A1(SCMP_CMP_EQ, command)});
    // Limits are queried, not set; `abort` ends this process.
    allow(SCMP_SYS(prlimit64), {SCMP_A2(SCMP_CMP_EQ, 0)});
    allow(SCMP_SYS(tgkill), {SCMP_A0(SCMP_CMP_EQ, scmp_datum_t(getpid()))});
    if (result == 0)
        result = seccomp_load(filter);
    seccomp_release(filter);
    return result == 0;
}

bool limit(int what, rlim_t most)
{
    const rlimit value{most, most};
    return setrlimit(decltype(RLIMIT_CORE)(what), &value) == 0;
}

} // namespace

bool enterSandbox(std::uint64_t memoryBytes, std::uint64_t seconds)
{
    // The result is useless once the program has ended.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    bool done = limit(RLIMIT_CORE, 0) && limit(RLIMIT_CPU, seconds) && limit(RLIMIT_NOFILE, 64) &&
                limit(RLIMIT_FSIZE, memoryBytes); // the shared memory, too
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Sanitizers need terabytes of address space.
    done = done && limit(RLIMIT_AS, memoryBytes) && filterSystemCalls();
#else
    static_cast<void>(filterSystemCalls);
#endif
    return done;
}

} // namespace tov::importer
