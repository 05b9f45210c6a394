/* Preloaded into the program under test: makes the N-th allocation above 256 KiB by the program's own libraries fail.
 * The return address identifies the caller: Mesa and the codecs end the process when an allocation fails, which is not
 * tested.
 *
 * TOV_FAULT=KIND:N:ONCE:0, as for faultshim. KIND: alloc (own libraries), allocqt (also Qt: pictures, buffers)
 * TOV_FAULT_OWN=FOLDER    the folder of the own libraries
 * TOV_FAULT_COUNT=FILE    receives the number of such calls at the end
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define LIMIT (256u << 10)

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static atomic_int calls;
static int wanted_n, once, with_qt;
static char own[512];
static _Thread_local int deciding, fail_next;

static void __attribute__((constructor)) begin(void)
{
    char kind[16] = "";
    const char* text = getenv("TOV_FAULT");
    const char* folder = getenv("TOV_FAULT_OWN");
    if (!text || !folder || sscanf(text, "%15[^:]:%d:%d", kind, &wanted_n, &once) != 3 ||
        strncmp(kind, "alloc", 5) != 0)
        return;
    with_qt = strcmp(kind, "allocqt") == 0;
    snprintf(own, sizeof own, "%s/", folder);
}

static void __attribute__((destructor)) end(void)
{
    const char* name = getenv("TOV_FAULT_COUNT");
    if (!name || !own[0])
        return;
    char text[32];
    const int size = snprintf(text, sizeof text, "%d\n", atomic_load(&calls));
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file >= 0 && write(file, text, (size_t)size) != size)
        _exit(99);
}

static int hit(size_t size, const void* caller)
{
    if (size <= LIMIT || !own[0] || deciding)
        return 0;
    deciding = 1;
    Dl_info info;
    int counts = 0;
    if (dladdr(caller, &info) && info.dli_fname) {
        const char* base = strrchr(info.dli_fname, '/');
        counts = strncmp(info.dli_fname, own, strlen(own)) == 0 ||
                 (with_qt && base && (strncmp(base, "/libQt5Gui", 10) == 0 || strncmp(base, "/libQt5Core", 11) == 0));
    }
    deciding = 0;
    if (!counts)
        return 0;
    const int n = atomic_fetch_add(&calls, 1) + 1;
    return once ? n == wanted_n : n >= wanted_n;
}

static void* refuse(void)
{
    errno = ENOMEM;
    return NULL;
}

void* malloc(size_t size)
{
    if (fail_next) {
        fail_next = 0;
        return refuse();
    }
    return hit(size, __builtin_return_address(0)) ? refuse() : __libc_malloc(size);
}

void* calloc(size_t count, size_t size)
{
    return hit(count * size, __builtin_return_address(0)) ? refuse() : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size)
{
    return hit(size, __builtin_return_address(0)) ? refuse() : __libc_realloc(block, size);
}

/* operator new: the one of the library throws when its malloc fails. */
#define NEW(name)                                                                                                      \
    void* name(size_t size)                                                                                            \
    {                                                                                                                  \
        static void* (*real)(size_t);                                                                                  \
        if (!real)                                                                                                     \
            real = (void* (*)(size_t))dlsym(RTLD_NEXT, #name);                                                         \
        if (hit(size, __builtin_return_address(0)))                                                                    \
            fail_next = 1;                                                                                             \
        void* block = real(size);                                                                                      \
        return block;                                                                                                  \
    }

NEW(_Znwm)
NEW(_Znam)
