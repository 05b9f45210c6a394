#include "app/viewer/lookbutton.h"

#include "app/viewer/exportpreview.h"
#include "app/viewer/lookpanel.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QVBoxLayout>

namespace tov::viewer {

LookButton::LookButton(ExportPreview* preview, QWidget* parent)
    : QPushButton(tr("Light, background, edges ..."), parent), mp_Preview(preview)
{
    setObjectName(QStringLiteral("LookButton"));
    setAutoDefault(false);
    connect(this, &QPushButton::clicked, this, &LookButton::openLook);
}

void LookButton::openLook()
{
    QDialog dialog(window());
    dialog.setObjectName(QStringLiteral("LookDialog"));
    dialog.setWindowTitle(tr("Look"));
    auto* look = new LookPanel(&dialog);
    connect(look, &LookPanel::failed, &dialog,
            [&dialog](const QString& reason) { QMessageBox::warning(&dialog, dialog.windowTitle(), reason); });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(look);
    layout->addWidget(buttons);
    dialog.exec();
    // The panel of the main window shows the look, too.
    for (QWidget* top : QApplication::topLevelWidgets())
        for (auto* panel : top->findChildren<LookPanel*>())
            panel->refresh();
    mp_Preview->refresh();
}

} // namespace tov::viewer
