// Preloaded by tests: intercepts calls of OpenGL, Qt and the scene library, records some of them and lets others fail
// on request. The tests use the exported variables.

#include "tests/grab/glshim.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

typedef unsigned int GLenum;
typedef int GLint;
typedef int GLsizei;

#define SHIM extern "C" __attribute__((visibility("default")))
#define SHIM_VARIABLE __attribute__((visibility("default")))

extern "C" {
SHIM_VARIABLE int shimMaxTextureSize = 0;    ///< value of GL_MAX_TEXTURE_SIZE; 0 = the real one
SHIM_VARIABLE int shimIncompleteAfter = -1;  ///< framebuffers become incomplete after that many checks; -1 = never
SHIM_VARIABLE int shimChecks = 0;            ///< calls of glCheckFramebufferStatus
SHIM_VARIABLE int shimFailMakeCurrent = 0;   ///< makes eglMakeCurrent fail, except for releasing a context
SHIM_VARIABLE int shimOldOpenGL = 0;         ///< OpenGL reports version 1.4 without extensions
SHIM_VARIABLE int shimNotThreaded = 0;       ///< Qt reports that OpenGL works on the application thread only
SHIM_VARIABLE long shimCurrentThread = 0;    ///< thread on which a context was last made current
SHIM_VARIABLE double shimFrusta[64][6] = {}; ///< arguments of the last glFrustum calls
SHIM_VARIABLE int shimFrustumCount = 0;
SHIM_VARIABLE int shimViewports[64][2] = {}; ///< width and height of the last glViewport calls
SHIM_VARIABLE int shimViewportCount = 0;
SHIM_VARIABLE float shimClearColor[4] = {};
SHIM_VARIABLE long shimBuffers[64][5] = {}; ///< width, height, attachment, target and format of framebuffer objects
SHIM_VARIABLE int shimBufferCount = 0;
SHIM_VARIABLE ShimDraw shimDraws[64] = {};
SHIM_VARIABLE int shimDrawCount = 0;
SHIM_VARIABLE int shimLockType = 0;                 ///< of the last `SceneLocker`
SHIM_VARIABLE void (*shimOnCursor)() = nullptr;     ///< called before an override cursor is set
SHIM_VARIABLE void (*shimOnCursorBack)() = nullptr; ///< called before an override cursor is restored
SHIM_VARIABLE void (*shimOnDraw)() = nullptr;       ///< called before `SceneDrawer::glDraw`
SHIM_VARIABLE ShimHooks shimHooks = {};
}

namespace {

void* next(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    if (!found) {
        if (void* library = dlopen(std::strncmp(name, "egl", 3) == 0 ? "libEGL.so.1" : "libGL.so.1", RTLD_LAZY))
            found = dlsym(library, name);
    }
    return found;
}

} // namespace

SHIM void glGetIntegerv(GLenum name, GLint* value)
{
    static const auto real = reinterpret_cast<void (*)(GLenum, GLint*)>(next("glGetIntegerv"));
    real(name, value);
    if (name == 0x0D33 && shimMaxTextureSize > 0)
        *value = shimMaxTextureSize;
}

SHIM void glFrustum(double l, double r, double b, double t, double n, double f)
{
    static const auto real =
        reinterpret_cast<void (*)(double, double, double, double, double, double)>(next("glFrustum"));
    double* noted = shimFrusta[shimFrustumCount++ % 64];
    const double values[6] = {l, r, b, t, n, f};
    std::memcpy(noted, values, sizeof values);
    real(l, r, b, t, n, f);
}

SHIM void glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
    static const auto real = reinterpret_cast<void (*)(GLint, GLint, GLsizei, GLsizei)>(next("glViewport"));
    int* noted = shimViewports[shimViewportCount++ % 64];
    noted[0] = width;
    noted[1] = height;
    real(x, y, width, height);
}

SHIM void glClearColor(float r, float g, float b, float a)
{
    static const auto real = reinterpret_cast<void (*)(float, float, float, float)>(next("glClearColor"));
    const float values[4] = {r, g, b, a};
    std::memcpy(shimClearColor, values, sizeof values);
    real(r, g, b, a);
}

namespace {

GLenum checkFramebuffer(GLenum target)
{
    static const auto get = reinterpret_cast<void* (*)(const char*)>(next("eglGetProcAddress"));
    static const auto real = reinterpret_cast<GLenum (*)(GLenum)>(get("glCheckFramebufferStatus"));
    ++shimChecks;
    if (shimIncompleteAfter == 0)
        return 0x8CDD; // GL_FRAMEBUFFER_UNSUPPORTED
    if (shimIncompleteAfter > 0)
        --shimIncompleteAfter;
    return real(target);
}

} // namespace

SHIM GLenum glCheckFramebufferStatus(GLenum target)
{
    return checkFramebuffer(target);
}

