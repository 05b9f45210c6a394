#pragma once

#include "app/viewer/scenedocument.h"
#include "app/viewer/scenemodels.h"

#include <QObject>
#include <QStringList>

namespace tov::viewer {

class Autosave;
class ModelReload;
class NoticeBar;
class PartEdits;
class RecentFiles;

/// What the window knows about the scene that it shows: the models and their files, the changes of parts, the scene
/// file, its automatic copy, and the watch over the models' files. Thread: application.
class SceneSession : public QObject
{
    Q_OBJECT
public:
    /// `edits` must outlive the session.
    SceneSession(EditQueue* edits, QObject* parent);
    /// Ends the automatic copy. To be destroyed before the views.
    ~SceneSession() override;

    /// Second step, once the window has its parts. `opener`, `tree`, `look`, `grid`, `window` and `bookmarks` are taken
    /// from `parts`, the rest is filled in.
    void start(SceneDocument::Parts parts, NoticeBar* notices, RecentFiles* recent);

    PartEdits* getPartEdits() const { return mp_PartEdits; }
    SceneDocument* getDocument() const { return mp_Document; }
    ModelReload* getReload() const { return mp_Reload; }
    Autosave* getAutosave() const { return mp_Autosave; }
    const SceneModels& getModels() const { return m_Models; }

    /// Opens a scene file if one is among the files; false when there is none.
    bool openScene(const QStringList& fileNames);
    /// Takes notice of models that were added to the scene.
    void addModels(const QStringList& fileNames);
    /// Whether the window may close: asks to save when changes of a scene file would be lost. Without a question the
    /// automatic copy is kept in that case.
    bool mayClose(bool mayAsk);
    /// The base name of the scene file or of the model opened last, for names of files; empty without either.
    QString getName() const;
    /// The title of the window, with "[*]" where the mark of unsaved changes belongs.
    QString getTitle() const;

signals:
    /// One line for the user that something went wrong.
    void failed(const QString& message);
    /// One line for the status bar.
    void reported(const QString& message);
    void titleChanged();

private:
    EditQueue* mp_Edits; ///< not owned
    SceneModels m_Models;
    PartEdits* mp_PartEdits;              ///< child
    SceneDocument* mp_Document = nullptr; ///< child
    ModelReload* mp_Reload = nullptr;     ///< child
    Autosave* mp_Autosave = nullptr;      ///< child, destroyed first
    QStringList m_Opened;                 ///< models in the order of opening
};

} // namespace tov::viewer
