#include "scene/drawing/shadersource.h"

#include "scene/drawing/environment.h"

namespace tov::scene {

namespace {

const char* const FeatureNames[] = {"LIT",
                                    "HEADLIGHT",
                                    "VERTEX_COLORS",
                                    "BASE_TEXTURE",
                                    "SURFACE_TEXTURE",
                                    "NORMAL_TEXTURE",
                                    "OCCLUSION_TEXTURE",
                                    "EMISSIVE_TEXTURE",
                                    "TANGENTS",
                                    "SEVERAL_UVS",
                                    "MASK",
                                    "COAT",
                                    "TRANSMISSION",
                                    "FLAT",
                                    "TWO_SIDED",
                                    "TURNED",
                                    "ROUND_POINTS",
                                    "COVERAGE",
                                    "SEEN_SIDE",
                                    "ALPHA",
                                    "CLIP",
                                    "PARALLEL"};

const char Blocks[] = R"(
layout(std140) uniform Frame
{
    vec4 irradiance[10];
    vec4 environmentAxes[3];
    vec4 light;
};
layout(std140) uniform Part
{
    mat4 clipMatrix;
    mat4 eyeMatrix;
    vec4 normalMatrix[3];
    vec4 baseColor;
    vec4 emissive;
    vec4 surface;
    vec4 coat;
    vec4 uvTransform[10];
    vec4 clipPlane;
};
)";

const char Vertex[] = R"(
in vec3 position;
in vec3 normal;
in vec4 color;
in vec2 uv0;
in vec2 uv1;
in vec4 tangent;
#if defined(LIT) || defined(FLAT)
out vec3 eyePosition;
#endif
#if defined(LIT) || defined(HEADLIGHT)
out vec3 eyeNormal;
#endif
#ifdef VERTEX_COLORS
out vec4 tint;
#endif
#ifdef UVS
out vec2 uvA;
#ifdef SEVERAL_UVS
out vec2 uvB;
#endif
#endif
#ifdef TANGENTS
out vec4 eyeTangent;
#endif

void main()
{
    gl_Position = clipMatrix * vec4(position, 1.0);
#ifdef CLIP
    gl_ClipDistance[0] = dot(clipPlane, vec4(position, 1.0));
#endif
#if defined(LIT) || defined(FLAT)
    eyePosition = (eyeMatrix * vec4(position, 1.0)).xyz;
#endif
#if defined(LIT) || defined(HEADLIGHT)
    eyeNormal = normalMatrix[0].xyz * normal.x + normalMatrix[1].xyz * normal.y + normalMatrix[2].xyz * normal.z;
#endif
#ifdef VERTEX_COLORS
    tint = color;
#endif
#ifdef UVS
#ifdef SEVERAL_UVS
    uvA = uv0;
    uvB = uv1;
#else
    vec2 uv = mix(uv0, uv1, uvTransform[0].w);
    uvA = vec2(dot(uvTransform[0].xy, uv) + uvTransform[0].z, dot(uvTransform[1].xy, uv) + uvTransform[1].z);
#endif
#endif
#ifdef TANGENTS
    eyeTangent = vec4(mat3(eyeMatrix) * tangent.xyz, tangent.w);
#endif
}
)";

const char FragmentInputs[] = R"(
#if defined(LIT) || defined(FLAT)
in vec3 eyePosition;
#endif
#if defined(LIT) || defined(HEADLIGHT)
in vec3 eyeNormal;
#endif
#ifdef VERTEX_COLORS
in vec4 tint;
#endif
#ifdef UVS
in vec2 uvA;
#ifdef SEVERAL_UVS
in vec2 uvB;
#endif
#endif
#ifdef TANGENTS
in vec4 eyeTangent;
#endif
uniform sampler3D environmentTable;
uniform sampler2D baseTexture;
uniform sampler2D surfaceTexture;
uniform sampler2D normalTexture;
uniform sampler2D occlusionTexture;
uniform sampler2D emissiveTexture;
out vec4 result;

#ifdef SEVERAL_UVS
vec2 uvOf(int texture)
{
    vec4 u = uvTransform[2 * texture];
    vec4 v = uvTransform[2 * texture + 1];
    vec2 uv = mix(uvA, uvB, u.w);
    return vec2(dot(u.xy, uv) + u.z, dot(v.xy, uv) + v.z);
}
#define UV(texture) uvOf(texture)
#elif defined(UVS)
#define UV(texture) uvA
#endif

