/* Preloaded into the program under test: makes the N-th call of a kind fail.
 *
 * TOV_FAULT=KIND:N:ONCE:ERRNO
 *
 *   KIND   write (to regular files), create (opening a file for writing), tmpfile (those of them that are temporary),
 *          output (opening TOV_FAULT_OUTPUT for anything), model (opening TOV_FAULT_MODEL), modelread (reading or
 *          mapping it), sysinfo, context (eglCreateContext), current (eglMakeCurrent, except to release), bind (a
 *          framebuffer object is incomplete when it is bound), target (glBindFramebuffer does nothing), blit, read
 *          (glReadPixels), thread (creation by the program, Qt or the C++ library). target, blit and read leave
 *          GL_OUT_OF_MEMORY pending.
 *   ONCE   1 = that call only, 0 = from then on
 *   ERRNO  0 = half of the bytes are written
 *
 * TOV_FAULT_COUNT=FILE: receives the number of calls of the kind at the end.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/types.h>
#include <unistd.h>

static atomic_int calls;
static int wanted_n, once, wanted_errno;
static char kind[16];
static _Thread_local unsigned pending_error;
static const char *output, *model;
static atomic_int model_descriptor = -1;

static void __attribute__((constructor)) begin(void)
{
    const char* text = getenv("TOV_FAULT");
    if (text)
        sscanf(text, "%15[^:]:%d:%d:%d", kind, &wanted_n, &once, &wanted_errno);
    output = getenv("TOV_FAULT_OUTPUT");
    model = getenv("TOV_FAULT_MODEL");
}

static void __attribute__((destructor)) end(void)
{
    const char* name = getenv("TOV_FAULT_COUNT");
    if (!name)
        return;
    char text[32];
    const int size = snprintf(text, sizeof text, "%d\n", atomic_load(&calls));
    int (*real_open)(const char*, int, ...) = (int (*)(const char*, int, ...))dlsym(RTLD_NEXT, "open");
    ssize_t (*real_write)(int, const void*, size_t) = (ssize_t(*)(int, const void*, size_t))dlsym(RTLD_NEXT, "write");
    const int file = real_open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file >= 0 && real_write(file, text, (size_t)size) != size)
        _exit(99);
}

/* The number of calls so far, for a program that looks this function up. */
int tov_fault_calls(void)
{
    return atomic_load(&calls);
}

static int hit(const char* which)
{
    if (strcmp(kind, which) != 0)
        return 0;
    const int n = atomic_fetch_add(&calls, 1) + 1;
    return once ? n == wanted_n : n >= wanted_n;
}

static int is_file(int descriptor)
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

