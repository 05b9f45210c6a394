#pragma once

#include "kernel/main/export.h"
#include "kernel/commands/settingscommand.h"

class QSlider;

namespace tov::main {
class ParameterPanelFactory;
}

namespace tov::commands::grab {

/// The settings command "setvideosettings": chunk size, frame rate, bit rate and use of memory of recordings.
class TOV_EXPORT SetVideoSettings : public tov::main::SettingsCommand
{
public:
    static const char* CommandName;
    static bool m_Registered;
    /// A new command; the caller owns it. Thread: application.
    static tov::main::Command* create();

    /// Reads the stored values as the defaults of the dialog. Thread: application.
    SetVideoSettings();
    ~SetVideoSettings() override;

    /// Stores the parameters, clamped to their ranges, and fires "SETTINGS_CHANGED". Thread: command.
    void execute() override;

    /// A slider for the chunk size, 1 to 1000 megabytes, at the stored value. The caller owns it. Thread: application.
    QSlider* createTempFileSizeSlider();

private:
    tov::main::ParameterPanelFactory* mp_SliderFactory; ///< owned
};

} // namespace tov::commands::grab