// The sRGB transfer function; the error is less than 0.1 of 255.
vec3 encoded(vec3 c)
{
    vec3 root = sqrt(c);
    vec3 curve = 0.833762761 * root + 0.298101094 * sqrt(root) - 0.0553212843 * c - 0.0769022682;
    return mix(curve, 12.92 * c, vec3(lessThan(c, vec3(0.0031308))));
}

// Khronos PBR Neutral Tone Mapper: leaves colours up to 0.8 unchanged.
vec3 toneMapped(vec3 c)
{
    float low = min(c.r, min(c.g, c.b));
    c -= low < 0.08 ? low - 6.25 * low * low : 0.04;
    float peak = max(c.r, max(c.g, c.b));
    const float start = 0.8 - 0.04;
    const float room = 1.0 - start;
    float mapped = 1.0 - room * room / (peak + room - start);
    float gray = 1.0 - 1.0 / (0.15 * (peak - mapped) + 1.0);
    vec3 compressed = mix(c * (mapped / max(peak, 1e-6)), vec3(mapped), gray);
    return peak < start ? c : compressed;
}
)";

const char FragmentLight[] = R"(
// Light from the environment, by direction and roughness.
vec3 reflected(vec3 direction, float roughness)
{
#ifdef TURNED
    direction = environmentAxes[0].xyz * direction.x + environmentAxes[1].xyz * direction.y +
                environmentAxes[2].xyz * direction.z;
#endif
    vec3 size = abs(direction);
    direction *= 1.0 / (size.x + size.y + size.z);
    vec2 folded = (1.0 - abs(direction.yx)) * mix(vec2(-1.0), vec2(1.0), greaterThanEqual(direction.xy, vec2(0.0)));
    vec2 at = direction.z >= 0.0 ? direction.xy : folded;
    return textureLod(environmentTable,
                      vec3(at * (0.5 - 1.0 / EDGE) + 0.5, roughness * (1.0 - 1.0 / LEVELS) + 0.5 / LEVELS), 0.0).rgb;
}

// Irradiance divided by pi.
vec3 irradianceAt(vec3 n)
{
    vec3 squares = n * n;
    vec3 mixed = n * n.yzx;
    return max(IRRADIANCE_0 + IRRADIANCE_1 * n.x + IRRADIANCE_2 * n.y + IRRADIANCE_3 * n.z +
                   IRRADIANCE_4 * squares.x + IRRADIANCE_5 * squares.y + IRRADIANCE_6 * squares.z +
                   IRRADIANCE_7 * mixed.x + IRRADIANCE_8 * mixed.y + IRRADIANCE_9 * mixed.z, 0.0);
}

// Scale and bias that turn normal reflectance into the reflectance of a rough surface under even light (Karis,
// "Physically Based Shading on Mobile", 2014).
vec2 reflectance(float roughness, float cosine)
{
    vec4 r = roughness * vec4(-1.0, -0.0275, -0.572, 0.022) + vec4(1.0, 0.0425, 1.04, -0.04);
    float a = min(r.x * r.x, exp2(-9.28 * cosine)) * r.x + r.y;
    return vec2(-1.04, 1.04) * a + r.zw;
}

// GGX times visibility (Hammon, "PBR Diffuse Lighting for GGX+Smith Microsurfaces", GDC 2017), times pi.
float highlight(float roughness, float cosHalf, float cosLight, float cosView)
{
    float a = roughness * roughness;
    float d = cosHalf * cosHalf * (a * a - 1.0) + 1.0;
    return a * a / (d * d) * 0.5 / max(mix(2.0 * cosLight * cosView, cosLight + cosView, a), 1e-4);
}

