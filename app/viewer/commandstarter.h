#pragma once

#include <QObject>
#include <QString>

class QWidget;

namespace tov::main {
class Command;
}

namespace tov::viewer {

class ParameterDialog;

/// Starts commands that a user chooses: shows the command's own window or its parameter dialog, and checks the output
/// file before the run begins. Thread: application.
class CommandStarter : public QObject
{
    Q_OBJECT
public:
    /// `window` is the parent of the dialogs.
    explicit CommandStarter(QWidget* window);

    /// Asks for the parameters of `prototype` and runs it.
    void start(tov::main::Command* prototype);
    /// Runs a command text as the console does. False, with one line in `error`, when it cannot start or when its
    /// output file cannot be written.
    static bool startText(const QString& text, QString* error);

signals:
    /// One line for the user: the command could not be started.
    void refused(const QString& message);

private:
    bool mayWrite(const ParameterDialog& dialog);

    QWidget* mp_Window; ///< not owned
};

} // namespace tov::viewer
