#include "app/viewer/exportvideodialog.h"

#include "app/viewer/exportestimate.h"
#include "app/viewer/lookbutton.h"
#include "app/viewer/outputfilefield.h"
#include "app/viewer/outputname.h"
#include "app/viewer/sizepicker.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/main/settings.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace tov::viewer {

using tov::trajectory::TrajectoryHandler;

namespace {

QString keyOf(const char* name)
{
    return QStringLiteral("exportvideo/") + QLatin1String(name);
}

} // namespace

ExportVideoDialog::ExportVideoDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent)
    : QDialog(parent), mp_View(view), m_Formats(videoFormats()), m_ModelName(modelName)
{
    setObjectName(QStringLiteral("ExportVideoDialog"));
    setWindowTitle(tr("Export video"));
    createFields();
    createRates();
    createFile();
    arrange();
    restore();
    applyFormat();
    validate();
    mp_Preview->refresh();
}

ExportVideoDialog::~ExportVideoDialog()
{
    restorePosition();
}

void ExportVideoDialog::createFields()
{
    mp_Motion = new QComboBox(this);
    mp_Motion->setObjectName(QStringLiteral("Motion"));
    mp_Motion->addItem(tr("Turntable: one turn of the view"), int(VideoRequest::Motion::Turntable));
    const auto positions = TrajectoryHandler::getInstance()->getCount();
    if (positions > 0)
        mp_Motion->addItem(tr("The open trajectory, %n positions", nullptr, int(positions)),
                           int(VideoRequest::Motion::Trajectory));
    mp_Motion->addItem(tr("The view as you move it, until you stop"), int(VideoRequest::Motion::Free));
    connect(mp_Motion, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &ExportVideoDialog::validate);
    mp_Seconds = new QDoubleSpinBox(this);
    mp_Seconds->setObjectName(QStringLiteral("Seconds"));
    mp_Seconds->setRange(0.1, 3600);
    mp_Seconds->setDecimals(1);
    mp_Seconds->setSuffix(tr(" s"));
    connect(mp_Seconds, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &ExportVideoDialog::validate);
    mp_Format = new QComboBox(this);
    mp_Format->setObjectName(QStringLiteral("Format"));
    for (const VideoFormat& format : m_Formats)
        mp_Format->addItem(QStringLiteral("%1 (.%2)").arg(format.name, format.ending));
    connect(mp_Format, QOverload<int>::of(&QComboBox::activated), this, &ExportVideoDialog::applyFormat);
}

void ExportVideoDialog::createRates()
{
    const int limit = tov::scene::Viewer::getInstance()->getMaxTextureSize();
    mp_Size =
        new SizePicker(SizePicker::videoPresets(SizePicker::pixelsOf(*mp_View)), 2, limit > 0 ? limit : 8192, this);
    connect(mp_Size, &SizePicker::sizeChanged, this, &ExportVideoDialog::validate);
    mp_Fps = new QSpinBox(this);
    mp_Fps->setObjectName(QStringLiteral("Fps"));
    mp_Fps->setRange(1, 120);
    mp_Fps->setSuffix(tr(" frames per second"));
    mp_Kbps = new QSpinBox(this);
    mp_Kbps->setObjectName(QStringLiteral("Kbps"));
    mp_Kbps->setRange(100, 100000);
    mp_Kbps->setSingleStep(500);
    mp_Kbps->setSuffix(tr(" kbit/s"));
    for (QSpinBox* box : {mp_Fps, mp_Kbps})
        connect(box, QOverload<int>::of(&QSpinBox::valueChanged), this, &ExportVideoDialog::validate);
}

void ExportVideoDialog::createFile()
{
    mp_File = new OutputFileField(windowTitle(), this);
    connect(mp_File, &OutputFileField::changed, this, &ExportVideoDialog::validate);
    mp_Preview = new ExportPreview(
        mp_View, [this] { return firstFrame(); }, this);
    connect(mp_Preview, &ExportPreview::drawn, this, &ExportVideoDialog::restorePosition);
    connect(mp_Size, &SizePicker::sizeChanged, mp_Preview, &ExportPreview::refresh);
    connect(mp_Motion, QOverload<int>::of(&QComboBox::currentIndexChanged), mp_Preview, &ExportPreview::refresh);
    connect(mp_Format, QOverload<int>::of(&QComboBox::currentIndexChanged), mp_Preview, &ExportPreview::refresh);
}

void ExportVideoDialog::arrange()
{
    mp_Message = new QLabel(this);
    mp_Message->setObjectName(QStringLiteral("Message"));
    mp_Message->setWordWrap(true);
    mp_Buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    mp_Buttons->addButton(tr("Record"), QDialogButtonBox::AcceptRole)->setDefault(true);
    connect(mp_Buttons, &QDialogButtonBox::accepted, this, &ExportVideoDialog::finish);
    connect(mp_Buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* form = new QFormLayout;
    form->addRow(tr("What moves:"), mp_Motion);
    form->addRow(tr("Duration:"), mp_Seconds);
    form->addRow(tr("Format:"), mp_Format);
    form->addRow(tr("Size:"), mp_Size);
    form->addRow(tr("Frame rate:"), mp_Fps);
    form->addRow(tr("Bit rate:"), mp_Kbps);
    form->addRow(tr("Look:"), new LookButton(mp_Preview, this));
    form->addRow(tr("File:"), mp_File);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mp_Preview, 0, Qt::AlignHCenter);
    layout->addLayout(form);
    layout->addWidget(mp_Message);
    layout->addStretch(1);
    layout->addWidget(mp_Buttons);
    setMinimumWidth(520);
}

