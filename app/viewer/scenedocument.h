#pragma once

#include "app/common/scenefile.h"
#include "app/viewer/fileopener.h"

#include <QObject>
#include <QTimer>

class QAction;
class QMainWindow;

namespace tov::viewer {

class EditQueue;
class LookPanel;
class PanelGrid;
class PartEdits;
class SceneModels;
class SceneTree;
class ViewBookmarks;

/// The scene that the window shows as a file: opens and saves it, and knows whether it was changed since. Thread:
/// application.
class SceneDocument : public QObject
{
    Q_OBJECT
public:
    /// What makes up the scene. All must outlive the document.
    struct Parts
    {
        QMainWindow* window;
        PanelGrid* grid;
        FileOpener* opener;
        EditQueue* edits;
        SceneModels* models;
        PartEdits* partEdits;
        SceneTree* tree;
        LookPanel* look;
        ViewBookmarks* bookmarks;
    };
    SceneDocument(const Parts& parts, QObject* parent);

    /// Replaces the scene by that of a file. Asks first when changes would be lost. Failures are reported by `failed`,
    /// and the scene stays as it was.
    void open(const QString& fileName);
    /// The same for an automatic copy: afterwards the document has the name of the original file and is changed. False
    /// when the copy is not opened, because the user refused or for the reason in `failed`.
    bool restore(const QString& copy);
    /// Saves under the name of the document; asks for a name if it has none. False when nothing was saved.
    bool save();
    /// Saves under a name that the user chooses.
    bool saveAs();
    /// Saves under this name, which the document then has.
    bool saveTo(const QString& fileName);
    /// Whether nothing would be lost without the scene: it has no file, was not changed, or the user has answered.
    bool mayDiscard();

    /// The file that was opened or saved; empty: none.
    QString getFileName() const { return m_FileName; }
    /// Whether the scene differs from its file. The position of a motion does not count.
    bool isModified() const { return m_IsModified; }
    /// The scene as it is now.
    tov::app::SceneFile collect() const;
    /// Whether a scene was read and is about to be shown.
    bool isShowing() const { return m_IsShowing; }
    /// Checks soon whether the scene was changed.
    void touch();

    /// The actions for the File menu.
    QList<QAction*> getActions() const { return {mp_Save, mp_SaveAs}; }

signals:
    /// A scene was opened.
    void opened(const QString& fileName);
    void saved(const QString& fileName);
    /// File name or modified state are others.
    void titleChanged();
    /// Something that a scene file stores has changed.
    void changed();
    /// One line for the user.
    void failed(const QString& message);

private:
    typedef tov::app::SceneFile SceneFile;
    void createActions();
    void watch();
    bool mayReplace();
    bool read(const QString& fileName, bool isCopy);
    void take(const SceneFile& scene, const QString& fileName, bool isCopy, std::vector<FileOpener::Result> results);
    void showRest(const SceneFile& scene, const QString& fileName, bool isCopy);
    void showLook(const SceneFile& scene);
    void showViews(const SceneFile& scene);
    void showMotion(const SceneFile& scene);
    void compare();
    QByteArray fingerprint() const;
    void setFile(const QString& fileName, bool isModified);

    const Parts m_Parts;
    QAction* mp_Save = nullptr;
    QAction* mp_SaveAs = nullptr;
    QString m_FileName;
    tov::app::Background m_Background; ///< of the scene that was opened
    QByteArray m_Saved;                ///< fingerprint of the scene in the file
    bool m_IsModified = false;
    bool m_IsShowing = false;
    QTimer m_Comparison;
};

} // namespace tov::viewer
