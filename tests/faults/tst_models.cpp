// Model files that are truncated, changed at random, or contain wrong sizes: each is read, or refused with one line.

#include "kernel/main/settings.h"
#include "scene/geometryelement.h"
#include "scene/sceneelement.h"
#include "scene/import/sceneimport.h"
#include "scene/model.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <random>

#include <sys/stat.h>

using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::SceneImport;

namespace {

/// Changed copies of each file; TOV_MUTATIONS for more.
int mutations()
{
    const int requested = qEnvironmentVariableIntValue("TOV_MUTATIONS");
    return requested > 0 ? requested : 120;
}

QByteArray floats(std::initializer_list<float> values)
{
    return QByteArray(reinterpret_cast<const char*>(values.begin()), int(values.size() * sizeof(float)));
}

QByteArray fileOf(const QString& name)
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

QByteArray gltf(const QByteArray& uri)
{
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0,"name":"tri"}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]}],
"bufferViews":[{"buffer":0,"byteLength":36}],"buffers":[{"byteLength":36,"uri":")" +
           uri + R"("}]})";
}

const QByteArray Triangle = floats({0, 0, 0, 1, 0, 0, 0, 1, 0});

QByteArray ply()
{
    return "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float "
           "z\n"
           "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\nproperty list uchar int "
           "vertex_indices\nend_header\n" +
           floats({0, 0, 0}) + "abc" + floats({1, 0, 0}) + "def" + floats({0, 1, 0}) + "ghi" +
           QByteArray("\x03\0\0\0\0\x01\0\0\0\x02\0\0\0", 13);
}

QByteArray stl()
{
    return QByteArray(80, 'x') + QByteArray("\x02\0\0\0", 4) +
           (floats({0, 0, 1}) + Triangle + QByteArray(2, '\0')).repeated(2);
}

const char Collada[] = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1"><asset/>
<library_geometries><geometry id="g"><mesh><source id="p"><float_array id="a" count="9">0 0 0 1 0 0 0 1 0</float_array>
<technique_common><accessor source="#a" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
<param name="Z" type="float"/></accessor></technique_common></source><vertices id="v"><input semantic="POSITION" source="#p"/>
</vertices><triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles></mesh></geometry>
</library_geometries><library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#g"/></node>
</visual_scene></library_visual_scenes><scene><instance_visual_scene url="#s"/></scene></COLLADA>
)";

const QByteArray NoNumber = floats({std::numeric_limits<float>::quiet_NaN()});
const QByteArray Most("\xff\xff\xff\xff", 4);

/// Integers in the machine's byte order.
template <typename T>
QByteArray raw(T value)
{
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

QByteArray reversed(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// A binary glTF file: the description, then the triangle.
QByteArray glb()
{
    QByteArray text = gltf("");
    text.replace(R"(,"uri":"")", "");
    text.append(QByteArray((4 - text.size() % 4) % 4, ' '));
    const QByteArray chunks =
        raw(quint32(text.size())) + "JSON" + text + raw(quint32(Triangle.size())) + QByteArray("BIN\0", 4) + Triangle;
    return "glTF" + raw(quint32(2)) + raw(quint32(12 + chunks.size())) + chunks;
}

const char DirectX[] = "xof 0303txt 0032\nMesh m {\n3;\n0;0;0;,\n1;0;0;,\n0;1;0;;\n1;\n3;0,1,2;;\n}\n";

const char Fbx[] = R"(; FBX 7.3.0 project file
FBXHeaderExtension:  {
	FBXHeaderVersion: 1003
	FBXVersion: 7300
}
Objects:  {
	Geometry: 1, "Geometry::tri", "Mesh" {
		Vertices: *9 {
			a: 0,0,0,1,0,0,0,1,0
		}
		PolygonVertexIndex: *3 {
			a: 0,1,-3
		}
	}
	Model: 2, "Model::tri", "Mesh" {
		Version: 232
	}
}
Connections:  {
	C: "OO",2,0
	C: "OO",1,2
}
)";

/// A LightWave object: chunks with their sizes, numbers in network byte order.
QByteArray lwo()
{
    const auto chunk = [](const QByteArray& name, const QByteArray& bytes) {
        return name + reversed(raw(quint32(bytes.size()))) + bytes + QByteArray(bytes.size() % 2, '\0');
    };
    QByteArray points;
    for (int i = 0; i < Triangle.size(); i += 4)
        points += reversed(Triangle.mid(i, 4));
    const auto zeros = [](int count) { return QByteArray(count, '\0'); };
    const QByteArray body = "LWO2" + chunk("TAGS", QByteArray("s\0", 2)) + chunk("LAYR", zeros(18)) +
                            chunk("PNTS", points) + chunk("POLS", "FACE" + QByteArray("\0\3\0\0\0\1\0\2", 8)) +
                            chunk("PTAG", "SURF" + zeros(4)) + chunk("SURF", QByteArray("s\0\0\0", 4));
    return chunk("FORM", body);
}

/// An archive whose files are stored without compression.
QByteArray archive(const std::vector<std::pair<QByteArray, QByteArray>>& files)
{
    const auto sumOf = [](const QByteArray& bytes) {
        quint32 sum = ~0u;
        for (const char byte : bytes) {
            sum ^= quint8(byte);
            for (int bit = 0; bit < 8; ++bit)
                sum = sum >> 1 ^ (sum & 1 ? 0xedb88320u : 0u);
        }
        return ~sum;
    };
    QByteArray bytes, directory;
    for (const auto& [name, content] : files) {
        const QByteArray common = raw(quint16(20)) + QByteArray(8, '\0') + raw(sumOf(content)) +
                                  raw(quint32(content.size())).repeated(2) + raw(quint16(name.size())) +
                                  raw(quint16(0));
        directory += QByteArray("PK\1\2", 4) + raw(quint16(20)) + common + QByteArray(10, '\0') +
                     raw(quint32(bytes.size())) + name;
        bytes += QByteArray("PK\3\4", 4) + common + name + content;
    }
    return bytes + directory + QByteArray("PK\5\6\0\0\0\0", 8) + raw(quint16(files.size())).repeated(2) +
           raw(quint32(directory.size())) + raw(quint32(bytes.size())) + QByteArray(2, '\0');
}

QByteArray printable()
{
    return archive(
        {{"_rels/.rels", R"(<?xml version="1.0"?><Relationships xmlns="http://schemas.openxmlformats.org/package/2006/)"
                         R"(relationships"><Relationship Id="r" Target="/3D/3dmodel.model" Type="http://)"
                         R"(schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>)"},
         {"3D/3dmodel.model", R"(<?xml version="1.0"?><model unit="millimeter" xmlns="http://schemas.microsoft.com/)"
                              R"(3dmanufacturing/core/2015/02"><resources><object id="1" type="model"><mesh><vertices>)"
                              R"(<vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/><vertex x="0" y="1" z="0"/>)"
                              R"(</vertices><triangles><triangle v1="0" v2="1" v3="2"/></triangles></mesh></object>)"
                              R"(</resources><build><item objectid="1"/></build></model>)"}});
}

