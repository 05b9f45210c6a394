#pragma once

#include "app/viewer/fileopener.h"
#include "app/viewer/scenemodels.h"
#include "kernel/util/filestamp.h"

#include <QFileSystemWatcher>
#include <QMap>
#include <QObject>
#include <QTimer>

class QAction;

namespace tov::viewer {

class EditQueue;

/// Reads models again when their files change. Cameras, the look and the state of parts stay. While pictures or videos
/// are being made it waits; a file that cannot be read leaves the old model in place. Thread: application.
class ModelReload : public QObject
{
    Q_OBJECT
public:
    /// All must outlive this object.
    ModelReload(FileOpener* opener, SceneModels* models, EditQueue* edits, QObject* parent);

    /// Watches the files of the models that are in the scene now.
    void watch();
    /// Reads all models again.
    void reloadAll();
    QAction* getAction() const { return mp_Action; }
    /// How long a file must be unchanged before it is read, in milliseconds (initially 500).
    void setPause(int milliseconds) { m_Pause.setInterval(milliseconds); }

signals:
    /// Models were replaced.
    void reloaded(const QStringList& fileNames);
    /// One line for the user.
    void failed(const QString& message);
    /// The reload waits until the pictures and videos are done.
    void postponed();

private:
    typedef tov::util::FileStamp FileStamp;
    struct Watched
    {
        QMap<QString, FileStamp> read; ///< the model and the files next to it that it may use, when it was read
        QMap<QString, FileStamp> seen; ///< at the last check
    };
    static QMap<QString, FileStamp> stampsOf(const QString& fileName);
    void check();
    void begin();
    void replace(const std::vector<SceneModels::Model>& models, std::vector<FileOpener::Result> results);
    void showMotion();
    bool isBusy() const;

    FileOpener* mp_Opener;  ///< not owned
    SceneModels* mp_Models; ///< not owned
    EditQueue* mp_Edits;    ///< not owned
    QAction* mp_Action;     ///< child
    QFileSystemWatcher m_Watcher;
    QTimer m_Pause;
    QMap<QString, Watched> m_Files; ///< by the name of the model
    QStringList m_Changed;          ///< to be read as soon as nothing else runs
};

} // namespace tov::viewer
