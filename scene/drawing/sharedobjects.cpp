#include "scene/drawing/sharedobjects.h"

#include "kernel/log/logger.h"
#include "scene/drawing/shadersource.h"

#include <QImage>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QPointer>

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <list>
#include <map>
#include <mutex>
#include <tuple>

namespace tov::scene::shared {

namespace {

constexpr char SourceFile[] = "scene/drawing/sharedobjects";

template <typename T>
struct Upload
{
    std::weak_ptr<const T> source;
    unsigned int name = 0;
};

struct Group
{
    QPointer<QOpenGLContextGroup> owner;           ///< null when the group and its objects no longer exist
    std::map<unsigned int, unsigned int> programs; ///< by features
    std::map<std::pair<const Image*, bool>, Upload<Image>> images;
    std::map<std::uint64_t, Upload<Environment>> environments;
    std::map<std::tuple<int, int, int, int>, unsigned int> samplers;
};

std::mutex& mutex()
{
    static auto* instance = new std::mutex;
    return *instance;
}

/// The current context's group; guarded by `mutex`.
Group& group()
{
    static auto* groups = new std::list<Group>;
    groups->remove_if([](const Group& group) { return !group.owner; });
    QOpenGLContextGroup* current = QOpenGLContext::currentContext()->shareGroup();
    for (Group& group : *groups)
        if (group.owner == current)
            return group;
    groups->emplace_back();
    groups->back().owner = current;
    return groups->back();
}

QOpenGLExtraFunctions* functions()
{
    return QOpenGLContext::currentContext()->extraFunctions();
}

void logProblem(const QByteArray& text)
{
    tov::log::Logger::log(tov::log::LevelError, SourceFile, __LINE__, __func__, nullptr, "%s", text.constData());
}

unsigned int compile(GLenum kind, const QByteArray& source, QByteArray& problem)
{
    auto* gl = functions();
    const unsigned int shader = gl->glCreateShader(kind);
    const char* text = source.constData();
    gl->glShaderSource(shader, 1, &text, nullptr);
    gl->glCompileShader(shader);
    GLint isCompiled = 0;
    gl->glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
    if (!isCompiled) {
        char log[1024] = {};
        gl->glGetShaderInfoLog(shader, sizeof log, nullptr, log);
        problem = log;
    }
    return shader;
}

/// Sets the constant state: texture units and block bindings.
void bindInputs(unsigned int program)
{
    static const char* const samplers[UnitCount] = {"environmentTable", "baseTexture",      "surfaceTexture",
                                                    "normalTexture",    "occlusionTexture", "emissiveTexture"};
    auto* gl = functions();
    GLint before = 0;
    gl->glGetIntegerv(GL_CURRENT_PROGRAM, &before);
    gl->glUseProgram(program);
    for (int unit = 0; unit < UnitCount; ++unit)
        gl->glUniform1i(gl->glGetUniformLocation(program, samplers[unit]), unit);
    gl->glUseProgram(GLuint(before));
    const char* const blocks[] = {"Frame", "Part"};
    for (unsigned int i = 0; i < 2; ++i) {
        const GLuint index = gl->glGetUniformBlockIndex(program, blocks[i]);
        if (index != GL_INVALID_INDEX)
            gl->glUniformBlockBinding(program, index, i);
    }
}

unsigned int makeProgram(unsigned int features)
{
    static const char* const attributes[AttributeCount] = {"position", "normal", "color", "uv0", "uv1", "tangent"};
    auto* gl = functions();
    QByteArray problem;
    const unsigned int vertex = compile(GL_VERTEX_SHADER, vertexShader(features), problem);
    const unsigned int fragment = compile(GL_FRAGMENT_SHADER, fragmentShader(features), problem);
    const unsigned int program = gl->glCreateProgram();
    gl->glAttachShader(program, vertex);
    gl->glAttachShader(program, fragment);
    for (unsigned int i = 0; i < AttributeCount; ++i)
        gl->glBindAttribLocation(program, i, attributes[i]);
    gl->glLinkProgram(program);
    gl->glDeleteShader(vertex);
    gl->glDeleteShader(fragment);
    GLint isLinked = 0;
    gl->glGetProgramiv(program, GL_LINK_STATUS, &isLinked);
    if (!isLinked) {
        logProblem("the OpenGL driver rejects a shader program: " + problem.simplified());
        gl->glDeleteProgram(program);
        return 0;
    }
    bindInputs(program);
    gl->glFinish();
    return program;
}

/// The pixels, scaled down to the driver's limit.
QImage fitted(const Image& image, int largest)
{
    QImage whole(image.pixels.data(), image.width, image.height, 4 * image.width, QImage::Format_RGBA8888);
    if (image.width <= largest && image.height <= largest)
        return whole;
    return whole
        .scaled(std::min(image.width, largest), std::min(image.height, largest), Qt::IgnoreAspectRatio,
                Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_RGBA8888);
}

bool isUsable(const Image& image)
{
    return image.width > 0 && image.height > 0 &&
           image.pixels.size() >= std::size_t(image.width) * std::size_t(image.height) * 4;
}

/// Pixels are read from memory, row after row, whatever the caller had set up. `SavedState` restores that.
void setUnpacking()
{
    auto* gl = functions();
    gl->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    for (const GLenum name : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_IMAGE_HEIGHT,
                              GL_UNPACK_SKIP_IMAGES, GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST})
        glPixelStorei(name, 0);
}

unsigned int upload(const Image& image, bool isSrgb)
{
    if (!isUsable(image))
        return 0;
    auto* gl = functions();
    GLint largest = 0;
    gl->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest);
    const QImage pixels = fitted(image, largest);
    setUnpacking();
    GLuint name = 0;
    gl->glGenTextures(1, &name);
    gl->glActiveTexture(GL_TEXTURE0 + UnitBase);
    gl->glBindTexture(GL_TEXTURE_2D, name);
    gl->glTexImage2D(GL_TEXTURE_2D, 0, isSrgb ? GL_SRGB8_ALPHA8 : GL_RGBA8, pixels.width(), pixels.height(), 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, pixels.constBits());
    GLint width = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    if (width != pixels.width()) {
        gl->glDeleteTextures(1, &name);
        return 0;
    }
    gl->glGenerateMipmap(GL_TEXTURE_2D);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    gl->glFinish();
    return name;
}

