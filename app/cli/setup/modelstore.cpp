#include "app/cli/setup/modelstore.h"

#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/import/sceneimport.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"

#include <QFileInfo>

#include <malloc.h>

namespace tov::app {

using tov::scene::SceneElement;
using tov::scene::SceneImport;

ModelStore::ModelStore() = default;
ModelStore::~ModelStore() = default;

QString ModelStore::keyOf(const SceneFile::Model& model, int copy)
{
    QStringList words{model.file, model.up, QString::number(copy)};
    for (const SceneFile::Part& part : model.parts)
        if (part.isRemoved)
            words << part.key;
    return words.join(QLatin1Char('\n'));
}

bool ModelStore::read(Model& model, bool isStrict, QString* error, const std::function<bool(int percent)>& progress)
{
    SceneImport::Options options;
    options.modelUp = model.source.up;
    options.strict = isStrict;
    model.detached.reset(SceneImport::readFile(model.source.file, options, error, progress));
    model.root = model.detached.get();
    if (!model.root)
        return false;
    if (!model.source.parts.empty())
        model.removed = applyParts(keysOf(model), model.source.parts);
    return true;
}

const PartKeys& ModelStore::keysOf(Model& model)
{
    // Most models are shown as they are, and need no keys.
    if (model.keys.isEmpty())
        model.keys = PartKeys(*model.root);
    return model.keys;
}

/// An earlier job of the same process may have left another state.
void ModelStore::resetParts(Model& model)
{
    std::vector<SceneElement*> pending{model.root};
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        setPartState(*element, SceneFile::Part());
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    for (const SceneFile::Part& part : model.source.parts)
        if (SceneElement* element = keysOf(model).find(part.key))
            setPartState(*element, part);
}

std::vector<SceneFile::Model> ModelStore::collect()
{
    std::vector<SceneFile::Model> models;
    for (const QString& key : m_Shown) {
        Model& model = m_Models.at(key);
        models.push_back(
            {QFileInfo(model.source.file).absoluteFilePath(), model.source.up, keysOf(model).collect(*model.root)});
    }
    return models;
}

bool ModelStore::show(const std::vector<SceneFile::Model>& models, bool isStrict, QString* error, QStringList& warnings,
                      const std::function<bool(int percent)>& progress)
{
    QStringList keys;
    bool hasRead = false;
    const int count = int(models.size());
    for (int i = 0; i < count; ++i) {
        // A file may be named twice.
        int copy = 0;
        QString key = keyOf(models[i], copy);
        while (keys.contains(key))
            key = keyOf(models[i], ++copy);
        keys << key;
        if (m_Models.count(key)) {
            m_Models[key].source = models[i];
            continue;
        }
        Model model;
        model.source = models[i];
        const auto part = [&](int percent) { return !progress || progress((100 * i + percent) / count); };
        if (!read(model, isStrict, error, part))
            return false;
        hasRead = true;
        if (const auto data = model.root->getModelData())
            warnings << data->warnings;
        m_Models[key] = std::move(model);
    }
    // Gives the temporary memory of the readers back to the system.
    if (hasRead)
        malloc_trim(0);
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    {
        tov::scene::SceneEdit edit(scene.get(), tov::scene::SceneLocker::LockAll);
        for (const QString& key : keys)
            resetParts(m_Models[key]);
        if (keys == m_Shown)
            return true;
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
