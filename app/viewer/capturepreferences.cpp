#include "app/viewer/capturepreferences.h"

#include "app/viewer/outputname.h"
#include "app/viewer/pictureexport.h"
#include "app/viewer/videoexport.h"
#include "kernel/main/settings.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>

#include <algorithm>

namespace tov::viewer {

namespace {

const QString RateKey = QStringLiteral("settings/grabvideofps");
constexpr int DefaultFps = 25;

} // namespace

CapturePreferences::CapturePreferences(QWidget* parent) : QGroupBox(tr("Snapshots and recordings"), parent)
{
    setObjectName(QStringLiteral("CapturePreferences"));
    auto* pattern = new QLineEdit(capturePattern(), this);
    pattern->setObjectName(QStringLiteral("CapturePattern"));
    pattern->setToolTip(tr("{model} is the name of the model, {n} a number"));
    connect(pattern, &QLineEdit::textChanged, this, &setCapturePattern);
    auto* pictures = new QComboBox(this);
    pictures->setObjectName(QStringLiteral("SnapshotFormat"));
    for (const QString& suffix : PictureExport::suffixes())
        pictures->addItem(suffix.toUpper(), suffix);
    pictures->setCurrentIndex(std::max(0, pictures->findData(snapshotFormat())));
    connect(pictures, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [pictures] { setSnapshotFormat(pictures->currentData().toString()); });
    auto* videos = new QComboBox(this);
    videos->setObjectName(QStringLiteral("RecordingFormat"));
    for (const VideoFormat& format : videoFormats())
        videos->addItem(QStringLiteral("%1 (.%2)").arg(format.name, format.ending), format.ending);
    videos->setCurrentIndex(std::max(0, videos->findData(recordingFormat())));
    connect(videos, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [videos] { setRecordingFormat(videos->currentData().toString()); });
    auto* rate = new QSpinBox(this);
    rate->setObjectName(QStringLiteral("CaptureRate"));
    rate->setRange(1, 120);
    rate->setSuffix(tr(" frames per second"));
    rate->setValue(tovSettings().value(RateKey, DefaultFps).toInt());
    connect(rate, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [](int fps) { tovSettings().setValue(RateKey, QString::number(fps)); });
    auto* form = new QFormLayout(this);
    form->addRow(tr("Folder:"), createFolderRow());
    form->addRow(tr("File names:"), pattern);
    form->addRow(tr("Snapshots:"), pictures);
    form->addRow(tr("Recordings:"), videos);
    form->addRow(tr("Frame rate:"), rate);
}

QWidget* CapturePreferences::createFolderRow()
{
    auto* row = new QWidget(this);
    auto* folder = new QLineEdit(captureFolder(), row);
    folder->setObjectName(QStringLiteral("CaptureFolder"));
    connect(folder, &QLineEdit::textChanged, this, [](const QString& name) {
        if (QFileInfo(name).isDir())
            setCaptureFolder(name);
    });
    auto* choose = new QToolButton(row);
    choose->setText(QStringLiteral("..."));
    choose->setToolTip(tr("Choose a folder"));
    connect(choose, &QToolButton::clicked, this, [this, folder] {
        const QString name =
            QFileDialog::getExistingDirectory(window(), tr("Folder for snapshots and recordings"), folder->text());
        if (!name.isEmpty())
            folder->setText(name);
    });
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(folder, 1);
    layout->addWidget(choose);
    row->setFocusProxy(folder);
    return row;
}

} // namespace tov::viewer