/// The problem of a model that was read; empty when all numbers are finite and all indices refer to a vertex.
std::string defectOf(const SceneElement& root)
{
    std::vector<const SceneElement*> left{&root};
    while (!left.empty()) {
        const SceneElement* const element = left.back();
        left.pop_back();
        left.insert(left.end(), element->getChildren().begin(), element->getChildren().end());
        for (unsigned int i = 0; i < 16; ++i)
            if (!std::isfinite(element->getTransform().data()[i]))
                return "a transform is not finite";
        const auto* part = dynamic_cast<const GeometryElement*>(element);
        if (!part)
            continue;
        for (const auto& vertex : part->getVertices())
            for (int axis = 0; axis < 3; ++axis)
                if (!std::isfinite(vertex.position[axis]) || !std::isfinite(vertex.normal[axis]))
                    return "a vertex is not finite";
        for (const auto index : part->getIndices())
            if (index >= part->getVertices().size())
                return "an index names no vertex";
        if (part->getIndices().empty() || part->getIndices().size() % std::size_t(part->getKind()) != 0)
            return "a primitive is not complete";
    }
    return std::string();
}

class ModelFaults : public testing::Test
{
protected:
    QString write(const QString& name, const QByteArray& bytes)
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }
    /// True when it was read; otherwise there is one line that begins with the file.
    bool readOrRefused(const QString& file)
    {
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, &error));
        ++tried;
        (tree ? read : refused) += 1;
        ++counts[QFileInfo(file).suffix()][tree ? 0 : 1];
        if (tree) {
            EXPECT_EQ(defectOf(*tree), "") << file.toStdString();
        }
        crashed += error.contains(QLatin1String("crashed"));
        last = error;
        if (!tree) {
            EXPECT_TRUE(error.startsWith(file)) << error.toStdString();
            EXPECT_FALSE(error.contains(QLatin1Char('\n'))) << error.toStdString();
            EXPECT_GT(error.size(), file.size() + 3) << error.toStdString();
        }
        return bool(tree);
    }
    /// Of the first part of a model; invalid without parts.
    static QColor colorOf(const QString& file)
    {
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, nullptr));
        const auto* part = tree ? dynamic_cast<GeometryElement*>(tree->getChildren()[0]) : nullptr;
        if (!part || part->getVertices().empty())
            return QColor();
        return tov::scene::displayColor(*part->getMaterial());
    }
    void print(const std::string& what) const
    {
        std::printf("%s: %d of %d, %d read, %d refused, %d of them crashed the importer\n", what.c_str(),
                    read + refused, tried, read, refused, crashed);
        for (const auto& [suffix, count] : counts)
            std::printf("    %s: %d read, %d refused\n", qPrintable(suffix), count[0], count[1]);
    }
    QTemporaryDir folder;
    QString last;
    int tried = 0, read = 0, refused = 0, crashed = 0;
    std::map<QString, std::array<int, 2>> counts; ///< read and refused, by ending
};

struct Sample
{
    const char* name;
    QByteArray bytes;
};

std::vector<Sample> samples()
{
    return {{"s.obj", fileOf(QStringLiteral(TOV_SOURCE_DIR "/samples/crane.obj"))},
            {"s.ply", ply()},
            {"s.stl", stl()},
            {"t.stl", "solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\n"
                      "endfacet\nendsolid x\n"},
            {"s.3ds", fileOf(QStringLiteral("/usr/share/glmark2/models/cube.3ds"))},
            {"s.gltf", gltf("data:application/octet-stream;base64," + Triangle.toBase64())},
            {"s.dae", Collada},
            {"s.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"},
            {"s.glb", glb()},
            {"s.x", DirectX},
            {"s.fbx", Fbx},
            {"s.lwo", lwo()},
            {"s.3mf", printable()}};
}

} // namespace

TEST_F(ModelFaults, SamplesAreReadAsTheyAre)
{
    for (const Sample& sample : samples())
        EXPECT_TRUE(readOrRefused(write(QLatin1String(sample.name), sample.bytes))) << last.toStdString();
    // Every type of file that is accepted is among them, or among the models of the import library.
    const std::map<QString, QString> models{{"ac", "AC/Wuson.ac"},
                                            {"ase", "ASE/ThreeCubesGreen.ASE"},
                                            {"b3d", "B3D/WusonBlitz.b3d"},
                                            {"bvh", "BVH/01_01.bvh"},
                                            {"blend", "BLEND/box.blend"},
                                            {"cob", "COB/spider_6_6.cob"},
                                            {"dxf", "DXF/wuson.dxf"},
                                            {"ms3d", "MS3D/twospheres.ms3d"},
                                            {"nff", "NFF/NFF/spheres.nff"},
                                            {"ogex", "OpenGEX/Example.ogex"},
                                            {"q3o", "Q3D/earth.q3o"},
                                            {"smd", "SMD/triangle.smd"},
                                            {"x3d", "X3D/ComputerKeyboard.x3d"},
                                            {"amf", "AMF/test1.amf"},
                                            {"zae", "Collada/duck.zae"},
                                            {"ifc", "IFC/AC14-FZK-Haus.ifc"}};
    for (const auto& [suffix, model] : models)
        EXPECT_TRUE(readOrRefused(QStringLiteral("/usr/share/assimp/models/") + model)) << last.toStdString();
    for (const QString& suffix : SceneImport::getSuffixes())
        EXPECT_TRUE(counts.count(suffix) > 0 || models.count(suffix) > 0) << suffix.toStdString();
}

