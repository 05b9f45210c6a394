#include "app/viewer/dialogs.h"

#include "app/viewer/capturepreferences.h"
#include "app/viewer/commandtexts.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/parameterdialog.h"
#include "app/viewer/theme.h"
#include "kernel/commands/command.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/modules/informationobject.h"
#include "kernel/modules/modulemanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/viewer.h"

#include <QAction>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace tov::viewer {

namespace {

/// A row with the button that closes the dialog; the dialog owns it.
QDialogButtonBox* closeButton(QDialog* dialog)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return buttons;
}

} // namespace

AboutModulesDialog::AboutModulesDialog(const std::vector<tov::main::LoadFailure>& failures, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("AboutModulesDialog"));
    setWindowTitle(tr("About modules"));
    auto* tree = new QTreeWidget(this);
    tree->setHeaderLabels({tr("Name"), tr("Description"), tr("Version"), tr("Author")});
    for (auto* module : tov::main::ModuleManager::getInstance()->getModules()) {
        auto* information = module->getInformationObject();
        if (!information)
            continue;
        auto* item = new QTreeWidgetItem(tree, {information->getName(), commandText(information->getDescription())});
        item->setIcon(0, information->getIcon());
        for (const auto& record : information->getAdditionalInformations())
            new QTreeWidgetItem(item, {record.name, record.description, record.version, record.author});
        item->setExpanded(true);
    }
    if (!failures.empty()) {
        auto* item = new QTreeWidgetItem(tree, {tr("Cannot be loaded")});
        for (const auto& failure : failures)
            new QTreeWidgetItem(item, {failure.fileName, failure.reason});
        item->setExpanded(true);
    }
    for (int column = 0; column < 4; ++column)
        tree->resizeColumnToContents(column);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tree);
    layout->addWidget(closeButton(this));
    resize(820, 380);
}

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("AboutDialog"));
    setWindowTitle(tr("About tov"));
    auto* icon = new QLabel(this);
    icon->setPixmap(applicationIcon().pixmap(QSize(96, 96)));
    auto* text = new QLabel(this);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    text->setWordWrap(true);
    text->setText(tr("<h2>tov %1</h2><p>3D scenes, pictures of any size and videos.</p>")
                      .arg(QCoreApplication::applicationVersion()) +
                  tr("<p>Drawn by: %1<br>Qt %2, built with %3</p>")
                      .arg(tov::scene::Viewer::getInstance()->getRenderer().toHtmlEscaped(),
                           QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR)));
    auto* row = new QHBoxLayout;
    row->setSpacing(18);
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(closeButton(this));
    setMinimumWidth(440);
}

ShortcutsDialog::ShortcutsDialog(const QList<QAction*>& actions, QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("ShortcutsDialog"));
    setWindowTitle(tr("Keys and mouse"));
    auto* tree = new QTreeWidget(this);
    tree->setHeaderLabels({tr("What"), tr("How")});
    tree->setRootIsDecorated(false);
    tree->setAlternatingRowColors(true);
    const std::pair<QString, QString> mouse[] = {
        {tr("Turn the view"), tr("Left button, arrow keys, Ctrl + wheel")},
        {tr("Move the view"), tr("Middle or right button, Shift + left button, Shift + wheel")},
        {tr("Zoom at the pointer"), tr("Wheel, two fingers, + and -")},
        {tr("Set the centre of rotation"), tr("Double click on the model")},
        {tr("Select a part"), tr("Click; Ctrl + click adds or removes; space: the part in the middle")},
        {tr("Menu of the view"), tr("Right click")},
    };
    for (const auto& [what, how] : mouse)
        new QTreeWidgetItem(tree, {what, how});
    for (const QAction* action : actions)
        if (!action->shortcut().isEmpty() && !action->text().isEmpty()) {
            QString text = action->text().remove(QLatin1Char('&'));
            if (text.endsWith(QLatin1String(" ...")))
                text.chop(4);
            new QTreeWidgetItem(tree, {text, action->shortcut().toString(QKeySequence::NativeText)});
        }
    for (int column = 0; column < 2; ++column)
        tree->resizeColumnToContents(column);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tree);
    layout->addWidget(closeButton(this));
    resize(std::max(600, tree->columnWidth(0) + tree->columnWidth(1) + 60), 600);
}

PreferencesDialog::PreferencesDialog(const std::vector<std::pair<QString, tov::main::Command*>>& settings,
                                     QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("PreferencesDialog"));
    setWindowTitle(tr("Preferences"));
    auto* form = new QFormLayout;

    auto* background = new QPushButton(this);
    const auto showColor = [background](const QColor& color) {
        QPixmap swatch(48, 16);
        swatch.fill(color);
        background->setIcon(QIcon(swatch));
        background->setIconSize(swatch.size());
        background->setText(color.name());
    };
    showColor(tov::scene::SceneDrawer(tov::scene::Viewer::getInstance()->getGlobalScene()).getBackgroundColor());
    connect(background, &QPushButton::clicked, this, [this, background, showColor] {
        const QColor color = QColorDialog::getColor(QColor(background->text()), this, tr("Background"));
        if (!color.isValid())
            return;
        showColor(color);
        tov::scene::SceneDrawer::setBackgroundColor(color);
        tovSettings().setValue(QStringLiteral("settings/background"), color.name());
        tov::scene::Viewer::getInstance()->redraw();
    });
    form->addRow(tr("Background:"), background);

    auto* samples = new QComboBox(this);
    samples->setObjectName(QStringLiteral("Samples"));
    for (int count : {0, 2, 4, 8})
        samples->addItem(count == 0 ? tr("Off") : tr("%1 samples").arg(count), count);
    samples->setCurrentIndex(samples->findData(tov::scene::SceneDrawer::getMultisampling()));
    connect(samples, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [samples] {
        const int count = samples->currentData().toInt();
        tovSettings().setValue(QStringLiteral("settings/multisampling"), count);
        tov::scene::SceneDrawer::setMultisampling(count);
        tov::scene::Viewer::getInstance()->redraw();
    });
    form->addRow(tr("Anti-aliasing:"), samples);

    auto* palette = new QComboBox(this);
    palette->addItem(tr("As the desktop"), QString());
    palette->addItem(tr("Light"), QStringLiteral("light"));
    palette->addItem(tr("Dark"), QStringLiteral("dark"));
    palette->setCurrentIndex(palette->findData(tovSettings().value(QStringLiteral("window/palette")).toString()));
    palette->setObjectName(QStringLiteral("Palette"));
    connect(palette, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [palette] {
        tovSettings().setValue(QStringLiteral("window/palette"), palette->currentData());
        applyTheme(palette->currentData().toString());
    });
    form->addRow(tr("Colours:"), palette);

    form->addRow(new CapturePreferences(this));
    // Each settings command opens its own dialog, which a module may also bring itself.
    for (const auto& [group, command] : settings) {
        auto* button = new QPushButton(command->getGUIDescriptor()->getLabel() + QStringLiteral(" ..."), this);
        button->setObjectName(command->getDescriptor()->getName());
        button->setEnabled(!command->isDisabled());
        connect(button, &QPushButton::clicked, this, [this, command = command] {
            ParameterDialog dialog(command, this);
            if (dialog.exec() != QDialog::Accepted)
                return;
            QString error;
            tov::main::Overseer::getInstance()->getCommandProcessor()->start(command->getDescriptor()->getName(),
                                                                             dialog.getArguments(), &error);
        });
        form->addRow(group + QLatin1Char(':'), button);
    }
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);
    layout->addWidget(closeButton(this));
    setMinimumWidth(420);
}

} // namespace tov::viewer
