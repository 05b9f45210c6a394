#pragma once

#include "kernel/gui/parameterpanelfactory.h"

#include <boost/function.hpp>

class QSlider;

namespace tov::main {

/// Editor with a slider, which the command creates, and a label with its value.
class TOV_EXPORT SliderParameterPanelFactory : public ParameterPanelFactory
{
public:
    /// `createSlider` returns a new slider without parent, which the editor owns. Called on the application thread.
    explicit SliderParameterPanelFactory(const boost::function<QSlider*()>& createSlider);
    ~SliderParameterPanelFactory() override;
    ParameterPanel* createPanel(const AbstractParameter& parameter, QWidget* parent) override;
    /// A new slider of the command; the caller owns it.
    QSlider* createSlider() const;

private:
    boost::function<QSlider*()> m_CreateSlider;
};

} // namespace tov::main
