#include "scene/import/sceneimport.h"

#include "scene/geometryelement.h"
#include "scene/model.h"
#include "scene/modelinfo.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <set>

#include <cstring>
#include <memory>

using namespace tov::scene;

namespace {

struct Summary
{
    std::size_t elements = 0, vertices = 0 /* at different places */, primitives = 0;
    Geometry::Kind kind = Geometry::Kind::Surfaces;
    QStringList names;
    std::uint8_t color[4] = {};
};

class ImportTest : public testing::Test
{
protected:
    QString write(const char* name, const QByteArray& bytes)
    {
        QFile file(folder.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    Summary read(const QString& file)
    {
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
        EXPECT_TRUE(tree) << error.toStdString();
        Summary summary;
        forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
            ++summary.elements;
            std::set<std::array<float, 3>> places;
            for (const auto& vertex : element.getVertices())
                places.insert({vertex.position[0], vertex.position[1], vertex.position[2]});
            summary.vertices += places.size();
            summary.primitives += element.getIndices().size() / std::size_t(element.getKind());
            summary.kind = element.getKind();
            summary.names << element.getName();
            const QColor base = displayColor(*element.getMaterial());
            const auto& vertex = element.getVertices()[0].color;
            const double tint[] = {base.redF(), base.greenF(), base.blueF(), base.alphaF()};
            for (int c = 0; c < 4; ++c) {
                const float linear = float(vertex[c]) / 65535;
                summary.color[c] = std::uint8_t(std::lround((c < 3 ? srgbFromLinear(linear) : linear) * tint[c] * 255));
            }
        });
        return summary;
    }
    std::string refusal(const QString& file)
    {
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
        EXPECT_FALSE(tree);
        EXPECT_TRUE(error.startsWith(file)) << error.toStdString();
        EXPECT_FALSE(error.contains(QLatin1Char('\n')));
        return error.mid(file.size()).toStdString();
    }
    QTemporaryDir folder;
};

QByteArray floats(std::initializer_list<float> values)
{
    return QByteArray(reinterpret_cast<const char*>(values.begin()), int(values.size() * sizeof(float)));
}

} // namespace

TEST_F(ImportTest, ObjWithPolygonsGroupsNegativeIndicesAndMaterials)
{
    write("m.mtl", "newmtl red\nKd 1 0 0\nd 0.5\n");
    const Summary summary =
        read(write("m.obj", "# comment\nmtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvn 0 0 1\n"
                            "g first\nf 1 2 3 4\ng second\nusemtl red\nf -4//1 -3//1 -2//1\nl 1 2 3\n"));
    EXPECT_EQ(summary.elements, 3u);
    EXPECT_EQ(summary.primitives, 2u + 1 + 2);
    EXPECT_EQ(summary.names.first(), "first");
    EXPECT_EQ(summary.color[0], 255);
    EXPECT_EQ(summary.color[1], 0);
    EXPECT_EQ(summary.color[3], 128);
}

TEST_F(ImportTest, ObjVerticesAloneAreAPointCloud)
{
    const Summary summary = read(write("p.obj", "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\n"));
    EXPECT_EQ(summary.kind, Geometry::Kind::Points);
    EXPECT_EQ(summary.primitives, 2u);
}

