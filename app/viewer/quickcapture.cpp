#include "app/viewer/quickcapture.h"

#include "app/common/spacewatch.h"
#include "app/viewer/glyphs.h"
#include "app/viewer/outputname.h"
#include "app/viewer/recordedviews.h"
#include "kernel/commands/command.h"
#include "kernel/util/framebacklog.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QAction>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QToolBar>

#include <cmath>

namespace tov::viewer {

using tov::app::SpaceWatch;
using tov::gui::ScenePanel;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;

namespace {

const QString PictureCommand = QStringLiteral("grabimage");
const QString VideoCommand = QStringLiteral("grabvideo");
constexpr int RefreshMs = 500;

CommandProcessor* processor()
{
    return Overseer::getInstance()->getCommandProcessor();
}

bool isEnabled(const QString& command)
{
    const auto* prototype = processor()->getPrimaryCommand(command);
    return prototype && !prototype->isDisabled();
}

/// The size of a view on the screen, in pixels; even, as most video formats need it.
QSize pixelsOf(const ScenePanel& view)
{
    const auto even = [](double length) { return std::max(2, 2 * int(std::lround(length / 2))); };
    return QSize(even(view.width() * view.devicePixelRatioF()), even(view.height() * view.devicePixelRatioF()));
}

/// "1:05", "1:02:05".
QString clockText(qint64 seconds)
{
    const QString minutes = QStringLiteral("%1").arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QLatin1Char('0'));
    const QString text = minutes + QStringLiteral(":%1").arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return seconds < 3600 ? text : QString::number(seconds / 3600) + QLatin1Char(':') + text;
}

} // namespace

QuickCapture::QuickCapture(SafeRuns* outputs, RecordedViews* recorded, SpaceWatch* space,
                           std::function<QString()> modelName, QObject* parent)
    : QObject(parent), mp_Outputs(outputs), mp_Recorded(recorded), mp_Space(space), m_ModelName(std::move(modelName)),
      mp_Record(new QAction(glyphIcon(Glyph::Record), tr("Record"), this)),
      mp_Snapshot(new QAction(glyphIcon(Glyph::Snapshot), tr("Snapshot"), this))
{
    mp_Record->setObjectName(QStringLiteral("RecordAction"));
    mp_Record->setCheckable(true);
    mp_Record->setShortcut(QKeySequence(Qt::Key_R));
    mp_Record->setToolTip(tr("Record the active view as you move it; again to stop (R)"));
    connect(mp_Record, &QAction::triggered, this, &QuickCapture::toggleRecording);
    mp_Snapshot->setObjectName(QStringLiteral("SnapshotAction"));
    mp_Snapshot->setShortcut(QKeySequence(Qt::Key_F12));
    mp_Snapshot->setToolTip(tr("Save a picture of the active view, without a dialog (F12)"));
    connect(mp_Snapshot, &QAction::triggered, this, &QuickCapture::takeSnapshot);
    connect(processor(), &CommandProcessor::runStarted, this, &QuickCapture::updateAvailability);
    connect(processor(), &CommandProcessor::runFinished, this, &QuickCapture::runFinished);
    connect(processor(), &CommandProcessor::commandEnabledChanged, this, &QuickCapture::updateAvailability);
    connect(processor(), &CommandProcessor::commandsChanged, this, &QuickCapture::updateAvailability);
    m_Refresh.setInterval(RefreshMs);
    connect(&m_Refresh, &QTimer::timeout, this, &QuickCapture::showFigures);
    updateAvailability();
}

void QuickCapture::addTo(QToolBar* bar)
{
    bar->addAction(mp_Record);
    bar->addAction(mp_Snapshot);
    mp_Figures = new QLabel(bar);
    mp_Figures->setObjectName(QStringLiteral("RecordingFigures"));
    mp_Figures->setTextFormat(Qt::RichText);
    mp_Figures->setMargin(6);
    mp_Figures->setAccessibleName(tr("State of the recording"));
    mp_FiguresPlace = bar->addWidget(mp_Figures);
    mp_FiguresPlace->setVisible(false);
}

