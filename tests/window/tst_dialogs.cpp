// The other dialogs; menus are built from descriptors alone.

#include "app/viewer/commandactions.h"
#include "app/viewer/dialogs.h"
#include "app/viewer/parameterdialog.h"
#include "app/viewer/splash.h"
#include "kernel/commands/command.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/module.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameterset.h"
#include "tests/window/windowfixture.h"

#include <QComboBox>
#include <QMenuBar>
#include <QPushButton>
#include <QTranslator>
#include <QTreeWidget>

using namespace tov::test;
using tov::main::MenuAndToolbarManager;

namespace {

/// A command of a module that is unknown to the window.
class Late : public tov::main::Command
{
public:
    Late(const char* name, int position, std::atomic<int>* count)
        : Command(new tov::main::CommandDescriptor(QString::fromLatin1(name), QStringLiteral("Counts its runs")),
                  new tov::main::CommandGUIDescriptor(tov::main::CommandGUIDescriptor::Ordinary, QStringLiteral("Late"),
                                                      position, QString::fromLatin1(name), QString::fromLatin1(name),
                                                      nullptr)),
          mp_Count(count)
    {
        addParameterSet(new tov::main::ParameterSet(0));
        setInstanceMode(RunPrototype);
    }
    void execute() override { ++*mp_Count; }

private:
    std::atomic<int>* mp_Count;
};

class LateModule : public tov::main::Module
{
public:
    explicit LateModule(tov::main::InformationObject* information) : Module(information)
    {
        m_GUIDescriptions[MenuAndToolbarManager::Menu].emplace(QStringLiteral("Late"),
                                                               MenuAndToolbarManager::Position(4000));
        m_GUIDescriptions[MenuAndToolbarManager::ToolBar].emplace(QStringLiteral("Late"),
                                                                  MenuAndToolbarManager::Position(5));
    }
    bool canBeLoaded() override { return true; }
    void initialize(const Progress&) override {}
    void finalize() override {}
};

class WindowDialogs : public WindowTest
{};

QStringList allTexts(QTreeWidget* tree)
{
    QStringList texts;
    for (QTreeWidgetItemIterator it(tree); *it; ++it)
        for (int column = 0; column < tree->columnCount(); ++column)
            texts << (*it)->text(column);
    return texts;
}

} // namespace

TEST_F(WindowDialogs, AModuleAddedLaterIsPlacedByItsDescriptors)
{
    std::atomic<int> count{0};
    tov::main::InformationObject information(QStringLiteral("Comes late"), QStringLiteral("Late"), QIcon(), QUrl(),
                                             QUrl());
    auto* processor = tov::main::Overseer::getInstance()->getCommandProcessor();
    {
        LateModule module(&information);
        auto* second = new Late("latesecond", 20, &count);
        auto* first = new Late("latefirst", 10, &count);
        for (auto* command : {second, first}) {
            module.registerCommand(command);
            processor->addPrimaryCommand(command, nullptr);
        }
        ASSERT_TRUE(processUntil([this] { return menuAction("Late", "latefirst") != nullptr; }));
        QStringList menus;
        for (QAction* action : window().menuBar()->actions())
            menus << action->text().remove(QLatin1Char('&'));
        EXPECT_EQ(menus, QStringList({"File", "Edit", "View", "Tools", "Late", "Grab", "Help"}))
            << menus.join(" ").toStdString();
        QStringList commands;
        for (QAction* action : menuAction("Late", "latefirst")->associatedWidgets().first()->actions())
            commands << action->iconText();
        EXPECT_EQ(commands, QStringList({"latefirst", "latesecond"})) << "order by position";
        first->disableCommand(true);
        EXPECT_TRUE(processUntil([this] { return !menuAction("Late", "latefirst")->isEnabled(); }));
        triggerWithDialog(menuAction("Late", "latesecond"), "ParameterDialog",
                          [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Return); });
        EXPECT_TRUE(processUntil([&] { return count == 1; }));
        ASSERT_TRUE(waitForNoRuns());
        for (auto* command : {second, first})
            processor->removePrimaryCommand(command);
    }
    EXPECT_TRUE(processUntil([this] { return menuAction("Late", "latefirst") == nullptr; }));
    EXPECT_NE(menuAction("Grab", "Image"), nullptr);
}

TEST_F(WindowDialogs, AboutModulesListsModulesEncodersAndFailures)
{
    triggerWithDialog(menuAction("Help", "About modules"), "AboutModulesDialog", [](QWidget* dialog) {
        const QStringList texts = allTexts(dialog->findChild<QTreeWidget*>());
        EXPECT_TRUE(texts.contains("Grab")) << texts.join(" | ").toStdString();
        EXPECT_TRUE(texts.contains("Offers picture and video grabbing of the scene"));
        EXPECT_GE(texts.size(), 4 * 2) << "the encoder plug-ins have records of their own";
        dialog->close();
    });
    tov::viewer::AboutModulesDialog failed({{"broken.so", "file too short"}}, nullptr);
    const QStringList texts = allTexts(failed.findChild<QTreeWidget*>());
    EXPECT_TRUE(texts.contains("broken.so"));
    EXPECT_TRUE(texts.contains("file too short"));
}

