// Model files that are cut, changed at random, or lie about themselves: each is read or refused in one line.

#include "kernel/main/settings.h"
#include "scene/geometryelement.h"
#include "scene/sceneelement.h"
#include "scene/sceneimport.h"

#include <QColor>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
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
    const int asked = qEnvironmentVariableIntValue("TOV_MUTATIONS");
    return asked > 0 ? asked : 120;
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
        crashed += error.contains(QLatin1String("crashed"));
        last = error;
        if (!tree) {
            EXPECT_TRUE(error.startsWith(file)) << error.toStdString();
            EXPECT_FALSE(error.contains(QLatin1Char('\n'))) << error.toStdString();
            EXPECT_GT(error.size(), file.size() + 3) << error.toStdString();
        }
        return bool(tree);
    }
    /// Of the first part of a model; invalid when there is none.
    static QColor colorOf(const QString& file)
    {
        const std::unique_ptr<SceneElement> tree(SceneImport::readFile(file, nullptr));
        const auto* part = tree ? dynamic_cast<GeometryElement*>(tree->getChildren()[0]) : nullptr;
        if (!part || part->getVertices().empty())
            return QColor();
        const auto& color = part->getVertices()[0].color;
        return QColor(color[0], color[1], color[2]);
    }
    void print(const std::string& what) const
    {
        std::printf("%s: %d of %d, %d read, %d refused, %d of them crashed apart\n", what.c_str(), read + refused,
                    tried, read, refused, crashed);
    }
    QTemporaryDir folder;
    QString last;
    int tried = 0, read = 0, refused = 0, crashed = 0;
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
            {"s.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"}};
}

} // namespace

TEST_F(ModelFaults, SamplesAreReadAsTheyAre)
{
    for (const Sample& sample : samples())
        EXPECT_TRUE(readOrRefused(write(QLatin1String(sample.name), sample.bytes))) << last.toStdString();
}

TEST_F(ModelFaults, CutAtEvery64thByte)
{
    for (const Sample& sample : samples())
        for (int size = 0; size < sample.bytes.size(); size += sample.bytes.size() < 400 ? 8 : 64)
            readOrRefused(write(QLatin1String(sample.name), sample.bytes.left(size)));
    const QByteArray horse = fileOf(QStringLiteral("/usr/share/glmark2/models/horse.3ds"));
    for (int part = 0; part < 60; ++part)
        readOrRefused(write(QStringLiteral("horse.3ds"), horse.left(horse.size() / 60 * part)));
    print("cut");
    EXPECT_EQ(read + refused, tried);
    EXPECT_GT(refused, 100);
}

TEST_F(ModelFaults, ChangedAtRandom)
{
    std::mt19937 random(17);
    const auto below = [&random](std::size_t n) { return int(random() % std::uint32_t(n)); };
    // Values that counts and offsets do not expect.
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
    EXPECT_EQ(read + refused, tried);
    EXPECT_GT(refused, 100);
}

TEST_F(ModelFaults, CountsBeyondMeasure)
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
    // Nodes within nodes; the reader has a stack of its own, in a process of its own.
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

TEST_F(ModelFaults, NothingOutsideOfTheFolderIsRead)
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
    // A model that is opened by a link has its folder where it lies.
    ASSERT_TRUE(QFile::link(above.filePath(QStringLiteral("model/m.obj")), above.filePath(QStringLiteral("m.obj"))));
    colorWith("own.mtl");
    EXPECT_EQ(colorOf(above.filePath(QStringLiteral("m.obj"))), QColor(0, 255, 0));
}

TEST_F(ModelFaults, AFileThatTakesTooLongIsGivenUp)
{
    // So many faces in one place: smooth normals are looked for among all of them, for each of them.
    qputenv("TOV_IMPORT_SECONDS", "1");
    constexpr int Faces = 60000;
    QByteArray slow = "OFF\n" + QByteArray::number(3 * Faces) + " " + QByteArray::number(Faces) + " 0\n" +
                      QByteArray("0 0 0\n1 0 0\n0 1 0\n").repeated(Faces);
    for (int i = 0; i < 3 * Faces; i += 3)
        slow += "3 " + QByteArray::number(i) + " " + QByteArray::number(i + 1) + " " + QByteArray::number(i + 2) + "\n";
    EXPECT_FALSE(readOrRefused(write(QStringLiteral("slow.off"), slow)));
    qunsetenv("TOV_IMPORT_SECONDS");
    EXPECT_TRUE(last.contains(QLatin1String("more than 1 s"))) << last.toStdString();
}

TEST_F(ModelFaults, ReadingApartCanBeStopped)
{
    QString error;
    int calls = 0;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(
        QStringLiteral("/usr/share/glmark2/models/asteroid-high.3ds"), &error, [&calls](int) { return ++calls < 2; }));
    EXPECT_FALSE(tree);
    EXPECT_TRUE(error.endsWith(QLatin1String("stopped"))) << error.toStdString();
}
