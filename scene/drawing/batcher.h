#pragma once

#include "scene/drawing/painter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace tov::scene {

/// Merges small solid surfaces of one material into one element, because thousands of calls of OpenGL cost more than
/// what they draw. A merged element is kept until one of its parts changes, moves, or is no longer drawn. Thread: one
/// at a time.
class Batcher
{
public:
    /// The items to draw in place of `items`; valid until the next call.
    std::vector<DrawItem> merged(const std::vector<DrawItem>& items);

private:
    /// Material, and which optional arrays the elements have.
    typedef std::tuple<const Material*, bool, bool, bool> Key;
    struct Batch
    {
        std::uint64_t signature = 0; ///< of parts and places
        std::unique_ptr<GeometryElement> element;
    };
    std::map<Key, Batch> m_Batches;
};

} // namespace tov::scene
