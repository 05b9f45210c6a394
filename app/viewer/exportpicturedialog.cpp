#include "app/viewer/exportpicturedialog.h"

#include "app/common/picturefile.h"
#include "app/viewer/exportestimate.h"
#include "app/viewer/exportpreview.h"
#include "app/viewer/lookbutton.h"
#include "app/viewer/outputfilefield.h"
#include "app/viewer/outputname.h"
#include "app/viewer/sizepicker.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace tov::viewer {

namespace {

constexpr int LargestEdge = 30000;

QString keyOf(const char* name)
{
    return QStringLiteral("exportpicture/") + QLatin1String(name);
}

} // namespace

ExportPictureDialog::ExportPictureDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent)
    : QDialog(parent), mp_View(view)
{
    setObjectName(QStringLiteral("ExportPictureDialog"));
    setWindowTitle(tr("Export picture"));
    createFields();
    arrange();
    restore();
    const QString ending = tovSettings().value(keyOf("format"), QStringLiteral("png")).toString();
    mp_File->setFileName(nextFreeName(captureFolder(), capturePattern(), modelName, ending));
    validate();
    mp_Preview->refresh();
}

void ExportPictureDialog::createFields()
{
    mp_Size = new SizePicker(SizePicker::picturePresets(SizePicker::pixelsOf(*mp_View)), 1, LargestEdge, this);
    mp_Transparent = new QCheckBox(tr("Transparent background"), this);
    mp_Transparent->setObjectName(QStringLiteral("Transparent"));
    mp_Quality = new QSpinBox(this);
    mp_Quality->setObjectName(QStringLiteral("Quality"));
    mp_Quality->setRange(0, 100);
    mp_Dpi = new QSpinBox(this);
    mp_Dpi->setObjectName(QStringLiteral("Dpi"));
    mp_Dpi->setRange(30, 2400);
    mp_Dpi->setSuffix(tr(" dpi"));
    mp_File = new OutputFileField(windowTitle(), this);
    QStringList filters;
    for (const QString& suffix : PictureExport::suffixes())
        filters << QStringLiteral("%1 (*.%2)").arg(suffix.toUpper(), suffix);
    mp_File->setFilters(filters);
    mp_Preview = new ExportPreview(
        mp_View,
        [this] {
            const PictureRequest request = getRequest();
            return ExportPreview::Shot{request.size, mp_View->getScaledTransformMatrix(), request.transparent};
        },
        this);
    connect(mp_Size, &SizePicker::sizeChanged, mp_Preview, &ExportPreview::refresh);
    connect(mp_Transparent, &QCheckBox::toggled, mp_Preview, &ExportPreview::refresh);
    connect(mp_Size, &SizePicker::sizeChanged, this, &ExportPictureDialog::validate);
    connect(mp_File, &OutputFileField::changed, this, &ExportPictureDialog::validate);
    connect(mp_Dpi, QOverload<int>::of(&QSpinBox::valueChanged), this, &ExportPictureDialog::updatePresets);
}

void ExportPictureDialog::arrange()
{
    mp_Message = new QLabel(this);
    mp_Message->setObjectName(QStringLiteral("Message"));
    mp_Message->setWordWrap(true);
    mp_Buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    mp_Buttons->addButton(tr("Export"), QDialogButtonBox::AcceptRole)->setDefault(true);
    connect(mp_Buttons, &QDialogButtonBox::accepted, this, &ExportPictureDialog::finish);
    connect(mp_Buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* form = new QFormLayout;
    form->addRow(tr("Size:"), mp_Size);
    form->addRow(tr("Resolution:"), mp_Dpi);
    form->addRow(tr("Background:"), mp_Transparent);
    form->addRow(tr("Look:"), new LookButton(mp_Preview, this));
    form->addRow(tr("Quality:"), mp_Quality);
    form->addRow(tr("File:"), mp_File);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mp_Preview, 0, Qt::AlignHCenter);
    layout->addLayout(form);
    layout->addWidget(mp_Message);
    layout->addStretch(1);
    layout->addWidget(mp_Buttons);
    setMinimumWidth(520);
}

void ExportPictureDialog::restore()
{
    auto& settings = tovSettings();
    mp_Dpi->setValue(settings.value(keyOf("dpi"), SizePicker::DefaultDpi).toInt());
    mp_Size->setSize(settings.value(keyOf("size"), QSize(1920, 1080)).toSize());
    mp_Transparent->setChecked(settings.value(keyOf("transparent"), false).toBool());
    mp_Quality->setValue(settings.value(keyOf("quality"), 90).toInt());
}

void ExportPictureDialog::remember() const
{
    auto& settings = tovSettings();
    settings.setValue(keyOf("size"), mp_Size->getSize());
    settings.setValue(keyOf("transparent"), mp_Transparent->isChecked());
    settings.setValue(keyOf("quality"), mp_Quality->value());
    settings.setValue(keyOf("dpi"), mp_Dpi->value());
    settings.setValue(keyOf("format"), QFileInfo(mp_File->getFileName()).suffix().toLower());
    setCaptureFolder(QFileInfo(mp_File->getFileName()).absolutePath());
}

PictureRequest ExportPictureDialog::getRequest() const
{
    PictureRequest request;
    request.fileName = mp_File->getFileName();
    request.size = mp_Size->getSize();
    request.transparent = mp_Transparent->isChecked() && mp_Transparent->isEnabled();
    request.quality = mp_Quality->isEnabled() ? mp_Quality->value() : -1;
    request.dpi = mp_Dpi->isEnabled() ? mp_Dpi->value() : 0;
    return request;
}

/// The pixels of a page depend on the resolution.
void ExportPictureDialog::updatePresets()
{
    mp_Size->setPresets(SizePicker::picturePresets(SizePicker::pixelsOf(*mp_View), mp_Dpi->value()));
}

QString ExportPictureDialog::describe(const PictureRequest& request) const
{
    const double megapixels = double(request.size.width()) * request.size.height() / 1e6;
    const QString format = QFileInfo(request.fileName).suffix().toLower();
    QString text = tr("%1 megapixels, %2 MB of memory while it is drawn")
                       .arg(QLocale().toString(megapixels, 'f', 1), QLocale().toString(megapixels * 4, 'f', 0)) +
                   estimateText(ExportEstimate(format).predict(request.size, 1));
    if (!tov::app::PictureFile::storesResolution(format))
        text += tr("; %1 stores no resolution").arg(format);
    return text;
}

void ExportPictureDialog::validate()
{
    const QString name = mp_File->getFileName(), suffix = QFileInfo(name).suffix().toLower();
    mp_Transparent->setEnabled(PictureExport::keepsTransparency(name));
    mp_Quality->setEnabled(suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg") ||
                           suffix == QLatin1String("webp"));
    const PictureRequest request = getRequest();
    QString problem;
    if (name.isEmpty())
        problem = tr("A file name is needed.");
    else if (!PictureExport::suffixes().contains(suffix))
        problem = tr("The ending selects the format: %1.").arg(PictureExport::suffixes().join(QStringLiteral(", ")));
    else
        PictureExport::check(request, &problem);
    mp_Message->setText(problem.isEmpty() ? describe(request) : problem);
    for (auto* button : mp_Buttons->buttons())
        if (mp_Buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
            button->setEnabled(problem.isEmpty());
}

void ExportPictureDialog::finish()
{
    if (!mp_File->agreesToReplace())
        return;
    remember();
    accept();
}

} // namespace tov::viewer