TEST_F(WindowDialogs, PreferencesHoldTheSettingsCommands)
{
    triggerWithDialog(menuAction("File", "Preferences"), "PreferencesDialog", [this](QWidget* dialog) {
        auto* settings = dialog->findChild<QPushButton*>("setvideosettings");
        ASSERT_NE(settings, nullptr);
        onDialog("ParameterDialog", [](QWidget* inner) { QTest::keyClick(inner, Qt::Key_Escape); });
        settings->click();
        dialog->close();
    });
}

TEST_F(WindowDialogs, SplashShowsTheModulesMessages)
{
    tov::viewer::Splash splash;
    splash.show();
    splash.showStartMessage("Initializing Video");
    splash.showStartMessage("Loading video encoder plugins");
    EXPECT_EQ(splash.getMessages(), QStringList({"Initializing Video", "Loading video encoder plugins"}));
    EXPECT_EQ(splash.message().trimmed(), QStringLiteral("Loading video encoder plugins"));
}

TEST_F(WindowDialogs, TranslationReachesMenusAndDialogs)
{
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/translations/tov_de.qm")));
    QCoreApplication::installTranslator(&german);
    tov::viewer::MainWindow window(nullptr);
    QStringList menus;
    for (QAction* action : window.menuBar()->actions())
        menus << action->text().remove(QLatin1Char('&'));
    // The module was loaded without the translation, so its texts stay in the language at loading time.
    EXPECT_EQ(menus, QStringList({"Datei", "Bearbeiten", "Ansicht", "Werkzeuge", "Grab", "Hilfe"}));
    auto* prototype =
        tov::main::Overseer::getInstance()->getCommandProcessor()->getPrimaryCommand(QStringLiteral("grabimage"));
    tov::viewer::ParameterDialog dialog(prototype, &window);
    QStringList labels;
    for (auto* label : dialog.findChildren<QLabel*>())
        labels << label->text();
    EXPECT_TRUE(labels.contains("Nimmt ein Bild der Szene auf")) << labels.join(" | ").toStdString();
    EXPECT_TRUE(labels.contains("Breite:"));
    QCoreApplication::removeTranslator(&german);
}

TEST_F(WindowDialogs, PaletteIsChangedAtOnce)
{
    const QColor before = QApplication::palette().color(QPalette::Window);
    triggerWithDialog(menuAction("File", "Preferences"), "PreferencesDialog", [&](QWidget* dialog) {
        auto* palette = dialog->findChild<QComboBox*>("Palette");
        ASSERT_NE(palette, nullptr);
        palette->setCurrentIndex(palette->findData("dark"));
        EXPECT_LT(QApplication::palette().color(QPalette::Window).lightness(), 100);
        EXPECT_GT(QApplication::palette().color(QPalette::WindowText).lightness(), 180);
        EXPECT_LT(window().palette().color(QPalette::Window).lightness(), 100) << "open widgets change, too";
        palette->setCurrentIndex(palette->findData("light"));
        EXPECT_GT(QApplication::palette().color(QPalette::Window).lightness(), 180);
        palette->setCurrentIndex(palette->findData(QString()));
        dialog->close();
    });
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), before);
}

TEST_F(WindowDialogs, DialogsAreUsedFromTheKeyboard)
{
    openSample();
    triggerWithDialog(menuAction("Grab", "Image"), "ParameterDialog", [](QWidget* dialog) {
        // From the first field, Tab reaches every editor and both buttons.
        QSet<QString> reached;
        QApplication::setActiveWindow(dialog);
        for (int i = 0; i < 12; ++i) {
            if (auto* focus = QApplication::focusWidget()) {
                for (QWidget* each = focus; each && each != dialog; each = each->parentWidget())
                    reached << each->objectName();
                if (auto* button = qobject_cast<QPushButton*>(focus))
                    reached << button->text().remove(QLatin1Char('&'));
            }
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : dialog, Qt::Key_Tab);
        }
        EXPECT_TRUE(reached.contains("filename"));
        EXPECT_TRUE(reached.contains("width"));
        EXPECT_TRUE(reached.contains("Cancel"));
        dialog->close();
    });
}

TEST_F(WindowDialogs, LabelsAreOnTheLinesOfTheirEditors)
{
    openSample();
    for (const char* command : {"Image", "Video", "Video settings"})
        triggerWithDialog(menuAction("Grab", command), "ParameterDialog", [&](QWidget* dialog) {
            int compared = 0;
            for (const auto* label : dialog->findChildren<QLabel*>())
                if (const QWidget* editor = label->buddy()) {
                    const int labelMiddle = label->mapTo(dialog, label->rect().center()).y();
                    const int editorMiddle = editor->mapTo(dialog, editor->rect().center()).y();
                    EXPECT_NEAR(labelMiddle, editorMiddle, 2) << label->text().toStdString();
                    ++compared;
                }
            EXPECT_GT(compared, 1);
            dialog->close();
        });
}