SHIM const unsigned char* glGetString(GLenum name)
{
    static const auto real = reinterpret_cast<const unsigned char* (*)(GLenum)>(next("glGetString"));
    const char* old = name == 0x1F02 ? "1.4 old" : name == 0x1F03 ? "" : nullptr; // GL_VERSION, GL_EXTENSIONS
    return shimOldOpenGL && old ? reinterpret_cast<const unsigned char*>(old) : real(name);
}

SHIM const unsigned char* glGetStringi(GLenum name, unsigned int index)
{
    static const auto get = reinterpret_cast<void* (*)(const char*)>(next("eglGetProcAddress"));
    static const auto real = reinterpret_cast<const unsigned char* (*)(GLenum, unsigned int)>(get("glGetStringi"));
    return shimOldOpenGL ? reinterpret_cast<const unsigned char*>("GL_none") : real(name, index);
}

/// QOpenGLContext::supportsThreadedOpenGL
SHIM bool _ZN14QOpenGLContext22supportsThreadedOpenGLEv()
{
    static const auto real = reinterpret_cast<bool (*)()>(next("_ZN14QOpenGLContext22supportsThreadedOpenGLEv"));
    return !shimNotThreaded && real && real();
}

namespace {

void report(const char* call)
{
    if (shimHooks.onCall)
        shimHooks.onCall(call);
}

void deleteFramebuffers(GLsizei count, const unsigned int* names)
{
    static const auto get = reinterpret_cast<void* (*)(const char*)>(next("eglGetProcAddress"));
    static const auto real = reinterpret_cast<void (*)(GLsizei, const unsigned int*)>(get("glDeleteFramebuffers"));
    report("delete framebuffer");
    real(count, names);
}

} // namespace

SHIM void* eglGetProcAddress(const char* name)
{
    static const auto real = reinterpret_cast<void* (*)(const char*)>(next("eglGetProcAddress"));
    if (std::strcmp(name, "glDeleteFramebuffers") == 0)
        return reinterpret_cast<void*>(&deleteFramebuffers);
    if (std::strncmp(name, "glCheckFramebufferStatus", 24) == 0)
        return reinterpret_cast<void*>(&checkFramebuffer);
    if (std::strcmp(name, "glGetIntegerv") == 0)
        return reinterpret_cast<void*>(&glGetIntegerv);
    if (std::strcmp(name, "glGetString") == 0)
        return reinterpret_cast<void*>(&glGetString);
    if (std::strcmp(name, "glGetStringi") == 0)
        return reinterpret_cast<void*>(&glGetStringi);
    return real(name);
}

SHIM unsigned int eglMakeCurrent(void* display, void* draw, void* read, void* context)
{
    static const auto real = reinterpret_cast<unsigned int (*)(void*, void*, void*, void*)>(next("eglMakeCurrent"));
    if (shimFailMakeCurrent && context)
        return 0;
    if (context)
        shimCurrentThread = syscall(SYS_gettid);
    return real(display, draw, read, context);
}

// Functions of Qt and the scene library that the module calls: recorded, then forwarded under the same mangled name.

/// QOpenGLFramebufferObject::QOpenGLFramebufferObject(int, int, Attachment, GLenum, GLenum)
SHIM void _ZN24QOpenGLFramebufferObjectC1EiiNS_10AttachmentEjj(void* object, int width, int height, int attachment,
                                                               GLenum target, GLenum format)
{
    static const auto real = reinterpret_cast<void (*)(void*, int, int, int, GLenum, GLenum)>(
        next("_ZN24QOpenGLFramebufferObjectC1EiiNS_10AttachmentEjj"));
    long* noted = shimBuffers[shimBufferCount++ % 64];
    const long values[5] = {width, height, attachment, long(target), long(format)};
    std::memcpy(noted, values, sizeof values);
    real(object, width, height, attachment, target, format);
}

extern "C" {
unsigned char glIsEnabled(GLenum name);
void glGetBooleanv(GLenum name, unsigned char* values);
void glGetDoublev(GLenum name, double* values);
}

/// SceneDrawer::glDraw
SHIM void _ZN3tov5scene11SceneDrawer6glDrawEPNS0_12SceneElementES3_RKNS_4math6MatrixIdLj4ELj4EEEdii(
    void* drawer, void* root, void* second, const double* transform, double lineOffset, int layers, int primitives)
{
    static const auto real = reinterpret_cast<void (*)(void*, void*, void*, const double*, double, int, int)>(
        next("_ZN3tov5scene11SceneDrawer6glDrawEPNS0_12SceneElementES3_RKNS_4math6MatrixIdLj4ELj4EEEdii"));
    if (shimOnDraw)
        shimOnDraw();
    ShimDraw& noted = shimDraws[shimDrawCount++ % 64];
    noted.root = root;
    noted.second = second;
    std::memcpy(noted.transform, transform, sizeof noted.transform);
    noted.lineOffset = lineOffset;
    noted.layers = layers;
    noted.primitives = primitives;
    glGetIntegerv(0x0B54, &noted.shadeModel);
    noted.depthTest = glIsEnabled(0x0B71);
    noted.lighting = glIsEnabled(0x0B50);
    noted.light0 = glIsEnabled(0x4000);
    noted.colorMaterial = glIsEnabled(0x0B57);
    glGetIntegerv(0x0BA0, &noted.matrixMode);
    glGetBooleanv(0x0C23, noted.colorMask);
    glGetDoublev(0x0BA6, noted.modelView);
    real(drawer, root, second, transform, lineOffset, layers, primitives);
}

