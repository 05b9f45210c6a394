#include "app/viewer/viewpicture.h"

#include "app/common/picturecommand.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"

#include <QPointer>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::math::Matrix4;

namespace {

CommandProcessor* processor()
{
    return Overseer::getInstance()->getCommandProcessor();
}

} // namespace

bool ViewPicture::isAvailable()
{
    const auto* prototype = processor()->getPrimaryCommand(QString::fromLatin1(tov::app::PictureCommand));
    return prototype && !prototype->isDisabled();
}

CommandRunPointer ViewPicture::take(ScenePanel* panel, const QSize& size, QObject* context,
                                    const std::function<void(const QImage&)>& done)
{
    return panel ? take(panel, panel->getScaledTransformMatrix(), size, context, done) : nullptr;
}

CommandRunPointer ViewPicture::take(ScenePanel* panel, const Matrix4& transform, const QSize& size, QObject* context,
                                    std::function<void(const QImage&)> done)
{
    if (!panel || size.isEmpty() || !isAvailable())
        return nullptr;
    // The command's data lives until its run has ended, even if the window is closed before.
    struct Job
    {
        QImage image;
        Matrix4 transform;
    };
    auto job = std::make_shared<Job>();
    job->image = QImage(size, QImage::Format_ARGB32);
    if (job->image.isNull())
        return nullptr;
    job->image.fill(0);
    job->transform = transform;
    auto* command = tov::app::makePictureCommand(&job->image, &job->transform, panel);
    if (!command)
        return nullptr;
    CommandRunPointer started = processor()->processCommand(command, 1, false);
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(processor(), &CommandProcessor::runFinished, processor(),
                                   [=, guard = QPointer<QObject>(context)](const CommandRunPointer& run) {
                                       if (run != started)
                                           return;
                                       QObject::disconnect(*connection);
                                       if (guard)
                                           done(run->succeeded() ? job->image : QImage());
                                   });
    return started;
}

} // namespace tov::viewer
