// Materials, textures and vertex colours as files describe them.

#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"
#include "scene/material.h"
#include "scene/model.h"
#include "scene/sceneview.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <vector>

using namespace tov::scene;

namespace {

/// A part of a file: its material and the colour of each vertex.
struct Part
{
    std::shared_ptr<const Material> material;
    std::vector<std::array<std::uint16_t, 4>> colors;
    bool hasSecondUv = false;
};

template <typename Value>
QByteArray packed(std::initializer_list<Value> values)
{
    return QByteArray(reinterpret_cast<const char*>(values.begin()), int(values.size() * sizeof(Value)));
}

/// Two by two pixels: red, green, blue, half transparent white.
QByteArray smallPng()
{
    QImage image(2, 2, QImage::Format_ARGB32);
    image.setPixel(0, 0, qRgb(255, 0, 0));
    image.setPixel(1, 0, qRgb(0, 255, 0));
    image.setPixel(0, 1, qRgb(0, 0, 255));
    image.setPixel(1, 1, qRgba(255, 255, 255, 128));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, "png"));
    return buffer.data();
}

class ImportedLook : public testing::Test
{
protected:
    QString write(const QString& name, const QByteArray& bytes)
    {
        QDir(folder.path()).mkpath(QFileInfo(name).path());
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    /// The parts of a file in the order in which they are drawn. Its warnings are kept in `warnings`.
    std::vector<Part> read(const QString& file)
    {
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
        EXPECT_TRUE(tree) << error.toStdString();
        std::vector<Part> parts;
        if (!tree)
            return parts;
        warnings = tree->getModelData() ? tree->getModelData()->warnings : QStringList();
        forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
            Part part{element.getMaterial(), {}, !element.getTextureCoordinates(1).empty()};
            for (const auto& vertex : element.getVertices())
                part.colors.push_back({vertex.color[0], vertex.color[1], vertex.color[2], vertex.color[3]});
            parts.push_back(part);
        });
        return parts;
    }
    /// A triangle in glTF with two sets of texture coordinates and vertex colours without alpha. `materials` and `rest`
    /// are inserted into the JSON text.
    QByteArray triangle(const QByteArray& materials, const QByteArray& rest = QByteArray())
    {
        const QByteArray data = packed<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + packed<float>({0, 0, 1, 0, 0, 1}) +
                                packed<float>({1, 1, 0, 1, 1, 0}) + packed<float>({1, 0.5f, 0, 1, 1, 1, 0, 0, 0});
        return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1,"TEXCOORD_1":2,"COLOR_0":3},"material":0}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5126,"count":3,"type":"VEC2"},
{"bufferView":2,"componentType":5126,"count":3,"type":"VEC2"},
{"bufferView":3,"componentType":5126,"count":3,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":24},
{"buffer":0,"byteOffset":60,"byteLength":24},{"buffer":0,"byteOffset":84,"byteLength":36}],
"buffers":[{"byteLength":120,"uri":"data:application/octet-stream;base64,)" +
               data.toBase64() + R"("}],"materials":[)" + materials + "]" + rest + "}";
    }
    /// A square with texture coordinates in Wavefront format, with a material library.
    std::vector<Part> readObjWith(const QByteArray& library)
    {
        write("square.mtl", "newmtl m\n" + library);
        return read(write("square.obj",
                          "mtllib square.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n"
                          "vt 0 1\nusemtl m\nf 1/1 2/2 3/3 4/4\n"));
    }
    /// A triangle in Collada whose effect has this transparency.
    QByteArray collada(const QByteArray& transparency)
    {
        return R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><up_axis>Y_UP</up_axis></asset>
<library_effects><effect id="e"><profile_COMMON><technique sid="t"><phong>
<diffuse><color>0.8 0.2 0.2 1</color></diffuse>)" +
               transparency + R"(</phong></technique></profile_COMMON></effect></library_effects>
<library_materials><material id="m"><instance_effect url="#e"/></material></library_materials>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="a" count="9">0 0 0 1 0 0 0 1 0</float_array><technique_common>
<accessor source="#a" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
<param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1" material="s"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node><instance_geometry url="#g"><bind_material><technique_common>
<instance_material symbol="s" target="#m"/></technique_common></bind_material></instance_geometry></node></visual_scene>
</library_visual_scenes><scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
    }
    QTemporaryDir folder;
    QStringList warnings;
};

} // namespace