/// QGuiApplication::setOverrideCursor
SHIM void _ZN15QGuiApplication17setOverrideCursorERK7QCursor(const void* cursor)
{
    static const auto real =
        reinterpret_cast<void (*)(const void*)>(next("_ZN15QGuiApplication17setOverrideCursorERK7QCursor"));
    if (shimOnCursor)
        shimOnCursor();
    real(cursor);
}

/// QGuiApplication::restoreOverrideCursor
SHIM void _ZN15QGuiApplication21restoreOverrideCursorEv()
{
    static const auto real = reinterpret_cast<void (*)()>(next("_ZN15QGuiApplication21restoreOverrideCursorEv"));
    if (shimOnCursorBack)
        shimOnCursorBack();
    real();
}

/// SceneLocker::SceneLocker
SHIM void _ZN3tov5scene11SceneLockerC1EPNS0_5SceneENS1_8LOCKTYPEE(void* locker, void* scene, int type)
{
    static const auto real =
        reinterpret_cast<void (*)(void*, void*, int)>(next("_ZN3tov5scene11SceneLockerC1EPNS0_5SceneENS1_8LOCKTYPEE"));
    shimLockType = type;
    real(locker, scene, type);
}

SHIM GLenum glGetError()
{
    static const auto real = reinterpret_cast<GLenum (*)()>(next("glGetError"));
    if (shimHooks.glErrors > 0) {
        --shimHooks.glErrors;
        return 0x0505; // GL_OUT_OF_MEMORY
    }
    return real();
}

SHIM void glFlush()
{
    static const auto real = reinterpret_cast<void (*)()>(next("glFlush"));
    report("flush");
    real();
}

SHIM int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument)
{
    typedef int (*Create)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Create>(next("pthread_create"));
    return shimHooks.refuseThreads ? EAGAIN : real(thread, attributes, start, argument);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
__attribute__((visibility("default"))) void* operator new(std::size_t size)
{
    if (shimHooks.failGrabAllocations) {
        Dl_info caller;
        if (dladdr(__builtin_return_address(0), &caller) && std::strstr(caller.dli_fname, "libgrab"))
            throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

__attribute__((visibility("default"))) void operator delete(void* memory) noexcept
{
    std::free(memory);
}

__attribute__((visibility("default"))) void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
#endif

/// QImage::setPixel
SHIM void _ZN6QImage8setPixelEiij(void* image, int x, int y, unsigned int pixel)
{
    static const auto real = reinterpret_cast<void (*)(void*, int, int, unsigned int)>(next("_ZN6QImage8setPixelEiij"));
    if (shimHooks.onPixel)
        shimHooks.onPixel();
    real(image, x, y, pixel);
}

/// QOpenGLContext::create
SHIM bool _ZN14QOpenGLContext6createEv(void* context)
{
    static const auto real = reinterpret_cast<bool (*)(void*)>(next("_ZN14QOpenGLContext6createEv"));
    report("create context");
    return real(context);
}

/// QOffscreenSurface::create
SHIM void _ZN17QOffscreenSurface6createEv(void* surface)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN17QOffscreenSurface6createEv"));
    report("create surface");
    real(surface);
}

/// QOpenGLContext::doneCurrent
SHIM void _ZN14QOpenGLContext11doneCurrentEv(void* context)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN14QOpenGLContext11doneCurrentEv"));
    report("release context");
    real(context);
}

/// QOffscreenSurface::destroy
SHIM void _ZN17QOffscreenSurface7destroyEv(void* surface)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN17QOffscreenSurface7destroyEv"));
    report("destroy surface");
    real(surface);
}

/// SceneDrawer::~SceneDrawer
SHIM void _ZN3tov5scene11SceneDrawerD1Ev(void* drawer)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN3tov5scene11SceneDrawerD1Ev"));
    report("delete drawer");
    real(drawer);
}

/// SceneLocker::unlock
SHIM void _ZN3tov5scene11SceneLocker6unlockEv(void* locker)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN3tov5scene11SceneLocker6unlockEv"));
    report("unlock scene");
    real(locker);
}

/// ZProgressDialog::~ZProgressDialog
SHIM void _ZN3tov4util15ZProgressDialogD1Ev(void* dialog)
{
    static const auto real = reinterpret_cast<void (*)(void*)>(next("_ZN3tov4util15ZProgressDialogD1Ev"));
    report("close dialog");
    real(dialog);
}
