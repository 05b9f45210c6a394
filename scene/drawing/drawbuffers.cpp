#include "scene/drawing/drawbuffers.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

namespace tov::scene {

namespace {

std::vector<GeometryElement::Buffers::Entry>& abandoned()
{
    static auto* instance = new std::vector<GeometryElement::Buffers::Entry>;
    return *instance;
}

} // namespace

std::mutex& GeometryElement::Buffers::mutex()
{
    static auto* instance = new std::mutex;
    return *instance;
}

GeometryElement::Buffers::Entry GeometryElement::Buffers::obtain(const GeometryElement& element)
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    std::lock_guard<std::mutex> guard(mutex());
    for (const Entry& entry : entries)
        if (entry.group == context->shareGroup())
            return entry;
    QOpenGLFunctions* gl = context->functions();
    unsigned int names[2];
    gl->glGenBuffers(2, names);
    gl->glBindBuffer(GL_ARRAY_BUFFER, names[0]);
    gl->glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(element.getVertices().size() * sizeof(Vertex)),
                     element.getVertices().data(), GL_STATIC_DRAW);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, names[1]);
    gl->glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(element.getIndices().size() * sizeof(std::uint32_t)),
                     element.getIndices().data(), GL_STATIC_DRAW);
    gl->glFinish();
    entries.push_back({context->shareGroup(), names[0], names[1]});
    return entries.back();
}

void GeometryElement::Buffers::abandon()
{
    std::lock_guard<std::mutex> guard(mutex());
    abandoned().insert(abandoned().end(), entries.begin(), entries.end());
    entries.clear();
}

void GeometryElement::Buffers::collect()
{
    QOpenGLContext* context = QOpenGLContext::currentContext();
    std::lock_guard<std::mutex> guard(mutex());
    auto& names = abandoned();
    for (auto it = names.begin(); it != names.end();) {
        if (it->group == context->shareGroup()) {
            const unsigned int pair[2] = {it->vertices, it->indices};
            context->functions()->glDeleteBuffers(2, pair);
            it = names.erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace tov::scene
