#pragma once

#include "kernel/gui/parameterpanelfactory.h"

#include <boost/function.hpp>

class QFileDialog;

namespace tov::main {

/// Editor with a line for the file name and a button that opens a file dialog of the command's making.
class TOV_EXPORT FileParameterPanelFactory : public ParameterPanelFactory
{
public:
    /// `createDialog` returns a new dialog, which the editor deletes. Called on the application thread.
    explicit FileParameterPanelFactory(const boost::function<QFileDialog*()>& createDialog);
    ~FileParameterPanelFactory() override;
    ParameterPanel* createPanel(const AbstractParameter& parameter, QWidget* parent) override;
    /// A new dialog as the command makes it; the caller owns it.
    QFileDialog* createDialog() const;

private:
    boost::function<QFileDialog*()> m_CreateDialog;
};

} // namespace tov::main
