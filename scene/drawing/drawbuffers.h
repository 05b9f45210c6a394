#pragma once

#include "scene/geometryelement.h"

#include <QOpenGLContext>
#include <QPointer>

#include <mutex>

namespace tov::scene {

/// The OpenGL buffers of one element, for each share group that has drawn it.
struct GeometryElement::Buffers
{
    /// Buffer names; 0: the element has no such data.
    struct Entry
    {
        QPointer<QOpenGLContextGroup> group; ///< null when the group and its names no longer exist
        unsigned int revision = 0;
        unsigned int vertices = 0;
        unsigned int indices = 0;
        unsigned int uv[2] = {0, 0};
        unsigned int tangents = 0;
        unsigned int edges = 0;     ///< indices of the feature edges
        bool areEdgesKnown = false; ///< computed on first use
        std::size_t edgeIndexCount = 0;
    };
    std::vector<Entry> entries; ///< guarded by `mutex()`

    /// Guards the entries of all elements and the names to be freed.
    static std::mutex& mutex();
    /// The element's buffers in the current context's group, uploaded now if they are missing or out of date. The
    /// upload is finished when this returns, so that every context of the group sees it. A failed upload is not kept:
    /// the names are 0, and the OpenGL error is left for the caller. Thread: the current context's.
    static Entry obtain(const GeometryElement& element, bool wantsEdges);
    Buffers() = default;
    Buffers(const Buffers&) = delete;
    Buffers& operator=(const Buffers&) = delete;
    /// Queues the names to be freed by `collect`. Thread: any.
    ~Buffers();
    /// Queues a buffer that belongs to no element, to be freed by `collect`; 0 is ignored. Thread: any.
    static void abandon(const QPointer<QOpenGLContextGroup>& group, unsigned int name);
    /// The same for a renderbuffer.
    static void abandonRenderbuffer(const QPointer<QOpenGLContextGroup>& group, unsigned int name);
    /// Frees abandoned names of the current context's group, and forgets those of groups that no longer exist. Thread:
    /// the current context's.
    static void collect();

private:
    /// The mutex is held.
    Entry update(const GeometryElement& element, bool wantsEdges);
};

} // namespace tov::scene
