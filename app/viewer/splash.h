#pragma once

#include <QSplashScreen>

namespace tov::viewer {

/// The start-up screen: name and version of the program, and the modules' messages. Thread: application.
class Splash : public QSplashScreen
{
    Q_OBJECT
public:
    Splash();

    /// Shows a start-up message at once, though no event loop runs yet.
    void showStartMessage(const QString& message);
    QStringList getMessages() const { return m_Messages; }

private:
    QStringList m_Messages;
};

} // namespace tov::viewer