TEST_F(ModelFaults, CutAtEvery64thByte)
{
    for (const Sample& sample : samples())
        for (int size = 0; size < sample.bytes.size(); size += sample.bytes.size() < 400 ? 8 : 64)
            readOrRefused(write(QLatin1String(sample.name), sample.bytes.left(size)));
    const QByteArray horse = fileOf(QStringLiteral("/usr/share/glmark2/models/horse.3ds"));
    // Testing every 64th byte would take minutes.
    const int step = qEnvironmentVariableIsSet("TOV_MUTATIONS") ? 64 : 704;
    for (int size = 0; size < horse.size(); size += step)
        readOrRefused(write(QStringLiteral("horse.3ds"), horse.left(size)));
    print("cut");
    EXPECT_EQ(read + refused, tried);
    // None of these is read as a complete file, except a Wavefront file, whose remaining lines are valid.
    for (const char* suffix : {"3ds", "3mf", "dae", "fbx", "glb", "gltf", "ply", "x"}) {
        EXPECT_EQ(counts[suffix][0], 0) << suffix;
        EXPECT_GE(counts[suffix][1], 5) << suffix;
    }
    EXPECT_GE(counts["3ds"][1], 200);
    EXPECT_GE(counts["stl"][1], 30);
    EXPECT_GE(counts["obj"][0], 10);
    EXPECT_GE(counts["obj"][1], 20);
}

TEST_F(ModelFaults, ChangedAtRandom)
{
    std::mt19937 random(17);
    const auto below = [&random](std::size_t n) { return int(random() % std::uint32_t(n)); };
    // Unexpected values for counts and offsets.
    const QByteArray odd[] = {QByteArray("\xff\xff\xff\xff", 4),
                              QByteArray("\0\0\0\x80", 4),
                              QByteArray("\xff\xff\xff\x7f", 4),
                              QByteArray("\0\0\xc0\x7f", 4),
                              " -1 ",
                              " 4294967295 ",
                              " 1e39 ",
                              " nan "};
    for (const Sample& sample : samples())
        for (int i = 0; i < mutations(); ++i) {
            QByteArray bytes = sample.bytes;
            for (int changes = 1 + below(4); changes > 0 && !bytes.isEmpty(); --changes) {
                const int at = below(std::size_t(bytes.size()));
                switch (below(4)) {
                case 0:
                    bytes[at] = char(bytes[at] ^ (1 << below(8)));
                    break;
                case 1:
                    bytes[at] = char(below(256));
                    break;
                case 2: {
                    const QByteArray& value = odd[std::size_t(below(std::size(odd)))];
                    bytes.replace(at, value.size(), value);
                    break;
                }
                default:
                    bytes = bytes.left(at) + bytes.mid(std::min(bytes.size(), at + below(16)));
                }
            }
            SCOPED_TRACE(std::string(sample.name) + " " + std::to_string(i));
            readOrRefused(write(QLatin1String(sample.name), bytes));
        }
    print("changed");
    // Minimum share that is read and refused of each type, in percent. An archive has checksums.
    const std::map<QString, std::array<int, 2>> least{
        {"3ds", {20, 30}}, {"3mf", {0, 95}}, {"dae", {1, 80}}, {"fbx", {4, 70}}, {"glb", {2, 80}},  {"gltf", {2, 80}},
        {"lwo", {7, 60}},  {"obj", {4, 75}}, {"off", {3, 80}}, {"ply", {3, 80}}, {"stl", {15, 50}}, {"x", {1, 80}}};
    EXPECT_EQ(counts.size(), least.size());
    for (const auto& [suffix, count] : counts)
        for (int i : {0, 1})
            EXPECT_GE(100 * count[i], least.at(suffix)[i] * (count[0] + count[1])) << qPrintable(suffix) << " " << i;
}

TEST_F(ModelFaults, HugeCounts)
{
    for (const char* count : {"4294967295", "-1", "99999999999999999999", "2147483648"}) {
        EXPECT_FALSE(
            readOrRefused(write(QStringLiteral("a.ply"), QByteArray("ply\nformat ascii 1.0\nelement vertex ") + count +
                                                             "\nproperty float x\nproperty float y\nproperty float "
                                                             "z\nend_header\n0 0 0\n")));
        EXPECT_FALSE(readOrRefused(
            write(QStringLiteral("b.ply"), ply().replace("element face 1", QByteArray("element face ") + count))));
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("a.off"), QByteArray("OFF\n") + count + " 1 0\n0 0 0\n")));
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("a.obj"),
                                         QByteArray("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 ") + count + "\n")) &&
                     qstrcmp(count, "-1") != 0);
    }
    QByteArray many = stl();
    many.replace(80, 4, QByteArray("\xff\xff\xff\xff", 4));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("a.stl"), many)));
    for (const char* odd : {"nan", "inf", "-inf", "1e999"})
        EXPECT_FALSE(readOrRefused(
            write(QStringLiteral("n.obj"), QByteArray("v 0 0 ") + odd + "\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")));
    print("counts");
}

