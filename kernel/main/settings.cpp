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

/// Qt shares what it holds of one file among all objects on it, and keeps it while writing is impossible: no folder can
/// be made there. One object holds it for good.
QSettings& memory()
{
    static auto* holder = new QSettings(QStringLiteral("/proc/self/tov/settings.ini"), QSettings::IniFormat);
    return *holder;
}

} // namespace

void setSettingsFile(const QString& fileName)
{
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    s.fileName = fileName.isEmpty() ? defaultFile() : QFileInfo(fileName).absoluteFilePath();
    ++s.generation;
}

void keepSettingsInMemory()
{
    QSettings& before = tovSettings();
    before.sync();
    for (const QString& key : before.allKeys())
        memory().setValue(key, before.value(key));
    leaveSettingsFile();
}

void leaveSettingsFile()
{
    setSettingsFile(memory().fileName());
}

bool isForeignFile(const QString& fileName)
{
    constexpr qint64 Beginning = 1 << 16;
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.read(Beginning);
    QList<QByteArray> lines = text.split('\n');
    if (text.size() == Beginning)
        lines.removeLast(); // cut
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
    Store& s = store();
    std::lock_guard<std::mutex> guard(s.mutex);
    if (s.fileName.isEmpty())
        s.fileName = defaultFile();
    return s.fileName;
}

} // namespace tov::main

QSettings& tovSettings()
{
    // Qt's own thread storage: its objects are gone when the end of a QThread has been waited for. Those of the
    // language live a little longer, into the end of the process.
    struct Entry
    {
        unsigned int generation = 0;
        std::unique_ptr<QSettings> settings;
    };
    static auto* storage = new QThreadStorage<Entry*>;
    if (!storage->hasLocalData())
        storage->setLocalData(new Entry);
    Entry& entry = *storage->localData();
    const QString fileName = tov::main::settingsFile();
    auto& s = tov::main::store();
    std::unique_lock<std::mutex> lock(s.mutex);
    if (entry.generation != s.generation) {
        entry.generation = s.generation;
        lock.unlock();
        entry.settings = std::make_unique<QSettings>(fileName, QSettings::IniFormat);
    }
    return *entry.settings;
}