unsigned int upload(const Environment& environment)
{
    auto* gl = functions();
    setUnpacking();
    GLuint name = 0;
    gl->glGenTextures(1, &name);
    gl->glActiveTexture(GL_TEXTURE0 + UnitEnvironment);
    gl->glBindTexture(GL_TEXTURE_3D, name);
    gl->glTexImage3D(GL_TEXTURE_3D, 0, GL_RGB16F, Environment::Edge, Environment::Edge, Environment::Levels, 0, GL_RGB,
                     GL_FLOAT, environment.getTable().data());
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        gl->glTexParameteri(GL_TEXTURE_3D, filter, GL_LINEAR);
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
        gl->glTexParameteri(GL_TEXTURE_3D, wrap, GL_CLAMP_TO_EDGE);
    gl->glFinish();
    return name;
}

GLint wrapName(Texture::Wrap wrap)
{
    switch (wrap) {
    case Texture::Wrap::ClampToEdge:
        return GL_CLAMP_TO_EDGE;
    case Texture::Wrap::MirroredRepeat:
        return GL_MIRRORED_REPEAT;
    default:
        return GL_REPEAT;
    }
}

GLint filterName(Texture::Filter filter)
{
    switch (filter) {
    case Texture::Filter::Nearest:
        return GL_NEAREST;
    case Texture::Filter::Linear:
        return GL_LINEAR;
    case Texture::Filter::NearestMipmapNearest:
        return GL_NEAREST_MIPMAP_NEAREST;
    case Texture::Filter::LinearMipmapNearest:
        return GL_LINEAR_MIPMAP_NEAREST;
    case Texture::Filter::NearestMipmapLinear:
        return GL_NEAREST_MIPMAP_LINEAR;
    default:
        return GL_LINEAR_MIPMAP_LINEAR;
    }
}

/// Software renderers take seconds for it, hours where texture coordinates are very large.
bool isAnisotropyCheap()
{
    const QByteArray renderer(reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    return QOpenGLContext::currentContext()->hasExtension(QByteArrayLiteral("GL_EXT_texture_filter_anisotropic")) &&
           !renderer.contains("llvmpipe") && !renderer.contains("softpipe");
}

template <typename Map>
void collectFrom(Map& uploads)
{
    for (auto it = uploads.begin(); it != uploads.end();) {
        if (it->second.source.expired()) {
            functions()->glDeleteTextures(1, &it->second.name);
            it = uploads.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace

unsigned int program(unsigned int features)
{
    std::lock_guard<std::mutex> guard(mutex());
    auto& programs = group().programs;
    const auto known = programs.find(features);
    return known != programs.end() ? known->second : programs[features] = makeProgram(features);
}

unsigned int texture(const std::shared_ptr<const Image>& image, bool isSrgb)
{
    std::lock_guard<std::mutex> guard(mutex());
    auto& images = group().images;
    const auto known = images.find({image.get(), isSrgb});
    if (known != images.end() && !known->second.source.expired())
        return known->second.name;
    const unsigned int name = upload(*image, isSrgb);
    if (name != 0)
        images[{image.get(), isSrgb}] = {image, name};
    return name;
}

unsigned int environmentTexture(const std::shared_ptr<const Environment>& environment)
{
    std::lock_guard<std::mutex> guard(mutex());
    auto& environments = group().environments;
    const auto known = environments.find(environment->getId());
    if (known != environments.end())
        return known->second.name;
    const unsigned int name = upload(*environment);
    environments[environment->getId()] = {environment, name};
    return name;
}

unsigned int sampler(const Texture& texture)
{
    std::lock_guard<std::mutex> guard(mutex());
    auto* gl = functions();
    auto& name =
        group().samplers[{int(texture.wrapU), int(texture.wrapV), int(texture.minFilter), int(texture.magFilter)}];
    if (name != 0)
        return name;
    gl->glGenSamplers(1, &name);
    gl->glSamplerParameteri(name, GL_TEXTURE_WRAP_S, wrapName(texture.wrapU));
    gl->glSamplerParameteri(name, GL_TEXTURE_WRAP_T, wrapName(texture.wrapV));
    gl->glSamplerParameteri(name, GL_TEXTURE_MIN_FILTER, filterName(texture.minFilter));
    const bool isNearest = texture.magFilter == Texture::Filter::Nearest;
    gl->glSamplerParameteri(name, GL_TEXTURE_MAG_FILTER, isNearest ? GL_NEAREST : GL_LINEAR);
    const bool wantsAnisotropy = texture.minFilter == Texture::Filter::LinearMipmapLinear && !isNearest;
    if (wantsAnisotropy && isAnisotropyCheap()) {
        GLfloat most = 1;
        gl->glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &most);
        gl->glSamplerParameterf(name, GL_TEXTURE_MAX_ANISOTROPY_EXT, std::min(most, 8.0f));
    }
    gl->glFinish();
    return name;
}

void collect()
{
    std::lock_guard<std::mutex> guard(mutex());
    collectFrom(group().images);
    collectFrom(group().environments);
}

} // namespace tov::scene::shared
