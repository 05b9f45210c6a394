// Lets Qt's eglfs platform run without any display server and without a screen: off-screen surfaces on EGL's device
// platform where there is a graphics card, on the surfaceless software platform elsewhere.

#include <private/qeglfsdeviceintegration_p.h>
#include <private/qeglfswindow_p.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <dlfcn.h>
#include <link.h>

namespace {

#ifndef EGL_PLATFORM_SURFACELESS_MESA
#define EGL_PLATFORM_SURFACELESS_MESA 0x31DD
#endif

bool hasExtension(const char* extensions, const char* name)
{
    const std::size_t length = std::strlen(name);
    for (const char* at = extensions; at && (at = std::strstr(at, name)); at += length)
        if ((at == extensions || at[-1] == ' ') && (at[length] == ' ' || at[length] == 0))
            return true;
    return false;
}

/// True when the display can be initialised and offers everything that off-screen drawing needs.
bool isUsable(EGLDisplay display)
{
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr))
        return false;
    const EGLint wanted[] = {EGL_SURFACE_TYPE,
                             EGL_PBUFFER_BIT,
                             EGL_RENDERABLE_TYPE,
                             EGL_OPENGL_BIT,
                             EGL_RED_SIZE,
                             8,
                             EGL_GREEN_SIZE,
                             8,
                             EGL_BLUE_SIZE,
                             8,
                             EGL_ALPHA_SIZE,
                             8,
                             EGL_DEPTH_SIZE,
                             24,
                             EGL_STENCIL_SIZE,
                             8,
                             EGL_NONE};
    EGLConfig config;
    EGLint count = 0;
    return eglBindAPI(EGL_OPENGL_API) && eglChooseConfig(display, wanted, &config, 1, &count) && count > 0;
}

EGLDisplay deviceDisplay(PFNEGLGETPLATFORMDISPLAYEXTPROC getDisplay, const char* extensions)
{
    if (!hasExtension(extensions, "EGL_EXT_platform_device") && !hasExtension(extensions, "EGL_EXT_platform_base"))
        return EGL_NO_DISPLAY;
    const auto queryDevices = PFNEGLQUERYDEVICESEXTPROC(eglGetProcAddress("eglQueryDevicesEXT"));
    const auto queryString = PFNEGLQUERYDEVICESTRINGEXTPROC(eglGetProcAddress("eglQueryDeviceStringEXT"));
    EGLint count = 0;
    if (!queryDevices || !queryString || !queryDevices(0, nullptr, &count) || count <= 0)
        return EGL_NO_DISPLAY;
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if (!queryDevices(count, devices.data(), &count))
        return EGL_NO_DISPLAY;
    for (EGLint i = 0; i < count; ++i) {
        // The surfaceless platform is used for software rendering.
        if (hasExtension(queryString(devices[std::size_t(i)], EGL_EXTENSIONS), "EGL_MESA_device_software"))
            continue;
        const EGLDisplay display = getDisplay(EGL_PLATFORM_DEVICE_EXT, devices[std::size_t(i)], nullptr);
        if (isUsable(display))
            return display;
        if (display != EGL_NO_DISPLAY)
            eglTerminate(display);
    }
    return EGL_NO_DISPLAY;
}

EGLDisplay surfacelessDisplay(PFNEGLGETPLATFORMDISPLAYEXTPROC getDisplay, const char* extensions)
{
    if (!hasExtension(extensions, "EGL_MESA_platform_surfaceless"))
        return EGL_NO_DISPLAY;
    const EGLDisplay display = getDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    return isUsable(display) ? display : EGL_NO_DISPLAY;
}

