// The program trusts nothing that the importer process hands over.

#include "scene/geometryelement.h"
#include "scene/import/importprocess.h"
#include "scene/import/meshstream.h"
#include "scene/import/streamreader.h"
#include "scene/sceneview.h"

#include <QFile>
#include <QString>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

using namespace tov::scene;

namespace {

const QString Models = QStringLiteral("/usr/share/assimp/models/");

/// Shared memory with a stream of the importer process, which the test changes.
class SharedStream
{
public:
    explicit SharedStream(const QByteArray& bytes) : m_Descriptor(memfd_create("tst_stream", MFD_CLOEXEC))
    {
        EXPECT_EQ(write(m_Descriptor, bytes.constData(), std::size_t(bytes.size())), bytes.size());
    }
    ~SharedStream() { close(m_Descriptor); }
    void put(std::size_t at, const void* data, std::size_t size)
    {
        EXPECT_EQ(pwrite(m_Descriptor, data, size, off_t(at)), ssize_t(size));
    }
    void cut(std::size_t size) { EXPECT_EQ(ftruncate(m_Descriptor, off_t(size)), 0); }
    int descriptor() const { return m_Descriptor; }

private:
    const int m_Descriptor;
};

QByteArray streamOf(const QString& model)
{
    QFile file(Models + model);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << model.toStdString();
    const char* mapped = reinterpret_cast<const char*>(file.map(0, file.size()));
    const ReadProgress none;
    const ImportedBytes bytes = runImportProcess({file.fileName(), mapped, mapped + file.size(), none}, "auto");
    return QByteArray(bytes.data(), int(bytes.size()));
}

/// Every number that the drawer uses as an index or as a count is in range.
void checkTree(const SceneElement& root)
{
    forEachVisible(&root, [](const GeometryElement& element, const tov::math::Matrix4&) {
        const std::size_t vertices = element.getVertices().size();
        for (const std::uint32_t index : element.getIndices())
            ASSERT_LT(index, vertices);
        for (int set = 0; set < 2; ++set)
            ASSERT_TRUE(element.getTextureCoordinates(set).empty() ||
                        element.getTextureCoordinates(set).size() == 2 * vertices);
        if (const auto* deformation = element.getDeformation(); deformation && deformation->skin) {
            const std::size_t joints = deformation->skin->joints.size();
            for (const std::uint16_t joint : deformation->joints)
                ASSERT_LT(joint, joints);
        }
    });
}

enum class Result
{
    Read,
    Refused,
};

Result readShared(const SharedStream& stream)
{
    try {
        const ImportedBytes bytes(stream.descriptor());
        const std::unique_ptr<SceneElement> tree(readStream(bytes, QStringLiteral("m")));
        EXPECT_TRUE(tree);
        if (tree)
            checkTree(*tree);
        return Result::Read;
    } catch (const ReadError& error) {
        EXPECT_FALSE(std::string(error.what()).empty());
    } catch (const std::bad_alloc&) {
    }
    return Result::Refused;
}

class HostileStream : public testing::TestWithParam<const char*>
{};

} // namespace

/// Every 32-bit word of the stream in turn, or as many as there is time for, evenly distributed.
TEST_P(HostileStream, EveryWordMayBeAnything)
{
    const QByteArray bytes = streamOf(QLatin1String(GetParam()));
    SharedStream stream(bytes);
    ASSERT_EQ(readShared(stream), Result::Read);
    constexpr std::size_t MostWords = 1500;
    const std::size_t words = std::size_t(bytes.size()) / 4, step = words / MostWords + 1;
    int refused = 0;
    for (std::size_t word = 0; word < words; word += word < MostWords / 2 ? 1 : step)
        for (const std::uint32_t value : {0u, 1u, 0x7fffffffu, 0xffffffffu, 0x7fc00000u}) {
            SCOPED_TRACE(testing::Message() << "word " << word << ", value " << value);
            stream.put(4 * word, &value, sizeof value);
            refused += readShared(stream) == Result::Refused;
            stream.put(4 * word, bytes.constData() + 4 * word, sizeof value);
            if (HasFatalFailure())
                return;
        }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(readShared(stream), Result::Read);
}

TEST_P(HostileStream, AStreamThatEndsEarlyIsRefused)
{
    const QByteArray bytes = streamOf(QLatin1String(GetParam()));
    for (int i = 0; i < 200; ++i) {
        const auto size = std::size_t(bytes.size()) * std::size_t(i) / 200;
        SharedStream stream(bytes);
        stream.cut(size);
        EXPECT_EQ(readShared(stream), Result::Refused) << size;
    }
}

TEST_P(HostileStream, AnotherVersionAndAnUnfinishedStreamAreRefused)
{
    const QByteArray bytes = streamOf(QLatin1String(GetParam()));
    for (const std::size_t at :
         {offsetof(stream::Header, magic), offsetof(stream::Header, version), offsetof(stream::Header, complete)}) {
        SharedStream shared(bytes);
        const std::uint32_t value = 0;
        shared.put(at, &value, sizeof value);
        EXPECT_EQ(readShared(shared), Result::Refused) << at;
    }
}

INSTANTIATE_TEST_SUITE_P(Models, HostileStream,
                         testing::Values("glTF2/simple_skin/simple_skin.gltf",
                                         "glTF2/glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf",
                                         "glTF2/BoxTextured-glTF/BoxTextured.gltf",
                                         "Collada/box_nested_animation.dae"));