TEST_F(ImportTest, ObjMaterialsComeFromTheModelsOwnFolderOnly)
{
    write("colors.mtl", "newmtl a\nKd 0 1 0\n");
    QTemporaryDir elsewhere;
    QFile model(elsewhere.filePath(QStringLiteral("m.obj")));
    ASSERT_TRUE(model.open(QIODevice::WriteOnly));
    model.write("mtllib " + folder.path().toUtf8() + "/colors.mtl\nusemtl a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    model.close();
    EXPECT_NE(read(model.fileName()).color[0], 0) << "a file elsewhere is not read";
}

TEST_F(ImportTest, ObjErrorsNameTheLine)
{
    EXPECT_EQ(refusal(write("a.obj", "v 0 0\n")), " cannot be opened: line 1: a number is missing");
    EXPECT_EQ(refusal(write("b.obj", "v 0 0 0\nf 1 2 3\n")),
              " cannot be opened: line 2: the index 2 is out of range; there are 1");
    EXPECT_EQ(refusal(write("c.obj", "v 0 0 0\nv 0 0 0\nf 1 2\n")),
              " cannot be opened: line 3: a face needs three vertices");
    EXPECT_EQ(refusal(write("d.obj", "v 0 0 0\n\nf 0 0 0\n")),
              " cannot be opened: line 3: the index 0 is out of range; there are 1");
    EXPECT_EQ(refusal(write("e.obj", "v 1e99 0 0\n")), " cannot be opened: line 1: \"1e99\" is not a number");
}

TEST_F(ImportTest, PlyInEveryEncoding)
{
    const QByteArray header =
        "element vertex 3\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\n"
        "property uchar green\nproperty uchar blue\nelement face 1\nproperty list uchar int "
        "vertex_indices\nend_header\n";
    const Summary text = read(write("a.ply", "ply\nformat ascii 1.0\ncomment hello\n" + header +
                                                 "0 0 0 9 8 7\n1 0 0 9 8 7\n0 1 0 9 8 7\n3 0 1 2\n"));
    EXPECT_EQ(text.primitives, 1u);
    EXPECT_EQ(text.color[0], 9);
    QByteArray little, big;
    for (const auto& p : {floats({0, 0, 0}), floats({1, 0, 0}), floats({0, 1, 0})}) {
        little += p + QByteArray("\x09\x08\x07");
        QByteArray swapped;
        for (int i = 0; i < 3; ++i)
            for (int k = 3; k >= 0; --k)
                swapped += p[4 * i + k];
        big += swapped + QByteArray("\x09\x08\x07");
    }
    little += QByteArray("\x03\0\0\0\0\x01\0\0\0\x02\0\0\0", 13);
    big += QByteArray("\x03\0\0\0\0\0\0\0\x01\0\0\0\x02", 13);
    EXPECT_EQ(read(write("b.ply", "ply\nformat binary_little_endian 1.0\n" + header + little)).primitives, 1u);
    EXPECT_EQ(read(write("c.ply", "ply\nformat binary_big_endian 1.0\n" + header + big)).color[1], 8);
    const Summary cloud = read(write("d.ply", "ply\nformat ascii 1.0\nelement vertex 2\nproperty double x\nproperty "
                                              "double y\nproperty double z\nend_header\n0 0 0\n1 1 1\n"));
    EXPECT_EQ(cloud.kind, Geometry::Kind::Points);
}

TEST_F(ImportTest, PlyHeadersAreCheckedAgainstTheFile)
{
    const QByteArray start = "ply\nformat binary_little_endian 1.0\n";
    const QByteArray xyz = "property float x\nproperty float y\nproperty float z\n";
    EXPECT_NE(refusal(write("a.ply", start + "element vertex 4294967295\n" + xyz + "end_header\n")).find("too short"),
              std::string::npos);
    EXPECT_NE(refusal(write("b.ply", start + "element vertex 1\n" + xyz +
                                         "element face 1\nproperty list uint int vertex_indices\nend_header\n" +
                                         floats({0, 0, 0}) + QByteArray("\xff\xff\xff\xff", 4)))
                  .find("more entries than the file contains"),
              std::string::npos);
    EXPECT_NE(refusal(write("c.ply", start + "element vertex 1\n" + xyz +
                                         "element face 1\nproperty list uchar int vertex_indices\nend_header\n" +
                                         floats({0, 0, 0}) + QByteArray("\x03\xff\xff\xff\xff\0\0\0\0\0\0\0\0", 13)))
                  .find("a face refers to vertex"),
              std::string::npos);
    EXPECT_NE(refusal(write("d.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n0\n"))
                  .find("no x, y and z"),
              std::string::npos);
    EXPECT_NE(refusal(write("e.ply", "ply\nformat ascii 1.0\nelement vertex 1\n" + xyz + "end_header\nnan 0 0\n"))
                  .find("finite"),
              std::string::npos);
    EXPECT_NE(refusal(write("f.ply", "ply\nelement vertex 1\n")).find("header"), std::string::npos);
}

TEST_F(ImportTest, StlAsTextAndBinary)
{
    EXPECT_EQ(read(write("a.stl", "solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 "
                                  "0\nendloop\nendfacet\nendsolid x\n"))
                  .primitives,
              1u);
    QByteArray binary("solid but binary");
    binary.resize(80);
    binary += QByteArray("\x02\0\0\0", 4);
    for (int i = 0; i < 2; ++i)
        binary += floats({0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, float(i)}) + QByteArray(2, 0);
    const Summary summary = read(write("b.stl", binary));
    EXPECT_EQ(summary.primitives, 2u);
    EXPECT_EQ(summary.vertices, 4u) << "equal corners are joined";
    binary[80] = 3;
    EXPECT_NE(refusal(write("c.stl", QByteArray("xxxxx") + binary.mid(5))).find("too short"), std::string::npos);
    EXPECT_NE(refusal(write("d.stl", "solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n")).find("in the middle"),
              std::string::npos);
}

TEST_F(ImportTest, FormatsOfTheImportLibrary)
{
    EXPECT_GT(read(QStringLiteral("/usr/share/glmark2/models/horse.3ds")).primitives, 1000u);
    EXPECT_GT(read(QStringLiteral("/usr/share/glmark2/models/cat.3ds")).primitives, 100u);
    const QByteArray gltf =
        R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0,"name":"tri"}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]}],
