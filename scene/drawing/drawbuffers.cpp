#include "scene/drawing/drawbuffers.h"

#include "scene/drawing/featureedges.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstdint>

namespace tov::scene {

namespace {

typedef GeometryElement::Buffers::Entry Entry;

struct Abandoned
{
    QPointer<QOpenGLContextGroup> group;
    unsigned int name;
    bool isRenderbuffer = false;
};

std::vector<Abandoned>& abandoned()
{
    static auto* instance = new std::vector<Abandoned>;
    return *instance;
}

void abandonAll(const Entry& entry)
{
    for (const unsigned int name :
         {entry.vertices, entry.indices, entry.uv[0], entry.uv[1], entry.tangents, entry.edges})
        if (name != 0)
            abandoned().push_back({entry.group, name});
}

/// Size of the bound buffer. OpenGL errors are not used to detect a failure: they are left for the caller.
std::int64_t sizeOf(GLenum target)
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    // OpenGL 3.2; older drivers report at most 2 GiB.
    static const auto exact = reinterpret_cast<void (*)(GLenum, GLenum, GLint64*)>(
        context->getProcAddress(QByteArrayLiteral("glGetBufferParameteri64v")));
    GLint64 size = 0;
    if (exact && context->format().version() >= qMakePair(3, 2)) {
        exact(target, GL_BUFFER_SIZE, &size);
        return size;
    }
    GLint small = 0;
    context->functions()->glGetBufferParameteriv(target, GL_BUFFER_SIZE, &small);
    return small;
}

/// Uploads the values into a buffer, a new one if `name` is 0. False when OpenGL refuses them.
template <typename T>
bool upload(GLenum target, const std::vector<T>& values, unsigned int& name)
{
    if (values.empty())
        return true;
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    if (name == 0)
        gl->glGenBuffers(1, &name);
    gl->glBindBuffer(target, name);
    const auto bytes = GLsizeiptr(values.size() * sizeof(T));
    gl->glBufferData(target, bytes, values.data(), GL_STATIC_DRAW);
    return sizeOf(target) == bytes;
}

bool uploadAll(const GeometryElement& element, Entry& entry)
{
    return upload(GL_ARRAY_BUFFER, element.getVertices(), entry.vertices) &&
           upload(GL_ARRAY_BUFFER, element.getTextureCoordinates(0), entry.uv[0]) &&
           upload(GL_ARRAY_BUFFER, element.getTextureCoordinates(1), entry.uv[1]) &&
           upload(GL_ARRAY_BUFFER, element.getTangents(), entry.tangents) &&
           upload(GL_ELEMENT_ARRAY_BUFFER, element.getIndices(), entry.indices);
}

} // namespace

std::mutex& GeometryElement::Buffers::mutex()
{
    static auto* instance = new std::mutex;
    return *instance;
}

Entry GeometryElement::Buffers::obtain(const GeometryElement& element, bool wantsEdges)
{
    std::lock_guard<std::mutex> guard(mutex());
    if (!element.mp_Buffers)
        element.mp_Buffers = std::make_shared<Buffers>();
    return element.mp_Buffers->update(element, wantsEdges);
}

Entry GeometryElement::Buffers::update(const GeometryElement& element, bool wantsEdges)
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    entries.erase(std::remove_if(entries.begin(), entries.end(), [](const Entry& entry) { return !entry.group; }),
                  entries.end());
    auto known = entries.begin();
    while (known != entries.end() && known->group != context->shareGroup())
        ++known;
    Entry entry;
    if (known != entries.end()) {
        entry = *known;
        if (entry.revision == element.getRevision() && (!wantsEdges || entry.areEdgesKnown))
            return entry;
        entries.erase(known);
    }
    entry.group = context->shareGroup();
    bool isWhole = true;
    if (entry.vertices == 0 || entry.revision != element.getRevision())
        isWhole = uploadAll(element, entry);
    entry.revision = element.getRevision();
    if (wantsEdges && !entry.areEdgesKnown && isWhole) {
        entry.areEdgesKnown = true;
        const auto edges = featureEdges(element);
        entry.edgeIndexCount = edges.size();
        isWhole = upload(GL_ELEMENT_ARRAY_BUFFER, edges, entry.edges);
    }
    if (!isWhole) {
        abandonAll(entry);
        return Entry();
    }
    context->functions()->glFinish();
    entries.push_back(entry);
    return entry;
}

GeometryElement::Buffers::~Buffers()
{
    std::lock_guard<std::mutex> guard(mutex());
    for (const Entry& entry : entries)
        abandonAll(entry);
}

void GeometryElement::Buffers::abandon(const QPointer<QOpenGLContextGroup>& group, unsigned int name)
{
    if (name == 0)
        return;
    std::lock_guard<std::mutex> guard(mutex());
    abandoned().push_back({group, name});
}

void GeometryElement::Buffers::abandonRenderbuffer(const QPointer<QOpenGLContextGroup>& group, unsigned int name)
{
    if (name == 0)
        return;
    std::lock_guard<std::mutex> guard(mutex());
    abandoned().push_back({group, name, true});
}

void GeometryElement::Buffers::collect()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    std::lock_guard<std::mutex> guard(mutex());
    auto& names = abandoned();
    for (auto it = names.begin(); it != names.end();) {
        if (!it->group) {
            it = names.erase(it);
        } else if (it->group == context->shareGroup()) {
            it->isRenderbuffer ? context->functions()->glDeleteRenderbuffers(1, &it->name)
                               : context->functions()->glDeleteBuffers(1, &it->name);
            it = names.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace tov::scene
