#pragma once

#include "kernel/log/logger.h"
#include "kernel/modules/moduleloader.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>

class QApplication;

namespace tov::app {

/// How the program is started.
struct StartOptions
{
    bool window = false;                          ///< a window will be shown; otherwise no display server is needed
    int logLevel = 2000;                          ///< highest level of the records written to standard error
    QString settingsFile;                         ///< empty: the user's settings file
    bool safeMode = false;                        ///< only the product's own modules and plug-ins
    std::function<void(const QString&)> progress; ///< start-up messages; may be empty
    std::function<bool()> afterCrash; ///< called when the previous start crashed; true = safe mode now; may be empty
};

/// The run-time environment of the program: Qt, the host's libraries, the modules. Created first and destroyed last in
/// `main`, on the application thread.
class Startup
{
public:
    Startup(int& argc, char** argv, const StartOptions& options);
    /// Stops all runs, unloads the modules and destroys everything.
    ~Startup();

    tov::main::ModuleLoader& getLoader();
    /// The file that was named as settings file but is not one; usually empty. If set, changes of settings are not
    /// saved.
    QString getForeignSettings() const;
    /// Calls `function` on the application thread with the count of SIGINT, SIGTERM and SIGHUP so far, from 1. From
    /// the second one on, the process ends by itself if the application thread does not respond.
    void setInterruptHandler(std::function<void(int count)> function);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// Must come first in `main`: sets up UTF-8 names in every locale, and ignores signals that would end the process.
void prepareProcess();

} // namespace tov::app
