#include "app/viewer/exportpicturedialog.h"

#include "app/common/outputcheck.h"
#include "app/viewer/outputname.h"
#include "app/viewer/sizepicker.h"
#include "app/viewer/viewpicture.h"
#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace tov::viewer {

namespace {

const QSize PreviewRoom(360, 240);
constexpr int LargestEdge = 30000;
constexpr int CheckEdge = 8;
/// Share of each edge that stays outside the safe area for titles.
constexpr double SafeMargin = 0.05;

QString keyOf(const char* name)
{
    return QStringLiteral("exportpicture/") + QLatin1String(name);
}

/// Grey squares, the usual sign of transparency.
void paintChecks(QPainter& painter, const QRect& area)
{
    for (int y = area.top(); y <= area.bottom(); y += CheckEdge)
        for (int x = area.left(); x <= area.right(); x += CheckEdge) {
            const bool light = ((x - area.left()) / CheckEdge + (y - area.top()) / CheckEdge) % 2 == 0;
            painter.fillRect(QRect(x, y, CheckEdge, CheckEdge) & area, light ? QColor(204, 204, 204) : Qt::white);
        }
}

} // namespace

ExportPictureDialog::ExportPictureDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent)
    : QDialog(parent), mp_View(view)
{
    setObjectName(QStringLiteral("ExportPictureDialog"));
    setWindowTitle(tr("Export picture"));
    createFields();
    restore();
    const QString ending = tovSettings().value(keyOf("format"), QStringLiteral("png")).toString();
    mp_File->setText(nextFreeName(captureFolder(), capturePattern(), modelName, ending));
    validate();
    requestPreview();
}

void ExportPictureDialog::createFields()
{
    const double ratio = mp_View->devicePixelRatioF();
    const QSize viewSize(int(std::lround(mp_View->width() * ratio)), int(std::lround(mp_View->height() * ratio)));
    mp_Size = new SizePicker(SizePicker::picturePresets(viewSize), 1, LargestEdge, this);
    connect(mp_Size, &SizePicker::sizeChanged, this, [this] {
        validate();
        requestPreview();
    });
    mp_Transparent = new QCheckBox(tr("Transparent background"), this);
    mp_Transparent->setObjectName(QStringLiteral("Transparent"));
    connect(mp_Transparent, &QCheckBox::toggled, this, &ExportPictureDialog::requestPreview);
    mp_Quality = new QSpinBox(this);
    mp_Quality->setObjectName(QStringLiteral("Quality"));
    mp_Quality->setRange(0, 100);
    mp_Dpi = new QSpinBox(this);
    mp_Dpi->setObjectName(QStringLiteral("Dpi"));
    mp_Dpi->setRange(30, 2400);
    mp_Dpi->setSuffix(tr(" dpi"));
    mp_Preview = new QLabel(this);
    mp_Preview->setObjectName(QStringLiteral("Preview"));
    mp_Preview->setFixedSize(PreviewRoom);
    mp_Preview->setAlignment(Qt::AlignCenter);
    mp_Message = new QLabel(this);
    mp_Message->setObjectName(QStringLiteral("Message"));
    mp_Message->setWordWrap(true);
    mp_Buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    auto* exportButton = mp_Buttons->addButton(tr("Export"), QDialogButtonBox::AcceptRole);
    exportButton->setDefault(true);
    connect(mp_Buttons, &QDialogButtonBox::accepted, this, &ExportPictureDialog::finish);
    connect(mp_Buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* form = new QFormLayout;
    form->addRow(tr("Size:"), mp_Size);
    form->addRow(tr("Background:"), mp_Transparent);
    form->addRow(tr("Quality:"), mp_Quality);
    form->addRow(tr("Resolution:"), mp_Dpi);
    form->addRow(tr("File:"), createFileRow());
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mp_Preview, 0, Qt::AlignHCenter);
    layout->addLayout(form);
    layout->addWidget(mp_Message);
    layout->addStretch(1);
    layout->addWidget(mp_Buttons);
    setMinimumWidth(520);
}

QWidget* ExportPictureDialog::createFileRow()
{
    auto* row = new QWidget(this);
    mp_File = new QLineEdit(row);
    mp_File->setObjectName(QStringLiteral("FileName"));
    connect(mp_File, &QLineEdit::textChanged, this, &ExportPictureDialog::validate);
    auto* choose = new QToolButton(row);
    choose->setText(QStringLiteral("..."));
    choose->setToolTip(tr("Choose a file"));
    connect(choose, &QToolButton::clicked, this, &ExportPictureDialog::chooseFile);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mp_File, 1);
    layout->addWidget(choose);
    row->setFocusProxy(mp_File);
    return row;
}

void ExportPictureDialog::restore()
{
    auto& settings = tovSettings();
    const QSize size = settings.value(keyOf("size"), QSize(1920, 1080)).toSize();
    mp_Size->setSize(size);
    mp_Transparent->setChecked(settings.value(keyOf("transparent"), false).toBool());
    mp_Quality->setValue(settings.value(keyOf("quality"), 90).toInt());
    mp_Dpi->setValue(settings.value(keyOf("dpi"), 300).toInt());
}

