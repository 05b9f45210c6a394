#include "scene/import/sceneimport.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "kernel/log/logger.h"
#include "scene/import/readers.h"
#include "scene/model.h"
#include "scene/import/streamreader.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/sceneview.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstring>
#include <memory>

namespace tov::scene {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::scene", text);
}

const QStringList OwnSuffixes{QStringLiteral("obj"), QStringLiteral("ply"), QStringLiteral("stl")};
/// Formats that the importer process reads.
const char* const ProcessSuffixes[] = {"gltf", "glb", "3ds", "dae",   "fbx", "off", "3mf", "lwo",  "x",
                                       "ac",   "ase", "b3d", "blend", "bvh", "cob", "dxf", "ms3d", "nff",
                                       "ogex", "q3o", "smd", "x3d",   "amf", "zae", "ifc"};

bool hasShape(const SceneElement* element)
{
    return !visibleBox(element).isEmpty();
}

} // namespace

QStringList SceneImport::getSuffixes()
{
    QStringList suffixes = OwnSuffixes;
    for (const char* suffix : ProcessSuffixes)
        suffixes << QString::fromLatin1(suffix);
    return suffixes;
}

SceneElement* SceneImport::readFile(const QString& fileName, QString* error, const Progress& progress)
{
    return readFile(fileName, Options(), error, progress);
}

bool SceneImport::addFiles(const QStringList& fileNames, QString* error, const Progress& progress)
{
    return addFiles(fileNames, Options(), error, progress);
}

bool SceneImport::isModelUp(const QString& text)
{
    static const QStringList known{QStringLiteral("auto"), QStringLiteral("+Y"), QStringLiteral("-Y"),
                                   QStringLiteral("+Z"),   QStringLiteral("-Z"), QStringLiteral("+X"),
                                   QStringLiteral("-X")};
    return text.isEmpty() || known.contains(text, Qt::CaseInsensitive);
}