"bufferViews":[{"buffer":0,"byteLength":36}],
"buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)" +
        floats({0, 0, 0, 1, 0, 0, 0, 1, 0}).toBase64() + R"("}]})";
    EXPECT_EQ(read(write("a.gltf", gltf)).primitives, 1u);
}

TEST_F(ImportTest, EveryCutOfAModelIsReadOrRefused)
{
    QFile whole(QStringLiteral("/usr/share/glmark2/models/bunny.obj"));
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray bytes = whole.read(200000);
    for (int part = 1; part < 40; ++part) {
        QString error;
        delete SceneImport::readFile(write("cut.obj", bytes.left(bytes.size() * part / 40)), &error);
    }
    QByteArray ply = "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty float x\nproperty float "
                     "y\nproperty float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n";
    ply += floats({0, 0, 0, 1, 0, 0, 0, 1, 0}) + QByteArray("\x03\0\0\0\0\x01\0\0\0\x02\0\0\0", 13);
    EXPECT_EQ(read(write("whole.ply", ply)).primitives, 1u);
    for (int size = 0; size < ply.size(); ++size) {
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(write("cut.ply", ply.left(size)), &error));
        EXPECT_FALSE(tree) << size;
        EXPECT_FALSE(error.isEmpty());
    }
}

TEST_F(ImportTest, FilesAreAddedAllOrNothing)
{
    const QString good = write("good.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const auto scene = Viewer::getInstance()->getGlobalScene();
    QString error;
    EXPECT_FALSE(SceneImport::addFiles({good, folder.filePath(QStringLiteral("none.obj"))}, &error));
    EXPECT_EQ(scene->getRootNode(), nullptr);
    EXPECT_TRUE(SceneImport::addFiles({good, good}, &error));
    ASSERT_TRUE(scene->getRootNode());
    EXPECT_EQ(scene->getRootNode()->getChildren().size(), 2u);
    scene->setRootNode(nullptr);
}

TEST_F(ImportTest, ReadingCanBeStopped)
{
    QString error;
    int last = -1;
    const std::unique_ptr<SceneElement> tree(
        SceneImport::readFile(QStringLiteral("/usr/share/glmark2/models/bunny.obj"), &error, [&last](int percent) {
            EXPECT_GE(percent, last);
            last = percent;
            return percent < 30;
        }));
    EXPECT_FALSE(tree);
    EXPECT_GE(last, 30);
    EXPECT_LT(last, 60);
}

TEST_F(ImportTest, SolidsMayHaveAnyName)
{
    EXPECT_EQ(
        read(write("v.stl", "solid vertex 1 endfacet\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                            "vertex 0 1 0\nendloop\nendfacet\nendsolid vertex 1 endfacet\n"))
            .primitives,
        1u);
}

TEST_F(ImportTest, ConcavePolygonsKeepTheirArea)
{
    // A polygon in the shape of a U: a fan of triangles would fill the gap.
    const QString file = write("u.obj", "v 0 0 0\nv 3 0 0\nv 3 3 0\nv 2 3 0\nv 2 1 0\nv 1 1 0\nv 1 3 0\nv 0 3 0\n"
                                        "f 1 2 3 4 5 6 7 8\n");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    double area = 0;
    forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
        const auto& v = element.getVertices();
        const auto& indices = element.getIndices();
        for (std::size_t i = 0; i < indices.size(); i += 3) {
            const float *a = v[indices[i]].position, *b = v[indices[i + 1]].position, *c = v[indices[i + 2]].position;
            const double part = double((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])) / 2;
            EXPECT_GT(part, 0);
            area += part;
        }
    });
    EXPECT_NEAR(area, 7, 1e-6);
}

