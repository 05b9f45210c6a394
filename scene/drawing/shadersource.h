#pragma once

#include <QByteArray>

namespace tov::scene {

/// Features of a shader program; each combination in use is a program of its own, so that nothing unnecessary is
/// computed.
enum ShaderFeature : unsigned int
{
    ShaderLit = 1u << 0,          ///< lit by the environment and the key light; else see `ShaderHeadlight`
    ShaderHeadlight = 1u << 1,    ///< lit by one light at the camera; otherwise the plain base colour
    ShaderVertexColors = 1u << 2, ///< vertex colours that are not all white
    ShaderBaseTexture = 1u << 3,
    ShaderSurfaceTexture = 1u << 4, ///< metallic and roughness
    ShaderNormalTexture = 1u << 5,
    ShaderOcclusionTexture = 1u << 6,
    ShaderEmissiveTexture = 1u << 7,
    ShaderTangents = 1u << 8,   ///< tangents of the mesh's own; else derived
    ShaderSeveralUvs = 1u << 9, ///< textures differ in UV set or transform
    ShaderMask = 1u << 10,
    ShaderCoat = 1u << 11,
    ShaderTransmission = 1u << 12,
    ShaderFlat = 1u << 13,     ///< the triangle's normal
    ShaderTwoSided = 1u << 14, ///< normals of triangles that are seen from behind are turned
    ShaderTurned = 1u << 15,   ///< the environment is not fixed to the camera
    ShaderRoundPoints = 1u << 16,
    ShaderCoverage = 1u << 17, ///< edges of masks and points become coverage of samples
    ShaderSeenSide = 1u << 18, ///< with `ShaderTwoSided`: by the triangle as it is seen, not by its winding
    ShaderAlpha = 1u << 19,    ///< uses the alpha of texture and vertices
    ShaderClip = 1u << 20,     ///< cut off by a plane
    ShaderParallel = 1u << 21, ///< parallel projection
};

/// Vertex attributes, by location.
enum ShaderAttribute
{
    AttributePosition,
    AttributeNormal,
    AttributeColor,
    AttributeUv0,
    AttributeUv1,
    AttributeTangent,
    AttributeCount
};

/// Texture units.
enum ShaderUnit
{
    UnitEnvironment,
    UnitBase,
    UnitSurface,
    UnitNormal,
    UnitOcclusion,
    UnitEmissive,
    UnitCount
};

/// The uniform block "Frame", in the layout std140: values common to everything that one call draws.
struct FrameBlock
{
    float irradiance[10][4]; ///< see `irradianceForm`; of a turned environment only
    float environment[3][4]; ///< columns of the rotation from eye axes to those of the environment
    float light[4];          ///< x: exposure
};

/// The uniform block "Part", in the layout std140: values of one element.
struct PartBlock
{
    float clip[4][4];   ///< columns of the matrix from the vertices to clip space
    float eye[4][4];    ///< columns of the matrix to eye space, without the lens
    float normal[3][4]; ///< columns of the matrix for normals to eye space
    float baseColor[4];
    float emissive[4];  ///< w: strength of the occlusion texture
    float surface[4];   ///< metallic, roughness, scale of the normal map, alpha cutoff
    float coat[4];      ///< clearcoat, its roughness, reflectance of dielectrics, transmission
    float uv[10][4];    ///< per texture: m0, m1, m2, UV set; m3, m4, m5, -
    float clipPlane[4]; ///< in the coordinates of the vertices; below 0 is hidden
};

/// GLSL 1.30 with GL_ARB_uniform_buffer_object: supported by OpenGL 3.0 drivers with a compatibility profile.
QByteArray vertexShader(unsigned int features);
/// The fragment shader that goes with the vertex shader of the same features.
QByteArray fragmentShader(unsigned int features);

} // namespace tov::scene