void ExportVideoDialog::restore()
{
    auto& settings = tovSettings();
    const int trajectory = mp_Motion->findData(int(VideoRequest::Motion::Trajectory));
    mp_Motion->setCurrentIndex(std::max(0, trajectory));
    mp_Seconds->setValue(settings.value(keyOf("seconds"), 10).toDouble());
    mp_Size->setSize(settings.value(keyOf("size"), QSize(1920, 1080)).toSize());
    mp_Fps->setValue(settings.value(QStringLiteral("settings/grabvideofps"), 25).toInt());
    mp_Kbps->setValue(settings.value(keyOf("kbps"), 8000).toInt());
    const QString ending = settings.value(keyOf("format"), QStringLiteral("mp4")).toString();
    for (std::size_t i = 0; i < m_Formats.size(); ++i)
        if (m_Formats[i].ending == ending)
            mp_Format->setCurrentIndex(int(i));
}

void ExportVideoDialog::remember() const
{
    auto& settings = tovSettings();
    settings.setValue(keyOf("seconds"), mp_Seconds->value());
    settings.setValue(keyOf("size"), mp_Size->getSize());
    settings.setValue(keyOf("kbps"), mp_Kbps->value());
    if (const VideoFormat* format = getFormat())
        settings.setValue(keyOf("format"), format->ending);
    setCaptureFolder(QFileInfo(mp_File->getFileName()).absolutePath());
}

const VideoFormat* ExportVideoDialog::getFormat() const
{
    const int index = mp_Format->currentIndex();
    return index < 0 ? nullptr : &m_Formats[std::size_t(index)];
}

VideoRequest ExportVideoDialog::getRequest() const
{
    VideoRequest request;
    request.fileName = mp_File->getFileName();
    request.size = mp_Size->getSize();
    request.motion = VideoRequest::Motion(mp_Motion->currentData().toInt());
    request.seconds = mp_Seconds->value();
    request.fps = mp_Fps->value();
    request.kbps = mp_Kbps->value();
    return request;
}

void ExportVideoDialog::applyFormat()
{
    const VideoFormat* format = getFormat();
    if (!format)
        return;
    const QString folder =
        mp_File->getFileName().isEmpty() ? captureFolder() : QFileInfo(mp_File->getFileName()).absolutePath();
    mp_File->setFilters({QStringLiteral("%1 (*.%2)").arg(format->name, format->ending)});
    mp_File->setFileName(nextFreeName(folder, capturePattern(), m_ModelName, format->ending));
}

QString ExportVideoDialog::findProblem(const VideoRequest& request) const
{
    const VideoFormat* format = getFormat();
    if (!format)
        return tr("No video encoder is installed. See Help > About modules.");
    if (request.fileName.isEmpty())
        return tr("A file name is needed.");
    if (!request.fileName.endsWith(QLatin1Char('.') + format->ending, Qt::CaseInsensitive))
        return tr("The name must end in .%1 for this format.").arg(format->ending);
    QString problem;
    checkVideo(request, &problem);
    return problem;
}

QString ExportVideoDialog::describe(const VideoRequest& request) const
{
    const int frames = frameCount(request);
    if (frames == 0)
        return tr("Records until you press Stop or R.");
    const double seconds = double(frames) / request.fps;
    QString text = tr("%1 frames, %2 s").arg(frames).arg(QLocale().toString(seconds, 'f', 1));
    ExportEstimate::Cost cost = ExportEstimate(getFormat()->ending).predict(request.size, frames);
    if (getFormat()->hasBitRate) {
        constexpr double BytesPerKilobit = 125;
        text += tr(", at most about %1")
                    .arg(QLocale().formattedDataSize(qint64(seconds * request.kbps * BytesPerKilobit), 1));
        cost.bytes = 0;
    }
    return text + estimateText(cost);
}

void ExportVideoDialog::validate()
{
    if (!mp_Buttons)
        return;
    const VideoRequest request = getRequest();
    mp_Seconds->setEnabled(request.motion == VideoRequest::Motion::Turntable);
    mp_Kbps->setEnabled(getFormat() && getFormat()->hasBitRate);
    const QString problem = findProblem(request);
    mp_Message->setText(problem.isEmpty() ? describe(request) : problem);
    for (auto* button : mp_Buttons->buttons())
        if (mp_Buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
            button->setEnabled(problem.isEmpty());
}

/// The view of the first frame. A trajectory is put on its first position until the picture has been drawn, unless
/// something is being captured, which would show that.
ExportPreview::Shot ExportVideoDialog::firstFrame()
{
    const VideoRequest request = getRequest();
    const bool isCapturing = !tov::main::Overseer::getInstance()->getCommandProcessor()->getRuns().empty();
    if (request.motion == VideoRequest::Motion::Trajectory && !isCapturing) {
        auto* trajectory = TrajectoryHandler::getInstance();
        m_Position = trajectory->getPosition();
        trajectory->setPosition(0);
    }
    return {request.size, firstFrameTransform(*mp_View, request), getFormat() && getFormat()->hasTransparency};
}

void ExportVideoDialog::restorePosition()
{
    if (const auto position = std::exchange(m_Position, std::nullopt))
        TrajectoryHandler::getInstance()->setPosition(*position);
}

void ExportVideoDialog::finish()
{
    if (!mp_File->agreesToReplace())
        return;
    remember();
    accept();
}

} // namespace tov::viewer
