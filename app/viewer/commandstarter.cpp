#include "app/viewer/commandstarter.h"

#include "app/common/outputcheck.h"
#include "app/common/spacewatch.h"
#include "app/viewer/parameterdialog.h"
#include "kernel/commands/commandparser.h"
#include "kernel/commands/commandprocessor.h"
#include "kernel/gui/parameterpanelfactory.h"
#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/workers/overseer.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <cmath>
#include <vector>

namespace tov::viewer {

using tov::main::Command;
using tov::main::Overseer;
using tov::main::ParameterPanel;
using tov::trajectory::TrajectoryHandler;

namespace {

/// Parameters that the window knows, in any command.
const QString FileNameParameter = QStringLiteral("filename");
const QString SyncParameter = QStringLiteral("sync");
const QString WidthParameter = QStringLiteral("width");
const QString HeightParameter = QStringLiteral("height");

bool hasTrajectory()
{
    return TrajectoryHandler::getInstance()->getCount() > 0;
}

/// Completes a size of which only width or height is given (the other is 0), with the aspect ratio of the active view;
/// an empty name when both or neither are given. The result is even, because most video formats require it.
std::pair<QString, int> missingEdge(const ParameterDialog& dialog)
{
    const auto* view = tov::scene::Viewer::getInstance()->getActivePanel();
    if (!view || !dialog.getPanel(WidthParameter) || !dialog.getPanel(HeightParameter))
        return {};
    const int width = dialog.getText(WidthParameter).toInt();
    const int height = dialog.getText(HeightParameter).toInt();
    const double aspect = double(view->width()) / view->height();
    if (width > 0 && height == 0)
        return {HeightParameter, std::max(2, 2 * int(std::lround(width / aspect / 2)))};
    if (height > 0 && width == 0)
        return {WidthParameter, std::max(2, 2 * int(std::lround(height * aspect / 2)))};
    return {};
}

QString adviceFor(const ParameterDialog& dialog)
{
    if (dialog.getPanel(SyncParameter) && dialog.getText(SyncParameter) != QLatin1String("0") && !hasTrajectory())
        return CommandStarter::tr("No trajectory is open, so a synchronised recording would have no frames. Open one "
                                  "first (File > Open trajectory), or switch \"sync\" off.");
    const auto [name, pixels] = missingEdge(dialog);
    if (name == HeightParameter)
        return CommandStarter::tr("The height follows from the shape of the view: %1 pixels.").arg(pixels);
    if (name == WidthParameter)
        return CommandStarter::tr("The width follows from the shape of the view: %1 pixels.").arg(pixels);
    return QString();
}

/// The file name in a command text, or an empty text.
QString fileNameIn(const tov::main::CommandText& text, const Command& prototype)
{
    for (const auto& [name, value] : text.arguments.named)
        if (name.compare(FileNameParameter, Qt::CaseInsensitive) == 0)
            return value;
    const auto* set = prototype.getCurrentParameterSet();
    if (!set)
        return QString();
    int position = 0;
    for (const auto* parameter : set->getParameters()) {
        if (parameter->getName() == FileNameParameter)
            return text.arguments.positional.value(position);
        ++position;
    }
    return QString();
}

/// The first mandatory argument without a default that a command text leaves out, or an empty text.
QString missingArgument(const tov::main::CommandText& text, const Command& prototype)
{
    const auto* set = prototype.getCurrentParameterSet();
    if (!set)
        return QString();
    int position = 0;
    for (const auto* parameter : set->getParameters()) {
        const bool isGiven =
            position++ < text.arguments.positional.size() ||
            std::any_of(text.arguments.named.begin(), text.arguments.named.end(), [parameter](const auto& argument) {
                return argument.first.compare(parameter->getName(), Qt::CaseInsensitive) == 0;
            });
        if (!isGiven && parameter->isMandatory() && parameter->getDefaultParameterForDefaultGUI().isEmpty())
            return parameter->getName();
    }
    return QString();
}

} // namespace

CommandStarter::CommandStarter(QWidget* window) : QObject(window), mp_Window(window) {}

void CommandStarter::start(Command* prototype)
{
    // A command may bring a window of its own.
    if (QWidget* own = prototype->getGUIWindow()) {
        own->show();
        own->raise();
        return;
    }
    ParameterDialog dialog(prototype, mp_Window);
    // A user who has just opened a trajectory wants to record it, whatever was recorded last.
    ParameterPanel* sync = dialog.getPanel(SyncParameter);
    if (sync && hasTrajectory())
        sync->setText(QStringLiteral("1"));
    dialog.setAdvice(adviceFor);
    do {
        if (dialog.exec() != QDialog::Accepted)
            return;
    } while (!mayWrite(dialog));
    const auto [name, pixels] = missingEdge(dialog);
    tov::main::CommandArguments arguments = dialog.getArguments();
    for (auto& [parameter, text] : arguments.named)
        if (!name.isEmpty() && parameter == name)
            text = QString::number(pixels);
    QString error;
    if (!Overseer::getInstance()->getCommandProcessor()->start(prototype->getDescriptor()->getName(), arguments,
                                                               &error))
        emit refused(error);
}

bool CommandStarter::startText(const QString& text, QString* error)
{
    auto* processor = Overseer::getInstance()->getCommandProcessor();
    std::vector<tov::main::CommandText> commands;
    if (tov::main::CommandParser::parse(text, commands, nullptr) && commands.size() == 1)
        if (const Command* prototype = processor->getPrimaryCommand(commands.front().name)) {
            const QString missing = missingArgument(commands.front(), *prototype);
            if (!missing.isEmpty()) {
                *error = tr("%1: the argument \"%2\" is missing").arg(prototype->getDescriptor()->getName(), missing);
                return false;
            }
            const QString fileName = fileNameIn(commands.front(), *prototype);
            if (!fileName.isEmpty() && !tov::app::checkOutputFolder(fileName, error))
                return false;
        }
    return processor->start(text, error) != nullptr;
}

bool CommandStarter::mayWrite(const ParameterDialog& dialog)
{
    const QString name = dialog.getText(FileNameParameter);
    if (name.isEmpty())
        return true;
    QString problem;
    if (!tov::app::checkOutputFolder(name, &problem) ||
        (dialog.getPanel(SyncParameter) && !tov::app::SpaceWatch::hasRoom(name, &problem))) {
        QMessageBox::warning(mp_Window, dialog.windowTitle(), problem);
        return false;
    }
    if (!QFileInfo::exists(name) || dialog.getPanel(FileNameParameter)->isReplaceAgreed())
        return true;
    QMessageBox question(QMessageBox::Warning, dialog.windowTitle(),
                         tr("%1 exists already. Replace it?").arg(QFileInfo(name).fileName()), QMessageBox::Cancel,
                         mp_Window);
    question.setObjectName(QStringLiteral("ReplaceQuestion"));
    auto* replace = question.addButton(tr("Replace"), QMessageBox::DestructiveRole);
    question.setDefaultButton(QMessageBox::Cancel);
    question.exec();
    return question.clickedButton() == static_cast<QAbstractButton*>(replace);
}

} // namespace tov::viewer
