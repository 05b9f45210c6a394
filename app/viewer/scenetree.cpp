#include "app/viewer/scenetree.h"

#include "app/viewer/editqueue.h"
#include "kernel/events/eventhandler.h"
#include "kernel/main/eventmanager.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>

namespace tov::viewer {

using tov::main::EventManager;
using tov::scene::SceneElement;
using tov::scene::Viewer;

namespace {

SceneElement* elementOf(const QTreeWidgetItem* item)
{
    return static_cast<SceneElement*>(item->data(0, Qt::UserRole).value<void*>());
}

/// True while the element is below `root`; it may have been deleted by the time an edit is made.
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

void showBelow(SceneElement* root)
{
    if (!root)
        return;
    for (SceneElement* child : root->getChildren()) {
        child->setVisible(true);
        showBelow(child);
    }
}

/// Shows `kept` with their ancestors and descendants, and hides everything else below `root`.
void showOnly(SceneElement* root, const std::vector<SceneElement*>& kept)
{
    if (!root)
        return;
    for (SceneElement* child : root->getChildren()) {
        if (std::find(kept.begin(), kept.end(), child) != kept.end()) {
            child->setVisible(true);
            showBelow(child);
            continue;
        }
        const bool holdsOne =
            std::any_of(kept.begin(), kept.end(), [child](const SceneElement* each) { return isBelow(child, each); });
        child->setVisible(holdsOne);
        showOnly(child, kept);
    }
}

} // namespace

SceneTree::SceneTree(EditQueue* edits, QWidget* parent) : QTreeWidget(parent), mp_Edits(edits)
{
    setHeaderHidden(true);
    setSelectionMode(ExtendedSelection);
    setObjectName(QStringLiteral("SceneTree"));
    setAccessibleName(tr("Parts of the scene"));
    watchScene();
    connect(this, &QTreeWidget::itemChanged, this, &SceneTree::submitVisibility);
    connect(this, &QTreeWidget::itemSelectionChanged, this, &SceneTree::submitSelection);
    rebuild();
}

void SceneTree::watchScene()
{
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
}

void SceneTree::submitVisibility(QTreeWidgetItem* item)
{
    if (m_Rebuilding)
        return;
    mp_Edits->submit([element = elementOf(item), visible = item->checkState(0) == Qt::Checked] {
        if (isInScene(element))
            element->setVisible(visible);
    });
}

void SceneTree::submitSelection()
{
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
    if (!m_Filter.isEmpty())
        setFilter(m_Filter);
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

std::vector<SceneElement*> SceneTree::topmostSelected() const
{
    std::vector<SceneElement*> selected;
    // A selected element below another selected one is removed with it.
    for (QTreeWidgetItem* item : selectedItems()) {
        bool covered = false;
        for (QTreeWidgetItem* above = item->parent(); above; above = above->parent())
            covered = covered || above->isSelected();
        if (!covered)
            selected.push_back(elementOf(item));
    }
    return selected;
}

void SceneTree::isolateSelected()
{
    const std::vector<SceneElement*> kept = topmostSelected();
    if (kept.empty())
        return;
    mp_Edits->submit([this, kept] {
        showOnly(Viewer::getInstance()->getGlobalScene()->getRootNode(), kept);
        rebuildSoon();
    });
}

void SceneTree::showAll()
{
    mp_Edits->submit([this] {
        showBelow(Viewer::getInstance()->getGlobalScene()->getRootNode());
        rebuildSoon();
    });
}

void SceneTree::removeSelected()
{
    const std::vector<SceneElement*> selected = topmostSelected();
    if (selected.empty())
        return;
    mp_Edits->submit([this, selected] {
        std::vector<Removed> removed;
        for (SceneElement* element : selected)
            if (isInScene(element)) {
                SceneElement* parent = element->getParent();
                removed.push_back({std::unique_ptr<SceneElement>(parent->takeChild(element)), parent});
            }
        m_Removed.push_back(std::move(removed));
        rebuildSoon();
    });
}

void SceneTree::undoRemove()
{
    if (m_Removed.empty())
        return;
    mp_Edits->submit([this] {
        if (m_Removed.empty())
            return;
        std::vector<Removed> removed = std::move(m_Removed.back());
        m_Removed.pop_back();
        SceneElement* root = Viewer::getInstance()->getGlobalScene()->getRootNode();
        for (Removed& each : removed) {
            SceneElement* parent = each.parent == root || isInScene(each.parent) ? each.parent : root;
            if (parent)
                parent->addChild(each.element.release());
        }
        rebuildSoon();
    });
}

void SceneTree::setFilter(const QString& text)
{
    m_Filter = text.trimmed();
    for (int i = 0; i < topLevelItemCount(); ++i)
        applyFilter(topLevelItem(i));
}

bool SceneTree::applyFilter(QTreeWidgetItem* item) const
{
    bool shown = m_Filter.isEmpty() || item->text(0).contains(m_Filter, Qt::CaseInsensitive);
    for (int i = 0; i < item->childCount(); ++i)
        shown = applyFilter(item->child(i)) || shown;
    item->setHidden(!shown);
    if (shown && !m_Filter.isEmpty())
        item->setExpanded(true);
    return shown;
}

void SceneTree::selectElement(const SceneElement* element, bool adds)
{
    QTreeWidgetItem* item = nullptr;
    for (QTreeWidgetItemIterator it(this); *it && !item; ++it)
        if (elementOf(*it) == element)
            item = *it;
    if (adds) {
        if (item)
            item->setSelected(!item->isSelected());
    } else if (item) {
        setCurrentItem(item, 0, QItemSelectionModel::ClearAndSelect);
    } else {
        clearSelection();
    }
    if (item)
        scrollToItem(item);
}

void SceneTree::hideSelected()
{
    for (QTreeWidgetItem* item : selectedItems())
        item->setCheckState(0, Qt::Unchecked);
}

void SceneTree::addPartActions(QMenu* menu)
{
    const bool any = !selectedItems().isEmpty();
    menu->addAction(tr("Isolate"), this, &SceneTree::isolateSelected)->setEnabled(any);
    menu->addAction(tr("Hide"), this, &SceneTree::hideSelected)->setEnabled(any);
    menu->addAction(tr("Show all"), this, &SceneTree::showAll);
    menu->addSeparator();
    menu->addAction(tr("Remove"), this, &SceneTree::removeSelected)->setEnabled(any);
    menu->addAction(tr("Undo removal"), this, &SceneTree::undoRemove)->setEnabled(!m_Removed.empty());
}

void SceneTree::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("TreeMenu"));
    addPartActions(menu);
    menu->addSeparator();
    menu->addAction(tr("Fit to view"), this, &SceneTree::fitRequested);
    menu->popup(event->globalPos());
}

void SceneTree::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Delete)
        removeSelected();
    else if (event->matches(QKeySequence::Undo))
        undoRemove();
    else
        QTreeWidget::keyPressEvent(event);
}

} // namespace tov::viewer
