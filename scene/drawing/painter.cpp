#include "scene/drawing/painter.h"

#include "scene/drawing/drawbuffers.h"
#include "scene/drawing/sharedobjects.h"
#include "scene/sceneview.h"

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>

namespace tov::scene {

using tov::math::Matrix4;

namespace {

typedef GeometryElement::Vertex Vertex;

/// Distance of the uniform blocks: at least the block alignment that any driver requires.
constexpr std::size_t BlockAlignment = 256;
constexpr std::size_t aligned(std::size_t bytes)
{
    return (bytes + BlockAlignment - 1) / BlockAlignment * BlockAlignment;
}
constexpr std::size_t FrameBytes = aligned(sizeof(FrameBlock));
constexpr std::size_t PartBytes = aligned(sizeof(PartBlock));

/// Surfaces with fewer triangles are drawn from both sides: examining them would not pay.
constexpr std::size_t LeastSolidTriangles = 2000;

/// A part that is drawn as points has at least this many, if it has as many vertices.
constexpr std::size_t LeastSketchPoints = 500;

QOpenGLExtraFunctions* functions()
{
    return QOpenGLContext::currentContext()->extraFunctions();
}

const void* offset(std::size_t bytes)
{
    return reinterpret_cast<const void*>(bytes);
}

template <std::size_t Columns, std::size_t Rows>
void copyColumns(const Matrix4& from, float (&to)[Columns][Rows])
{
    for (unsigned int c = 0; c < Columns; ++c)
        for (unsigned int r = 0; r < Rows; ++r)
            to[c][r] = float(from(r, c));
}

/// A number of a material, which files may set to any value.
float limited(float value, float low, float high, float otherwise)
{
    return std::isfinite(value) ? std::clamp(value, low, high) : otherwise;
}

/// For normals: the cofactors of the upper left 3 x 3 values, which is the transposed inverse times the determinant.
/// Negated if the matrix mirrors, so that normals stay on their side of the surface.
Matrix4 normalMatrix(const Matrix4& m)
{
    Matrix4 result = Matrix4::identity();
    const double sign = tov::math::volumeScaleOf(m) < 0 ? -1 : 1;
    double largest = 0;
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c) {
            const unsigned int r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
            result(r, c) = sign * (m(r1, c1) * m(r2, c2) - m(r1, c2) * m(r2, c1));
            largest = std::max(largest, std::fabs(result(r, c)));
        }
    for (unsigned int r = 0; r < 3 && largest > 0; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            result(r, c) /= largest;
    return result;
}

void putClipPlane(const ClipPlane& clip, const Matrix4& toScene, PartBlock& block)
{
    // The depth on the visible side is linear, so its values along the axes are the plane.
    const auto depthAt = [&](double x, double y, double z) { return clip.visibleDepth(transformed(toScene, x, y, z)); };
    const double atOrigin = depthAt(0, 0, 0);
    for (std::size_t axis = 0; axis < 3; ++axis)
        block.clipPlane[axis] = float(depthAt(axis == 0, axis == 1, axis == 2) - atOrigin);
    block.clipPlane[3] = float(atOrigin);
}

/// In the order of `texturesOf`.
constexpr unsigned int TextureFeatures[5] = {ShaderBaseTexture, ShaderSurfaceTexture, ShaderNormalTexture,
                                             ShaderOcclusionTexture, ShaderEmissiveTexture};

bool areAlike(const Texture& a, const Texture& b)
{
    return a.uvSet == b.uvSet && a.transform == b.transform;
}

std::shared_ptr<const Material> plainMaterial(const QColor& color, bool isUnlit)
{
    auto material = std::make_shared<Material>(*makeMaterial(color));
    material->unlit = isUnlit;
    return material;
}

int marginOf(const View& view, const SceneLook& look)
{
    const double widest = std::max(look.pointSize, look.lineWidth) * view.pictureHeight;
    return int(std::ceil(std::clamp(widest, 1.0, 4096.0) / 2)) + 2;
}

} // namespace

UniformBuffer::~UniformBuffer()
{
    GeometryElement::Buffers::abandon(group, name);
}

void UniformBuffer::upload(const std::vector<std::byte>& bytes)
{
    auto* context = QOpenGLContext::currentContext();
    if (name == 0 || group != context->shareGroup()) {
        GeometryElement::Buffers::abandon(group, name);
        group = context->shareGroup();
        functions()->glGenBuffers(1, &name);
    }
    functions()->glBindBuffer(GL_UNIFORM_BUFFER, name);
    functions()->glBufferData(GL_UNIFORM_BUFFER, GLsizeiptr(bytes.size()), bytes.data(), GL_STREAM_DRAW);
}

Painter::Painter(const View& view, const SceneLook& look, bool isMultisampled, double lineOffset)
    : m_View(view), m_Look(look), m_IsMultisampled(isMultisampled), m_LineOffset(lineOffset),
      m_Margin(marginOf(view, look)), m_WideClip(view.clipWithMargin(m_Margin)),
      m_EdgeMaterial(plainMaterial(look.edgeColor, true))
{
    // Created once, because computing the studio takes some time.
    const bool isPhysical = look.light != SceneLook::Light::None && look.light != SceneLook::Light::Headlight;
    if (isPhysical)
        m_Environment =
            look.light == SceneLook::Light::Environment && look.environment ? look.environment : Environment::studio();
    if (look.color)
        m_OneMaterial = plainMaterial(*look.color, false);
}

void Painter::sketch(std::size_t vertexStep, double pixels)
{
    m_SketchStep = std::max<std::size_t>(1, vertexStep);
    m_SketchPixels = pixels;
}

void Painter::add(const DrawItem& item)
{
    const auto& element = *item.element;
    // Numbered before culling, so that every tile draws in the same order.
    m_MaterialNumbers.try_emplace(element.getMaterial().get(), m_MaterialNumbers.size());
    const bool isSurface = element.getKind() == Geometry::Kind::Surfaces;
    const Frustum frustum((isSurface && m_Look.show == SceneLook::Show::Surface ? m_View.clip : m_WideClip) *
                          item.toScene);
    if (element.getIndices().empty() || !frustum.mayShow(element.getBox()))
        return;
    m_Items.push_back(item);
    const std::size_t number = m_Items.size() - 1;
    if (isSurface) {
        m_SketchStep > 1 ? addSketch(number) : addSurface(number);
        return;
    }
    Call call = makeCall(number, Content::Primitives, m_OneMaterial ? *m_OneMaterial : *element.getMaterial());
    if (call.isBlended)
        call.depth = m_View.depthRange(element.getBox(), item.toScene)[1];
    m_Calls.push_back(call);
}

void Painter::addSurface(std::size_t item)
{
    const auto& element = *m_Items[item].element;
    const Material& material = m_OneMaterial ? *m_OneMaterial : *element.getMaterial();
    const bool isFilled = m_Look.show == SceneLook::Show::Surface || m_Look.show == SceneLook::Show::SurfaceWithEdges;
    if (isFilled) {
        Call call = makeCall(item, Content::Primitives, material);
        if (call.isBlended)
            addBlended(call, m_Items[item]);
        else
            addOpaque(call);
    } else {
        const bool isPoints = m_Look.show == SceneLook::Show::Points;
        Call call = makeCall(item, isPoints ? Content::Vertices : Content::Outlines, material);
        call.isBlended = false;
        m_Calls.push_back(call);
    }
    if (m_Look.show == SceneLook::Show::SurfaceWithEdges)
        m_Calls.push_back(makeCall(item, Content::Outlines, *m_EdgeMaterial));
    if (m_Look.hasFeatureEdges)
        m_Calls.push_back(makeCall(item, Content::Features, *m_EdgeMaterial));
}

void Painter::addSketch(std::size_t item)
{
    const auto& element = *m_Items[item].element;
    Call call = makeCall(item, Content::Vertices, m_OneMaterial ? *m_OneMaterial : *element.getMaterial());
    call.isBlended = false;
    call.features &= ~unsigned(ShaderRoundPoints | ShaderCoverage);
    // Small parts are not thinned out.
    call.vertexStep = std::clamp<std::size_t>(element.getVertices().size() / LeastSketchPoints, 1, m_SketchStep);
    m_Calls.push_back(call);
}

/// Solid bodies are drawn by their outer sides, unless the near plane or the clip plane cuts them open.
void Painter::addOpaque(Call call)
{
    const auto& element = *call.element;
    const bool isSolid = call.sides == Sides::Both && !m_Look.clip &&
                         call.material->alphaMode == Material::AlphaMode::Opaque &&
                         element.getIndices().size() / 3 >= LeastSolidTriangles &&
                         m_View.isBeyondNearPlane(element.getBox(), m_Items[call.item].toScene);
    if (isSolid && m_ExaminesSolidity)
        element.examineSolidity();
    const auto solidity = isSolid ? element.getSolidity() : GeometryElement::Solidity::None;
    if (solidity == GeometryElement::Solidity::Outward || solidity == GeometryElement::Solidity::Inward) {
        Call twoSided = call;
        twoSided.chunks = Chunks::TwoSided;
        m_Calls.push_back(twoSided);
        call.chunks = Chunks::OneSided;
        call.sides = solidity == GeometryElement::Solidity::Outward ? Sides::Front : Sides::Back;
    }
    m_Calls.push_back(call);
}

/// Far sides are sorted by the farthest corner, near sides by the nearest, so that glass within glass is drawn in
/// between.
void Painter::addBlended(Call call, const DrawItem& item)
{
    const auto [nearest, farthest] = m_View.depthRange(item.element->getBox(), item.toScene);
    if (call.sides == Sides::Both) {
        call.sides = Sides::Back;
        call.depth = farthest;
        m_Calls.push_back(call);
    }
    call.sides = Sides::Front;
    call.depth = nearest;
    m_Calls.push_back(call);
}

Painter::Call Painter::makeCall(std::size_t item, Content content, const Material& material)
{
    const auto& element = *m_Items[item].element;
    const bool isSurface = element.getKind() == Geometry::Kind::Surfaces;
    const bool isLit = isSurface && content != Content::Features && !material.unlit;
    Call call{};
    call.element = &element;
    call.material = &material;
    call.materialNumber = m_MaterialNumbers.at(element.getMaterial().get());
    call.content = content;
    call.item = item;
    call.part = m_Parts.size();
    call.vertexStep = 1;
    call.isMirrored = tov::math::volumeScaleOf(m_View.eye * m_Items[item].toScene) < 0;
    const bool isEdge = &material == m_EdgeMaterial.get();
    call.isBlended = !isEdge && (element.getOpacity() < 1 || material.alphaMode == Material::AlphaMode::Blend ||
                                 (material.transmission > 0 && !material.unlit));
    call.sides = isSurface && content == Content::Primitives && !isTwoSided(material) ? Sides::Front : Sides::Both;
    call.chunks = Chunks::All;
    call.features = featuresOf(element, material, isLit);
    const bool isPoints =
        content == Content::Vertices || (content == Content::Primitives && element.getKind() == Geometry::Kind::Points);
    if (isPoints)
        call.features |= ShaderRoundPoints;
    if (m_IsMultisampled && !call.isBlended && (call.features & (ShaderRoundPoints | ShaderMask)))
        call.features |= ShaderCoverage;
    m_Parts.push_back(partBlock(m_Items[item], material, isWide(call)));
    return call;
}

bool Painter::isTwoSided(const Material& material) const
{
    // Where a surface is cut open, its inside is seen.
    return material.doubleSided || m_Look.clip;
}

bool Painter::isWide(const Call& call) const
{
    return call.content != Content::Primitives || call.element->getKind() != Geometry::Kind::Surfaces;
}

unsigned int Painter::featuresOf(const GeometryElement& element, const Material& material, bool isLit) const
{
    unsigned int features = 0;
    const auto set = [&features](ShaderFeature feature, bool isOn) { features |= isOn ? unsigned(feature) : 0u; };
    set(ShaderVertexColors, element.hasVertexColors() && !m_OneMaterial && &material != m_EdgeMaterial.get());
    const bool isShaded = isLit && m_Look.light != SceneLook::Light::None;
    const bool isPhysical = isShaded && m_Look.light != SceneLook::Light::Headlight;
    set(ShaderLit, isPhysical);
    set(ShaderHeadlight, isShaded && !isPhysical);
    set(ShaderClip, m_Look.clip.has_value());
    set(ShaderMask, material.alphaMode == Material::AlphaMode::Mask);
    set(ShaderAlpha, material.alphaMode == Material::AlphaMode::Blend);
    set(ShaderFlat, isShaded && m_Look.isFlat);
    if (isPhysical) {
        set(ShaderCoat, material.clearcoat > 0);
        set(ShaderTransmission, material.transmission > 0);
        set(ShaderTwoSided, isTwoSided(material));
        // Inaccurate for slivers, so used only if the winding is unreliable.
        set(ShaderSeenSide, isTwoSided(material) && !element.doNormalsFollowWinding());
        set(ShaderTurned, m_Look.light == SceneLook::Light::Environment);
        set(ShaderParallel, m_View.isParallel);
        set(ShaderTangents, material.normalTexture && !element.getTangents().empty());
    }
    const unsigned int useful = isPhysical ? ~0u
                                : isShaded ? ShaderBaseTexture | ShaderEmissiveTexture
                                           : ShaderBaseTexture;
    const auto textures = texturesOf(material);
    const bool hasUvs = !element.getTextureCoordinates(0).empty() || !element.getTextureCoordinates(1).empty();
    for (std::size_t i = 0; i < textures.size() && hasUvs; ++i) {
        if (!*textures[i] || !(TextureFeatures[i] & useful) ||
            shared::texture(textures[i]->image, i == 0 || i == 4) == 0)
            continue;
        features |= TextureFeatures[i];
        // Only one transform is applied to the vertices: that of the base colour.
        if (!areAlike(*textures[0], *textures[i]))
            features |= ShaderSeveralUvs;
    }
    if (!(features & ShaderNormalTexture))
        features &= ~unsigned(ShaderTangents);
    return features;
}

PartBlock Painter::partBlock(const DrawItem& item, const Material& material, bool isWide) const
{
    PartBlock block{};
    const Matrix4 eye = m_View.eye * item.toScene;
    copyColumns((isWide ? m_WideClip : m_View.clip) * item.toScene, block.clip);
    copyColumns(eye, block.eye);
    copyColumns(normalMatrix(eye), block.normal);
    for (std::size_t c = 0; c < 4; ++c)
        block.baseColor[c] = limited(material.baseColor[c], 0, 1000, 1);
    const bool isAlphaUsed = material.alphaMode != Material::AlphaMode::Opaque;
    block.baseColor[3] = isAlphaUsed ? std::min(block.baseColor[3], 1.0f) : 1.0f;
    if (material.alphaMode != Material::AlphaMode::Mask)
        block.baseColor[3] *= item.element->getOpacity();
    for (std::size_t c = 0; c < 3; ++c)
        block.emissive[c] = limited(material.emissive[c], 0, 10000, 0);
    block.emissive[3] = limited(material.occlusionStrength, 0, 1, 1);
    block.surface[0] = limited(material.metallic, 0, 1, 0);
    block.surface[1] = std::max(0.045f, limited(material.roughness, 0, 1, 1));
    block.surface[2] = limited(material.normalScale, -100, 100, 1);
    block.surface[3] = limited(material.alphaCutoff, 0, 2, 0.5f);
    block.coat[0] = limited(material.clearcoat, 0, 1, 0);
    block.coat[1] = std::max(0.045f, limited(material.clearcoatRoughness, 0, 1, 0));
    const float ior = limited(material.indexOfRefraction, 1, 4, 1.5f);
    block.coat[2] = (ior - 1) / (ior + 1) * (ior - 1) / (ior + 1);
    block.coat[3] = limited(material.transmission, 0, 1, 0);
    const auto textures = texturesOf(material);
    for (std::size_t i = 0; i < textures.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const auto& m = textures[i]->transform;
            block.uv[2 * i][k] = limited(m[k], -1e6f, 1e6f, k == 0);
            block.uv[2 * i + 1][k] = limited(m[3 + k], -1e6f, 1e6f, k == 1);
            block.uv[2 * i][3] = textures[i]->uvSet == 1;
        }
    if (m_Look.clip)
        putClipPlane(*m_Look.clip, item.toScene, block);
    return block;
}

FrameBlock Painter::frameBlock() const
{
    FrameBlock block{};
    Matrix4 turn = Matrix4::identity();
    if (m_Look.light == SceneLook::Light::Environment) {
        for (unsigned int r = 0; r < 3; ++r)
            for (unsigned int c = 0; c < 3; ++c)
                turn(r, c) = m_View.eye(c, r);
    }
    if (m_Environment) {
        const auto form = irradianceForm(*m_Environment, turn);
        for (std::size_t i = 0; i < form.size(); ++i)
            std::copy(form[i].begin(), form[i].end(), block.irradiance[i]);
    }
    for (unsigned int c = 0; c < 3; ++c)
        for (unsigned int r = 0; r < 3; ++r)
            block.environment[c][r] = float(turn(r, c));
    block.light[0] = float(m_Look.exposure);
    return block;
}

void Painter::uploadBlocks(UniformBuffer& uniforms) const
{
    std::vector<std::byte> bytes(FrameBytes + PartBytes * m_Parts.size());
    const FrameBlock frame = frameBlock();
    std::memcpy(bytes.data(), &frame, sizeof frame);
    for (std::size_t i = 0; i < m_Parts.size(); ++i)
        std::memcpy(&bytes[FrameBytes + PartBytes * i], &m_Parts[i], sizeof m_Parts[i]);
    uniforms.upload(bytes);
    functions()->glBindBufferRange(GL_UNIFORM_BUFFER, 0, uniforms.name, 0, GLsizeiptr(sizeof(FrameBlock)));
}

void Painter::draw(UniformBuffer& uniforms)
{
    if (m_Calls.empty())
        return;
    std::stable_sort(m_Calls.begin(), m_Calls.end(), [](const Call& a, const Call& b) {
        if (a.isBlended != b.isBlended)
            return b.isBlended;
        if (a.isBlended)
            return a.depth > b.depth;
        return std::tie(a.features, a.materialNumber) < std::tie(b.features, b.materialNumber);
    });
    uploadBlocks(uniforms);
    auto* gl = functions();
    if (m_Environment) {
        gl->glActiveTexture(GL_TEXTURE0 + UnitEnvironment);
        gl->glBindTexture(GL_TEXTURE_3D, shared::environmentTexture(m_Environment));
        gl->glBindSampler(UnitEnvironment, 0);
    }
    gl->glDisable(GL_CULL_FACE);
    m_Look.clip ? gl->glEnable(GL_CLIP_PLANE0) : gl->glDisable(GL_CLIP_PLANE0);
    for (const Call& call : m_Calls) {
        gl->glBindBufferRange(GL_UNIFORM_BUFFER, 1, uniforms.name, GLintptr(FrameBytes + PartBytes * call.part),
                              GLsizeiptr(sizeof(PartBlock)));
        make(call);
    }
    gl->glDisable(GL_CLIP_PLANE0);
    gl->glUseProgram(0);
}

void Painter::make(const Call& call)
{
    prepare(call);
    std::size_t edgeIndexCount = 0;
    if (m_Program == 0 || !bindVertices(call, edgeIndexCount))
        return;
    const bool isLine = call.element->getKind() == Geometry::Kind::Lines && m_LineOffset > 0;
    glDepthRange(0.0, isLine ? 1.0 - m_LineOffset : 1.0);
    if (call.content == Content::Features)
        functions()->glDrawElements(GL_LINES, GLsizei(edgeIndexCount), GL_UNSIGNED_INT, nullptr);
    else
        drawChunks(call);
}

void Painter::prepare(const Call& call)
{
    m_Program = shared::program(call.features);
    functions()->glUseProgram(m_Program);
    setSides(call);
    setBlending(call);
    setWidth(call);
    if (mp_BoundMaterial != call.material || m_BoundFeatures != call.features)
        bindTextures(call);
    mp_BoundMaterial = call.material;
    m_BoundFeatures = call.features;
}

void Painter::setSides(const Call& call) const
{
    auto* gl = functions();
    gl->glFrontFace(call.isMirrored ? GL_CW : GL_CCW);
    if (call.sides == Sides::Both) {
        gl->glDisable(GL_CULL_FACE);
        return;
    }
    gl->glEnable(GL_CULL_FACE);
    gl->glCullFace(call.sides == Sides::Front ? GL_BACK : GL_FRONT);
}

void Painter::setBlending(const Call& call) const
{
    auto* gl = functions();
    const auto enable = [gl](GLenum what, bool isEnabled) { isEnabled ? gl->glEnable(what) : gl->glDisable(what); };
    enable(GL_BLEND, call.isBlended);
    // A translucent surface over a solid one stays opaque.
    gl->glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    gl->glDepthMask(!call.isBlended);
    enable(GL_SAMPLE_ALPHA_TO_COVERAGE, call.features & ShaderCoverage);
    enable(GL_SAMPLE_ALPHA_TO_ONE, call.features & ShaderCoverage);
}

void Painter::setWidth(const Call& call) const
{
    auto* gl = functions();
    const int* v = m_View.viewport;
    const int margin = isWide(call) ? m_Margin : 0;
    gl->glViewport(v[0] - margin, v[1] - margin, v[2] + 2 * margin, v[3] + 2 * margin);
    glPolygonMode(GL_FRONT_AND_BACK, call.content == Content::Outlines ? GL_LINE : GL_FILL);
    glLineWidth(float(std::max(1.0, m_Look.lineWidth * m_View.pictureHeight)));
    const bool isSketch = m_SketchStep > 1 && call.content == Content::Vertices;
    glPointSize(float(std::max(1.0, isSketch ? m_SketchPixels : m_Look.pointSize * m_View.pictureHeight)));
    gl->glEnable(GL_POINT_SPRITE);
    // Surfaces are moved back behind the edges that are drawn on them.
    const bool isBehind = !isWide(call) && (m_Look.hasFeatureEdges || m_Look.show == SceneLook::Show::SurfaceWithEdges);
    isBehind ? gl->glEnable(GL_POLYGON_OFFSET_FILL) : gl->glDisable(GL_POLYGON_OFFSET_FILL);
    gl->glPolygonOffset(1, 1);
}

void Painter::bindTextures(const Call& call)
{
    auto* gl = functions();
    const auto textures = texturesOf(*call.material);
    for (unsigned int i = 0; i < textures.size(); ++i) {
        if (!(call.features & TextureFeatures[i]))
            continue;
        const unsigned int name = shared::texture(textures[i]->image, i == 0 || i == 4);
        const unsigned int sampler = shared::sampler(*textures[i]);
        gl->glActiveTexture(GL_TEXTURE0 + UnitBase + i);
        gl->glBindTexture(GL_TEXTURE_2D, name);
        gl->glBindSampler(UnitBase + i, sampler);
    }
}

bool Painter::bindVertices(const Call& call, std::size_t& edgeIndexCount) const
{
    auto* gl = functions();
    const auto buffers = GeometryElement::Buffers::obtain(*call.element, call.content == Content::Features);
    if (buffers.vertices == 0)
        return false;
    edgeIndexCount = buffers.edgeIndexCount;
    const auto bind = [gl, &call](unsigned int attribute, unsigned int buffer, int size, GLenum type,
                                  std::size_t stride, std::size_t from) {
        if (buffer == 0) {
            gl->glDisableVertexAttribArray(attribute);
            return;
        }
        gl->glBindBuffer(GL_ARRAY_BUFFER, buffer);
        gl->glVertexAttribPointer(attribute, size, type, type == GL_UNSIGNED_SHORT, GLsizei(stride * call.vertexStep),
                                  offset(from));
        gl->glEnableVertexAttribArray(attribute);
    };
    const bool isLit = call.features & (ShaderLit | ShaderHeadlight);
    const bool hasColors = call.features & ShaderVertexColors;
    const bool hasUvs = call.features & (ShaderBaseTexture | ShaderSurfaceTexture | ShaderNormalTexture |
                                         ShaderOcclusionTexture | ShaderEmissiveTexture);
    // If the mesh lacks a set, the other one is used.
    const unsigned int uv0 = buffers.uv[0] != 0 ? buffers.uv[0] : buffers.uv[1];
    const unsigned int uv1 = buffers.uv[1] != 0 ? buffers.uv[1] : buffers.uv[0];
    bind(AttributePosition, buffers.vertices, 3, GL_FLOAT, sizeof(Vertex), offsetof(Vertex, position));
    bind(AttributeNormal, isLit ? buffers.vertices : 0, 3, GL_FLOAT, sizeof(Vertex), offsetof(Vertex, normal));
    bind(AttributeColor, hasColors ? buffers.vertices : 0, 4, GL_UNSIGNED_SHORT, sizeof(Vertex),
         offsetof(Vertex, color));
    bind(AttributeUv0, hasUvs ? uv0 : 0, 2, GL_FLOAT, 2 * sizeof(float), 0);
    bind(AttributeUv1, hasUvs ? uv1 : 0, 2, GL_FLOAT, 2 * sizeof(float), 0);
    bind(AttributeTangent, call.features & ShaderTangents ? buffers.tangents : 0, 4, GL_FLOAT, 4 * sizeof(float), 0);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, call.content == Content::Features ? buffers.edges : buffers.indices);
    return true;
}

