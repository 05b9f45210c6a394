#pragma once

#include "kernel/commands/command.h"

#include <QDialog>

#include <functional>
#include <memory>
#include <vector>

class QDialogButtonBox;
class QLabel;

namespace tov::main {
class AbstractParameter;
class ParameterPanel;
} // namespace tov::main

namespace tov::viewer {

/// One editor of a parameter dialog with the message under it.
struct ParameterField;

/// Asks for the parameters of a command: an editor for each, made by the parameter's own panel factory or by its type.
/// It opens with the values used last (settings commands: with what is stored), marks invalid values at their fields,
/// and enables OK only when the command can run. Thread: application.
class ParameterDialog : public QDialog
{
    Q_OBJECT
public:
    /// `prototype` must outlive the dialog; the dialog queries its current parameter set.
    ParameterDialog(tov::main::Command* prototype, QWidget* parent);
    ~ParameterDialog() override;

    /// The entered values, by name.
    tov::main::CommandArguments getArguments() const;
    /// The editor of a parameter; null if the name is unknown.
    tov::main::ParameterPanel* getPanel(const QString& parameterName) const;
    /// True when every field holds a usable value.
    bool isComplete() const;
    /// Called whenever a field changes, and at once; what it returns is shown above the buttons as advice (empty:
    /// none).
    void setAdvice(std::function<QString(const ParameterDialog&)> advice);
    /// The text of a field; empty if the name is unknown.
    QString getText(const QString& parameterName) const;
    /// Keeps what was entered as the values used last.
    void remember() const;

private:
    void validate();
    QString problemOf(const ParameterField& field) const;

    tov::main::Command* mp_Prototype; ///< not owned
    std::vector<std::unique_ptr<ParameterField>> m_Fields;
    std::function<QString(const ParameterDialog&)> m_Advice;
    QLabel* mp_AdviceLabel = nullptr;       ///< child
    QDialogButtonBox* mp_Buttons = nullptr; ///< child
};

} // namespace tov::viewer