TEST_F(ModelFaults, TextsThatAreNotNumbers)
{
    const auto at = [](QByteArray bytes, const QByteArray& old, const QByteArray& value) {
        const int place = bytes.indexOf(old);
        EXPECT_GE(place, 0) << old.constData();
        return bytes.replace(place, old.size(), value);
    };
    const QByteArray one = floats({1});
    // Binary: the first 1 is not part of a coordinate.
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("n.ply"), at(ply(), one, NoNumber))));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("n.stl"), at(stl(), Triangle, NoNumber + Triangle.mid(4)))));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("n.glb"), at(glb(), Triangle, NoNumber + Triangle.mid(4)))));
    readOrRefused(write(QStringLiteral("n.gltf"),
                        gltf("data:application/octet-stream;base64," + (NoNumber + Triangle.mid(4)).toBase64())));
    readOrRefused(write(QStringLiteral("n.lwo"), at(lwo(), reversed(one), reversed(NoNumber))));
    QByteArray cube = fileOf(QStringLiteral("/usr/share/glmark2/models/cube.3ds"));
    const int vertices = cube.indexOf("\x10\x41") + 8; // chunk, size, count
    ASSERT_GT(vertices, 8);
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("n.3ds"), QByteArray(cube).replace(vertices, 4, NoNumber))));
    // Texts, and features of some formats only.
    for (const char* odd : {"nan", "inf", "-inf", "1e999", "-nan(7)"}) {
        const QByteArray triangle = QByteArray("0 0 ") + odd + "\n1 0 0\n0 1 0\n";
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("t.ply"), "ply\nformat ascii 1.0\nelement vertex 3\nproperty "
                                                                  "float x\nproperty float y\nproperty float "
                                                                  "z\nend_header\n" +
                                                                      triangle)));
        EXPECT_FALSE(readOrRefused(
            write(QStringLiteral("t.stl"), QByteArray("solid x\nfacet normal 0 0 1\nouter loop\nvertex 0 0 ") + odd +
                                               "\nvertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid x\n")));
        EXPECT_FALSE(readOrRefused(
            write(QStringLiteral("t.obj"), QByteArray("v 0 0 ") + odd + "\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")));
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("c.obj"), QByteArray("v 0 0 0 0 0 ") + odd + "\nf 1 1 1\n")));
        readOrRefused(write(QStringLiteral("t.off"), "OFF\n3 1 0\n" + triangle + "3 0 1 2\n"));
        readOrRefused(write(QStringLiteral("t.dae"), at(Collada, ">0 0 0 ", QByteArray(">0 0 ") + odd + " ")));
        readOrRefused(write(QStringLiteral("t.x"), at(DirectX, "0;0;0;", QByteArray("0;0;") + odd + ";")));
        readOrRefused(write(QStringLiteral("t.fbx"), at(Fbx, "a: 0,", QByteArray("a: ") + odd + ",")));
        readOrRefused(write(QStringLiteral("t.gltf"),
                            at(gltf("data:application/octet-stream;base64," + Triangle.toBase64()), "\"mesh\":0",
                               QByteArray("\"mesh\":0,\"translation\":[0,0,") + odd + "]")));
    }
    // Invalid normals and colours are dropped; invalid counts and indices make the file invalid.
    const QByteArray header = "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty float x\nproperty "
                              "float y\nproperty float z\n";
    const auto corners = [](const QByteArray& more) {
        return Triangle.left(12) + more + Triangle.mid(12, 12) + more + Triangle.mid(24) + more;
    };
    for (const QByteArray& value : {NoNumber, floats({std::numeric_limits<float>::infinity()}), floats({-3e38f})}) {
        const QByteArray three = value.repeated(3);
        EXPECT_TRUE(readOrRefused(
            write(QStringLiteral("normals.ply"),
                  header + "property float nx\nproperty float ny\nproperty float nz\nend_header\n" + corners(three))))
            << last.toStdString();
        EXPECT_TRUE(readOrRefused(write(
            QStringLiteral("colors.ply"),
            header + "property float red\nproperty float green\nproperty float blue\nend_header\n" + corners(three))))
            << last.toStdString();
        const QByteArray faces =
            header + "element face 1\nproperty list float float vertex_indices\nend_header\n" + corners(QByteArray());
        EXPECT_TRUE(readOrRefused(write(QStringLiteral("faces.ply"), faces + floats({3, 0, 1, 2}))))
            << last.toStdString();
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("index.ply"), faces + floats({3, 0, 1}) + value)));
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("list.ply"), faces + value + floats({0, 1, 2}))));
    }
    print("no numbers");
}

