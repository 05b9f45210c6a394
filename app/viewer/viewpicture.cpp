#include "app/viewer/viewpicture.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/math/matrix.h"
#include "scene/view/scenepanel.h"

#include <QPointer>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::main::CommandProcessor;
using tov::main::CommandRunPointer;
using tov::main::Overseer;
using tov::main::Parameter;

namespace {

typedef tov::math::Matrix<double, 4u, 4u> Matrix4;

/// The command that makes pictures, and the identifier of its programmatic parameter set.
const char* const PictureCommand = "grabimage";
constexpr int ProgrammaticSet = 10000;

CommandProcessor* processor()
{
    return Overseer::getInstance()->getCommandProcessor();
}

template <typename T>
Parameter<T>* makeParameter(const char* name, T* value)
{
    auto* parameter = new Parameter<T>(QString::fromLatin1(name), QString());
    parameter->disableDeleteOnSet(true);
    parameter->setValuePointer(value);
    return parameter;
}

} // namespace

bool ViewPicture::isAvailable()
{
    const auto* prototype = processor()->getPrimaryCommand(QString::fromLatin1(PictureCommand));
    return prototype && !prototype->isDisabled();
}

bool ViewPicture::take(ScenePanel* panel, const QSize& size, QObject* context, std::function<void(const QImage&)> done)
{
    if (!panel || size.isEmpty() || !isAvailable())
        return false;
    // The command's data lives until its run has ended, even if the window is closed before.
    struct Job
    {
        QImage image;
        Matrix4 transform;
    };
    auto job = std::make_shared<Job>();
    job->image = QImage(size, QImage::Format_ARGB32);
    if (job->image.isNull())
        return false;
    job->image.fill(0);
    job->transform = panel->getScaledTransformMatrix();
    auto* command = processor()->createCommand(QString::fromLatin1(PictureCommand));
    if (!command)
        return false;
    // Run once, then deleted by the processor.
    command->setInstanceMode(tov::main::Command::RunOnce);
    command->setOneShot(true);
    auto* set = new tov::main::ParameterSet(ProgrammaticSet);
    set->addParameter(makeParameter("image", &job->image));
    set->addParameter(makeParameter("transform", &job->transform));
    set->addParameter(makeParameter("scenepanel", panel));
    command->addParameterSet(set);
    command->setCurrentParameterSetId(ProgrammaticSet);

    const CommandRunPointer started = processor()->processCommand(command, 1, false);
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = QObject::connect(processor(), &CommandProcessor::runFinished, processor(),
                                   [=, guard = QPointer<QObject>(context)](const CommandRunPointer& run) {
                                       if (run != started)
                                           return;
                                       QObject::disconnect(*connection);
                                       if (guard)
                                           done(job->image);
                                   });
    return true;
}

} // namespace tov::viewer
