/* Preloaded into the program under test: every disk has no room left once the file TOV_FULL_WITH holds something. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

static int is_full(void)
{
    struct stat status;
    const char* name = getenv("TOV_FULL_WITH");
    return name && stat(name, &status) == 0 && status.st_size > 0;
}

#define STATVFS(name, type)                                                                                            \
    int name(const char* path, struct type* result)                                                                    \
    {                                                                                                                  \
        int (*real)(const char*, struct type*) = (int (*)(const char*, struct type*))dlsym(RTLD_NEXT, #name);          \
        const int status = real(path, result);                                                                         \
        if (status == 0 && is_full())                                                                                  \
            result->f_bavail = result->f_bfree = 0;                                                                    \
        return status;                                                                                                 \
    }

STATVFS(statvfs, statvfs)
STATVFS(statvfs64, statvfs64)
