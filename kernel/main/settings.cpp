#include "kernel/main/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <memory>
#include <mutex>

namespace tov::main {

namespace {

struct Store
{
    std::mutex mutex;
    QString fileName;            ///< guarded by mutex; empty = not chosen yet
    unsigned int generation = 1; ///< guarded by mutex; rises whenever the file changes
};

Store& store()
{
    static Store* instance = new Store;
    return *instance;
}

QString defaultFile()
{
    const QString fromEnvironment = qEnvironmentVariable("TOV_SETTINGS");
    if (!fromEnvironment.isEmpty())
        return QFileInfo(fromEnvironment).absoluteFilePath();
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/tov/tov.ini");
}

} // namespace

void setSettingsFile(const QString& fileName)
{
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.fileName = fileName.isEmpty() ? defaultFile() : QFileInfo(fileName).absoluteFilePath();
    ++s.generation;
}

QString settingsFile()
{
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    if (s.fileName.isEmpty())
        s.fileName = defaultFile();
    return s.fileName;
}

} // namespace tov::main

QSettings& tovSettings()
{
    thread_local std::unique_ptr<QSettings> settings;
    thread_local unsigned int generation = 0;
    const QString fileName = tov::main::settingsFile();
    auto& s = tov::main::store();
    std::unique_lock<std::mutex> lock(s.mutex);
    if (generation != s.generation) {
        generation = s.generation;
        lock.unlock();
        settings = std::make_unique<QSettings>(fileName, QSettings::IniFormat);
    }
    return *settings;
}