#define WRITE(name, parameters, arguments)                                                                             \
    ssize_t name parameters                                                                                            \
    {                                                                                                                  \
        static ssize_t(*real) parameters;                                                                              \
        if (!real)                                                                                                     \
            real = (ssize_t(*) parameters)dlsym(RTLD_NEXT, #name);                                                     \
        if (is_file(descriptor) && hit("write")) {                                                                     \
            if (wanted_errno == 0 && size > 1)                                                                         \
                size /= 2;                                                                                             \
            else if (wanted_errno != 0) {                                                                              \
                errno = wanted_errno;                                                                                  \
                return -1;                                                                                             \
            }                                                                                                          \
        }                                                                                                              \
        return real arguments;                                                                                         \
    }

WRITE(write, (int descriptor, const void* bytes, size_t size), (descriptor, bytes, size))
WRITE(pwrite, (int descriptor, const void* bytes, size_t size, off_t at), (descriptor, bytes, size, at))
WRITE(pwrite64, (int descriptor, const void* bytes, size_t size, off64_t at), (descriptor, bytes, size, at))

/* Qt names them after the program where the file system does not support unnamed files. */
static int is_temporary(const char* path)
{
    const char* name = strrchr(path, '/');
    return strncmp(name ? name + 1 : path, "tov.", 4) == 0;
}

static int is_output(const char* path)
{
    return output && strcmp(path, output) == 0;
}

static int is_model(const char* path)
{
    return model && strcmp(path, model) == 0;
}

#define OPEN(name, before, after)                                                                                      \
    int name(before const char* path, int flags, ...)                                                                  \
    {                                                                                                                  \
        static int (*real)(before const char*, int, ...);                                                              \
        if (!real)                                                                                                     \
            real = (int (*)(before const char*, int, ...))dlsym(RTLD_NEXT, #name);                                     \
        mode_t mode = 0;                                                                                               \
        if (flags & (O_CREAT | __O_TMPFILE)) {                                                                         \
            va_list list;                                                                                              \
            va_start(list, flags);                                                                                     \
            mode = (mode_t)va_arg(list, int);                                                                          \
            va_end(list);                                                                                              \
            if (hit("create") || ((flags & __O_TMPFILE || is_temporary(path)) && hit("tmpfile"))) {                    \
                errno = wanted_errno;                                                                                  \
                return -1;                                                                                             \
            }                                                                                                          \
        }                                                                                                              \
        if ((is_output(path) && hit("output")) || (is_model(path) && hit("model"))) {                                  \
            errno = wanted_errno;                                                                                      \
            return -1;                                                                                                 \
        }                                                                                                              \
        const int descriptor = real(after path, flags, mode);                                                          \
        if (is_model(path))                                                                                            \
            atomic_store(&model_descriptor, descriptor);                                                               \
        else if (descriptor == atomic_load(&model_descriptor))                                                         \
            atomic_store(&model_descriptor, -1);                                                                       \
        return descriptor;                                                                                             \
    }

#define COMMA ,
OPEN(open, , )
OPEN(open64, , )
OPEN(openat, int folder COMMA, folder COMMA)
OPEN(openat64, int folder COMMA, folder COMMA)

static int fails_read(int descriptor)
{
    if (descriptor < 0 || descriptor != atomic_load(&model_descriptor) || !is_file(descriptor) || !hit("modelread"))
        return 0;
    errno = wanted_errno;
    return 1;
}

ssize_t read(int descriptor, void* bytes, size_t size)
{
    static ssize_t (*real)(int, void*, size_t);
    if (!real)
        real = (ssize_t(*)(int, void*, size_t))dlsym(RTLD_NEXT, "read");
    return fails_read(descriptor) ? -1 : real(descriptor, bytes, size);
}

#define MMAP(name)                                                                                                     \
    void* name(void* address, size_t size, int protection, int flags, int descriptor, off_t at)                        \
    {                                                                                                                  \
        static void* (*real)(void*, size_t, int, int, int, off_t);                                                     \
        if (!real)                                                                                                     \
            real = (void* (*)(void*, size_t, int, int, int, off_t))dlsym(RTLD_NEXT, #name);                            \
        return fails_read(descriptor) ? MAP_FAILED : real(address, size, protection, flags, descriptor, at);           \
    }

MMAP(mmap)
MMAP(mmap64)

int sysinfo(struct sysinfo* info)
{
    if (hit("sysinfo")) {
        errno = EFAULT;
        return -1;
    }
    static int (*real)(struct sysinfo*);
    if (!real)
        real = (int (*)(struct sysinfo*))dlsym(RTLD_NEXT, "sysinfo");
    return real(info);
}

/* OpenGL without a screen: EGL is linked, the rest is looked up by name. */

static void* gl_function(const char* name)
{
    static void* (*get)(const char*);
    if (!get)
        get = (void* (*)(const char*))dlsym(RTLD_NEXT, "eglGetProcAddress");
    if (!get)
        get = (void* (*)(const char*))dlsym(dlopen("libEGL.so.1", RTLD_LAZY), "eglGetProcAddress");
    return get(name);
}

static void* egl_function(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    return found ? found : dlsym(dlopen("libEGL.so.1", RTLD_LAZY), name);
}

void* eglCreateContext(void* display, void* config, void* share, const int* attributes)
{
    static void* (*real)(void*, void*, void*, const int*);
    if (hit("context"))
        return NULL;
    if (!real)
        real = (void* (*)(void*, void*, void*, const int*))egl_function("eglCreateContext");
    return real(display, config, share, attributes);
}

unsigned eglMakeCurrent(void* display, void* draw, void* read, void* context)
{
    static unsigned (*real)(void*, void*, void*, void*);
    if (context && hit("current"))
        return 0;
    if (!real)
        real = (unsigned (*)(void*, void*, void*, void*))egl_function("eglMakeCurrent");
    return real(display, draw, read, context);
}

#define OutOfMemory 0x0505u
#define Unsupported 0x8CDDu

unsigned glGetError(void)
{
    static unsigned (*real)(void);
    if (!real)
        real = (unsigned (*)(void))gl_function("glGetError");
    const unsigned error = pending_error;
    pending_error = 0;
    return error ? error : real();
}

static unsigned check_framebuffer(unsigned target)
{
    static unsigned (*real)(unsigned);
    if (!real)
        real = (unsigned (*)(unsigned))gl_function("glCheckFramebufferStatus");
    return hit("bind") ? Unsupported : real(target);
}

static void bind_framebuffer(unsigned target, unsigned name)
{
    static void (*real)(unsigned, unsigned);
    if (!real)
        real = (void (*)(unsigned, unsigned))gl_function("glBindFramebuffer");
    if (name && hit("target"))
        pending_error = OutOfMemory;
    else
        real(target, name);
}

static void blit_framebuffer(int a, int b, int c, int d, int e, int f, int g, int h, unsigned mask, unsigned filter)
{
    static void (*real)(int, int, int, int, int, int, int, int, unsigned, unsigned);
    if (!real)
        real = (void (*)(int, int, int, int, int, int, int, int, unsigned, unsigned))gl_function("glBlitFramebuffer");
    if (hit("blit"))
        pending_error = OutOfMemory;
    else
        real(a, b, c, d, e, f, g, h, mask, filter);
}

void glReadPixels(int x, int y, int width, int height, unsigned format, unsigned type, void* pixels)
{
    static void (*real)(int, int, int, int, unsigned, unsigned, void*);
    if (!real)
        real = (void (*)(int, int, int, int, unsigned, unsigned, void*))gl_function("glReadPixels");
    if (hit("read"))
        pending_error = OutOfMemory;
    else
        real(x, y, width, height, format, type, pixels);
}

void* eglGetProcAddress(const char* name)
{
    static const struct
    {
        const char* name;
        void* function;
    } ours[] = {
        {"glGetError", (void*)glGetError},
        {"glReadPixels", (void*)glReadPixels},
        {"glCheckFramebufferStatus", (void*)check_framebuffer},
        {"glCheckFramebufferStatusEXT", (void*)check_framebuffer},
        {"glBindFramebuffer", (void*)bind_framebuffer},
        {"glBindFramebufferEXT", (void*)bind_framebuffer},
        {"glBlitFramebuffer", (void*)blit_framebuffer},
        {"glBlitFramebufferEXT", (void*)blit_framebuffer},
    };
    for (size_t i = 0; i < sizeof ours / sizeof ours[0]; ++i)
        if (strcmp(name, ours[i].name) == 0)
            return ours[i].function;
    return gl_function(name);
}

/* Mesa and the codecs work with fewer threads or end the process, so their calls do not count. */
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument)
{
    static int (*real)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    if (!real)
        real = (int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*))dlsym(RTLD_NEXT, "pthread_create");
    Dl_info info;
    const char* base = NULL;
    if (strcmp(kind, "thread") == 0 && dladdr(__builtin_return_address(0), &info) && info.dli_fname)
        base = strrchr(info.dli_fname, '/');
    if (base &&
        (strstr(base, "/libtov") || strstr(base, "/libgrab") || strstr(base, "/libQt5Core") ||
         strstr(base, "/libstdc++") || strcmp(base, "/tov") == 0) &&
        hit("thread"))
        return EAGAIN;
    return real(thread, attributes, run, argument);
}