namespace {

void logWarnings(const ModelData& data)
{
    for (const QString& warning : data.warnings)
        tov::log::Logger::log(tov::log::LevelInformation, "scene/import", __LINE__, "readFile", nullptr, "%s",
                              QStringLiteral("%1: %2").arg(data.fileName, warning).toUtf8().constData());
}

SceneElement* readInProcess(const ReadSource& source, bool isAuto)
{
    return readStream(runImportProcess(source, isAuto ? "auto" : "keep"),
                      QFileInfo(source.fileName).completeBaseName());
}

SceneElement* readSource(const ReadSource& source, const QString& suffix, bool isAuto)
{
    return suffix == QLatin1String("obj")   ? readObj(source)
           : suffix == QLatin1String("ply") ? readPly(source)
           : suffix == QLatin1String("stl") ? readStl(source)
                                            : readInProcess(source, isAuto);
}

/// Text in UTF-16 begins with a byte order mark.
bool isUtf16(const ReadSource& source)
{
    return source.size() >= 2 &&
           (std::memcmp(source.begin, "\xff\xfe", 2) == 0 || std::memcmp(source.begin, "\xfe\xff", 2) == 0);
}

/// The importer process decompresses files for our own readers.
SceneElement* readPacked(const ReadSource& source, const QString& suffix)
{
    const ImportedBytes bytes = runImportProcess(source, "unpack");
    if (bytes.size() == 0)
        throw ReadError(tr("it is empty"));
    return readSource({source.fileName, bytes.data(), bytes.data() + bytes.size(), source.progress}, suffix, true);
}

/// Turns the axis that points up in the file to +Y.
tov::math::Matrix4 upRotation(const QString& axis)
{
    // The rows are the sources of x, y and z of the scene. Each matrix is a rotation.
    static const std::pair<const char*, std::array<int, 9>> rotations[] = {
        {"-Y", {1, 0, 0, 0, -1, 0, 0, 0, -1}}, {"+Z", {1, 0, 0, 0, 0, 1, 0, -1, 0}},
        {"-Z", {1, 0, 0, 0, 0, -1, 0, 1, 0}},  {"+X", {0, -1, 0, 1, 0, 0, 0, 0, 1}},
        {"-X", {0, 1, 0, -1, 0, 0, 0, 0, 1}},
    };
    auto matrix = tov::math::Matrix4::identity();
    for (const auto& [name, cells] : rotations)
        if (axis.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            for (unsigned int i = 0; i < 9; ++i)
                matrix(i / 3, i % 3) = cells[i];
    return matrix;
}

} // namespace

SceneElement* SceneImport::readFile(const QString& fileName, const Options& options, QString* error,
                                    const Progress& progress)
{
    const auto fail = [&](const QString& reason) -> SceneElement* {
        if (error)
            *error = tr("%1 cannot be opened: %2").arg(fileName, reason);
        return nullptr;
    };
    const QFileInfo info(fileName);
    if (!info.exists())
        return fail(tr("there is no such file"));
    if (info.isDir())
        return fail(tr("it is a folder"));
    if (!info.isFile())
        return fail(tr("it is not a regular file"));
    const bool isGzip = info.suffix().toLower() == QLatin1String("gz");
    const QString suffix = (isGzip ? QFileInfo(info.completeBaseName()) : info).suffix().toLower();
    if (!getSuffixes().contains(suffix))
        return fail(tr("files of the type \"%1\" cannot be read; known are %2")
                        .arg(suffix, getSuffixes().join(QStringLiteral(", "))));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    if (file.size() == 0)
        return fail(tr("it is empty"));
    try {
        const auto* bytes = reinterpret_cast<const char*>(file.map(0, file.size()));
        QByteArray copy;
        if (!bytes) {
            copy = file.readAll();
            bytes = copy.constData();
        }
        const ReadSource source{fileName, bytes, bytes + file.size(), progress};
        const bool isAuto =
            options.modelUp.isEmpty() || options.modelUp.compare(QLatin1String("auto"), Qt::CaseInsensitive) == 0;
        const bool isOwn = OwnSuffixes.contains(suffix);
        std::unique_ptr<SceneElement> tree(isOwn && (isGzip || isUtf16(source)) ? readPacked(source, suffix)
                                                                                : readSource(source, suffix, isAuto));
        if (!hasShape(tree.get()))
            return fail(tr("it contains nothing to show"));
        if (!tree->getModelData())
            tree->setModelData(std::make_shared<ModelData>());
        ModelData& data = *tree->getModelData();
        data.fileName = fileName;
        if (options.strict && !data.warnings.isEmpty())
            return fail(data.warnings.first());
        logWarnings(data);
        const bool isStl = suffix == QLatin1String("stl");
        tree->setTransform(upRotation(isAuto && isStl ? QStringLiteral("+Z") : options.modelUp) * tree->getTransform());
        if (progress)
            progress(100);
        return tree.release();
    } catch (const ReadCancelled&) {
        return fail(tr("stopped"));
    } catch (const std::bad_alloc&) {
        return fail(tr("there is not enough memory for it"));
    } catch (const std::exception& e) {
        return fail(QString::fromUtf8(e.what()));
    }
}

bool SceneImport::addFiles(const QStringList& fileNames, const Options& options, QString* error,
                           const Progress& progress)
{
    std::vector<std::unique_ptr<SceneElement>> trees;
    for (int i = 0; i < fileNames.size(); ++i) {
        const auto part = [&](int percent) { return !progress || progress((100 * i + percent) / fileNames.size()); };
        trees.emplace_back(readFile(fileNames[i], options, error, part));
        if (!trees.back())
            return false;
    }
    const auto scene = Viewer::getInstance()->getGlobalScene();
    {
        SceneEdit edit(scene.get(), SceneLocker::LockAll);
        if (!scene->getRootNode())
            scene->adoptRootNode(new SceneElement(QStringLiteral("Scene")));
        for (auto& tree : trees)
            scene->getRootNode()->addChild(tree.release());
        scene->updateGlobalScaling();
    }
    auto* events = tov::events::EventHandler::getInstance();
    tov::main::EventManager::getInstance()->fireEvent(
        tov::main::Event(events->addEvent("Scene", "SCENE_ELEMENT_ADDED")));
    return true;
}

} // namespace tov::scene