void QuickCapture::updateAvailability()
{
    mp_Snapshot->setEnabled(isEnabled(PictureCommand));
    // A running recording can be stopped even if its view cannot be recorded again.
    const bool isRecorded = mp_Run || mp_Recorded->isRecorded(tov::scene::Viewer::getInstance()->getActivePanel());
    mp_Record->setEnabled(isRecorded || isEnabled(VideoCommand));
    mp_Record->setChecked(isRecorded);
    mp_Record->setText(isRecorded ? tr("Stop") : tr("Record"));
}

/// A file that does not exist yet, named by the user's pattern.
SafeRuns::Target QuickCapture::freeFile(const QString& ending) const
{
    SafeRuns::Target target;
    target.fileName = nextFreeName(captureFolder(), capturePattern(), m_ModelName(), ending);
    target.ending = ending;
    target.older = tov::app::SafeOutput::Older::Keep;
    return target;
}

void QuickCapture::takeSnapshot()
{
    const auto* view = tov::scene::Viewer::getInstance()->getActivePanel();
    if (!view)
        return;
    const SafeRuns::Target target = freeFile(snapshotFormat());
    QString error;
    tov::main::CommandArguments arguments;
    const int width = int(std::lround(view->width() * view->devicePixelRatioF()));
    arguments.named = {{QStringLiteral("width"), QString::number(width)}};
    if (!mp_Outputs->start(PictureCommand, arguments, target, &error))
        emit failed(error);
}

void QuickCapture::toggleRecording()
{
    if (mp_Run)
        mp_Run->stop();
    else if (const auto run = mp_Recorded->findRun(tov::scene::Viewer::getInstance()->getActivePanel()))
        run->stop();
    else
        startRecording();
    updateAvailability();
}

void QuickCapture::startRecording()
{
    const auto* view = tov::scene::Viewer::getInstance()->getActivePanel();
    if (!view)
        return;
    const SafeRuns::Target target = freeFile(recordingFormat());
    const QSize size = pixelsOf(*view);
    tov::main::CommandArguments arguments;
    arguments.named = {{QStringLiteral("width"), QString::number(size.width())},
                       {QStringLiteral("height"), QString::number(size.height())},
                       {QStringLiteral("sync"), QStringLiteral("0")}};
    QString error;
    if (SpaceWatch::hasRoom(target.fileName, &error))
        mp_Run = mp_Outputs->start(VideoCommand, arguments, target, &error);
    if (!mp_Run) {
        emit failed(error);
        return;
    }
    m_TakenBefore = tov::util::FrameBacklog::totalTaken().frames;
    m_Elapsed.start();
    m_Refresh.start();
    showFigures();
}

void QuickCapture::runFinished(const CommandRunPointer& run)
{
    if (run == mp_Run) {
        mp_Run.reset();
        m_Refresh.stop();
        if (mp_FiguresPlace)
            mp_FiguresPlace->setVisible(false);
    }
    updateAvailability();
}

void QuickCapture::showFigures()
{
    if (!mp_Run || !mp_FiguresPlace)
        return;
    const QLocale locale;
    QStringList figures = {clockText(m_Elapsed.elapsed() / 1000)};
    figures << locale.formattedDataSize(QFileInfo(mp_Run->getArgument(QStringLiteral("filename"))).size());
    const qint64 frames = tov::util::FrameBacklog::totalTaken().frames - m_TakenBefore;
    if (frames > 0)
        figures << tr("%n frame(s)", nullptr, int(frames));
    const qint64 frameBytes = 4 * mp_Run->getArgument(QStringLiteral("width")).toLongLong() *
                              mp_Run->getArgument(QStringLiteral("height")).toLongLong();
    const qint64 waiting = mp_Space->getWaiting(mp_Run->getId());
    if (waiting > 0 && frameBytes > 0)
        figures << tr("about %n frame(s) pending", nullptr, int(waiting / frameBytes));
    const qint64 room = mp_Space->getRoom(mp_Run->getId());
    if (room >= 0)
        figures << tr("%1 free").arg(locale.formattedDataSize(room));
    const QString separator = QStringLiteral(" ") + QChar(0xB7) + QLatin1Char(' ');
    mp_Figures->setText(QStringLiteral("<span style='color:#e02828'>&#9679;</span> ") +
                        figures.join(separator).toHtmlEscaped());
    mp_FiguresPlace->setVisible(true);
}

} // namespace tov::viewer