vec3 shadingNormal(vec3 toEye)
{
#if defined(FLAT) || defined(SEEN_SIDE) || (defined(NORMAL_TEXTURE) && !defined(TANGENTS))
    vec3 dx = dFdx(eyePosition);
    vec3 dy = dFdy(eyePosition);
#endif
#ifdef FLAT
    vec3 n = normalize(cross(dx, dy));
#else
    vec3 n = normalize(eyeNormal);
#if defined(SEEN_SIDE)
    float side = dot(n, cross(dx, dy)) < 0.0 ? -1.0 : 1.0;
    n *= side;
#elif defined(TWO_SIDED)
    float side = gl_FrontFacing ? 1.0 : -1.0;
    n *= side;
#else
    const float side = 1.0;
#endif
#endif
#if defined(NORMAL_TEXTURE) && !defined(FLAT)
    vec3 bump = texture(normalTexture, UV(2)).xyz * 2.0 - 1.0;
    bump.xy *= surface.z;
#ifdef TANGENTS
    vec3 t = normalize(eyeTangent.xyz);
    vec3 b = cross(n, t) * (eyeTangent.w * side);
    n = normalize(t * bump.x + b * bump.y + n * bump.z);
#else
    // Tangents from derivatives (Schueler, "Normal Mapping Without Precomputed Tangents", ShaderX 5).
    vec2 uvX = dFdx(UV(2));
    vec2 uvY = dFdy(UV(2));
    vec3 across = cross(dy, n);
    vec3 along = cross(n, dx);
    vec3 t = across * uvX.x + along * uvY.x;
    vec3 b = -(across * uvX.y + along * uvY.y);
    float size = max(dot(t, t), dot(b, b));
    float scale = size > 0.0 ? inversesqrt(size) : 0.0;
    n = normalize(t * (scale * bump.x) + b * (scale * bump.y) + n * bump.z);
#endif
#endif
    return n;
}

// Multiple scattering between microfacets as in Fdez-Aguera, "A Multiple-Scattering Microfacet Model for Real-Time
// Image-based Lighting", JCGT 8(1), 2019: a white surface under even white light is white.
vec4 lit(vec4 base)
{
#ifdef PARALLEL
    const vec3 toEye = vec3(0.0, 0.0, 1.0);
#else
    vec3 toEye = normalize(-eyePosition);
#endif
    vec3 n = shadingNormal(toEye);
    float metallic = surface.x;
    float roughness = surface.y;
#ifdef SURFACE_TEXTURE
    vec2 texel = texture(surfaceTexture, UV(1)).gb;
    roughness = clamp(roughness * texel.x, 0.045, 1.0);
    metallic = clamp(metallic * texel.y, 0.0, 1.0);
#endif
    float occlusion = 1.0;
#ifdef OCCLUSION_TEXTURE
    occlusion += emissive.w * (texture(occlusionTexture, UV(3)).r - 1.0);
#endif
    vec3 f0 = mix(vec3(coat.z), base.rgb, metallic);
    vec3 albedo = base.rgb * (1.0 - metallic);
    float cosView = clamp(dot(n, toEye), 1e-3, 1.0);

    vec2 ab = reflectance(roughness, cosView);
    vec3 single = f0 * ab.x + ab.y;
    float lost = 1.0 - ab.x - ab.y;
    vec3 mean = f0 + (1.0 - f0) / 21.0;
    vec3 multiple = single * mean * (lost / (1.0 - mean * lost));
    vec3 diffuse = albedo * (1.0 - single - multiple);
    vec3 around = irradianceAt(n) * occlusion;
    vec3 mirror = single * reflected(reflect(-toEye, n), roughness) * occlusion + multiple * around;
    vec3 inside = diffuse * around;
#ifndef TURNED
    float cosLight = clamp(dot(n, KEY_DIRECTION), 0.0, 1.0);
    vec3 halfway = normalize(KEY_DIRECTION + toEye);
    float cosHalf = clamp(dot(n, halfway), 0.0, 1.0);
    float away = 1.0 - clamp(dot(toEye, halfway), 0.0, 1.0);
    float away2 = away * away;
    vec3 fresnel = f0 + (1.0 - f0) * (away2 * away2 * away);
    float key = KEY_STRENGTH * cosLight;
    mirror += key * fresnel * (highlight(roughness, cosHalf, cosLight, cosView) * (1.0 + lost));
    inside += key * diffuse;
#endif
#ifdef EMISSIVE_TEXTURE
    inside += emissive.rgb * texture(emissiveTexture, UV(4)).rgb;
#else
    inside += emissive.rgb;
#endif
#ifdef COAT
    vec2 coatAb = reflectance(coat.y, cosView);
    float coating = coat.x * (0.04 * coatAb.x + coatAb.y);
    vec3 coatMirror = reflected(reflect(-toEye, n), coat.y) * occlusion;
    mirror = mirror * (1.0 - coating) + coating * coatMirror;
    inside *= 1.0 - coating;
#ifndef TURNED
    mirror += key * coat.x * (0.04 + 0.96 * away2 * away2 * away) * highlight(coat.y, cosHalf, cosLight, cosView);
#endif
#endif
#ifdef TRANSMISSION
    inside *= 1.0 - 0.85 * coat.w;
    base.a *= mix(1.0, clamp(0.12 + max(mirror.r, max(mirror.g, mirror.b)), 0.0, 1.0), coat.w);
#endif
    return vec4(encoded(toneMapped((inside + mirror) * light.x)), base.a);
}
)";

