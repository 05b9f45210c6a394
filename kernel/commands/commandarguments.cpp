#include "kernel/commands/commandarguments.h"

#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"

#include <QCoreApplication>

#include <stdexcept>

namespace tov::main {

namespace {

/// A problem with the arguments, as a line for the user.
struct ArgumentProblem
{
    QString text;
};

/// The argument of each parameter; null for an omitted one.
std::vector<const QString*> matchArguments(const CommandArguments& arguments, const QString& commandName,
                                           const ParameterSet* set)
{
    const std::size_t count = set ? set->size() : 0;
    if (std::size_t(arguments.positional.size()) > count)
        throw ArgumentProblem{
            QCoreApplication::translate("Command", "%1 takes %2 arguments at most, %3 were given")
                .arg(commandName, QString::number(count), QString::number(arguments.positional.size()))};
    std::vector<const QString*> given(count, nullptr);
    for (int i = 0; i < arguments.positional.size(); ++i)
        given[std::size_t(i)] = &arguments.positional[i];
    for (const auto& [name, value] : arguments.named) {
        const AbstractParameter* parameter = set ? set->find(name) : nullptr;
        QStringList known;
        std::size_t index = count;
        for (std::size_t i = 0; i < count; ++i) {
            known << set->at(i)->getName();
            if (set->at(i) == parameter)
                index = i;
        }
        if (index == count)
            throw ArgumentProblem{QCoreApplication::translate("Command", "%1 has no parameter \"%2\"; it has: %3")
                                      .arg(commandName, name, known.join(QStringLiteral(", ")))};
        if (given[index])
            throw ArgumentProblem{
                QCoreApplication::translate("Command", "%1: \"%2\" was given twice").arg(commandName, name)};
        given[index] = &value;
    }
    return given;
}

/// The text to set the parameter from, or null.
QString textFor(const AbstractParameter* parameter, const QString* given)
{
    if (given)
        return given->isNull() ? QStringLiteral("") : *given;
    QString guiDefault = parameter->getDefaultParameterForDefaultGUI();
    if (!guiDefault.isNull())
        return guiDefault;
    return parameter->getDefaultText().isEmpty() ? QString() : parameter->getDefaultText();
}

/// Converts the text and sets the value. The conversion is done here rather than by `castString`, which does not report
/// the reason for a failure.
void setValue(AbstractParameter* parameter, const QString& text, const QString& commandName)
{
    const auto castClass = parameter->getCastClass();
    QString reason;
    try {
        if (castClass) {
            parameter->setValuePointer(castClass->fromString(text));
            return;
        }
        if (parameter->castString(text))
            return;
    } catch (const std::exception& e) {
        reason = QString::fromUtf8(e.what());
    } catch (...) {
        // A conversion may throw anything. Other types carry no reason to report.
    }
    if (reason.isEmpty())
        throw ArgumentProblem{QCoreApplication::translate("Command", "%1: the value of \"%2\" cannot be used")
                                  .arg(commandName, parameter->getName())};
    throw ArgumentProblem{QCoreApplication::translate("Command", "%1: the value of \"%2\" cannot be used: %3")
                              .arg(commandName, parameter->getName(), reason)};
}

} // namespace

bool assignArguments(const CommandArguments& arguments, const QString& commandName, ParameterSet* set, QString* error)
{
    try {
        const std::vector<const QString*> given = matchArguments(arguments, commandName, set);
        for (std::size_t i = 0; i < given.size(); ++i) {
            AbstractParameter* parameter = set->at(i);
            const QString text = textFor(parameter, given[i]);
            if (!text.isNull()) {
                setValue(parameter, text, commandName);
                continue;
            }
            parameter->deleteValue();
            if (parameter->isMandatory())
                throw ArgumentProblem{QCoreApplication::translate("Command", "%1: the argument \"%2\" is missing")
                                          .arg(commandName, parameter->getName())};
        }
        return true;
    } catch (const ArgumentProblem& problem) {
        if (error)
            *error = problem.text;
        return false;
    }
}

} // namespace tov::main
