#include "scene/drawing/drawbuffers.h"

#include "scene/drawing/featureedges.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <GL/gl.h>

namespace tov::scene {

namespace {

typedef GeometryElement::Buffers::Entry Entry;

struct Abandoned
{
    QOpenGLContextGroup* group;
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

/// Puts the values into a buffer, a new one where `name` is 0. False when OpenGL did not take them.
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
    // Not by glGetError: what it returns is for the caller of the drawing.
    GLint size = 0;
    gl->glGetBufferParameteriv(target, GL_BUFFER_SIZE, &size);
    return size == GLint(bytes);
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
    QOpenGLContext* context = QOpenGLContext::currentContext();
    std::lock_guard<std::mutex> guard(mutex());
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

void GeometryElement::Buffers::abandon()
{
    std::lock_guard<std::mutex> guard(mutex());
    for (const Entry& entry : entries)
        abandonAll(entry);
    entries.clear();
}

void GeometryElement::Buffers::abandon(QOpenGLContextGroup* group, unsigned int name)
{
    if (name == 0)
        return;
    std::lock_guard<std::mutex> guard(mutex());
    abandoned().push_back({group, name});
}

void GeometryElement::Buffers::abandonRenderbuffer(QOpenGLContextGroup* group, unsigned int name)
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
        if (it->group == context->shareGroup()) {
            it->isRenderbuffer ? context->functions()->glDeleteRenderbuffers(1, &it->name)
                               : context->functions()->glDeleteBuffers(1, &it->name);
            it = names.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace tov::scene