TEST_F(ModelFaults, CountsOfEveryFormatAtTheirLimits)
{
    const auto at = [this](const char* name, QByteArray bytes, const QByteArray& old, int skip,
                           const QByteArray& value) {
        const int place = bytes.indexOf(old);
        EXPECT_GE(place, 0) << name;
        SCOPED_TRACE(name);
        return readOrRefused(write(QLatin1String(name), bytes.replace(place + skip, value.size(), value)));
    };
    const QByteArray lists = ply().replace("list uchar int", "list uint int");
    const int indices = lists.indexOf("end_header\n") + 11 + 3 * 15;
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("list.ply"), lists.left(indices) + Most + lists.mid(indices + 1))));
    EXPECT_FALSE(at("index.ply", ply(), QByteArray("\x03\0\0\0\0", 5), 1, Most));
    EXPECT_FALSE(at("length.glb", glb(), "JSON", -4, Most));
    at("whole.glb", glb(), "glTF", 8, Most);
    EXPECT_FALSE(at("data.glb", glb(), QByteArray("BIN\0", 4), -4, Most));
    const QByteArray text = gltf("data:application/octet-stream;base64," + Triangle.toBase64());
    const QByteArray wide = "4294967295";
    EXPECT_FALSE(readOrRefused(
        write(QStringLiteral("count.gltf"), QByteArray(text).replace("\"count\":3", "\"count\":" + wide))));
    for (const QByteArray& index : {wide, QByteArray("2147483647")})
        EXPECT_FALSE(readOrRefused(write(QStringLiteral("buffer.gltf"),
                                         QByteArray(text).replace("\"bufferView\":0", "\"bufferView\":" + index))));
    EXPECT_FALSE(
        readOrRefused(write(QStringLiteral("mesh.gltf"), QByteArray(text).replace("\"mesh\":0", "\"mesh\":" + wide))));
    EXPECT_FALSE(
        readOrRefused(write(QStringLiteral("offset.gltf"),
                            QByteArray(text).replace("\"buffer\":0,", "\"buffer\":0,\"byteOffset\":" + wide + ","))));
    EXPECT_FALSE(
        readOrRefused(write(QStringLiteral("length.gltf"),
                            QByteArray(text).replace("\"byteLength\":36}]", "\"byteLength\":" + wide + "}]"))));
    const QByteArray cube = fileOf(QStringLiteral("/usr/share/glmark2/models/cube.3ds"));
    // Chunk sizes have 32 bits there, counts 16.
    for (const char* chunk : {"\x4d\x4d", "\x3d\x3d", "\x10\x41", "\x20\x41"})
        at("size.3ds", cube, chunk, 2, Most);
    for (const char* chunk : {"\x10\x41", "\x20\x41"})
        at("count.3ds", cube, chunk, 6, Most.left(2));
    EXPECT_FALSE(at("size.lwo", lwo(), "PNTS", 4, Most));
    at("polygon.lwo", lwo(), "FACE", 4, Most);
    at("index.lwo", lwo(), "FACE", 6, Most);
    EXPECT_FALSE(
        readOrRefused(write(QStringLiteral("face.off"), "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n" + wide + " 0 1 2\n")));
    // Treated as the last vertex.
    EXPECT_TRUE(
        readOrRefused(write(QStringLiteral("index.off"), "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 " + wide + "\n")));
    at("count.x", DirectX, "3;\n0;", 0, wide + ";\n0;");
    at("index.x", DirectX, "3;0,1,2;;", 6, wide + ";;\n}\n");
    at("size.3mf", printable(), "PK\1\2", 20, Most);
    at("offset.3mf", printable(), "PK\1\2", 42, Most);
    at("directory.3mf", printable(), "PK\5\6", 12, Most);
    EXPECT_GE(refused, 18);
    print("limits");
}

TEST_F(ModelFaults, MaterialsCutAtEvery64thByte)
{
    QByteArray library;
    for (int i = 0; i < 60; ++i)
        library += "newmtl m" + QByteArray::number(i) + "\nKa 0.1 0.1 0.1\nKd 0 " + (i % 2 ? "1" : "nan") +
                   " 0\nd 0.5\nTr 1e999\nillum 2\n";
    const QString model =
        write(QStringLiteral("m.obj"), "mtllib m.mtl\nusemtl m1\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    int green = 0;
    for (int size = 0; size <= library.size(); size += 64) {
        write(QStringLiteral("m.mtl"), library.left(size));
        EXPECT_TRUE(readOrRefused(model)) << last.toStdString();
        const QColor color = colorOf(model);
        EXPECT_TRUE(color.isValid()) << size;
        green += color.green() == 255 && color.red() == 0;
    }
    EXPECT_EQ(tried, library.size() / 64 + 1);
    EXPECT_GE(green, tried - 2);
    for (const QByteArray& odd :
         {QByteArray("Kd\nd\nnewmtl\nnewmtl \nKd 1\n"), QByteArray("newmtl m1\nKd nan inf -inf\nd nan\n"),
          QByteArray(100000, '\0'), QByteArray(200000, ' '), QByteArray("newmtl m1\nKd 1e999 1e-999 x\nTr nan\n")}) {
        write(QStringLiteral("m.mtl"), odd);
        EXPECT_TRUE(colorOf(model).isValid()) << odd.left(40).constData();
    }
    print("materials");
}

TEST_F(ModelFaults, TheReaderIsSandboxed)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need memory and calls of the system that the reader is denied otherwise";
#endif
    // A library in the importer process tries to break out of the sandbox when the model is read, as a malicious file
    // could.
    const QString notes = folder.filePath(QStringLiteral("notes"));
    const QDir beside(notes + QStringLiteral(".d"));
    QDir(folder.path()).mkdir(QStringLiteral("notes.d"));
    const QString old = write(QStringLiteral("notes.d/old"), "old");
    const auto before = QFileInfo(old).lastModified();
    const QString model = QStringLiteral("/usr/share/glmark2/models/cube.3ds");
    qputenv("LD_PRELOAD", TOV_ATTEMPTSHIM);
    qputenv("TOV_ATTEMPTS", QFile::encodeName(notes));
    EXPECT_TRUE(readOrRefused(model)) << last.toStdString();
    QMap<QByteArray, QByteArray> attempts;
    for (const QByteArray& line : fileOf(notes).split('\n'))
        if (!line.isEmpty())
            attempts[line.split(' ').first()] = line.split(' ').last();
    EXPECT_EQ(attempts.take("end"), "0") << "not everything was tried";
    EXPECT_EQ(attempts.size(), 31);
    const QMap<QByteArray, int> others{{"memory", ENOMEM}, {"shared-memory", EFBIG}};
    for (auto attempt = attempts.cbegin(); attempt != attempts.cend(); ++attempt)
        EXPECT_EQ(attempt.value().toInt(), others.value(attempt.key(), EPERM)) << attempt.key().constData();
    EXPECT_EQ(beside.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System), QStringList{"old"});
    EXPECT_EQ(fileOf(old), "old");
    EXPECT_EQ(QFileInfo(old).lastModified(), before);

    // It allocates all the memory that it can get.
    QFile::remove(notes);
    qputenv("TOV_ATTEMPT_HOARD", "1");
    EXPECT_FALSE(readOrRefused(QStringLiteral("/usr/share/glmark2/models/horse.3ds")));
    EXPECT_TRUE(last.contains(QLatin1String("not enough memory"))) << last.toStdString();
    EXPECT_EQ(fileOf(notes), "hoard " + QByteArray::number(ENOMEM) + "\n");
    for (const char* name : {"LD_PRELOAD", "TOV_ATTEMPTS", "TOV_ATTEMPT_HOARD"})
        qunsetenv(name);
    EXPECT_TRUE(readOrRefused(model)) << last.toStdString();
}

