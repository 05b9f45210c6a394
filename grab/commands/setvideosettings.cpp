#include "grab/commands/setvideosettings.h"

// clang-format off
// Registers the events when the library is loaded.
#include "kernel/main/globalevents.h"
// clang-format on

#include "grab/commands/localvalue.h"
#include "grab/module/modulegrab.h"
#include "kernel/gui/sliderparameterpanelfactory.h"
#include "kernel/log/console.h"
#include "kernel/main/eventmanager.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"

#include <QObject>
#include <QSlider>

#include <boost/bind/bind.hpp>

#include <algorithm>

namespace tov::commands::grab {

using tov::main::Parameter;
using tov::main::ParameterSet;

namespace {

// Keys of the settings, and their defaults in the form in which settings are stored.
const char* const TempFileSizeKey = "settings/grabvideotempfilesize";
const char* const FpsKey = "settings/grabvideofps";
const char* const KbpsKey = "settings/grabvideokbps";
const char* const UseMemoryKey = "settings/grabvideousememoryasbuffer";
const char* const TempFileSizeDefault = "50";
const char* const FpsDefault = "25";
const char* const KbpsDefault = "1200";
const char* const UseMemoryDefault = "1";

constexpr int MaxTempFileSize = 1000; ///< megabytes
constexpr int MinKbps = 100;

int storedInt(const char* key, const char* initial)
{
    return tovSettings().value(QLatin1String(key), QLatin1String(initial)).toInt();
}

QString flagText(bool flag)
{
    return flag ? QStringLiteral("1") : QStringLiteral("0");
}

} // namespace

const char* SetVideoSettings::CommandName = "setvideosettings";
bool SetVideoSettings::m_Registered =
    tov::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(SetVideoSettings::create);

tov::main::Command* SetVideoSettings::create()
{
    return new SetVideoSettings;
}

SetVideoSettings::SetVideoSettings()
    : SettingsCommand(new tov::main::CommandDescriptor(CommandName, QStringLiteral("Sets the video settings")),
                      new tov::main::CommandGUIDescriptor(tov::main::CommandGUIDescriptor::Setting, QObject::tr("Grab"),
                                                          10, CommandName, QObject::tr("Video settings"), nullptr))
{
    auto* set = new ParameterSet(0, QStringLiteral("Video"));
    auto* tempFileSize = new Parameter<int>(QStringLiteral("max. tempfile-size (MB)"),
                                            QObject::tr("The max. filesize of a temp. encoding chunk"));
    mp_SliderFactory =
        new tov::main::SliderParameterPanelFactory(boost::bind(&SetVideoSettings::createTempFileSizeSlider, this));
    tempFileSize->setParameterPanelFactory(mp_SliderFactory);
    set->addParameter(tempFileSize);

    auto* fps = new Parameter<int>(QStringLiteral("fps"), QObject::tr("Frames per second"));
    fps->setDefaultParameterForDefaultGUI(QString::number(storedInt(FpsKey, FpsDefault)));
    set->addParameter(fps);

    auto* kbps = new Parameter<int>(QStringLiteral("bitrate"), QObject::tr("Target bitrate in kbps"));
    kbps->setDefaultParameterForDefaultGUI(QString::number(storedInt(KbpsKey, KbpsDefault)));
    set->addParameter(kbps);

    auto* useMemory = new Parameter<bool>(
        QStringLiteral("use memory buffer"),
        QObject::tr("If enabled (1=true, 0=false) memory will be used first to buffer temporary data"));
    useMemory->setDefaultParameterForDefaultGUI(
        flagText(tovSettings().value(QLatin1String(UseMemoryKey), QLatin1String(UseMemoryDefault)).toBool()));
    set->addParameter(useMemory);
    addParameterSet(set);
}

SetVideoSettings::~SetVideoSettings()
{
    delete mp_SliderFactory;
    mp_SliderFactory = nullptr;
}

QSlider* SetVideoSettings::createTempFileSizeSlider()
{
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setRange(1, MaxTempFileSize);
    slider->setValue(tov::main::Overseer::getInstance()
                         ->getQSettings()
                         ->value(QLatin1String(TempFileSizeKey), QLatin1String(TempFileSizeDefault))
                         .toInt());
    return slider;
}

void SetVideoSettings::execute()
{
    if (getErrorState() != 0) {
        qConsole("Parameter failure");
        return;
    }
    ParameterSet* set = getCurrentParameterSet();
    Parameter<int> tempFileSizeParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue tempFileSizeValue(tempFileSizeParameter);
    Parameter<int> fpsParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue fpsValue(fpsParameter);
    Parameter<int> kbpsParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue kbpsValue(kbpsParameter);
    Parameter<bool> useMemoryParameter(QStringLiteral("noName"), QStringLiteral("noDesc"));
    const LocalValue useMemoryValue(useMemoryParameter);
    if (!m_TypeSolver.solve(tempFileSizeParameter, set->at(0)) || !m_TypeSolver.solve(fpsParameter, set->at(1)) ||
        !m_TypeSolver.solve(kbpsParameter, set->at(2)) || !m_TypeSolver.solve(useMemoryParameter, set->at(3))) {
        qConsole("Parameter failure");
        return;
    }
    // Asymmetric on purpose: zero stays zero, but negative values become one.
    int tempFileSize = *static_cast<int*>(tempFileSizeParameter.getValuePointer());
    tempFileSize = tempFileSize < 0 ? 1 : std::min(tempFileSize, MaxTempFileSize);
    int fps = *static_cast<int*>(fpsParameter.getValuePointer());
    fps = fps > 0 ? fps : 1;
    int kbps = *static_cast<int*>(kbpsParameter.getValuePointer());
    kbps = kbps >= MinKbps ? kbps : MinKbps;
    const bool useMemory = *static_cast<bool*>(useMemoryParameter.getValuePointer());

    // The defaults follow the settings, so the dialog shows the stored values the next time.
    auto& settings = tovSettings();
    settings.setValue(QLatin1String(TempFileSizeKey), tempFileSize);
    set->at(0)->setDefaultParameterForDefaultGUI(QString::number(tempFileSize));
    settings.setValue(QLatin1String(FpsKey), fps);
    set->at(1)->setDefaultParameterForDefaultGUI(QString::number(fps));
    settings.setValue(QLatin1String(KbpsKey), kbps);
    set->at(2)->setDefaultParameterForDefaultGUI(QString::number(kbps));
    settings.setValue(QLatin1String(UseMemoryKey), useMemory);
    set->at(3)->setDefaultParameterForDefaultGUI(flagText(useMemory));

    if (announcesChanges()) {
        const tov::main::Event event(tov::events::global::SETTINGS_CHANGED, nullptr, nullptr);
        tov::main::EventManager::getInstance()->fireEvent(&event);
    }
}

} // namespace tov::commands::grab
