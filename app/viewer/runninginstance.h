#pragma once

#include <QDBusAbstractAdaptor>
#include <QStringList>
#include <QVariantMap>

class QWidget;

namespace tov::viewer {

/// Makes the window available on the session's message bus, with the interface that the desktop entry specification
/// defines, so that another process can open files in it. Without a message bus it does nothing. Thread: application.
class RunningInstance : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    /// The adaptor belongs to the window. Of several windows, the oldest one is found.
    explicit RunningInstance(QWidget* window);

    /// Opens files in a window of another process and brings it to the front. False if no window is open.
    /// Thread: application, also before a window exists.
    static bool openInRunningWindow(const QStringList& fileNames);

public slots:
    // The names are those of the interface.
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);

signals:
    /// Names of local files.
    void filesRequested(const QStringList& fileNames);

private:
    QWidget* mp_Window; ///< not owned
};

} // namespace tov::viewer
