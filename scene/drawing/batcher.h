#pragma once

#include "scene/drawing/painter.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace tov::scene {

/// Merges small solid surfaces into one element, because thousands of calls of OpenGL cost more than what they draw:
/// those of one material, and those whose materials have no textures and differ in colour only. A merged element is
/// kept until one of its parts changes, moves, or is no longer drawn. Thread: one at a time.
class Batcher
{
public:
    /// The items to draw in place of `items`; valid until the next call.
    std::vector<DrawItem> merged(const std::vector<DrawItem>& items);

private:
    /// What the parts of a batch have in common.
    struct Key
    {
        const Material* material = nullptr; ///< null: the numbers below, and colours go into the vertices
        std::array<float, 10> numbers{};
        std::array<bool, 3> lacks{}; ///< which optional arrays the elements do not have

        /// Any order, for the map.
        bool operator<(const Key& other) const
        {
            return std::tie(material, numbers, lacks) < std::tie(other.material, other.numbers, other.lacks);
        }
    };
    struct Batch
    {
        std::uint64_t signature = 0; ///< of parts and places
        std::unique_ptr<GeometryElement> element;
    };
    static Key keyOf(const GeometryElement& element);
    static std::unique_ptr<GeometryElement> mergedElement(const std::vector<const DrawItem*>& parts, bool isBaked);

    std::map<Key, Batch> m_Batches;
};

} // namespace tov::scene
