// What the importer process hands over becomes a valid tree, or is refused.

#include "scene/geometryelement.h"
#include "scene/import/importprocess.h"
#include "scene/import/streamreader.h"
#include "scene/sceneview.h"

#include <QString>

#include <cstdlib>
#include <memory>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

using namespace tov::scene;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const int file = memfd_create("fuzz_streams", MFD_CLOEXEC);
    if (file < 0 || write(file, data, size) != ssize_t(size))
        std::abort();
    try {
        const ImportedBytes bytes(file);
        const std::unique_ptr<SceneElement> tree(readStream(bytes, QStringLiteral("m")));
        forEachVisible(tree.get(), [](const GeometryElement& element, const tov::math::Matrix4&) {
            for (const auto index : element.getIndices())
                if (index >= element.getVertices().size())
                    std::abort();
        });
    } catch (const ReadError&) {
    } catch (const std::bad_alloc&) {
    }
    close(file);
    return 0;
}
