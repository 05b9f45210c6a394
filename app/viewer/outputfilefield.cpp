#include "app/viewer/outputfilefield.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QToolButton>

namespace tov::viewer {

OutputFileField::OutputFileField(const QString& title, QWidget* parent)
    : QWidget(parent), m_Title(title), mp_Edit(new QLineEdit(this))
{
    mp_Edit->setObjectName(QStringLiteral("FileName"));
    connect(mp_Edit, &QLineEdit::textChanged, this, &OutputFileField::changed);
    auto* button = new QToolButton(this);
    button->setText(QStringLiteral("..."));
    button->setToolTip(tr("Choose a file"));
    connect(button, &QToolButton::clicked, this, &OutputFileField::choose);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mp_Edit, 1);
    layout->addWidget(button);
    setFocusProxy(mp_Edit);
}

QString OutputFileField::getFileName() const
{
    return mp_Edit->text();
}

void OutputFileField::setFileName(const QString& fileName)
{
    mp_Edit->setText(fileName);
}

void OutputFileField::choose()
{
    const QFileInfo info(getFileName());
    QFileDialog dialog(this, m_Title, info.absolutePath());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(m_Filters);
    dialog.setDefaultSuffix(info.suffix());
    dialog.selectFile(info.fileName());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    // The dialog has asked whether to replace a file.
    m_AgreedFile = dialog.selectedFiles().first();
    setFileName(m_AgreedFile);
}

bool OutputFileField::agreesToReplace()
{
    const QString name = getFileName();
    if (!QFileInfo::exists(name) || name == m_AgreedFile)
        return true;
    QMessageBox question(QMessageBox::Warning, m_Title,
                         tr("%1 exists already. Replace it?").arg(QFileInfo(name).fileName()), QMessageBox::Cancel,
                         window());
    question.setObjectName(QStringLiteral("ReplaceQuestion"));
    auto* replace = question.addButton(tr("Replace"), QMessageBox::DestructiveRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(replace);
}

} // namespace tov::viewer
