#include "app/cli/setup/modelstore.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/import/sceneimport.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"

#include <malloc.h>

namespace tov::app {

using tov::scene::SceneElement;
using tov::scene::SceneImport;

ModelStore::ModelStore() = default;
ModelStore::~ModelStore() = default;

bool ModelStore::show(const QStringList& fileNames, const QString& modelUp, bool isStrict, QString* error,
                      QStringList& warnings, const std::function<bool(int percent)>& progress)
{
    SceneImport::Options options;
    options.modelUp = modelUp;
    options.strict = isStrict;
    QStringList keys;
    bool hasRead = false;
    for (int i = 0; i < fileNames.size(); ++i) {
        // A file may be named twice.
        const QString key = QStringLiteral("%1\n%2\n%3")
                                .arg(fileNames[i], modelUp, QString::number(fileNames.mid(0, i).count(fileNames[i])));
        keys << key;
        if (m_Models.count(key))
            continue;
        const auto part = [&](int percent) { return !progress || progress((100 * i + percent) / fileNames.size()); };
        std::unique_ptr<SceneElement> root(SceneImport::readFile(fileNames[i], options, error, part));
        if (!root)
            return false;
        hasRead = true;
        if (const auto data = root->getModelData())
            warnings << data->warnings;
        m_Models[key].root = root.get();
        m_Models[key].detached = std::move(root);
    }
    // Gives the temporary memory of the readers back to the system.
    if (hasRead)
        malloc_trim(0);
    if (keys == m_Shown)
        return true;
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    {
        tov::scene::SceneEdit edit(scene.get(), tov::scene::SceneLocker::LockAll);
        if (!scene->getRootNode())
            scene->adoptRootNode(new SceneElement(QStringLiteral("Scene")));
        for (const QString& key : m_Shown)
            m_Models[key].detached.reset(scene->getRootNode()->takeChild(m_Models[key].root));
        for (const QString& key : keys)
            scene->getRootNode()->addChild(m_Models[key].detached.release());
        scene->updateGlobalScaling();
    }
    m_Shown = keys;
    tov::main::EventManager::getInstance()->fireEvent(
        tov::main::Event(tov::events::EventHandler::getInstance()->addEvent("Scene", "SCENE_ELEMENT_ADDED")));
    return true;
}

} // namespace tov::app