TEST_F(ModelFaults, ExtentsAtTheEndsOfTheRangeOfFloats)
{
    // Found by fuzzing: sizes that overflow, or are too small to divide by.
    for (const char* numbers : {"3e38 -3e38 1e-45", "3e38 3e38 3e38", "1e-45 0 0", "-3e38 1e-40 0"})
        EXPECT_TRUE(readOrRefused(write(QStringLiteral("ends.obj"),
                                        QByteArray("v 0 0 0\nv ") + numbers + "\nv -3e38 0 1\nf 1 2 3\nf 3 2 1\n")))
            << last.toStdString();
}

TEST_F(ModelFaults, TreesAMillionDeep)
{
    // Deeply nested nodes; the reader runs in a process of its own, so only its stack can overflow.
    QByteArray deep = Collada;
    const QByteArray open = "<node>", close = "</node>";
    deep.replace("<node id=\"n\">", open.repeated(1000000) + "<node id=\"n\">");
    deep.replace("</node>\n</visual_scene>", "</node>" + close.repeated(1000000) + "</visual_scene>");
    readOrRefused(write(QStringLiteral("deep.dae"), deep));
    QByteArray groups;
    for (int i = 0; i < 100000; ++i)
        groups += "g a" + QByteArray::number(i) + "\n";
    readOrRefused(write(QStringLiteral("deep.obj"), groups + "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"));
    EXPECT_EQ(read + refused, 2);
    print("deep");
}

TEST_F(ModelFaults, NothingOutsideTheFolderIsRead)
{
    QDir(folder.path()).mkdir(QStringLiteral("model"));
    write(QStringLiteral("secret.bin"), Triangle);
    write(QStringLiteral("model/own.bin"), Triangle);
    EXPECT_TRUE(readOrRefused(write(QStringLiteral("model/own.gltf"), gltf("own.bin")))) << last.toStdString();
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("model/above.gltf"), gltf("../secret.bin"))));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("model/absolute.gltf"),
                                     gltf(QFile::encodeName(folder.filePath(QStringLiteral("secret.bin")))))));
    ASSERT_TRUE(
        QFile::link(folder.filePath(QStringLiteral("secret.bin")), folder.filePath(QStringLiteral("model/link.bin"))));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("model/link.gltf"), gltf("link.bin"))));
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("model/device.gltf"), gltf("/dev/zero"))));
}

TEST_F(ModelFaults, MaterialsComeFromTheModelsFolderOnly)
{
    const QDir above(folder.path());
    above.mkdir(QStringLiteral("model"));
    write(QStringLiteral("secret.mtl"), "newmtl m\nKd 1 0 0\n");
    write(QStringLiteral("model/own.mtl"), "newmtl m\nKd 0 1 0\n");
    const QString secret = above.filePath(QStringLiteral("secret.mtl"));
    ASSERT_TRUE(QFile::link(secret, above.filePath(QStringLiteral("model/link.mtl"))));
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), above.filePath(QStringLiteral("model/endless.mtl"))));
    ASSERT_EQ(mkfifo(QFile::encodeName(above.filePath(QStringLiteral("model/pipe.mtl"))).constData(), 0600), 0);
    const auto colorWith = [&](const QByteArray& library) {
        const QString model = write(QStringLiteral("model/m.obj"),
                                    "mtllib " + library + "\nusemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
        return colorOf(model);
    };
    EXPECT_EQ(colorWith("own.mtl"), QColor(0, 255, 0));
    const QColor plain = colorWith("missing.mtl");
    ASSERT_TRUE(plain.isValid());
    for (const QByteArray& library : {QByteArray("../secret.mtl"), QFile::encodeName(secret), QByteArray("link.mtl"),
                                      QByteArray("endless.mtl"), QByteArray("/dev/zero"), QByteArray("pipe.mtl")})
        EXPECT_EQ(colorWith(library), plain) << library.constData();
    // The folder of a model that is opened by a link is that of the link's target.
    ASSERT_TRUE(QFile::link(above.filePath(QStringLiteral("model/m.obj")), above.filePath(QStringLiteral("m.obj"))));
    colorWith("own.mtl");
    EXPECT_EQ(colorOf(above.filePath(QStringLiteral("m.obj"))), QColor(0, 255, 0));
}

TEST_F(ModelFaults, AFileThatTakesTooLongIsRefused)
{
    qputenv("TOV_IMPORT_SECONDS", "1");
    // The import library cuts a polygon into triangles in a time that grows with the square of its corners.
    constexpr int Corners = 32000;
    QByteArray slow = "xof 0303txt 0032\nMesh m {\n" + QByteArray::number(Corners) + ";\n", face;
    for (int i = 0; i < Corners; ++i) {
        const double angle = 2 * M_PI * i / Corners;
        slow += QByteArray::number(1e6 * std::cos(angle), 'f', 3) + ';' +
                QByteArray::number(1e6 * std::sin(angle), 'f', 3) + ";0;" + (i + 1 < Corners ? ",\n" : ";\n");
        face += QByteArray::number(i) + (i + 1 < Corners ? "," : ";;\n}\n");
    }
    slow += "1;\n" + QByteArray::number(Corners) + ';' + face;
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("slow.x"), slow)));
    qunsetenv("TOV_IMPORT_SECONDS");
    EXPECT_TRUE(last.contains(QLatin1String("more than 1 s"))) << last.toStdString();
}

namespace {

QByteArray bigEndian(quint32 value)
{
    return reversed(raw(value));
}

/// A PNG file that begins with a header of this size and ends right after it.
QByteArray pngHeader(quint32 width, quint32 height)
{
    const QByteArray header = "IHDR" + bigEndian(width) + bigEndian(height) + QByteArray("\x08\x06\0\0\0", 5);
    quint32 sum = ~0u;
    for (const char byte : header) {
        sum ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xedb88320u : 0u);
    }
    return QByteArray("\x89PNG\r\n\x1a\n") + bigEndian(13) + header + bigEndian(~sum);
}