const char FragmentMain[] = R"(
void main()
{
    vec4 base = baseColor;
#ifdef VERTEX_COLORS
    base *= tint;
#endif
#ifdef BASE_TEXTURE
    base *= texture(baseTexture, UV(0));
#endif
#if !defined(ALPHA) && !defined(MASK)
    base.a = baseColor.a;
#endif
    float coverage = 1.0;
#ifdef MASK
#ifdef COVERAGE
    // One pixel wide, as an edge is.
    coverage = clamp((base.a - surface.w) / max(fwidth(base.a), 1e-4) + 0.5, 0.0, 1.0);
    if (coverage <= 0.0)
        discard;
#else
    if (base.a < surface.w)
        discard;
#endif
    base.a = 1.0;
#endif
#ifdef ROUND_POINTS
    vec2 off = gl_PointCoord * 2.0 - 1.0;
#ifdef COVERAGE
    float away = length(off);
    coverage = clamp((1.0 - away) / max(fwidth(away), 1e-4) + 0.5, 0.0, 1.0);
#else
    if (dot(off, off) > 1.0)
        discard;
#endif
#endif
#if defined(LIT)
    result = lit(base);
#elif defined(HEADLIGHT)
#ifdef EMISSIVE_TEXTURE
    vec3 glow = emissive.rgb * texture(emissiveTexture, UV(4)).rgb;
#else
    vec3 glow = emissive.rgb;
#endif
#ifdef FLAT
    vec3 n = cross(dFdx(eyePosition), dFdy(eyePosition));
#else
    vec3 n = eyeNormal;
#endif
    float facing = abs(n.z) * inversesqrt(max(dot(n, n), 1e-30));
    result = vec4(encoded(clamp((base.rgb * (0.06 + 0.84 * facing) + glow) * light.x, 0.0, 1.0)), base.a);
#else
    result = vec4(encoded(clamp(base.rgb, 0.0, 1.0)), base.a);
#endif
#ifdef COVERAGE
    result.a *= coverage;
#endif
}
)";

QByteArray vec3Text(const std::array<float, 3>& v)
{
    const auto text = [](float value) { return QByteArray::number(double(value), 'g', 9); };
    return "vec3(" + text(v[0]) + ", " + text(v[1]) + ", " + text(v[2]) + ")";
}

/// The studio is fixed to the camera, so its light is constant. Constants make software renderers a third faster than
/// the values of a block. Environments that turn with the scene are in the block.
QByteArray lightDefinitions(bool isTurned)
{
    QByteArray text = "#define KEY_DIRECTION " + vec3Text(studioKeyDirection()) + "\n#define KEY_STRENGTH " +
                      QByteArray::number(double(StudioKeyStrength)) + "\n";
    const auto form = irradianceForm(*Environment::studio(), tov::math::Matrix4::identity());
    for (std::size_t i = 0; i < form.size(); ++i) {
        const QByteArray number = QByteArray::number(int(i));
        text += "#define IRRADIANCE_" + number + " " +
                (isTurned ? "irradiance[" + number + "].rgb" : vec3Text(form[i])) + "\n";
    }
    return text;
}

QByteArray preamble(unsigned int features)
{
    QByteArray text = "#version 130\n#extension GL_ARB_uniform_buffer_object : require\n";
    for (unsigned int i = 0; i < sizeof FeatureNames / sizeof *FeatureNames; ++i)
        if (features & (1u << i))
            text += QByteArray("#define ") + FeatureNames[i] + "\n";
    constexpr unsigned int Textures =
        ShaderBaseTexture | ShaderSurfaceTexture | ShaderNormalTexture | ShaderOcclusionTexture | ShaderEmissiveTexture;
    if (features & Textures)
        text += "#define UVS\n";
    text += "#define EDGE " + QByteArray::number(Environment::Edge) + ".0\n#define LEVELS " +
            QByteArray::number(Environment::Levels) + ".0\n";
    return text + Blocks;
}

} // namespace

QByteArray vertexShader(unsigned int features)
{
    return preamble(features) + Vertex;
}

QByteArray fragmentShader(unsigned int features)
{
    const QByteArray light =
        features & ShaderLit ? lightDefinitions(features & ShaderTurned) + FragmentLight : QByteArray();
    return preamble(features) + FragmentInputs + light + FragmentMain;
}

} // namespace tov::scene
