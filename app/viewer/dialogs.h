#pragma once

#include "kernel/modules/moduleloader.h"

#include <QDialog>

#include <functional>
#include <utility>
#include <vector>

class QAction;

namespace tov::main {
class Command;
}

namespace tov::viewer {

/// "About modules": the modules, the records of their plug-ins, and what failed to load and why.
class AboutModulesDialog : public QDialog
{
    Q_OBJECT
public:
    AboutModulesDialog(const std::vector<tov::main::LoadFailure>& failures, QWidget* parent);
};

/// "About tov": version, renderer, libraries.
class AboutDialog : public QDialog
{
    Q_OBJECT
public:
    explicit AboutDialog(QWidget* parent);
};

/// Every shortcut of the window's actions, and what the mouse does.
class ShortcutsDialog : public QDialog
{
    Q_OBJECT
public:
    ShortcutsDialog(const QList<QAction*>& actions, QWidget* parent);
};

/// Preferences: background, anti-aliasing, palette, and a page for each settings command. OK runs the settings commands
/// whose page was changed.
class PreferencesDialog : public QDialog
{
    Q_OBJECT
public:
    PreferencesDialog(const std::vector<std::pair<QString, tov::main::Command*>>& settings, QWidget* parent);
};

} // namespace tov::viewer