/// Every `step`-th vertex of a range is a point.
void Painter::drawVertices(std::size_t first, std::size_t count, std::size_t step)
{
    const std::size_t begin = (first + step - 1) / step, end = (first + count + step - 1) / step;
    if (begin < end)
        functions()->glDrawArrays(GL_POINTS, GLint(begin), GLsizei(end - begin));
}

bool Painter::isWanted(const Call& call, const Frustum& frustum, std::size_t chunk) const
{
    if (!frustum.mayShow(call.element->getChunks()[chunk].box))
        return false;
    return call.chunks == Chunks::All || call.element->getTwoSidedChunks()[chunk] == (call.chunks == Chunks::TwoSided);
}

/// Neighbouring chunks that are wanted go into one call.
void Painter::drawChunks(const Call& call) const
{
    auto* gl = functions();
    const Geometry::Kind kind = call.element->getKind();
    const GLenum mode = kind == Geometry::Kind::Surfaces ? GL_TRIANGLES
                        : kind == Geometry::Kind::Lines  ? GL_LINES
                                                         : GL_POINTS;
    const Frustum frustum((isWide(call) ? m_WideClip : m_View.clip) * m_Items[call.item].toScene);
    const auto& chunks = call.element->getChunks();
    for (std::size_t i = 0; i < chunks.size();) {
        if (!isWanted(call, frustum, i)) {
            ++i;
            continue;
        }
        const auto& first = chunks[i];
        std::size_t indices = 0, vertices = 0;
        for (; i < chunks.size() && isWanted(call, frustum, i); ++i) {
            indices += chunks[i].indexCount;
            vertices += chunks[i].vertexCount;
        }
        if (call.content == Content::Vertices)
            drawVertices(first.firstVertex, vertices, call.vertexStep);
        else
            gl->glDrawElements(mode, GLsizei(indices), GL_UNSIGNED_INT,
                               offset(first.firstIndex * sizeof(std::uint32_t)));
    }
}

} // namespace tov::scene