void ExportPictureDialog::remember() const
{
    auto& settings = tovSettings();
    settings.setValue(keyOf("size"), mp_Size->getSize());
    settings.setValue(keyOf("transparent"), mp_Transparent->isChecked());
    settings.setValue(keyOf("quality"), mp_Quality->value());
    settings.setValue(keyOf("dpi"), mp_Dpi->value());
    settings.setValue(keyOf("format"), QFileInfo(mp_File->text()).suffix().toLower());
    setCaptureFolder(QFileInfo(mp_File->text()).absolutePath());
}

PictureRequest ExportPictureDialog::getRequest() const
{
    PictureRequest request;
    request.fileName = mp_File->text();
    request.size = mp_Size->getSize();
    request.transparent = mp_Transparent->isChecked() && mp_Transparent->isEnabled();
    request.quality = mp_Quality->isEnabled() ? mp_Quality->value() : -1;
    request.dpi = mp_Dpi->value();
    return request;
}

void ExportPictureDialog::chooseFile()
{
    QStringList filters;
    for (const QString& suffix : PictureExport::suffixes())
        filters << QStringLiteral("%1 (*.%2)").arg(suffix.toUpper(), suffix);
    QFileDialog dialog(this, tr("Export picture"), QFileInfo(mp_File->text()).absolutePath());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(filters);
    dialog.setDefaultSuffix(QFileInfo(mp_File->text()).suffix());
    dialog.selectFile(QFileInfo(mp_File->text()).fileName());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    // The dialog has asked whether to replace a file.
    m_AgreedFile = dialog.selectedFiles().first();
    mp_File->setText(m_AgreedFile);
}

void ExportPictureDialog::validate()
{
    const QString suffix = QFileInfo(mp_File->text()).suffix().toLower();
    mp_Transparent->setEnabled(PictureExport::keepsTransparency(mp_File->text()));
    mp_Quality->setEnabled(suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg") ||
                           suffix == QLatin1String("webp"));
    QString problem;
    if (mp_File->text().isEmpty())
        problem = tr("A file name is needed.");
    else if (!PictureExport::suffixes().contains(suffix))
        problem = tr("The ending selects the format: %1.").arg(PictureExport::suffixes().join(QStringLiteral(", ")));
    else
        tov::app::checkOutputFolder(mp_File->text(), &problem);
    const QSize size = mp_Size->getSize();
    const double megapixels = double(size.width()) * size.height() / 1e6;
    mp_Message->setText(
        problem.isEmpty() ? tr("%1 megapixels, %2 MB of memory while it is drawn")
                                .arg(QLocale().toString(megapixels, 'f', 1), QLocale().toString(megapixels * 4, 'f', 0))
                          : problem);
    for (auto* button : mp_Buttons->buttons())
        if (mp_Buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
            button->setEnabled(problem.isEmpty());
}

void ExportPictureDialog::requestPreview()
{
    if (m_PreviewPending) {
        m_PreviewOutdated = true;
        return;
    }
    const QSize size = mp_Size->getSize().scaled(PreviewRoom, Qt::KeepAspectRatio).expandedTo(QSize(2, 2));
    m_PreviewPending =
        bool(ViewPicture::take(mp_View, size, this, [this](const QImage& drawn) { showPreview(drawn); }));
}

void ExportPictureDialog::showPreview(const QImage& drawn)
{
    m_PreviewPending = false;
    QPixmap shown(drawn.size());
    QPainter painter(&shown);
    const QRect area(QPoint(), drawn.size());
    if (mp_Transparent->isChecked() && mp_Transparent->isEnabled()) {
        paintChecks(painter, area);
        const tov::scene::SceneDrawer drawer(tov::scene::Viewer::getInstance()->getGlobalScene());
        painter.drawImage(0, 0, withoutBackground(drawn, drawer.getBackgroundColor()));
    } else {
        painter.drawImage(0, 0, drawn.convertToFormat(QImage::Format_RGB32));
    }
    const int marginX = int(drawn.width() * SafeMargin), marginY = int(drawn.height() * SafeMargin);
    painter.setPen(QPen(QColor(128, 128, 128, 160), 1, Qt::DashLine));
    painter.drawRect(area.adjusted(marginX, marginY, -marginX - 1, -marginY - 1));
    painter.end();
    mp_Preview->setPixmap(shown);
    if (m_PreviewOutdated) {
        m_PreviewOutdated = false;
        requestPreview();
    }
}

bool ExportPictureDialog::agreesToReplace()
{
    const QString name = mp_File->text();
    if (!QFileInfo::exists(name) || name == m_AgreedFile)
        return true;
    QMessageBox question(QMessageBox::Warning, windowTitle(),
                         tr("%1 exists already. Replace it?").arg(QFileInfo(name).fileName()), QMessageBox::Cancel,
                         this);
    question.setObjectName(QStringLiteral("ReplaceQuestion"));
    auto* replace = question.addButton(tr("Replace"), QMessageBox::DestructiveRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(replace);
}

void ExportPictureDialog::finish()
{
    if (!agreesToReplace())
        return;
    remember();
    accept();
}

} // namespace tov::viewer
