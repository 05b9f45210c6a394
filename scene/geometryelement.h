#pragma once

#include "scene/geometry.h"
#include "scene/sceneelement.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tov::scene {

class DeformedShape;

/// An axis-aligned box; empty while `low` is above `high`.
struct Box
{
    std::array<double, 3> low = {1e300, 1e300, 1e300};
    std::array<double, 3> high = {-1e300, -1e300, -1e300};

    /// True until a point is added.
    bool isEmpty() const { return low[0] > high[0]; }
    /// Extends the box to a point x, y, z.
    template <typename T>
    void add(const T* point)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            low[i] = point[i] < low[i] ? point[i] : low[i];
            high[i] = point[i] > high[i] ? point[i] : high[i];
        }
    }
};

/// An element with surfaces, lines or points. The data is put into drawing order once, by the constructor: primitives
/// along a space-filling curve, vertices in order of first use, in chunks that are culled by their boxes. Coordinates
/// and boxes are relative to the origin; see `getOrigin`. Changed under a `SceneEdit` only, once it is in a scene.
class TOV_EXPORT GeometryElement : public SceneElement
{
public:
    /// Primitives of one chunk: small enough to cull well, large enough to draw in one call.
    static constexpr std::size_t ChunkPrimitives = 1024;

    struct Chunk
    {
        std::size_t firstIndex;
        std::size_t indexCount;
        /// The vertices that no earlier chunk uses.
        std::size_t firstVertex;
        std::size_t vertexCount;
        Box box;
    };
    struct Vertex
    {
        float position[3];
        float normal[3];
        std::uint16_t color[4]; ///< linear, 65535 = 1; multiplies the material's base colour
    };
    /// Whether the surface bounds solid bodies, of which only one side of the triangles is seen from outside.
    enum class Solidity
    {
        Unknown, ///< not examined yet
        None,
        Outward, ///< triangles are counter-clockwise, seen from outside
        Inward,
    };
    /// Skin and morph data: the arrays of `Geometry`, in drawing order.
    struct Deformation
    {
        std::shared_ptr<const Skin> skin; ///< null: not skinned
        int jointGroups = 0;
        std::vector<std::uint16_t> joints;
        std::vector<float> weights;
        std::vector<Geometry::MorphTarget> morphTargets;
        std::vector<float> morphWeights;
    };

    /// Takes over the data. Counts must match; optional arrays of another length are ignored. Thread: any.
    GeometryElement(const QString& name, Geometry geometry);
    /// Marks the OpenGL buffers, which the next drawing frees. Thread: any.
    ~GeometryElement() override;

    /// Surfaces, lines or points.
    Geometry::Kind getKind() const { return m_Kind; }
    /// The vertices, in drawing order.
    const std::vector<Vertex>& getVertices() const { return m_Vertices; }
    /// Texture coordinates of set 0 or 1, u and v for each vertex; empty: none.
    const std::vector<float>& getTextureCoordinates(int set) const { return m_Uv[set]; }
    /// x, y, z and the sign of the bitangent for each vertex; empty: derived while drawing.
    const std::vector<float>& getTangents() const { return m_Tangents; }
    /// False when all vertices are white and opaque, and for an element with a colour of its own (`setColor`).
    bool hasVertexColors() const { return m_HasColors && !m_Color; }
    /// Whether the normals of nearly all triangles point to the side from which the triangle is counter-clockwise.
    bool doNormalsFollowWinding() const { return m_NormalsFollowWinding; }
    /// The vertices of each primitive, in drawing order.
    const std::vector<std::uint32_t>& getIndices() const { return m_Indices; }
    /// The chunks, which cover all indices in order.
    const std::vector<Chunk>& getChunks() const { return m_Chunks; }
    /// The box of all vertices, relative to the origin.
    const Box& getBox() const { return m_Box; }
    /// The origin of the vertices' coordinates, in the element's own coordinates. `forEachVisible` adds it.
    const std::array<double, 3>& getOrigin() const { return m_Origin; }
    /// Skin and morph targets; null when there are none.
    const Deformation* getDeformation() const { return mp_Deformation.get(); }

    /// The current weights of the morph targets; the shape follows when the `SceneEdit` ends.
    const std::vector<float>& getMorphWeights() const { return m_MorphWeights; }
    /// Sets the weights of the morph targets, one per target.
    void setMorphWeights(std::vector<float> weights) { m_MorphWeights = std::move(weights); }

    /// Never null.
    const std::shared_ptr<const Material>& getMaterial() const { return mp_Material; }
    /// Null: the default material. An element with a colour of its own keeps showing that.
    void setMaterial(std::shared_ptr<const Material> material);
    /// The colour that replaces the material; none: the material as the file has it.
    const std::optional<QColor>& getColor() const { return m_Color; }
    /// Replaces material and vertex colours by one colour, without its alpha, or restores them (none).
    void setColor(const std::optional<QColor>& color);
    /// Multiplies the alpha of the material; from 0 to 1.
    float getOpacity() const { return m_Opacity; }
    /// Sets the factor of the material's alpha, from 0 to 1.
    void setOpacity(float opacity);
    /// Whether it can be seen through: the material blends, or the opacity is below 1.
    bool isTransparent() const;
    /// Lets `change` write new positions and normals; the number of vertices must not change. The boxes are updated.
    void changeVertices(const std::function<void(std::vector<Vertex>&)>& change);
    /// The same with the tangents (`getTangents`), whose number does not change either.
    void changeVertices(const std::function<void(std::vector<Vertex>&, std::vector<float>&)>& change);
    /// Counts the calls of `changeVertices`.
    unsigned int getRevision() const { return m_Revision; }

    /// `Unknown` until `examineSolidity` was called; `None` once the shape has changed.
    Solidity getSolidity() const;
    /// For each chunk of a solid surface, whether it must be drawn from both sides all the same. Only valid if
    /// `getSolidity` is `Outward` or `Inward`.
    const std::vector<bool>& getTwoSidedChunks() const { return m_TwoSidedChunks; }
    /// Finds out whether the surface is solid (`findSolidSurface`), unless that is known. Takes about a second per
    /// million triangles. Thread: any.
    void examineSolidity() const;

    /// The drawer's buffers for this element; used by the drawer only.
    struct Buffers;
    mutable std::shared_ptr<Buffers> mp_Buffers;
    /// The vertices at rest of a deformed element that has been in a scene; used by the scene only.
    std::shared_ptr<DeformedShape> mp_Shape;

private:
    class Ordering;

    void computeBoxes();
    void compareNormals();

    Geometry::Kind m_Kind;
    std::vector<Vertex> m_Vertices;
    std::vector<float> m_Uv[2];
    std::vector<float> m_Tangents;
    std::vector<std::uint32_t> m_Indices;
    std::vector<Chunk> m_Chunks;
    Box m_Box;
    std::array<double, 3> m_Origin;
    std::unique_ptr<const Deformation> mp_Deformation;
    std::vector<float> m_MorphWeights;
    std::shared_ptr<const Material> mp_Material;
    std::shared_ptr<const Material> mp_FileMaterial; ///< kept while `m_Color` replaces it
    std::optional<QColor> m_Color;
    bool m_HasColors = false;
    bool m_NormalsFollowWinding = true;
    float m_Opacity = 1;
    mutable std::mutex m_SolidityMutex; ///< held while the surface is examined
    mutable std::atomic<Solidity> m_Solidity{Solidity::Unknown};
    mutable std::vector<bool> m_TwoSidedChunks; ///< written before `m_Solidity`
    unsigned int m_Revision = 0;
};

} // namespace tov::scene
