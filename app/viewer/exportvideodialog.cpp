#include "app/viewer/exportvideodialog.h"

#include "app/common/outputcheck.h"
#include "app/viewer/outputname.h"
#include "app/viewer/sizepicker.h"
#include "app/viewer/viewpicture.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace tov::viewer {

using tov::trajectory::TrajectoryHandler;

namespace {

const QSize PreviewRoom(360, 220);
/// Share of each edge that stays outside the safe area for titles.
constexpr double SafeMargin = 0.05;

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
    arrange();
    restore();
    applyFormat();
    validate();
    requestPreview();
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
    const double ratio = mp_View->devicePixelRatioF();
    const QSize viewSize(int(std::lround(mp_View->width() * ratio)), int(std::lround(mp_View->height() * ratio)));
    const int limit = tov::scene::Viewer::getInstance()->getMaxTextureSize();
    mp_Size = new SizePicker(SizePicker::videoPresets(viewSize), 2, limit > 0 ? limit : 8192, this);
    connect(mp_Size, &SizePicker::sizeChanged, this, [this] {
        validate();
        requestPreview();
    });
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

QWidget* ExportVideoDialog::createFileRow()
{
    auto* row = new QWidget(this);
    mp_File = new QLineEdit(row);
    mp_File->setObjectName(QStringLiteral("FileName"));
    connect(mp_File, &QLineEdit::textChanged, this, &ExportVideoDialog::validate);
    auto* choose = new QToolButton(row);
    choose->setText(QStringLiteral("..."));
    choose->setToolTip(tr("Choose a file"));
    connect(choose, &QToolButton::clicked, this, &ExportVideoDialog::chooseFile);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mp_File, 1);
    layout->addWidget(choose);
    row->setFocusProxy(mp_File);
    return row;
}

void ExportVideoDialog::arrange()
{
    mp_Preview = new QLabel(this);
    mp_Preview->setObjectName(QStringLiteral("Preview"));
    mp_Preview->setFixedSize(PreviewRoom);
    mp_Preview->setAlignment(Qt::AlignCenter);
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
    form->addRow(tr("File:"), createFileRow());
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
    setCaptureFolder(QFileInfo(mp_File->text()).absolutePath());
}

const VideoFormat* ExportVideoDialog::getFormat() const
{
    const int index = mp_Format->currentIndex();
    return index < 0 ? nullptr : &m_Formats[std::size_t(index)];
}

VideoRequest ExportVideoDialog::getRequest() const
{
    VideoRequest request;
    request.fileName = mp_File->text();
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
    const QString folder = mp_File->text().isEmpty() ? captureFolder() : QFileInfo(mp_File->text()).absolutePath();
    mp_File->setText(nextFreeName(folder, capturePattern(), m_ModelName, format->ending));
}

void ExportVideoDialog::chooseFile()
{
    const VideoFormat* format = getFormat();
    if (!format)
        return;
    QFileDialog dialog(this, tr("Export video"), QFileInfo(mp_File->text()).absolutePath(),
                       QStringLiteral("%1 (*.%2)").arg(format->name, format->ending));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(format->ending);
    dialog.selectFile(QFileInfo(mp_File->text()).fileName());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    // The dialog has asked whether to replace a file.
    m_AgreedFile = dialog.selectedFiles().first();
    mp_File->setText(m_AgreedFile);
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
    tov::app::checkOutputFolder(request.fileName, &problem);
    return problem;
}

QString ExportVideoDialog::describe(const VideoRequest& request) const
{
    const int frames = frameCount(request);
    if (frames == 0)
        return tr("Records until you press Stop or R.");
    const double seconds = double(frames) / request.fps;
    QString text = tr("%1 frames, %2 s").arg(frames).arg(QLocale().toString(seconds, 'f', 1));
    if (getFormat()->hasBitRate)
        text += tr(", at most about %1").arg(QLocale().formattedDataSize(qint64(seconds * request.kbps * 125)));
    return text;
}

void ExportVideoDialog::validate()
{
    if (!mp_Buttons || !mp_File)
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

void ExportVideoDialog::requestPreview()
{
    if (m_PreviewPending) {
        m_PreviewOutdated = true;
        return;
    }
    const QSize size = mp_Size->getSize().scaled(PreviewRoom, Qt::KeepAspectRatio).expandedTo(QSize(2, 2));
    m_PreviewPending =
        bool(ViewPicture::take(mp_View, size, this, [this](const QImage& drawn) { showPreview(drawn); }));
}

void ExportVideoDialog::showPreview(const QImage& drawn)
{
    m_PreviewPending = false;
    QPixmap shown = QPixmap::fromImage(drawn.convertToFormat(QImage::Format_RGB32));
    QPainter painter(&shown);
    const int marginX = int(drawn.width() * SafeMargin), marginY = int(drawn.height() * SafeMargin);
    painter.setPen(QPen(QColor(128, 128, 128, 160), 1, Qt::DashLine));
    painter.drawRect(QRect(QPoint(), drawn.size()).adjusted(marginX, marginY, -marginX - 1, -marginY - 1));
    painter.end();
    mp_Preview->setPixmap(shown);
    if (m_PreviewOutdated) {
        m_PreviewOutdated = false;
        requestPreview();
    }
}

void ExportVideoDialog::finish()
{
    const QString name = mp_File->text();
    if (QFileInfo::exists(name) && name != m_AgreedFile) {
        QMessageBox question(QMessageBox::Warning, windowTitle(),
                             tr("%1 exists already. Replace it?").arg(QFileInfo(name).fileName()), QMessageBox::Cancel,
                             this);
        question.setObjectName(QStringLiteral("ReplaceQuestion"));
        auto* replace = question.addButton(tr("Replace"), QMessageBox::DestructiveRole);
        question.setDefaultButton(QMessageBox::Cancel);
        question.exec();
        if (question.clickedButton() != static_cast<QAbstractButton*>(replace))
            return;
    }
    remember();
    accept();
}

} // namespace tov::viewer
