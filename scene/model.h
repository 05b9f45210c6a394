#pragma once

#include "kernel/math/matrix.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace tov::scene {

class SceneElement;

/// A skeleton: the elements that move a skinned mesh.
struct Skin
{
    std::vector<SceneElement*> joints;                          ///< not owned; of the same tree
    std::vector<tov::math::Matrix<double, 4u, 4u>> inverseBind; ///< mesh space at rest to joint space, one per joint
};

/// One animated property of one element.
struct AnimationChannel
{
    enum class Path : std::uint8_t
    {
        Translation,  ///< 3 values per key
        Rotation,     ///< unit quaternion x, y, z, w
        Scale,        ///< 3 values per key
        MorphWeights, ///< as many values per key as the mesh has targets
    };
    enum class Interpolation : std::uint8_t
    {
        Step,
        Linear,
        CubicSpline, ///< in-tangent, value, out-tangent per key (glTF 2.0, appendix C)
    };
    /// Not owned. Morph weights apply to every `GeometryElement` that is a direct child of the target.
    SceneElement* target = nullptr;
    Path path = Path::Translation;
    Interpolation interpolation = Interpolation::Linear;
    std::vector<double> times; ///< seconds, strictly ascending, finite
    std::vector<float> values;
};

/// A named clip. Before its first and after its last key a channel keeps the value of that key.
struct Animation
{
    QString name;
    double duration = 0; ///< seconds: the last key of any channel
    std::vector<AnimationChannel> channels;
};

/// A camera of a file. It looks along -Z of its element, +Y up, as in glTF.
struct FileCamera
{
    QString name;
    SceneElement* element = nullptr; ///< not owned
    bool orthographic = false;
    double fieldOfView = 0; ///< vertical, radians; perspective only
    double halfHeight = 0;  ///< scene units; orthographic only
};

/// A light of a file. Kept for `tov info`; pictures use the light that the user chose.
struct FileLight
{
    enum class Kind : std::uint8_t
    {
        Directional,
        Point,
        Spot,
    };
    QString name;
    SceneElement* element = nullptr; ///< not owned
    Kind kind = Kind::Directional;
    std::array<float, 3> color = {1, 1, 1};
    float intensity = 1;
};

/// What a file holds besides the tree of elements. Belongs to the root element of the file, see
/// `SceneElement::getModelData`.
struct ModelData
{
    QString fileName;
    std::vector<std::shared_ptr<Skin>> skins;
    std::vector<Animation> animations;
    std::vector<FileCamera> cameras;
    std::vector<FileLight> lights;
    QStringList warnings; ///< one line each: missing textures and the like
};

} // namespace tov::scene