TEST_F(ImportTest, LargeCoordinatesKeepTheirPrecision)
{
    const QString file = write("far.obj", "v 3500000.125 0 0\nv 3500000.25 0 0\nv 3500000.125 0.0625 0\nf 1 2 3\n");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
        EXPECT_EQ(element.getOrigin()[0], 3500000);
        EXPECT_EQ(element.getVertices()[0].position[0], 0.125f);
        EXPECT_EQ(element.getVertices()[1].position[0], 0.25f);
    });
}

TEST_F(ImportTest, MissingTexturesAndLibrariesAreReported)
{
    write("t.mtl", "newmtl a\nmap_Kd Gone.png\n");
    const QString file =
        write("t.obj", "mtllib none.mtl\nmtllib t.mtl\nusemtl a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    EXPECT_EQ(tree->getModelData()->warnings,
              (QStringList{QStringLiteral("the material library 'none.mtl' (line 1) is missing"),
                           QStringLiteral("the texture 'Gone.png' of material 'a' is missing")}));
}

TEST_F(ImportTest, ModelUpTurnsTheAxisUp)
{
    const QString file = write("z.obj", "v 0 0 0\nv 0 0 2\nv 1 0 0\nf 1 2 3\n");
    for (const auto& [axis, top] : {std::pair("auto", 0.0), std::pair("+Z", 2.0), std::pair("+X", 1.0)}) {
        SceneImport::Options options;
        options.modelUp = QLatin1String(axis);
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, options, &error));
        ASSERT_TRUE(tree) << error.toStdString();
        EXPECT_NEAR(visibleBox(tree.get()).high[1], top, 1e-9) << axis;
    }
}

TEST_F(ImportTest, UpAxisFollowsFormatAndFile)
{
    const QString models = QStringLiteral("/usr/share/assimp/models/");
    const auto heightOf = [&](const char* file, const char* up) {
        SceneImport::Options options;
        options.modelUp = QLatin1String(up);
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(models + QLatin1String(file), options, &error));
        EXPECT_TRUE(tree) << error.toStdString();
        const auto box = tree ? visibleBox(tree.get()) : Box();
        return box.high[1] - box.low[1];
    };
    for (const char* file : {"3DS/fels.3ds", "ASE/MotionCaptureROM.ase", "BLEND/HUMAN.blend", "COB/dwarf.cob",
                             "DXF/wuson.dxf", "SMD/holy_grailref.smd", "AMF/test1.amf", "OpenGEX/Example.ogex"}) {
        const double height = heightOf(file, "auto");
        EXPECT_NEAR(height, heightOf(file, "+Z"), 1e-4 * height) << file;
    }
    for (const char* file : {"OBJ/spider.obj", "Collada/duck.dae", "FBX/spider.fbx", "X/fromtruespace_bin32.x"}) {
        const double height = heightOf(file, "auto");
        EXPECT_NEAR(height, heightOf(file, "+Y"), 1e-4 * height) << file;
    }
    // Their settings define +Z as up.
    for (const char* file : {"FBX/embedded_ascii/box.FBX", "Collada/regr01.dae"})
        EXPECT_NEAR(heightOf(file, "auto"), heightOf(file, "+Z"), 1e-4 * heightOf(file, "auto")) << file;
}

TEST_F(ImportTest, UnitOfFbxFilesIsAppliedInMetres)
{
    const QString file = QStringLiteral("/usr/share/assimp/models/FBX/embedded_ascii/box.FBX");
    QFile from(file);
    ASSERT_TRUE(from.open(QIODevice::ReadOnly));
    QByteArray bytes = from.readAll();
    const QByteArray setting = "P: \"UnitScaleFactor\", \"double\", \"Number\", \"\",";
    const int at = bytes.indexOf(setting);
    ASSERT_GT(at, 0);
    const int begin = at + setting.size(), end = bytes.indexOf('\n', begin);
    const auto heightWith = [&](const QByteArray& unit) {
        QString error;
        const std::unique_ptr<SceneElement> tree(
            SceneImport::readFile(write("u.fbx", bytes.left(begin) + unit + bytes.mid(end)), &error));
        EXPECT_TRUE(tree) << error.toStdString();
        const auto box = tree ? visibleBox(tree.get()) : Box();
        return box.high[1] - box.low[1];
    };
    const double centimetres = heightWith("1");
    EXPECT_NEAR(heightWith("100") / centimetres, 100, 1e-3);
    EXPECT_NEAR(heightWith("nan") / centimetres, 1, 1e-3);
}

