// Preloaded: the machine seems to have TOV_CPUS processors.

#define _GNU_SOURCE
#include <dlfcn.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static long count(void)
{
    const char* text = getenv("TOV_CPUS");
    return text ? atol(text) : 1;
}

long sysconf(int name)
{
    static long (*next)(int) = NULL;
    if (!next)
        next = (long (*)(int))dlsym(RTLD_NEXT, "sysconf");
    return name == _SC_NPROCESSORS_ONLN || name == _SC_NPROCESSORS_CONF ? count() : next(name);
}

int sched_getaffinity(pid_t process, size_t size, cpu_set_t* set)
{
    (void)process;
    memset(set, 0, size);
    for (long i = 0; i < count(); ++i)
        CPU_SET_S(i, size, set);
    return 0;
}

/// Without NUMA the encoders ask the functions above.
int numa_available(void)
{
    return -1;
}
