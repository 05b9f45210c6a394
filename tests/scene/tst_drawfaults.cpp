#include "scene/drawing/scenedrawer.h"
#include "tests/scene/drawfixture.h"
#include "tests/scene/shapes.h"
#include "tests/support/logcapture.h"

#include <GL/glext.h>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>

using namespace tov::scene;
using namespace tov::test;

namespace {

typedef void (*Function)();
typedef Function (*Resolver)(const char*);

bool refusesSamples = false;
int buffersToRefuse = 0;
bool hasSmallSizes = false; ///< sizes that do not fit are truncated, as for buffers above 2 GiB
int bufferUploads = 0;

Function resolved(const char* name)
{
    static const auto next = reinterpret_cast<Resolver>(dlsym(dlopen("libEGL.so.1", RTLD_LAZY), "eglGetProcAddress"));
    return next(name);
}

void storage(GLenum target, GLsizei samples, GLenum format, GLsizei width, GLsizei height)
{
    static const auto real =
        reinterpret_cast<PFNGLRENDERBUFFERSTORAGEMULTISAMPLEPROC>(resolved("glRenderbufferStorageMultisample"));
    // A size that no driver accepts: the error is a real one.
    real(target, samples, format, refusesSamples ? -1 : width, height);
}

void bufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage)
{
    static const auto real = reinterpret_cast<PFNGLBUFFERDATAPROC>(resolved("glBufferData"));
    const bool isElement = target != GL_UNIFORM_BUFFER;
    bufferUploads += isElement;
    const bool isRefused = isElement && buffersToRefuse > 0;
    buffersToRefuse -= isRefused;
    real(target, isRefused ? -1 : size, data, usage);
}

void bufferParameter(GLenum target, GLenum name, GLint* value)
{
    static const auto real = reinterpret_cast<PFNGLGETBUFFERPARAMETERIVPROC>(resolved("glGetBufferParameteriv"));
    real(target, name, value);
    if (hasSmallSizes && name == GL_BUFFER_SIZE)
        *value = std::min(*value, 100);
}

} // namespace

/// Replaces the system's function, with which Qt resolves OpenGL functions.
extern "C" __attribute__((visibility("default"))) Function eglGetProcAddress(const char* name)
{
    if (std::strcmp(name, "glRenderbufferStorageMultisample") == 0)
        return reinterpret_cast<Function>(&storage);
    if (std::strcmp(name, "glBufferData") == 0)
        return reinterpret_cast<Function>(&bufferData);
    if (std::strcmp(name, "glGetBufferParameteriv") == 0)
        return reinterpret_cast<Function>(&bufferParameter);
    return resolved(name);
}

namespace {

constexpr int Size = 64;

class DrawFaultsTest : public SceneTest
{
protected:
    void TearDown() override
    {
        refusesSamples = hasSmallSizes = false;
        buffersToRefuse = 0;
        SceneDrawer::setLook(SceneLook());
        SceneTest::TearDown();
    }
    static void setSamples(int samples)
    {
        SceneLook look;
        look.light = SceneLook::Light::None;
        look.samples = samples;
        SceneDrawer::setLook(look);
    }
    /// The picture by this drawer in the current context, and the error that it leaves.
    QImage drawnBy(SceneDrawer& drawer, GLenum& error)
    {
        QOpenGLFramebufferObject target(Size, Size, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D,
                                        GL_RGBA8);
        EXPECT_TRUE(target.bind());
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glFrustum(-0.5, 0.5, -0.5, 0.5, 1, 10000);
        glMatrixMode(GL_MODELVIEW);
        drawer.resize(Size, Size);
        drawer.glDraw(scene->getRootNode(), nullptr, at(3), 0.0, 3, 7);
        error = glGetError();
        return target.toImage();
    }
    QImage picture() { return drawn(Size, Size, -0.5, 0.5, -0.5, 0.5, at(3)); }
};

} // namespace

TEST_F(DrawFaultsTest, WithoutAMultisampleBufferDrawingContinues)
{
    scene->setRootNode(rootOf({element(sphere(16), Material())}));
    setSamples(0);
    const QImage plain = picture();
    setSamples(4);
    LogCapture log;
    refusesSamples = true;
    // `drawn` checks that no OpenGL error is left.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(picture(), plain);
    const auto records = log.records();
    EXPECT_EQ(std::count_if(
                  records.begin(), records.end(),
                  [](const auto& record) { return record.message.contains(QStringLiteral("edges are not smooth")); }),
              1)
        << log.text();
    refusesSamples = false;
    EXPECT_NE(picture(), plain) << "smooth again";
}

TEST_F(DrawFaultsTest, AnUploadThatFailsIsTriedAgain)
{
    setSamples(0);
    for (int refused = 1; refused <= 2; ++refused) {
        scene->setRootNode(rootOf({element(sphere(16), Material())}));
        buffersToRefuse = refused;
        QOpenGLContext context;
        context.setShareContext(_GlobalContext()->glContext());
        ASSERT_TRUE(context.create());
        QOffscreenSurface surface;
        surface.create();
        ASSERT_TRUE(context.makeCurrent(&surface));
        SceneDrawer drawer(scene);
        GLenum error = GL_NO_ERROR;
        EXPECT_EQ(covered(drawnBy(drawer, error)), 0);
        EXPECT_NE(error, GLenum(GL_NO_ERROR)) << "the caller sees that something failed";
        context.doneCurrent();
        buffersToRefuse = 0;
        EXPECT_GT(covered(picture()), 100) << refused;
        const int uploads = bufferUploads;
        picture();
        EXPECT_EQ(bufferUploads, uploads) << "uploaded buffers are kept";
    }
}

TEST_F(DrawFaultsTest, SizesAboveTheIntegerRangeAreCompared)
{
    setSamples(0);
    scene->setRootNode(rootOf({element(sphere(16), Material())}));
    hasSmallSizes = true;
    EXPECT_GT(covered(picture()), 100);
}

TEST_F(DrawFaultsTest, ADrawerOutlivesItsContext)
{
    setSamples(4);
    scene->setRootNode(rootOf({element(sphere(16), Material())}));
    const QImage expected = picture();
    SceneDrawer drawer(scene);
    // The memory of a deleted context is reused for the next one, which is not in its share group.
    alignas(QOpenGLContext) unsigned char place[sizeof(QOpenGLContext)];
    for (int i = 0; i < 3; ++i) {
        auto* context = new (place) QOpenGLContext;
        ASSERT_TRUE(context->create());
        QOffscreenSurface surface;
        surface.create();
        ASSERT_TRUE(context->makeCurrent(&surface));
        GLenum error = GL_NO_ERROR;
        EXPECT_EQ(drawnBy(drawer, error), expected) << i;
        EXPECT_EQ(error, GLenum(GL_NO_ERROR)) << i;
        context->doneCurrent();
        context->~QOpenGLContext();
    }
}
