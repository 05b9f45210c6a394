#include "app/viewer/runninginstance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QUrl>
#include <QWidget>

namespace tov::viewer {

namespace {

const QString Service = QStringLiteral("org.tov.tov");
const QString ObjectPath = QStringLiteral("/org/tov/tov");
const QString Interface = QStringLiteral("org.freedesktop.Application");
constexpr int TimeoutMs = 5000;

} // namespace

RunningInstance::RunningInstance(QWidget* window) : QDBusAbstractAdaptor(window), mp_Window(window)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.registerObject(ObjectPath, window))
        return;
    // A second window gets the name when the first one closes.
    bus.interface()->registerService(Service, QDBusConnectionInterface::QueueService);
}

bool RunningInstance::openInRunningWindow(const QStringList& fileNames)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QStringList uris;
    for (const QString& name : fileNames)
        uris << QUrl::fromLocalFile(QFileInfo(name).absoluteFilePath()).toString(QUrl::FullyEncoded);
    QDBusMessage message = QDBusMessage::createMethodCall(
        Service, ObjectPath, Interface, uris.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    if (!uris.isEmpty())
        message << uris;
    message << QVariantMap();
    message.setAutoStartService(false);
    return bus.call(message, QDBus::Block, TimeoutMs).type() == QDBusMessage::ReplyMessage;
}

void RunningInstance::Activate(const QVariantMap&)
{
    mp_Window->setWindowState(mp_Window->windowState() & ~Qt::WindowMinimized);
    mp_Window->raise();
    mp_Window->activateWindow();
    QApplication::alert(mp_Window);
}

void RunningInstance::Open(const QStringList& uris, const QVariantMap& platformData)
{
    Activate(platformData);
    QStringList names;
    for (const QString& uri : uris)
        if (const QUrl url(uri); url.isLocalFile())
            names << url.toLocalFile();
    if (!names.isEmpty())
        emit filesRequested(names);
}

} // namespace tov::viewer
