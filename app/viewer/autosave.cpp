#include "app/viewer/autosave.h"

#include "app/common/scenefile.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/scenedocument.h"
#include "kernel/util/cache.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QLockFile>

namespace tov::viewer {

using tov::app::SceneFile;

namespace {

constexpr int DelayMs = 3000;
const QString Prefix = QStringLiteral("session-");

QString lockNameOf(const QString& fileName)
{
    return fileName + QStringLiteral(".lock");
}

/// The lock of a copy; null while a window holds it.
std::unique_ptr<QLockFile> tryToLock(const QString& fileName)
{
    auto lock = std::make_unique<QLockFile>(lockNameOf(fileName));
    // Only the end of a process frees its lock, however old it is.
    lock->setStaleLockTime(0);
    return lock->tryLock(0) ? std::move(lock) : nullptr;
}

} // namespace

Autosave::Autosave(SceneDocument* document, NoticeBar* notices, QObject* parent)
    : QObject(parent), mp_Document(document), mp_Notices(notices)
{
    lockOwn();
    m_Timer.setSingleShot(true);
    m_Timer.setInterval(DelayMs);
    connect(&m_Timer, &QTimer::timeout, this, &Autosave::store);
    connect(document, &SceneDocument::changed, this, [this] {
        // Not restarted: a view that turns all the time is stored, too.
        if (!m_Timer.isActive())
            m_Timer.start();
    });
}

Autosave::~Autosave()
{
    if (m_IsKept) {
        store();
        return;
    }
    QFile::remove(m_FileName);
    for (const Crashed& crashed : m_Crashed)
        QFile::remove(crashed.fileName);
}

void Autosave::lockOwn()
{
    constexpr int MostWindows = 100;
    for (int number = 1; number <= MostWindows && !mp_Lock; ++number) {
        m_FileName = tov::util::cacheFile(QStringLiteral("%1%2-%3.%4")
                                              .arg(Prefix, QString::number(QCoreApplication::applicationPid()),
                                                   QString::number(number), SceneFile::Suffix));
        // A copy under this name was left by an earlier process of the same number.
        if (!m_FileName.isEmpty() && !QFileInfo::exists(m_FileName))
            mp_Lock = tryToLock(m_FileName);
    }
    if (!mp_Lock)
        m_FileName.clear();
}

void Autosave::store()
{
    if (m_FileName.isEmpty())
        return;
    SceneFile scene = mp_Document->collect();
    scene.origin = mp_Document->getFileName();
    const QByteArray text = scene.toJson(QFileInfo(m_FileName).absolutePath());
    QString error;
    // A scene that is as its file says has nothing to be restored; a failed copy is tried again after the next change.
    const bool isWorthIt = !scene.models.empty() && (scene.origin.isEmpty() || mp_Document->isModified());
    if (!isWorthIt) {
        QFile::remove(m_FileName);
        m_Stored.clear();
    } else if (text != m_Stored && scene.save(m_FileName, &error)) {
        m_Stored = text;
    }
    emit stored();
}

void Autosave::offerCrashed()
{
    if (m_FileName.isEmpty())
        return;
    const QDir folder = QFileInfo(m_FileName).dir();
    const QString pattern = Prefix + QStringLiteral("*.") + SceneFile::Suffix;
    for (const QFileInfo& copy : folder.entryInfoList({pattern}, QDir::Files, QDir::Time)) {
        const QString name = copy.absoluteFilePath();
        auto lock = name == m_FileName ? nullptr : tryToLock(name);
        if (!lock)
            continue;
        m_Crashed.push_back({name, std::move(lock)});
        offer(name);
        if (int(m_Crashed.size()) == MostOffers)
            return;
    }
}

void Autosave::offer(const QString& fileName)
{
    const auto restore = [this, fileName] {
        // The copy is removed at the end, so the user gets another chance.
        if (!mp_Document->restore(fileName))
            offer(fileName);
    };
    const QDateTime time = QFileInfo(fileName).lastModified();
    mp_Notices->showAction(tr("tov ended unexpectedly on %1. The scene of that session can be restored.")
                               .arg(QLocale().toString(time, QLocale::ShortFormat)),
                           tr("Restore"), restore);
}

} // namespace tov::viewer
