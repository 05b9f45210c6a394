// The program's own model readers return valid indices, or one line of error message.

#include "scene/geometryelement.h"
#include "scene/import/sceneimport.h"
#include "scene/sceneview.h"

#include <QFile>
#include <QString>

#include <cstdlib>
#include <memory>

#include <sys/mman.h>
#include <unistd.h>

using tov::scene::GeometryElement;
using tov::scene::SceneElement;
using tov::scene::SceneImport;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static const QString folder = QStringLiteral("/dev/shm/tov-fuzz-%1").arg(getpid());
    const char* const endings[] = {".obj", ".ply", ".stl"};
    const QString name = folder + QLatin1String(endings[data[0] % 3]);
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(reinterpret_cast<const char*>(data + 1), qint64(size - 1)) < 0)
            return 0;
    }
    QString error;
    const std::unique_ptr<SceneElement> tree(SceneImport::readFile(name, &error));
    QFile::remove(name);
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
