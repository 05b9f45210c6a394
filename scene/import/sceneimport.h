#pragma once

#include "kernel/main/export.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <functional>

namespace tov::scene {

class SceneElement;

/// Reads models from files.
class TOV_EXPORT SceneImport
{
    Q_DECLARE_TR_FUNCTIONS(tov::scene::SceneImport)
public:
    /// Percent 0 to 100; return false to cancel. Called on the importing thread.
    typedef std::function<bool(int percent)> Progress;

    /// Reads a file into a new tree, which the caller owns. On failure null and one line in `error` that says what is
    /// wrong with which file. Makes no OpenGL call. Thread: any.
    static SceneElement* readFile(const QString& fileName, QString* error, const Progress& progress = Progress());
    /// Reads files into the global scene, beside what is there; all or nothing. Thread: application or command.
    static bool addFiles(const QStringList& fileNames, QString* error, const Progress& progress = Progress());
    /// Suffixes (lower case, no dot) that can be read, for file dialogs.
    static QStringList getSuffixes();
};

} // namespace tov::scene
