#pragma once

#include "kernel/main/export.h"
#include "kernel/commands/settingscommand.h"

class QSlider;

namespace tov::main {
class ParameterPanelFactory;
}

namespace tov::commands::grab {

/// The settings command "setvideosettings": chunk size, frame rate, bit rate and use of memory for recordings.
class TOV_EXPORT SetVideoSettings : public tov::main::SettingsCommand
{
public:
    static const char* CommandName;
    static bool m_Registered;
    /// A new command; the caller owns it. Thread: application.
    static tov::main::Command* create();

    /// Reads the stored values as the dialog's defaults. Thread: application.
    SetVideoSettings();
    ~SetVideoSettings() override;

    /// Stores the parameters, cut to their ranges, and fires "SETTINGS_CHANGED". Thread: command.
    void execute() override;

    /// The slider of the chunk size, 1 to 1000 megabytes, at the stored value; the caller owns it. Thread: application.
    QSlider* createTempFileSizeSlider();

private:
    tov::main::ParameterPanelFactory* mp_SliderFactory; ///< owned
};

} // namespace tov::commands::grab
