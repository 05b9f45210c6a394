#pragma once

#include "scene/geometryelement.h"

#include <mutex>

class QOpenGLContextGroup;

namespace tov::scene {

/// The OpenGL buffers of one element, for each share group that has drawn it.
struct GeometryElement::Buffers
{
    struct Entry
    {
        QOpenGLContextGroup* group;
        unsigned int vertices;
        unsigned int indices;
    };
    std::vector<Entry> entries; ///< guarded by `mutex()`

    /// Guards the entries of all elements and the names to be freed.
    static std::mutex& mutex();
    /// The element's buffers in the current context's group, uploaded now if they are not there yet. The upload is
    /// finished when this returns, so that every context of the group sees it. Thread: the current context's.
    Entry obtain(const GeometryElement& element);
    /// Leaves the names to be freed by `collect`. Thread: any.
    void abandon();
    /// Frees abandoned names of the current context's group. Thread: the current context's.
    static void collect();
};

} // namespace tov::scene
