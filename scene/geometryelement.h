#pragma once

#include "scene/sceneelement.h"

#include <QColor>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace tov::scene {

/// An axis-aligned box; empty while `low` is above `high`.
struct Box
{
    std::array<float, 3> low = {1e30f, 1e30f, 1e30f};
    std::array<float, 3> high = {-1e30f, -1e30f, -1e30f};

    bool isEmpty() const { return low[0] > high[0]; }
    void add(const float* point)
    {
        for (int i = 0; i < 3; ++i) {
            low[i] = point[i] < low[i] ? point[i] : low[i];
            high[i] = point[i] > high[i] ? point[i] : high[i];
        }
    }
};

/// What a reader hands over: plain arrays.
struct Geometry
{
    /// What the indices mean: three, two or one a primitive.
    enum class Kind
    {
        Surfaces = 3,
        Lines = 2,
        Points = 1,
    };
    Kind kind = Kind::Surfaces;
    std::vector<float> positions;       ///< x, y, z a vertex; finite
    std::vector<float> normals;         ///< x, y, z a vertex, or empty: then surfaces get smooth ones
    std::vector<std::uint8_t> colors;   ///< red, green, blue, alpha a vertex, or empty: then `color` holds
    std::vector<std::uint32_t> indices; ///< below the number of vertices
    QColor color = QColor(200, 200, 205);
};

enum class Winding;

/// An element with surfaces, lines or points. The data is put into drawing order once, when it is made: primitives
/// along a space-filling curve, vertices in order of first use, in chunks that are culled by their boxes.
class TOV_EXPORT GeometryElement : public SceneElement
{
public:
    /// Primitives of one chunk: small enough to cull well, large enough to draw in one go.
    static constexpr std::size_t ChunkPrimitives = 1024;

    struct Chunk
    {
        std::size_t firstIndex;
        std::size_t indexCount;
        Box box;
    };
    struct Vertex
    {
        float position[3];
        float normal[3];
        std::uint8_t color[4];
    };

    /// Takes the data over. Counts must fit each other. Thread: any.
    GeometryElement(const QString& name, Geometry geometry);
    /// Leaves the OpenGL buffers to be freed by the next drawing. Thread: any.
    ~GeometryElement() override;

    Geometry::Kind getKind() const { return m_Kind; }
    const std::vector<Vertex>& getVertices() const { return m_Vertices; }
    const std::vector<std::uint32_t>& getIndices() const { return m_Indices; }
    const std::vector<Chunk>& getChunks() const { return m_Chunks; }
    const Box& getBox() const { return m_Box; }
    /// How the triangles turn; see closedsurface.h.
    Winding getWinding() const { return m_Winding; }
    /// True when any vertex is not opaque.
    bool isTransparent() const { return m_Transparent; }

    /// The drawer's buffers for this element; its own matter.
    struct Buffers;
    std::unique_ptr<Buffers> mp_Buffers;

private:
    void order(const Geometry& geometry);

    Geometry::Kind m_Kind;
    std::vector<Vertex> m_Vertices;
    std::vector<std::uint32_t> m_Indices;
    std::vector<Chunk> m_Chunks;
    Box m_Box;
    Winding m_Winding{};
    bool m_Transparent = false;
};

} // namespace tov::scene