/// Keeps the driver in use loaded until the process ends: unloading it while its threads run, or while others refer to
/// its data, crashes the process.
void pinDriver()
{
    dl_iterate_phdr(
        [](dl_phdr_info* library, std::size_t, void*) {
            for (const char* name : {"_dri.so", "libgallium", "libLLVM", "libEGL_mesa", "libEGL_nvidia"})
                if (library->dlpi_name && std::strstr(library->dlpi_name, name))
                    dlopen(library->dlpi_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

[[noreturn]] void giveUp(const char* reason)
{
    std::fprintf(stderr, "tov: OpenGL cannot be used without a screen: %s\n", reason);
    std::_Exit(1);
}

/// Uses one configuration for every context and surface, whatever was requested, so that all can be used together.
QSurfaceFormat commonFormat(const QSurfaceFormat& wanted)
{
    QSurfaceFormat format = wanted;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    format.setAlphaBufferSize(8);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    format.setSamples(0);
    return format;
}

/// An invisible window; widgets can still be shown.
class HeadlessWindow : public QEglFSWindow
{
public:
    using QEglFSWindow::QEglFSWindow;
    void resetSurface() override
    {
        const EGLDisplay display = screen()->display();
        const QSurfaceFormat wanted = commonFormat(window()->requestedFormat());
        m_config = QEglFSDeviceIntegration::chooseConfig(display, wanted);
        m_format = wanted;
        const QSize size = geometry().size().expandedTo(QSize(1, 1));
        const EGLint attributes[] = {EGL_WIDTH, size.width(), EGL_HEIGHT, size.height(), EGL_NONE};
        m_surface = eglCreatePbufferSurface(display, m_config, attributes);
    }
};

class HeadlessIntegration : public QEglFSDeviceIntegration
{
public:
    void platformInit() override {}
    void platformDestroy() override {}
    EGLNativeDisplayType platformDisplay() const override { return EGL_DEFAULT_DISPLAY; }
    EGLDisplay createDisplay(EGLNativeDisplayType) override
    {
        const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
        const auto getDisplay = PFNEGLGETPLATFORMDISPLAYEXTPROC(eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (!extensions || !getDisplay)
            giveUp("EGL offers no platforms (is libegl1 installed?)");
        const QByteArray choice = qgetenv("TOV_EGL");
        if (!choice.isEmpty() && choice != "device" && choice != "surfaceless")
            giveUp("TOV_EGL must be \"device\" or \"surfaceless\"");
        EGLDisplay display = EGL_NO_DISPLAY;
        if (choice != "surfaceless")
            display = deviceDisplay(getDisplay, extensions);
        if (display == EGL_NO_DISPLAY && choice != "device")
            display = surfacelessDisplay(getDisplay, extensions);
        if (display == EGL_NO_DISPLAY)
            giveUp(choice == "device" ? "no graphics device can be used (TOV_EGL=device)"
                                      : "neither a graphics device nor software drawing is available (is libegl-mesa0 "
                                        "installed?)");
        pinDriver();
        return display;
    }
    QSizeF physicalScreenSize() const override { return QSizeF(508, 286); } // 96 dots per inch
    QSize screenSize() const override { return QSize(1920, 1080); }
    QDpi logicalDpi() const override { return QDpi(96, 96); }
    int screenDepth() const override { return 32; }
    EGLint surfaceType() const override { return EGL_PBUFFER_BIT; }
    QSurfaceFormat surfaceFormatFor(const QSurfaceFormat& wanted) const override { return commonFormat(wanted); }
    QEglFSWindow* createWindow(QWindow* window) const override { return new HeadlessWindow(window); }
    EGLNativeWindowType createNativeWindow(QPlatformWindow*, const QSize&, const QSurfaceFormat&) override { return 0; }
    void destroyNativeWindow(EGLNativeWindowType) override {}
    bool hasCapability(QPlatformIntegration::Capability capability) const override
    {
        return capability == QPlatformIntegration::ThreadedPixmaps ||
               capability == QPlatformIntegration::ThreadedOpenGL || capability == QPlatformIntegration::OpenGL;
    }
    QPlatformCursor* createCursor(QPlatformScreen*) const override { return nullptr; }
    bool supportsPBuffers() const override { return true; }
    bool supportsSurfacelessContexts() const override { return false; }
};

} // namespace

class HeadlessIntegrationPlugin : public QEglFSDeviceIntegrationPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QEglFSDeviceIntegrationFactoryInterface_iid FILE "headless.json")
public:
    QEglFSDeviceIntegration* create() override { return new HeadlessIntegration; }
};

#include "headlessintegration.moc"
