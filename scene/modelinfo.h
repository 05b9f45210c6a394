#pragma once

#include "kernel/main/export.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <vector>

namespace tov::scene {

class SceneElement;

/// What a loaded file contains.
class TOV_EXPORT ModelInfo
{
public:
    struct TextureInfo
    {
        QString name;
        int width = 0;
        int height = 0;
        std::uint64_t bytes = 0; ///< decoded, without mipmaps
    };
    struct AnimationInfo
    {
        QString name;
        double seconds = 0;
        std::size_t channels = 0;
    };

    /// Collects the information from a tree that `SceneImport` has read, and keeps no reference to it. The tree must
    /// not change during the call. Thread: any.
    explicit ModelInfo(const SceneElement& root);

    QString fileName;
    std::size_t nodes = 0; ///< elements without geometry
    QStringList partNames; ///< of the elements with geometry, in the order of the file
    std::uint64_t triangles = 0;
    std::uint64_t lines = 0;
    std::uint64_t points = 0;
    std::uint64_t vertices = 0;
    std::size_t skins = 0;
    std::size_t morphTargets = 0;
    bool isEmpty = true;                   ///< there are no extents
    std::array<double, 3> low = {0, 0, 0}; ///< extents in scene units, the transforms of the tree applied
    std::array<double, 3> high = {0, 0, 0};
    QStringList materials; ///< names, in order of first use
    std::vector<TextureInfo> textures;
    std::vector<AnimationInfo> animations;
    QStringList cameras;
    QStringList lights;
    QStringList warnings;
    std::uint64_t memoryBytes = 0; ///< of vertices, indices and decoded textures
};

} // namespace tov::scene