/// The triangle with a material.
QByteArray texturedGltf(const QByteArray& material, const QByteArray& image)
{
    QByteArray text = gltf("data:application/octet-stream;base64," + Triangle.toBase64());
    text.replace(R"({"POSITION":0}})", R"({"POSITION":0},"material":0})");
    text.chop(1);
    return text + R"(,"materials":[)" + material + R"(],"textures":[{"source":0}],"images":[{"uri":")" + image +
           R"("}]})";
}

} // namespace

TEST_F(ModelFaults, UnreadableImagesGiveOneWarning)
{
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}})";
    const std::map<QString, QByteArray> images{{"none.png", pngHeader(0, 0)},
                                               {"wide.png", pngHeader(1, 100000)},
                                               {"huge.png", pngHeader(1000000000, 1000000000)},
                                               {"large.png", pngHeader(100000, 100000)},
                                               {"cut.jpg", QByteArray("\xff\xd8\xff\xe0\0\x10JFIF", 10)},
                                               {"text.png", "not an image"},
                                               {"empty.png", ""}};
    for (const auto& [name, bytes] : images) {
        write(name, bytes);
        const QString model = write(QStringLiteral("m.gltf"), texturedGltf(material, name.toLatin1()));
        QString error;
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(model, &error));
        ASSERT_TRUE(tree) << name.toStdString() << ": " << error.toStdString();
        const QStringList warnings = tree->getModelData()->warnings;
        ASSERT_EQ(warnings.size(), 1) << name.toStdString();
        EXPECT_TRUE(warnings[0].contains(name)) << warnings[0].toStdString();
        SceneImport::Options strict;
        strict.strict = true;
        const std::unique_ptr<SceneElement> refusedTree(SceneImport::readFile(model, strict, &error));
        EXPECT_FALSE(refusedTree);
        EXPECT_TRUE(error.contains(name)) << error.toStdString();
    }
}

TEST_F(ModelFaults, TruncatedImagesInAModelGiveOneWarning)
{
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}})";
    const std::map<QByteArray, QString> images{
        {"image/png", QStringLiteral("/usr/share/assimp/models/glTF2/BoxTextured-glTF/CesiumLogoFlat.png")},
        {"image/jpeg", QStringLiteral("/usr/share/assimp/models/OBJ/SpiderTex.jpg")}};
    for (const auto& [type, file] : images) {
        const QByteArray bytes = fileOf(file);
        ASSERT_GT(bytes.size(), 1000);
        for (int part = 1; part < 16; ++part) {
            const QByteArray uri = "data:" + type + ";base64," + bytes.left(bytes.size() * part / 16).toBase64();
            QString error;
            const std::unique_ptr<SceneElement> tree(
                SceneImport::readFile(write(QStringLiteral("m.gltf"), texturedGltf(material, uri)), &error));
            ASSERT_TRUE(tree) << error.toStdString();
            EXPECT_EQ(tree->getModelData()->warnings.size(), 1) << type.constData() << " " << part;
        }
    }
}

TEST_F(ModelFaults, SkinsAndAnimationsWithWrongReferences)
{
    const QByteArray good = gltf("data:application/octet-stream;base64," + Triangle.toBase64());
    const auto with = [&](const QByteArray& nodes, const QByteArray& more) {
        QByteArray text = good;
        text.replace(R"("nodes":[{"mesh":0,"name":"tri"}])", nodes);
        text.chop(1);
        return write(QStringLiteral("a.gltf"), text + more + "}");
    };
    // Joints in a cycle, joints that are their own parents, and missing joints.
    EXPECT_TRUE(
        readOrRefused(with(R"("nodes":[{"mesh":0,"skin":0,"children":[1]},{"children":[2]},{"children":[1,2]}])",
                           R"(,"skins":[{"joints":[1,2]}])")))
        << last.toStdString();
    EXPECT_FALSE(readOrRefused(with(R"("nodes":[{"mesh":0,"skin":0}])", R"(,"skins":[{"joints":[7]}])")));
    // A billion keys: without data, and with too little data.
    const auto keys = [&](const QByteArray& accessor) {
        QByteArray text = good;
        text.replace("\"max\":[1,1,0]}]", "\"max\":[1,1,0]}," + accessor + "]");
        text.chop(1);
        text += R"(,"animations":[{"channels":[{"sampler":0,"target":{"node":0,"path":"scale"}}],)"
                R"("samplers":[{"input":1,"output":0}]}]})";
        return write(QStringLiteral("k.gltf"), text);
    };
    for (const char* view : {"", R"("bufferView":0,)"}) {
        EXPECT_TRUE(
            readOrRefused(keys(QByteArray("{") + view + R"("componentType":5126,"count":1000000000,"type":"SCALAR"})")))
            << last.toStdString();
        QString error;
        const std::unique_ptr<SceneElement> tree(
            SceneImport::readFile(folder.filePath(QStringLiteral("k.gltf")), &error));
        ASSERT_TRUE(tree) << error.toStdString();
        EXPECT_EQ(tree->getModelData()->warnings.size(), 1);
        EXPECT_TRUE(tree->getModelData()->animations.empty());
    }
}

TEST_F(ModelFaults, CompressedModelsAreReadOrRefused)
{
    const auto gzip = [](const QByteArray& bytes) {
        // A stored block has at most 65535 bytes.
        EXPECT_LT(bytes.size(), 65536);
        quint32 sum = ~0u;
        for (const char byte : bytes) {
            sum ^= quint8(byte);
            for (int bit = 0; bit < 8; ++bit)
                sum = sum >> 1 ^ (sum & 1 ? 0xedb88320u : 0u);
        }
        return QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\x03\x01", 11) + raw(quint16(bytes.size())) +
               raw(quint16(~bytes.size())) + bytes + raw(~sum) + raw(quint32(bytes.size()));
    };
    for (const Sample& sample : samples()) {
        const QString name = QLatin1String(sample.name) + QStringLiteral(".gz");
        if (sample.bytes.size() >= 65536)
            continue;
        const QByteArray packed = gzip(sample.bytes);
        EXPECT_TRUE(readOrRefused(write(name, packed))) << last.toStdString();
        for (const int size : {5, 11, 40, packed.size() / 2, packed.size() - 9})
            EXPECT_FALSE(readOrRefused(write(name, packed.left(size)))) << sample.name << " " << size;
        EXPECT_FALSE(readOrRefused(write(name, QByteArray(packed).replace(11, 4, Most)))) << sample.name;
    }
    // The ending before ".gz" is the format.
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("none.gz"), gzip("nothing"))));
    EXPECT_TRUE(last.contains(QLatin1String("cannot be read; known are"))) << last.toStdString();
    print("compressed");
}

