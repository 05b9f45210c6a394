#pragma once

#include "scene/drawing/scenelook.h"
#include "scene/drawing/shadersource.h"
#include "scene/drawing/view.h"
#include "scene/geometryelement.h"

#include <QOpenGLContext>
#include <QPointer>

#include <cstddef>
#include <map>
#include <vector>

namespace tov::scene {

/// An element that may be seen, and where it is.
struct DrawItem
{
    const GeometryElement* element;
    tov::math::Matrix4 toScene; ///< from the element's vertices
};

/// A buffer for the uniform blocks of one drawer. Its name is left to `Buffers::collect` at the end.
struct UniformBuffer
{
    QPointer<QOpenGLContextGroup> group;
    unsigned int name = 0;

    UniformBuffer() = default;
    UniformBuffer(const UniformBuffer&) = delete;
    UniformBuffer& operator=(const UniformBuffer&) = delete;
    ~UniformBuffer();
    /// Fills the buffer and leaves it bound. Thread: the current context's.
    void upload(const std::vector<std::byte>& bytes);
};

/// Draws elements with shaders: first plans all calls of OpenGL, then sorts them, then makes them. Solids come first,
/// sorted by program and material; transparent parts follow from back to front, the far sides of each part before its
/// near sides. Changes OpenGL state freely. Thread: the current context's.
class Painter
{
public:
    /// `isMultisampled`: the framebuffer has samples. `lineOffset`: share of the depth range by which lines come
    /// nearer.
    Painter(const View& view, const SceneLook& look, bool isMultisampled, double lineOffset);

    /// From now on surfaces are added as points, one for each `vertexStep` vertices, `pixels` wide: a quick sketch.
    void sketch(std::size_t vertexStep, double pixels);
    /// From now on large surfaces whose solidity is unknown are examined when they are added.
    void examineSolidity() { m_ExaminesSolidity = true; }

    /// Adds an element, which must outlive `draw`.
    void add(const DrawItem& item);
    /// Draws everything that was added; `uniforms` holds the numbers of all calls.
    void draw(UniformBuffer& uniforms);

private:
    enum class Content
    {
        Primitives, ///< surfaces, lines or points, as the element has them
        Outlines,   ///< the edges of all triangles
        Vertices,   ///< a point for each vertex
        Features,   ///< the feature edges
    };
    enum class Sides
    {
        Both,
        Front,
        Back,
    };
    enum class Chunks
    {
        All,
        OneSided, ///< those of a solid surface that show one side only
        TwoSided, ///< the others
    };
    struct Call
    {
        const GeometryElement* element;
        const Material* material;
        std::size_t materialNumber;
        Content content;
        Sides sides;
        Chunks chunks;
        unsigned int features;
        std::size_t part;       ///< number of its block
        std::size_t vertexStep; ///< of `Content::Vertices`: vertices per point
        std::size_t item;
        bool isMirrored;
        bool isBlended;
        double depth; ///< of blended parts: farther ones come first
    };

    void addSurface(std::size_t item);
    void addSketch(std::size_t item);
    void addOpaque(Call call);
    void addBlended(Call call, const DrawItem& item);
    Call makeCall(std::size_t item, Content content, const Material& material);
    bool isWide(const Call& call) const;
    bool isTwoSided(const Material& material) const;
    unsigned int featuresOf(const GeometryElement& element, const Material& material, bool isLit) const;
    PartBlock partBlock(const DrawItem& item, const Material& material, bool isWide) const;
    FrameBlock frameBlock() const;
    void prepare(const Call& call);
    void setSides(const Call& call) const;
    void setBlending(const Call& call) const;
    void setWidth(const Call& call) const;
    void bindTextures(const Call& call);
    bool bindVertices(const Call& call, std::size_t& edgeIndexCount) const;
    bool isWanted(const Call& call, const Frustum& frustum, std::size_t chunk) const;
    void drawChunks(const Call& call) const;
    static void drawVertices(std::size_t first, std::size_t count, std::size_t step);
    void make(const Call& call);
    void uploadBlocks(UniformBuffer& uniforms) const;

    const View& m_View;
    const SceneLook& m_Look;
    const bool m_IsMultisampled;
    const double m_LineOffset;
    const int m_Margin; ///< pixels that points and lines extend from their centre
    const tov::math::Matrix4 m_WideClip;
    std::shared_ptr<const Environment> m_Environment; ///< null: no environment light
    std::shared_ptr<const Material> m_OneMaterial;    ///< replaces all others; null: none
    std::shared_ptr<const Material> m_EdgeMaterial;   ///< of outlines and feature edges
    /// Materials by first appearance. Surfaces in the same place are decided by the order of drawing, which must not
    /// depend on addresses.
    std::map<const Material*, std::size_t> m_MaterialNumbers;
    std::vector<DrawItem> m_Items;
    std::vector<Call> m_Calls;
    std::vector<PartBlock> m_Parts;
    std::size_t m_SketchStep = 1; ///< 1: surfaces are not sketched
    double m_SketchPixels = 0;
    bool m_ExaminesSolidity = false;
    unsigned int m_Program = 0;
    const Material* mp_BoundMaterial = nullptr;
    unsigned int m_BoundFeatures = 0;
};

} // namespace tov::scene
