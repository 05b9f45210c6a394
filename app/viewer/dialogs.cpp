#include "app/viewer/dialogs.h"

#include "app/viewer/parameterdialog.h"
#include "kernel/main/command.h"
#include "kernel/main/commandprocessor.h"
#include "kernel/main/informationobject.h"
#include "kernel/main/modulemanager.h"
#include "kernel/main/overseer.h"
#include "kernel/main/settings.h"
#include "scene/scenedrawer.h"
#include "scene/viewer.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace tov::viewer {

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
        auto* item = new QTreeWidgetItem(tree, {information->getName(), information->getDescription()});
        item->setIcon(0, information->getIcon());
        for (const auto& record : information->getAdditionalInformations())
            new QTreeWidgetItem(item, {record.name, record.description, record.version, record.author});
        item->setExpanded(true);
    }
    if (!failures.empty()) {
        auto* item = new QTreeWidgetItem(tree, {tr("Could not be loaded")});
        for (const auto& failure : failures)
            new QTreeWidgetItem(item, {failure.fileName, failure.reason});
        item->setExpanded(true);
    }
    for (int column = 0; column < 4; ++column)
        tree->resizeColumnToContents(column);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tree);
    layout->addWidget(buttons);
    resize(820, 380);
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
    for (int count : {0, 2, 4, 8})
        samples->addItem(count == 0 ? tr("Off") : tr("%1 samples").arg(count), count);
    samples->setCurrentIndex(
        samples->findData(tovSettings().value(QStringLiteral("settings/multisampling"), 0).toInt()));
    connect(samples, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [samples] {
        tovSettings().setValue(QStringLiteral("settings/multisampling"), samples->currentData().toInt());
        tov::scene::Viewer::getInstance()->redraw();
    });
    form->addRow(tr("Anti-aliasing:"), samples);

    auto* palette = new QComboBox(this);
    palette->addItem(tr("As the desktop"), QString());
    palette->addItem(tr("Light"), QStringLiteral("light"));
    palette->addItem(tr("Dark"), QStringLiteral("dark"));
    palette->setCurrentIndex(palette->findData(tovSettings().value(QStringLiteral("window/palette")).toString()));
    palette->setToolTip(tr("Takes effect at the next start"));
    connect(palette, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [palette] { tovSettings().setValue(QStringLiteral("window/palette"), palette->currentData()); });
    form->addRow(tr("Colours (next start):"), palette);

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
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch(1);
    layout->addWidget(buttons);
    setMinimumWidth(420);
}

} // namespace tov::viewer
