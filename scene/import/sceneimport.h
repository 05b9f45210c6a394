#pragma once

#include "kernel/main/export.h"
#include "scene/import/readprogress.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

namespace tov::scene {

class SceneElement;

/// Reads models from files.
class TOV_EXPORT SceneImport
{
    Q_DECLARE_TR_FUNCTIONS(tov::scene::SceneImport)
public:
    typedef ReadProgress Progress;

    struct Options
    {
        /// The upward axis of the file: "+Y", "-Y", "+Z", "-Z", "+X", "-X"; "auto" or empty: as the file or its format
        /// specifies.
        QString modelUp;
        /// Missing textures, material libraries and animation data make reading fail; otherwise they are logged.
        bool strict = false;
    };

    /// Reads a file into a new tree, which the caller owns. Its root has a `ModelData`. On failure null and one line in
    /// `error` that says what is wrong with which file. Makes no OpenGL call. Thread: any.
    static SceneElement* readFile(const QString& fileName, QString* error, const Progress& progress = Progress());
    /// The same with options. Thread: any.
    static SceneElement* readFile(const QString& fileName, const Options& options, QString* error,
                                  const Progress& progress = Progress());
    /// Reads files into the global scene, next to what is there; all or nothing. Thread: application or command.
    static bool addFiles(const QStringList& fileNames, QString* error, const Progress& progress = Progress());
    /// The same with options. Thread: application or command.
    static bool addFiles(const QStringList& fileNames, const Options& options, QString* error,
                         const Progress& progress = Progress());
    /// True for the values that `Options::modelUp` takes. Thread: any.
    static bool isModelUp(const QString& text);
    /// Suffixes (lower case, no dot) that can be read, for file dialogs.
    static QStringList getSuffixes();
};

} // namespace tov::scene
