// The model readers return valid indices, or one line of error message.

#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"
#include "scene/sceneview.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <cstdlib>
#include <iterator>
#include <memory>

#include <sys/mman.h>
#include <unistd.h>

using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::SceneImport;

namespace {

bool writeFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static const QString folder = QStringLiteral("/dev/shm/tov-fuzz-%1").arg(getpid());
    const char* const endings[] = {"obj", "ply", "stl", "gltf"};
    const QString name = folder + QStringLiteral("/m.") + QLatin1String(endings[data[0] % std::size(endings)]);
    // Up to the first null character it is the model, after it the material library.
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), int(size - 1));
    const bool hasLibrary = name.endsWith(QLatin1String("obj")) && bytes.contains('\0');
    const int end = hasLibrary ? bytes.indexOf('\0') : bytes.size();
    if (!QDir().mkpath(folder) || !writeFile(name, bytes.left(end)) ||
        !writeFile(folder + QStringLiteral("/m.mtl"), hasLibrary ? bytes.mid(end + 1) : QByteArray()))
        return 0;
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(name, &error));
    QDir(folder).removeRecursively();
    if (!tree && (error.isEmpty() || error.contains(QLatin1Char('\n'))))
        std::abort();
    if (tree)
        tov::scene::forEachVisible(tree.get(), [](const GeometryElement& element, const tov::math::Matrix4&) {
            for (const auto index : element.getIndices())
                if (index >= element.getVertices().size())
                    std::abort();
        });
    return 0;
}
