#include "app/viewer/partedits.h"

#include "app/viewer/editqueue.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/view/viewer.h"

#include <QSet>
#include <QUndoStack>

#include <functional>

namespace tov::viewer {

using tov::scene::GeometryElement;
using tov::scene::SceneElement;

namespace {

PartEdits::Elements allElements()
{
    PartEdits::Elements result, pending;
    if (const SceneElement* root = tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode())
        pending = root->getChildren();
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        result.push_back(element);
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    return result;
}

PartEdits::Elements withDescendants(const PartEdits::Elements& elements)
{
    PartEdits::Elements result, pending = elements;
    QSet<SceneElement*> known;
    while (!pending.empty()) {
        SceneElement* element = pending.back();
        pending.pop_back();
        if (known.contains(element))
            continue;
        known.insert(element);
        result.push_back(element);
        pending.insert(pending.end(), element->getChildren().begin(), element->getChildren().end());
    }
    return result;
}

} // namespace

/// States of parts, before and after.
class PartEdits::StateCommand : public QUndoCommand
{
public:
    struct Step
    {
        PartId id;
        State before, after;
    };
    StateCommand(PartEdits* owner, const QString& text, std::vector<Step> changes, int gesture)
        : QUndoCommand(text), mp_Owner(owner), m_Changes(std::move(changes)), m_Gesture(gesture)
    {}
    int id() const override { return m_Gesture > 0 ? m_Gesture : -1; }
    void undo() override { apply(&Step::before); }
    void redo() override { apply(&Step::after); }
    bool mergeWith(const QUndoCommand* other) override
    {
        const auto& later = static_cast<const StateCommand*>(other)->m_Changes;
        if (later.size() != m_Changes.size())
            return false;
        bool isChanged = false;
        for (std::size_t i = 0; i < later.size(); ++i) {
            if (!(later[i].id == m_Changes[i].id))
                return false;
            isChanged = isChanged || !(later[i].after == m_Changes[i].before);
        }
        for (std::size_t i = 0; i < later.size(); ++i)
            m_Changes[i].after = later[i].after;
        setObsolete(!isChanged);
        return true;
    }

private:
    void apply(State Step::*state)
    {
        mp_Owner->mp_Edits->submit([owner = mp_Owner, changes = m_Changes, state] {
            for (const Step& change : changes)
                if (SceneElement* element = owner->mp_Models->find(change.id))
                    tov::app::setPartState(*element, change.*state);
            emit owner->changed(false);
        });
    }

    PartEdits* mp_Owner;
    std::vector<Step> m_Changes;
    int m_Gesture;
};

/// Parts that are taken out of the scene, or put back.
class PartEdits::RemoveCommand : public QUndoCommand
{
public:
    RemoveCommand(PartEdits* owner, const QString& text, std::vector<PartId> parts, bool isRemoval)
        : QUndoCommand(text), mp_Owner(owner), m_Parts(std::move(parts)), m_IsRemoval(isRemoval)
    {}
    void undo() override { apply(!m_IsRemoval); }
    void redo() override { apply(m_IsRemoval); }

private:
    void apply(bool isRemoval)
    {
        mp_Owner->mp_Edits->submit([owner = mp_Owner, parts = m_Parts, isRemoval] {
            if (isRemoval)
                for (const PartId& part : parts)
                    owner->mp_Models->remove(part);
            else // in reverse order, so that each comes back in its place among its siblings
                for (auto part = parts.rbegin(); part != parts.rend(); ++part)
                    owner->mp_Models->restore(*part);
            emit owner->changed(true);
        });
    }

    PartEdits* mp_Owner;
    std::vector<PartId> m_Parts;
    bool m_IsRemoval;
};

PartEdits::PartEdits(EditQueue* edits, SceneModels* models, QObject* parent)
    : QObject(parent), mp_Edits(edits), mp_Models(models), mp_Stack(new QUndoStack(this))
{
    constexpr int MostSteps = 200;
    mp_Stack->setUndoLimit(MostSteps);
}

std::vector<PartId> PartEdits::idsOf(const Elements& elements)
{
    mp_Models->update();
    std::vector<PartId> ids;
    for (const SceneElement* element : elements)
        if (const auto id = mp_Models->idOf(element))
            ids.push_back(*id);
    return ids;
}

void PartEdits::push(const QString& text, const Elements& elements, const Change& change, int gesture)
{
    mp_Models->update();
    std::vector<StateCommand::Step> changes;
    for (const SceneElement* element : elements) {
        const auto id = mp_Models->idOf(element);
        if (!id)
            continue;
        StateCommand::Step each{*id, tov::app::partStateOf(*element), {}};
        each.after = each.before;
        change(element, each.after);
        // All changes of a gesture name the same parts.
        if (gesture > 0 || !(each.before == each.after))
            changes.push_back(each);
    }
    if (!changes.empty())
        mp_Stack->push(new StateCommand(this, text, std::move(changes), gesture));
}

void PartEdits::setVisible(const Elements& elements, bool isVisible)
{
    push(isVisible ? tr("show") : tr("hide"), elements,
         [isVisible](const SceneElement*, State& state) { state.isHidden = !isVisible; });
}

void PartEdits::isolate(const Elements& elements)
{
    if (elements.empty())
        return;
    QSet<const SceneElement*> shown;
    for (const SceneElement* element : withDescendants(elements))
        shown.insert(element);
    for (const SceneElement* element : elements)
        for (const SceneElement* above = element->getParent(); above; above = above->getParent())
            shown.insert(above);
    push(tr("isolate"), allElements(),
         [&](const SceneElement* element, State& state) { state.isHidden = !shown.contains(element); });
}

void PartEdits::showAll()
{
    push(tr("show all"), allElements(), [](const SceneElement*, State& state) { state.isHidden = false; });
}

PartEdits::Elements PartEdits::shapesOf(const Elements& elements)
{
    Elements shapes;
    for (SceneElement* element : withDescendants(elements))
        if (dynamic_cast<GeometryElement*>(element))
            shapes.push_back(element);
    return shapes;
}

void PartEdits::setColor(const Elements& elements, const std::optional<QColor>& color, int gesture)
{
    const auto plain = color ? std::optional<QColor>(color->rgb()) : std::nullopt;
    push(
        tr("colour"), shapesOf(elements), [&](const SceneElement*, State& state) { state.color = plain; }, gesture);
}

void PartEdits::setOpacity(const Elements& elements, double opacity, int gesture)
{
    // As the elements store it, so that equal states are equal.
    const double stored = double(float(opacity));
    push(
        tr("opacity"), shapesOf(elements), [&](const SceneElement*, State& state) { state.opacity = stored; }, gesture);
}

void PartEdits::remove(const Elements& elements)
{
    if (auto ids = idsOf(elements); !ids.empty())
        mp_Stack->push(new RemoveCommand(this, tr("remove"), std::move(ids), true));
}

void PartEdits::restoreRemoved()
{
    mp_Models->update();
    if (auto ids = mp_Models->getRemoved(); !ids.empty())
        mp_Stack->push(new RemoveCommand(this, tr("restore parts"), std::move(ids), false));
}

} // namespace tov::viewer
