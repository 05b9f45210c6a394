// Preloaded into the import process: at its first read, the shim attempts everything that a model must never cause, and
// logs the results. Environment: TOV_ATTEMPTS, the log file FILE, next to a folder FILE.d with a file "old"; with
// TOV_ATTEMPT_HOARD it allocates memory until that fails, instead.

#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#define BEYOND (64LL << 30)

static int notes = -1;
static char within[4096];

/// Opens the log before the process enters the sandbox.
__attribute__((constructor)) static void begin(void)
{
    const char* name = getenv("TOV_ATTEMPTS");
    if (!name || strcmp(program_invocation_short_name, "tov-import") != 0)
        return;
    snprintf(within, sizeof within, "%s.d/", name);
    notes = fcntl(open(name, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600), F_DUPFD_CLOEXEC, 32);
}

static void note(const char* what, int succeeded)
{
    char line[128];
    const int size = snprintf(line, sizeof line, "%s %d\n", what, succeeded ? 0 : errno);
    if (write(notes, line, (size_t)size) != size)
        abort();
}

static const char* file(const char* name)
{
    static char whole[sizeof within + 16];
    snprintf(whole, sizeof whole, "%s%s", within, name);
    return whole;
}

/// Whether a process was started; the new process ends at once.
static int was_started(long pid)
{
    if (pid == 0)
        _exit(0);
    return pid > 0;
}

static int nothing(void* unused)
{
    (void)unused;
    return 0;
}

static void tryEverything(void)
{
    static char stack[65536];
    int pair[2];
    char target[sizeof within + 16];
    note("write", open(file("old"), O_WRONLY) >= 0);
    note("read-and-write", open(file("old"), O_RDWR) >= 0);
    note("append", open(file("old"), O_WRONLY | O_APPEND) >= 0);
    note("create", open(file("new"), O_WRONLY | O_CREAT, 0600) >= 0);
    note("create-to-read", open(file("new"), O_RDONLY | O_CREAT, 0600) >= 0);
    note("empty-to-read", open(file("old"), O_RDONLY | O_TRUNC) >= 0);
    note("create-the-old-way", creat(file("new"), 0600) >= 0);
    note("nameless", open(within, O_TMPFILE | O_RDWR, 0600) >= 0);
    note("truncate", truncate(file("old"), 0) == 0);
    note("remove", unlink(file("old")) == 0);
    strcpy(target, file("new"));
    note("rename", rename(file("old"), target) == 0);
    note("link", link(file("old"), target) == 0);
    note("symbolic-link", symlink("old", target) == 0);
    note("folder", mkdir(target, 0700) == 0);
    note("pipe", mkfifo(target, 0600) == 0);
    note("rights", chmod(file("old"), 0777) == 0);
    note("times", utimensat(AT_FDCWD, file("old"), NULL, 0) == 0);
    note("owner", chown(file("old"), getuid(), getgid()) == 0);
    note("socket", socket(AF_INET, SOCK_STREAM, 0) >= 0);
    note("local-socket", socket(AF_UNIX, SOCK_STREAM, 0) >= 0);
    note("pair", socketpair(AF_UNIX, SOCK_STREAM, 0, pair) == 0);
    char* const arguments[] = {(char*)"true", NULL};
    execve("/bin/true", arguments, arguments + 1);
    note("program", 0);
    note("fork", was_started(fork()));
    note("fork-directly", was_started(syscall(SYS_clone, SIGCHLD, NULL, NULL, NULL, NULL)));
    note("thread", clone(nothing, stack + sizeof stack, CLONE_VM | CLONE_SIGHAND | CLONE_THREAD, NULL) > 0);
    note("signal", kill(getppid(), 0) == 0);
    note("trace", ptrace(PTRACE_ATTACH, getppid(), NULL, NULL) == 0);
    note("terminal", ioctl(0, TIOCSTI, "x") == 0);
    const struct rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
    note("limit", setrlimit(RLIMIT_AS, &none) == 0);
    note("memory",
         mmap(NULL, BEYOND, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0) != MAP_FAILED);
    note("shared-memory", pwrite(3, "x", 1, BEYOND) == 1);
    note("end", 1);
}

/// Leaves no memory for later allocations.
static void hoard(void)
{
    long long taken = 0;
    for (size_t size = 1 << 24; size >= 4096; size /= 16)
        while (taken < BEYOND && mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                                      -1, 0) != MAP_FAILED)
            taken += (long long)size;
    note("hoard", taken >= BEYOND);
}

size_t fread(void* data, size_t size, size_t count, FILE* stream)
{
    static size_t (*real)(void*, size_t, size_t, FILE*);
    if (!real)
        real = (size_t(*)(void*, size_t, size_t, FILE*))dlsym(RTLD_NEXT, "fread");
    if (notes >= 0) {
        if (getenv("TOV_ATTEMPT_HOARD"))
            hoard();
        else
            tryEverything();
        notes = -1;
    }
    return real(data, size, count, stream);
}