TEST_F(ImportTest, TextureTransformScalesThenRotatesThenMoves)
{
    // The texture coordinates at the corners of a square, from the definition of KHR_texture_transform.
    const QString file = QStringLiteral("/usr/share/assimp/models/glTF2/textureTransform/TextureTransformTest.gltf");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    std::map<QString, std::array<float, 6>> transforms;
    forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
        transforms[element.getMaterial()->name] = element.getMaterial()->baseColorTexture.transform;
    });
    // Counter-clockwise in the picture, v pointing down: u' = u cos + v sin, v' = v cos - u sin.
    const std::array<float, 6> rotated = transforms[QStringLiteral("Rotation")];
    constexpr float Angle = 0.3926991f; // of the file
    EXPECT_NEAR(rotated[0], std::cos(Angle), 1e-6);
    EXPECT_NEAR(rotated[1], std::sin(Angle), 1e-6);
    EXPECT_NEAR(rotated[3], -std::sin(Angle), 1e-6);
    EXPECT_NEAR(rotated[4], std::cos(Angle), 1e-6);
    EXPECT_EQ(transforms[QStringLiteral("Scale")], (std::array<float, 6>{1.5f, 0, 0, 0, 1.5f, 0}));
    EXPECT_EQ(transforms[QStringLiteral("Offset U")], (std::array<float, 6>{1, 0, 0.5f, 0, 1, 0}));
}

TEST_F(ImportTest, GltfWithoutNormalsIsFlat)
{
    // Two triangles that share an edge, 20 degrees apart: less than the crease angle.
    const QByteArray corners = floats({0, 0, 0, 0, 0, 1, 1, 0, 0, -0.94f, 0.342f, 0});
    const QByteArray indices("\0\0\1\0\2\0\0\0\3\0\1\0", 12);
    const QByteArray gltf =
        R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[-1,0,0],"max":[1,1,1]},
{"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"}],
"bufferViews":[{"buffer":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":12}],
"buffers":[{"byteLength":60,"uri":"data:application/octet-stream;base64,)" +
        (corners + indices).toBase64() + R"("}]})";
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(write("flat.gltf", gltf), &error));
    ASSERT_TRUE(tree) << error.toStdString();
    forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
        ASSERT_EQ(element.getIndices().size(), 6u);
        int level = 0, tilted = 0;
        for (const std::uint32_t index : element.getIndices()) {
            const auto& normal = element.getVertices()[index].normal;
            level += std::hypot(normal[0], normal[1] - 1) < 1e-3;
            tilted += std::hypot(normal[0] - 0.342, normal[1] - 0.94) < 1e-3;
        }
        EXPECT_EQ(level, 3);
        EXPECT_EQ(tilted, 3);
    });
}

TEST_F(ImportTest, PlyFacesHaveColors)
{
    const QString file = write(
        "f.ply", "ply\nformat ascii 1.0\nsomething unknown\nelement vertex 4\nproperty float x\nproperty float y\n"
                 "property float z\nelement face 2\nproperty list uchar int vertex_indices\nproperty uchar red\n"
                 "property uchar green\nproperty uchar blue\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n"
                 "3 0 1 2 255 0 0\n3 0 2 3 0 255 0\n");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    int red = 0, green = 0;
    forEachVisible(tree.get(), [&](const GeometryElement& element, const tov::math::Matrix4&) {
        for (const std::uint32_t index : element.getIndices()) {
            const auto& color = element.getVertices()[index].color;
            red += color[0] == 65535 && color[1] == 0;
            green += color[0] == 0 && color[1] == 65535;
        }
    });
    EXPECT_EQ(red, 3);
    EXPECT_EQ(green, 3);
}

TEST_F(ImportTest, ModelInfoCountsWhatAFileHolds)
{
    const QString file = write("i.obj", "v 0 0 0\nv 2 0 0\nv 2 3 0\nv 0 3 0\nf 1 2 3 4\nl 1 2\n");
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
    ASSERT_TRUE(tree) << error.toStdString();
    const ModelInfo info(*tree);
    EXPECT_EQ(info.fileName, file);
    EXPECT_EQ(info.partNames.size(), 2u);
    EXPECT_EQ(info.triangles, 2u);
    EXPECT_EQ(info.lines, 1u);
    EXPECT_EQ(info.high, (std::array<double, 3>{2, 3, 0}));
    EXPECT_GT(info.memoryBytes, 0u);
}
