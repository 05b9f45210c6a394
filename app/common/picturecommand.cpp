#include "app/common/picturecommand.h"

#include "kernel/commands/commandprocessor.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"

#include <QImage>

namespace tov::app {

using tov::main::Command;
using tov::main::Parameter;

namespace {

/// The identifier of the parameter set with which the command fills an image of the caller.
constexpr int ProgrammaticSet = 10000;

template <typename T>
Parameter<T>* makeParameter(const char* name, T* value)
{
    auto* parameter = new Parameter<T>(QString::fromLatin1(name), QString());
    parameter->disableDeleteOnSet(true);
    parameter->setValuePointer(value);
    return parameter;
}

} // namespace

Command* makePictureCommand(QImage* image, tov::math::Matrix4* transform, tov::gui::ScenePanel* panel)
{
    Command* command =
        tov::main::Overseer::getInstance()->getCommandProcessor()->createCommand(QString::fromLatin1(PictureCommand));
    if (!command)
        return nullptr;
    command->setInstanceMode(Command::RunOnce);
    command->setOneShot(true);
    auto* set = new tov::main::ParameterSet(ProgrammaticSet);
    set->addParameter(makeParameter("image", image));
    set->addParameter(makeParameter("transform", transform));
    set->addParameter(makeParameter("scenepanel", panel));
    command->addParameterSet(set);
    command->setCurrentParameterSetId(ProgrammaticSet);
    return command;
}

} // namespace tov::app
