#include "app/viewer/scenetree.h"

#include "app/viewer/editqueue.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"

#include <QHeaderView>
#include <QKeyEvent>

namespace tov::viewer {

using tov::main::EventManager;
using tov::scene::SceneElement;
using tov::scene::Viewer;

namespace {

SceneElement* elementOf(const QTreeWidgetItem* item)
{
    return static_cast<SceneElement*>(item->data(0, Qt::UserRole).value<void*>());
}

/// True while the element is below `root`: by the time an edit is made it may be gone.
bool isBelow(const SceneElement* root, const SceneElement* element)
{
    if (!root)
        return false;
    for (const SceneElement* child : root->getChildren())
        if (child == element || isBelow(child, element))
            return true;
    return false;
}

bool isInScene(const SceneElement* element)
{
    return isBelow(Viewer::getInstance()->getGlobalScene()->getRootNode(), element);
}

} // namespace

SceneTree::SceneTree(EditQueue* edits, QWidget* parent) : QTreeWidget(parent), mp_Edits(edits)
{
    setHeaderHidden(true);
    setSelectionMode(ExtendedSelection);
    setObjectName(QStringLiteral("SceneTree"));
    auto* events = tov::events::EventHandler::getInstance();
    for (const char* name : {"SCENE_ELEMENT_ADDED", "SCENE_ELEMENT_REMOVED", "SCENE_ELEMENT_RENAMED"})
        EventManager::getInstance()->registerEventFunction(
            events->addEvent("Scene", name),
            [this](const tov::main::Event*) {
                // Events come on the thread that changed the scene.
                QMetaObject::invokeMethod(
                    this, [this] { rebuildSoon(); }, Qt::QueuedConnection);
            },
            static_cast<const void*>(this));
    connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
        if (m_Rebuilding)
            return;
        mp_Edits->submit([element = elementOf(item), visible = item->checkState(0) == Qt::Checked] {
            if (isInScene(element))
                element->setVisible(visible);
        });
    });
    connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
        if (m_Rebuilding)
            return;
        std::vector<std::pair<SceneElement*, bool>> states;
        for (QTreeWidgetItemIterator it(this); *it; ++it)
            states.emplace_back(elementOf(*it), (*it)->isSelected());
        mp_Edits->submit([states] {
            for (const auto& [element, selected] : states)
                if (isInScene(element))
                    element->setSelected(selected);
        });
    });
    rebuild();
}

SceneTree::~SceneTree()
{
    EventManager::getInstance()->unregisterAllEventFunctionsOf(static_cast<const void*>(this));
}

void SceneTree::rebuildSoon()
{
    if (m_RebuildPosted)
        return;
    m_RebuildPosted = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_RebuildPosted = false;
            rebuild();
        },
        Qt::QueuedConnection);
}

void SceneTree::rebuild()
{
    m_Rebuilding = true;
    clear();
    const auto scene = Viewer::getInstance()->getGlobalScene();
    scene->lock();
    if (auto* root = scene->getRootNode())
        for (auto* child : root->getChildren())
            addBelow(nullptr, child);
    scene->unlock();
    expandToDepth(1);
    m_Rebuilding = false;
}

void SceneTree::addBelow(QTreeWidgetItem* parent, SceneElement* element)
{
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(this);
    item->setText(0, element->getName().isEmpty() ? tr("(no name)") : element->getName());
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(0, element->isVisible() ? Qt::Checked : Qt::Unchecked);
    item->setData(0, Qt::UserRole, QVariant::fromValue(static_cast<void*>(element)));
    item->setSelected(element->isSelected());
    for (auto* child : element->getChildren())
        addBelow(item, child);
}

void SceneTree::removeSelected()
{
    std::vector<SceneElement*> selected;
    // A selected element below another selected one goes with it.
    for (QTreeWidgetItem* item : selectedItems()) {
        bool covered = false;
        for (QTreeWidgetItem* above = item->parent(); above; above = above->parent())
            covered = covered || above->isSelected();
        if (!covered)
            selected.push_back(elementOf(item));
    }
    if (selected.empty())
        return;
    mp_Edits->submit([this, selected] {
        for (SceneElement* element : selected)
            if (isInScene(element))
                delete element->getParent()->takeChild(element);
        rebuildSoon();
    });
}

void SceneTree::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete)
        removeSelected();
    else
        QTreeWidget::keyPressEvent(event);
}

} // namespace tov::viewer
