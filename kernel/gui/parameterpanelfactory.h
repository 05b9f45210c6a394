#pragma once

#include "kernel/main/export.h"

#include <QString>

#include <functional>

class QWidget;

namespace tov::main {

class AbstractParameter;

/// An editor for one parameter in a dialog. Thread: application.
class TOV_EXPORT ParameterPanel
{
public:
    virtual ~ParameterPanel();
    /// The widget; owned by its parent widget once it has one, else by the panel's user.
    virtual QWidget* getWidget() = 0;
    /// The value as the command language writes it.
    virtual QString getText() const = 0;
    /// Shows a value that is given as text.
    virtual void setText(const QString& text) = 0;
    /// Why the text cannot be used, as a sentence for the user; empty when the editor finds no problem.
    virtual QString getProblem() const { return QString(); }
    /// True when the user has already agreed to replace the file that the text names.
    virtual bool isReplaceAgreed() const { return false; }
    /// Called whenever the text changes.
    std::function<void()> onChanged;
};

/// Makes editors for a parameter. Owned by the command that made it. Thread: application.
class TOV_EXPORT ParameterPanelFactory
{
public:
    virtual ~ParameterPanelFactory();
    /// A new editor; the caller owns it.
    virtual ParameterPanel* createPanel(const AbstractParameter& parameter, QWidget* parent) = 0;
};

} // namespace tov::main
