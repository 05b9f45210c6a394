#pragma once

#include "app/viewer/scenemodels.h"

#include <QColor>
#include <QObject>

#include <functional>
#include <optional>
#include <vector>

class QUndoStack;

namespace tov::viewer {

class EditQueue;

/// The user's changes of parts, with undo and redo: visibility, colour, opacity, removal. They survive that a model is
/// read again. Thread: application.
class PartEdits : public QObject
{
    Q_OBJECT
public:
    typedef std::vector<tov::scene::SceneElement*> Elements;

    /// Both must outlive this object.
    PartEdits(EditQueue* edits, SceneModels* models, QObject* parent = nullptr);

    QUndoStack* getUndoStack() const { return mp_Stack; }

    void setVisible(const Elements& elements, bool isVisible);
    /// Hides everything but the elements, what is below them and what they are in.
    void isolate(const Elements& elements);
    void showAll();
    /// Changes that follow each other with one gesture number are a single step of the undo history; 0: separate
    /// steps. See `beginGesture`.
    void setColor(const Elements& elements, const std::optional<QColor>& color, int gesture = 0);
    /// `opacity` from 0 to 1.
    void setOpacity(const Elements& elements, double opacity, int gesture = 0);
    /// A number for the changes of one gesture, for example of a dialog or a slider.
    int beginGesture() { return ++m_LastGesture; }
    void remove(const Elements& elements);
    /// Puts back everything that was removed.
    void restoreRemoved();
    bool hasRemoved() const { return !mp_Models->getRemoved().empty(); }

    /// The surfaces, lines and points at and below the elements, whose colour and opacity the functions change.
    static Elements shapesOf(const Elements& elements);

signals:
    /// States of parts have changed; `isStructure`: parts were removed or restored.
    void changed(bool isStructure);

private:
    class StateCommand;
    class RemoveCommand;
    typedef tov::app::SceneFile::Part State;
    typedef std::function<void(const tov::scene::SceneElement*, State&)> Change;
    void push(const QString& text, const Elements& elements, const Change& change, int gesture = 0);
    std::vector<PartId> idsOf(const Elements& elements);

    EditQueue* mp_Edits;    ///< not owned
    SceneModels* mp_Models; ///< not owned
    QUndoStack* mp_Stack;   ///< child
    int m_LastGesture = 0;
};

} // namespace tov::viewer
