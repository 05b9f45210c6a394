#include "kernel/main/settings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThreadStorage>

#include <memory>
#include <mutex>
#include <utility>

namespace tov::main {

namespace {

struct Store
{
    std::mutex mutex;
    QString fileName;            ///< guarded by mutex; empty until it is first needed
    unsigned int generation = 1; ///< guarded by mutex; incremented whenever another file is chosen
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

/// The settings that exist in memory only. Qt shares the values of one file among all QSettings objects and keeps them
/// when they cannot be written; no folder can be created below /proc. This object keeps the values alive.
QSettings& memory()
{
    static auto* settings = new QSettings(QStringLiteral("/proc/self/tov/settings.ini"), QSettings::IniFormat);
    return *settings;
}

/// The file in use and its generation, read together.
std::pair<QString, unsigned int> currentFile()
{
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    if (s.fileName.isEmpty())
        s.fileName = defaultFile();
    return {s.fileName, s.generation};
}

} // namespace

void setSettingsFile(const QString& fileName)
{
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.fileName = fileName.isEmpty() ? defaultFile() : QFileInfo(fileName).absoluteFilePath();
    ++s.generation;
}

void useTemporarySettings()
{
    QSettings& stored = tovSettings();
    stored.sync();
    for (const QString& key : stored.allKeys())
        memory().setValue(key, stored.value(key));
    useEmptySettings();
}

void useEmptySettings()
{
    setSettingsFile(memory().fileName());
}

bool isForeignFile(const QString& fileName)
{
    constexpr qint64 CheckedBytes = 1 << 16;
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.read(CheckedBytes);
    QList<QByteArray> lines = text.split('\n');
    if (text.size() == CheckedBytes)
        lines.removeLast(); // it may be incomplete
    bool continued = false;
    for (const QByteArray& each : std::as_const(lines)) {
        const QByteArray line = each.trimmed();
        const bool known = continued || line.isEmpty() || line.startsWith(';') || line.startsWith('#') ||
                           line.startsWith('[') || line.contains('=');
        if (!known)
            return true;
        continued = line.endsWith('\\');
    }
    return false;
}

QString settingsFile()
{
    return currentFile().first;
}

} // namespace tov::main

QSettings& tovSettings()
{
    // Qt's thread storage is freed before QThread::wait() returns. Storage of the language (thread_local) is freed
    // later, possibly while the process is already exiting.
    struct Entry
    {
        unsigned int generation = 0;
        std::unique_ptr<QSettings> settings;
    };
    static auto* storage = new QThreadStorage<Entry*>;
    if (!storage->hasLocalData())
        storage->setLocalData(new Entry);
    Entry& entry = *storage->localData();
    const auto [fileName, generation] = tov::main::currentFile();
    if (entry.generation != generation) {
        entry.generation = generation;
        entry.settings = std::make_unique<QSettings>(fileName, QSettings::IniFormat);
    }
    return *entry.settings;
}