TEST_F(ImportedLook, VertexColoursWithoutAlphaAreOpaque)
{
    const auto parts = read(write("c.gltf", triangle(R"({"alphaMode":"BLEND"})")));
    ASSERT_EQ(parts.size(), 1u);
    ASSERT_EQ(parts[0].colors.size(), 3u);
    int orange = 0;
    for (const auto& color : parts[0].colors) {
        EXPECT_EQ(color[3], 65535);
        orange += color[0] == 65535 && std::abs(color[1] - 32768) < 2 && color[2] == 0;
    }
    EXPECT_EQ(orange, 1);
}

TEST_F(ImportedLook, EmbeddedAndExternalImagesHaveTheirPixels)
{
    write("textures/small image.png", smallPng());
    const QByteArray image = "data:image/png;base64," + smallPng().toBase64();
    for (const QByteArray& uri : {image, QByteArray("textures/small%20image.png")}) {
        const auto parts =
            read(write("i.gltf", triangle(R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}},
"emissiveTexture":{"index":0,"texCoord":1}})",
                                          R"(,"textures":[{"source":0}],"images":[{"uri":")" + uri + R"("}])")));
        ASSERT_EQ(parts.size(), 1u);
        const Material& material = *parts[0].material;
        ASSERT_TRUE(material.baseColorTexture);
        EXPECT_EQ(material.baseColorTexture.image, material.emissiveTexture.image) << "one image for both";
        EXPECT_EQ(material.baseColorTexture.uvSet, 0);
        EXPECT_EQ(material.emissiveTexture.uvSet, 1);
        EXPECT_TRUE(parts[0].hasSecondUv);
        const Image& read = *material.baseColorTexture.image;
        ASSERT_EQ(read.width, 2);
        ASSERT_EQ(read.height, 2);
        EXPECT_TRUE(read.hasAlpha);
        EXPECT_EQ(read.pixels,
                  (std::vector<std::uint8_t>{255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 128}));
        EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
    }
}

TEST_F(ImportedLook, SamplersAreKept)
{
    const QByteArray image = "data:image/png;base64," + smallPng().toBase64();
    const auto parts = read(
        write("s.gltf", triangle(R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}})",
                                 R"(,"textures":[{"source":0,"sampler":0}],"samplers":[{"wrapS":33071,"wrapT":33648,
"minFilter":9728,"magFilter":9728}],"images":[{"uri":")" +
                                     image + R"("}])")));
    ASSERT_EQ(parts.size(), 1u);
    const Texture& texture = parts[0].material->baseColorTexture;
    EXPECT_EQ(texture.wrapU, Texture::Wrap::ClampToEdge);
    EXPECT_EQ(texture.wrapV, Texture::Wrap::MirroredRepeat);
    EXPECT_EQ(texture.minFilter, Texture::Filter::Nearest);
    EXPECT_EQ(texture.magFilter, Texture::Filter::Nearest);
}

