#pragma once

#include <QSplashScreen>

namespace tov::viewer {

/// What is seen while the program starts: its name, its version and what the modules say they do. Thread: application.
class Splash : public QSplashScreen
{
    Q_OBJECT
public:
    Splash();

    /// Shows a start-up message at once, though no event loop runs yet.
    void say(const QString& message);
    QStringList getMessages() const { return m_Messages; }

private:
    QStringList m_Messages;
};

} // namespace tov::viewer
