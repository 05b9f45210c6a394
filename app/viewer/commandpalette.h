#pragma once

#include <QDialog>
#include <QList>
#include <QPointer>

#include <vector>

class QAction;
class QLineEdit;
class QListWidget;

namespace tov::viewer {

/// Finds an action of the window by typing parts of its name, and triggers it. Covers every action in the menus,
/// including the modules' commands. Thread: application.
class CommandPalette : public QDialog
{
    Q_OBJECT
public:
    /// `actions` are offered when they have a name and are enabled; duplicates are skipped.
    CommandPalette(const QList<QAction*>& actions, QWidget* parent);

    /// The action that the user chose; null after a cancel. Trigger it when the dialog has closed.
    QAction* getChosen() const { return mp_Chosen; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Entry
    {
        QString name;
        QString shortcut;
        QPointer<QAction> action;
    };
    void filter(const QString& text);
    void choose();

    std::vector<Entry> m_Entries; ///< by name
    QLineEdit* mp_Search;         ///< child
    QListWidget* mp_List;         ///< child
    QPointer<QAction> mp_Chosen;
};

} // namespace tov::viewer