TEST_F(ImportedLook, ExtensionsOfMaterialsAreRead)
{
    const auto parts =
        read(write("e.gltf", triangle(R"({"emissiveFactor":[0.5,1,0],"doubleSided":true,"alphaMode":"MASK",
"alphaCutoff":0.25,"pbrMetallicRoughness":{"metallicFactor":0.75,"roughnessFactor":0.125,"baseColorFactor":[1,0.5,0.25,1]},
"extensions":{"KHR_materials_emissive_strength":{"emissiveStrength":4},"KHR_materials_clearcoat":{"clearcoatFactor":0.5,
"clearcoatRoughnessFactor":0.25},"KHR_materials_transmission":{"transmissionFactor":0.5},"KHR_materials_ior":{"ior":1.25}}})",
                                      R"(,"extensionsUsed":["KHR_materials_emissive_strength",
"KHR_materials_clearcoat","KHR_materials_transmission","KHR_materials_ior"])")));
    ASSERT_EQ(parts.size(), 1u);
    const Material& material = *parts[0].material;
    EXPECT_EQ(material.emissive, (std::array<float, 3>{2, 4, 0}));
    EXPECT_EQ(material.baseColor, (std::array<float, 4>{1, 0.5f, 0.25f, 1}));
    EXPECT_FLOAT_EQ(material.metallic, 0.75f);
    EXPECT_FLOAT_EQ(material.roughness, 0.125f);
    EXPECT_FLOAT_EQ(material.clearcoat, 0.5f);
    EXPECT_FLOAT_EQ(material.clearcoatRoughness, 0.25f);
    EXPECT_FLOAT_EQ(material.transmission, 0.5f);
    EXPECT_FLOAT_EQ(material.indexOfRefraction, 1.25f);
    EXPECT_EQ(material.alphaMode, Material::AlphaMode::Mask);
    EXPECT_FLOAT_EQ(material.alphaCutoff, 0.25f);
    EXPECT_TRUE(material.doubleSided);
    EXPECT_FALSE(material.unlit);
    const auto plain = read(write("u.gltf", triangle(R"({"extensions":{"KHR_materials_unlit":{}}})")));
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_TRUE(plain[0].material->unlit);
    EXPECT_FALSE(plain[0].material->doubleSided) << "the default of the format";
}

TEST_F(ImportedLook, ObjTexturesAreFoundWhateverTheSpelling)
{
    write("Maps/Small Image.PNG", smallPng());
    for (const char* line : {"map_Kd Maps/Small Image.PNG\n", "map_Kd maps\\small image.png\n",
                             "map_kd .\\MAPS\\SMALL IMAGE.PNG\n", "map_Kd C:\\work\\maps\\small image.png\n"}) {
        const auto parts = readObjWith(line);
        ASSERT_EQ(parts.size(), 1u) << line;
        EXPECT_TRUE(parts[0].material->baseColorTexture) << line << warnings.join('\n').toStdString();
    }
    const auto parts = readObjWith("map_Kd absent.png\n");
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_FALSE(parts[0].material->baseColorTexture);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings[0].contains("absent.png")) << warnings[0].toStdString();
}

TEST_F(ImportedLook, ObjTransparencyIsReadEitherWay)
{
    for (const char* library : {"d 0.25\n", "Tr 0.75\n"}) {
        const auto parts = readObjWith(library);
        ASSERT_EQ(parts.size(), 1u) << library;
        EXPECT_NEAR(parts[0].material->baseColor[3], 0.25, 1e-6) << library;
        EXPECT_EQ(parts[0].material->alphaMode, Material::AlphaMode::Blend) << library;
    }
    const auto solid = readObjWith("Kd 1 0 0\nd 1\n");
    ASSERT_EQ(solid.size(), 1u);
    EXPECT_EQ(solid[0].material->alphaMode, Material::AlphaMode::Opaque);
}

TEST_F(ImportedLook, ColladaTransparencyFollowsItsMode)
{
    const struct
    {
        const char* effect;
        double alpha;
    } rows[] = {
        {"", 1},
        {R"(<transparent opaque="A_ONE"><color>1 1 1 1</color></transparent>)", 1},
        {R"(<transparent opaque="A_ONE"><color>1 1 1 1</color></transparent><transparency><float>0.25</float></transparency>)",
         0.25},
        {R"(<transparent opaque="A_ONE"><color>0 0 0 1</color></transparent><transparency><float>1</float></transparency>)",
         1},
        {R"(<transparent opaque="RGB_ZERO"><color>0 0 0 1</color></transparent><transparency><float>1</float></transparency>)",
         1},
        {R"(<transparent opaque="RGB_ZERO"><color>0.75 0.75 0.75 1</color></transparent>
<transparency><float>1</float></transparency>)",
         0.25},
    };
    for (const auto& row : rows) {
        const auto parts = read(write("t.dae", collada(row.effect)));
        ASSERT_EQ(parts.size(), 1u) << row.effect;
        const Material& material = *parts[0].material;
        EXPECT_NEAR(material.baseColor[3], row.alpha, 1e-3) << row.effect;
        EXPECT_EQ(material.alphaMode == Material::AlphaMode::Blend, row.alpha < 1) << row.effect;
    }
}