TEST_F(ModelFaults, TextInUtf16IsReadOrRefused)
{
    const QString models = QStringLiteral("/usr/share/assimp/models/");
    for (const char* file : {"OBJ/box_UTF16BE.obj", "Collada/cube_UTF16LE.dae", "AC/SphereWithLight_UTF16LE.ac",
                             "ASE/ThreeCubesGreen_UTF16BE.ASE", "ASE/ThreeCubesGreen_UTF16LE.ASE"}) {
        EXPECT_TRUE(readOrRefused(models + QLatin1String(file))) << last.toStdString();
        const QByteArray bytes = fileOf(models + QLatin1String(file));
        for (int size = 2; size < 40; ++size)
            EXPECT_FALSE(readOrRefused(write(QFileInfo(QLatin1String(file)).fileName(), bytes.left(size)))) << size;
    }
    // Unpaired surrogates.
    EXPECT_TRUE(readOrRefused(
        write(QStringLiteral("halves.obj"),
              QByteArray("\xff\xfe#\0\0\xd8\0\xdc\0\xd8x\0\0\xdc\n\0", 16) +
                  QByteArray(reinterpret_cast<const char*>(u"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"), 2 * 32) + "x")))
        << last.toStdString();
    print("UTF-16");
}

TEST_F(ModelFaults, MaterialValuesAreBroughtIntoRange)
{
    const QByteArray material =
        R"({"pbrMetallicRoughness":{"baseColorFactor":[1e999,-1,2,1e39],"metallicFactor":7,"roughnessFactor":-3},)"
        R"("emissiveFactor":[-1,1e300,0],"alphaCutoff":-5})";
    readOrRefused(write(QStringLiteral("m.gltf"), texturedGltf(material, "none.png")));
    QByteArray many = R"({"name":"m"})";
    for (int i = 0; i < 100000; ++i)
        many += R"(,{"name":"m"})";
    EXPECT_TRUE(readOrRefused(write(QStringLiteral("many.gltf"), texturedGltf(many, "none.png"))))
        << last.toStdString();
    QByteArray library, model = "mtllib many.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n";
    for (int i = 0; i < 100000; ++i)
        library += "newmtl m" + QByteArray::number(i) + "\nKd nan inf 1\nmap_Kd missing.png\n";
    write(QStringLiteral("many.mtl"), library);
    EXPECT_TRUE(readOrRefused(write(QStringLiteral("many.obj"), model + "usemtl m99999\nf 1 2 3\n")))
        << last.toStdString();
}

TEST_F(ModelFaults, InvalidAnimationsGiveOneWarning)
{
    // Times: not in order, not numbers; joints and nodes in a cycle.
    const auto animated = [this](const QByteArray& times, const QByteArray& nodes) {
        const QByteArray bytes = Triangle + times + floats({0, 0, 0, 1, 1, 1});
        QByteArray text = gltf("data:application/octet-stream;base64," + bytes.toBase64());
        text.replace("\"byteLength\":36,\"uri\"", "\"byteLength\":68,\"uri\"");
        text.replace("\"byteLength\":36}]", "\"byteLength\":68}]");
        text.replace(
            "\"max\":[1,1,0]}]",
            R"("max":[1,1,0]},{"bufferView":0,"byteOffset":36,"componentType":5126,"count":2,"type":"SCALAR"},)"
            R"({"bufferView":0,"byteOffset":44,"componentType":5126,"count":2,"type":"VEC3"}])");
        text.replace(R"("nodes":[{"mesh":0,"name":"tri"}])", nodes);
        text.chop(1);
        text += R"(,"animations":[{"name":"clip","channels":[{"sampler":0,"target":{"node":0,"path":"translation"}}],)"
                R"("samplers":[{"input":1,"output":2}]}]})";
        QString error;
        std::unique_ptr<SceneElement> tree(SceneImport::readFile(write(QStringLiteral("a.gltf"), text), &error));
        EXPECT_TRUE(tree) << error.toStdString();
        return tree;
    };
    const QByteArray node = R"("nodes":[{"mesh":0,"name":"tri"}])";
    const auto good = animated(floats({0, 1}), node);
    ASSERT_TRUE(good);
    ASSERT_EQ(good->getModelData()->animations.size(), 1u);
    EXPECT_EQ(good->getModelData()->animations[0].duration, 1);
    EXPECT_TRUE(good->getModelData()->warnings.isEmpty());
    for (const QByteArray& times : {floats({1, 0}), NoNumber + NoNumber}) {
        const auto tree = animated(times, node);
        ASSERT_TRUE(tree);
        EXPECT_TRUE(tree->getModelData()->animations.empty());
        EXPECT_EQ(tree->getModelData()->warnings.size(), 1);
    }
    const auto cycle = animated(floats({0, 1}), R"("nodes":[{"mesh":0,"children":[1]},{"children":[0,1]}])");
    ASSERT_TRUE(cycle);
    EXPECT_EQ(cycle->getModelData()->warnings.size(), 2);
}

TEST_F(ModelFaults, ReadingInTheImporterProcessCanBeStopped)
{
    QString error;
    int calls = 0;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(
        QStringLiteral("/usr/share/glmark2/models/asteroid-high.3ds"), &error, [&calls](int) { return ++calls < 2; }));
    EXPECT_FALSE(tree);
    EXPECT_TRUE(error.endsWith(QLatin1String("stopped"))) << error.toStdString();
}
