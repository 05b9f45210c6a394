#include "app/viewer/recordedviews.h"

#include "app/viewer/saferuns.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

#include <algorithm>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;

namespace {

/// Recordings have this parameter; pictures do not.
const QString SyncParameter = QStringLiteral("sync");

} // namespace

RecordedViews::RecordedViews(const SafeRuns* outputs, QWidget* window)
    : QObject(window), mp_Outputs(outputs), mp_Window(window)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    connect(
        processor, &CommandProcessor::runBegins, this,
        [this](const CommandRunPointer& run) {
            // A recording takes the view that is active when it begins.
            if (QThread::currentThread() == thread() && !run->getArgument(SyncParameter).isNull())
                m_Recordings[run->getId()] = {run, tov::scene::Viewer::getInstance()->getActivePanel()};
        },
        Qt::DirectConnection);
    connect(processor, &CommandProcessor::runFinished, this, &RecordedViews::forget);
}

CommandRunPointer RecordedViews::findRun(const ScenePanel* view) const
{
    for (const auto& [id, recording] : m_Recordings)
        if (view && recording.view == view && !recording.run->isFinished())
            return recording.run;
    return nullptr;
}

bool RecordedViews::isRecorded(const ScenePanel* view) const
{
    return findRun(view) != nullptr;
}

void RecordedViews::closeAfterRecording(const std::vector<ScenePanel*>& views, std::function<void()> close)
{
    std::vector<Recording> concerned;
    for (const auto& [id, recording] : m_Recordings)
        if (recording.view && !recording.run->isFinished() &&
            std::find(views.begin(), views.end(), recording.view.data()) != views.end())
            concerned.push_back(recording);
    if (concerned.empty()) {
        close();
        return;
    }
    if (!agreesToStop(concerned))
        return;
    Closing closing;
    closing.close = std::move(close);
    for (const Recording& recording : concerned)
        if (!recording.run->isFinished())
            closing.waitingFor.push_back(recording.run->getId());
    if (closing.waitingFor.empty()) {
        closing.close();
        return;
    }
    m_Closings.push_back(std::move(closing));
    for (const Recording& recording : concerned)
        recording.run->stop();
}

bool RecordedViews::agreesToStop(const std::vector<Recording>& recordings)
{
    QStringList names;
    for (const Recording& recording : recordings)
        names << QFileInfo(mp_Outputs->fileNameOf(*recording.run)).fileName();
    QMessageBox question(QMessageBox::Question, tr("Close view"),
                         tr("This would close a view that is being recorded:\n%1\n\nStop the recording and keep what "
                            "it has captured?")
                             .arg(names.join(QLatin1Char('\n'))),
                         QMessageBox::Cancel, mp_Window);
    question.setObjectName(QStringLiteral("RecordedViewQuestion"));
    auto* stop = question.addButton(tr("Stop, keep and close"), QMessageBox::AcceptRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(stop);
}

void RecordedViews::forget(const CommandRunPointer& run)
{
    m_Recordings.erase(run->getId());
    std::vector<Closing> ready;
    for (auto it = m_Closings.begin(); it != m_Closings.end();) {
        auto& ids = it->waitingFor;
        ids.erase(std::remove(ids.begin(), ids.end(), run->getId()), ids.end());
        if (ids.empty()) {
            ready.push_back(std::move(*it));
            it = m_Closings.erase(it);
        } else {
            ++it;
        }
    }
    for (const Closing& closing : ready)
        closing.close();
}

} // namespace tov::viewer
