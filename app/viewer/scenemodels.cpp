#include "app/viewer/scenemodels.h"

#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"

#include <QFileInfo>

#include <algorithm>

namespace tov::viewer {

using tov::app::PartKeys;
using tov::scene::SceneElement;

namespace {

SceneElement* sceneRoot()
{
    return tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode();
}

std::size_t indexOf(const SceneElement& element)
{
    const auto& siblings = element.getParent()->getChildren();
    return std::size_t(std::find(siblings.begin(), siblings.end(), &element) - siblings.begin());
}

/// The keys of the selected elements under `root`.
QStringList selectedKeys(SceneElement& root, const PartKeys& keys)
{
    QStringList selected;
    std::vector<SceneElement*> pending{&root};
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        if (element->isSelected())
            selected << keys.keyOf(*element);
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    return selected;
}

} // namespace

SceneModels::SceneModels() = default;
SceneModels::~SceneModels() = default;

SceneModels::Entry* SceneModels::findEntry(quint64 number)
{
    return const_cast<Entry*>(std::as_const(*this).findEntry(number));
}

const SceneModels::Entry* SceneModels::findEntry(quint64 number) const
{
    for (const auto& entry : m_Entries)
        if (entry->model.number == number)
            return entry.get();
    return nullptr;
}

bool SceneModels::isRemoved(const Entry& entry, const QString& key)
{
    return std::any_of(entry.removed.begin(), entry.removed.end(), [&](const auto& each) { return each.first == key; });
}

void SceneModels::update()
{
    const SceneElement* scene = sceneRoot();
    const auto roots = scene ? scene->getChildren() : std::vector<SceneElement*>();
    const auto isGone = [&](const std::unique_ptr<Entry>& entry) {
        return !isRemoved(*entry, QString()) && std::none_of(roots.begin(), roots.end(), [&](const SceneElement* root) {
            return root->getId() == entry->rootId;
        });
    };
    m_Entries.erase(std::remove_if(m_Entries.begin(), m_Entries.end(), isGone), m_Entries.end());
    for (SceneElement* root : roots) {
        const bool isKnown = std::any_of(m_Entries.begin(), m_Entries.end(),
                                         [&](const auto& entry) { return entry->rootId == root->getId(); });
        if (isKnown)
            continue;
        SceneFile::Model source;
        if (const auto& data = root->getModelData(); data && !data->fileName.isEmpty())
            source.file = QFileInfo(data->fileName).absoluteFilePath();
        add(root, source);
    }
}

void SceneModels::add(SceneElement* root, const SceneFile::Model& source)
{
    auto entry = std::make_unique<Entry>();
    entry->model = {m_NextNumber++, source.file, source.up};
    entry->root = root;
    entry->rootId = root->getId();
    entry->keys = PartKeys(*root);
    m_Entries.push_back(std::move(entry));
}

std::vector<SceneModels::Model> SceneModels::getModels() const
{
    std::vector<Model> models;
    const SceneElement* scene = sceneRoot();
    for (const SceneElement* root : scene ? scene->getChildren() : std::vector<SceneElement*>())
        for (const auto& entry : m_Entries)
            if (entry->rootId == root->getId())
                models.push_back(entry->model);
    return models;
}

std::vector<tov::app::SceneFile::Model> SceneModels::collect() const
{
    std::vector<SceneFile::Model> models;
    for (const Model& model : getModels())
        if (!model.file.isEmpty()) {
            const Entry& entry = *findEntry(model.number);
            models.push_back({model.file, model.up, entry.keys.collect(*entry.root)});
        }
    models.insert(models.end(), m_Missing.begin(), m_Missing.end());
    return models;
}

std::optional<PartId> SceneModels::idOf(const SceneElement* element) const
{
    for (const auto& entry : m_Entries)
        if (const QString key = entry->keys.keyOf(*element); !key.isNull())
            return PartId{entry->model.number, key};
    return std::nullopt;
}

SceneElement* SceneModels::find(const PartId& id) const
{
    const Entry* entry = findEntry(id.model);
    return entry ? entry->keys.find(id.key) : nullptr;
}

bool SceneModels::remove(const PartId& id)
{
    Entry* entry = findEntry(id.model);
    SceneElement* element = entry ? entry->keys.find(id.key) : nullptr;
    SceneElement* parent = element ? element->getParent() : nullptr;
    if (!parent)
        return false;
    Removed removed;
    removed.index = indexOf(*element);
    removed.parent = id.key.isEmpty() ? QString() : entry->keys.keyOf(*parent);
    removed.element.reset(parent->takeChild(element));
    entry->removed.emplace_back(id.key, std::move(removed));
    return true;
}

bool SceneModels::restore(const PartId& id)
{
    Entry* entry = findEntry(id.model);
    if (!entry)
        return false;
    const auto found = std::find_if(entry->removed.begin(), entry->removed.end(),
                                    [&](const auto& each) { return each.first == id.key; });
    SceneElement* parent = nullptr;
    if (found != entry->removed.end())
        parent = id.key.isEmpty() ? sceneRoot() : entry->keys.find(found->second.parent);
    if (!parent)
        return false;
    parent->insertChild(found->second.index, found->second.element.release());
    entry->removed.erase(found);
    return true;
}

std::vector<PartId> SceneModels::getRemoved() const
{
    std::vector<PartId> parts;
    for (const auto& entry : m_Entries)
        for (const auto& [key, removed] : entry->removed)
            parts.push_back({entry->model.number, key});
    return parts;
}

void SceneModels::replace(quint64 number, std::unique_ptr<SceneElement> root)
{
    Entry* entry = findEntry(number);
    if (!entry)
        return;
    const auto states = entry->keys.collect(*entry->root);
    const QStringList selected = selectedKeys(*entry->root, entry->keys);
    const PartKeys keys(*root);
    for (const auto& state : states)
        if (SceneElement* element = keys.find(state.key))
            tov::app::setPartState(*element, state);
    for (const QString& key : selected)
        if (SceneElement* element = keys.find(key))
            element->setSelected(true);
    const auto oldRemoved = std::move(entry->removed);
    entry->removed.clear();
    // In the place of the old root, which is deleted at the end, after everything that refers to it.
    std::unique_ptr<SceneElement> old;
    SceneElement* newRoot = root.release();
    if (SceneElement* parent = entry->root->getParent()) {
        const std::size_t index = indexOf(*entry->root);
        old.reset(parent->takeChild(entry->root));
        parent->insertChild(index, newRoot);
    } else if (SceneElement* scene = sceneRoot()) {
        scene->addChild(newRoot);
    }
    entry->keys = keys;
    entry->root = newRoot;
    entry->rootId = newRoot->getId();
    for (const auto& [key, removed] : oldRemoved)
        remove({number, key});
}

void SceneModels::show(std::vector<Loaded> models, std::vector<SceneFile::Model> missing)
{
    SceneElement* scene = sceneRoot();
    std::vector<std::unique_ptr<SceneElement>> old;
    for (SceneElement* root : std::vector<SceneElement*>(scene->getChildren()))
        old.emplace_back(scene->takeChild(root));
    m_Entries.clear();
    m_Missing = std::move(missing);
    for (Loaded& model : models) {
        SceneElement* root = model.root.release();
        scene->addChild(root);
        add(root, model.source);
        Entry& entry = *m_Entries.back();
        for (const auto& part : model.source.parts) {
            SceneElement* element = entry.keys.find(part.key);
            if (element)
                tov::app::setPartState(*element, part);
            if (element && part.isRemoved)
                remove({entry.model.number, part.key});
        }
    }
}

} // namespace tov::viewer
