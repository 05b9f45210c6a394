#include "grab/commands/setvideosettings.h"

#include "kernel/events/eventhandler.h"
#include "kernel/gui/parameterpanelfactory.h"
#include "kernel/main/eventmanager.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settings.h"
#include "tests/support/logcapture.h"
#include "tests/support/temporarysettings.h"

#include <QSlider>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

using tov::commands::grab::SetVideoSettings;
using tov::main::CommandArguments;
using tov::main::CommandGUIDescriptor;
using tov::main::ParameterSet;
using tov::test::ConsoleCapture;

namespace {

const char* const TempFileSize = "settings/grabvideotempfilesize";
const char* const Fps = "settings/grabvideofps";
const char* const Kbps = "settings/grabvideokbps";
const char* const UseMemory = "settings/grabvideousememoryasbuffer";

class SetVideoSettingsTest : public testing::Test
{
protected:
    static QVariant stored(const char* key) { return tovSettings().value(QLatin1String(key)); }
    static QString guiDefault(const SetVideoSettings& command, std::size_t index)
    {
        return command.getCurrentParameterSet()->at(index)->getDefaultParameterForDefaultGUI();
    }
    static bool set(SetVideoSettings& command, const QStringList& values)
    {
        CommandArguments arguments;
        arguments.positional = values;
        return command.setParameters(arguments, nullptr);
    }
    static void run(const QStringList& values)
    {
        SetVideoSettings command;
        ASSERT_TRUE(set(command, values));
        command.execute();
    }

    tov::test::TemporarySettings m_Settings;
    ConsoleCapture m_Console;
};

} // namespace

TEST_F(SetVideoSettingsTest, DescribesItself)
{
    std::unique_ptr<tov::main::Command> created(SetVideoSettings::create());
    ASSERT_TRUE(dynamic_cast<SetVideoSettings*>(created.get()));
    EXPECT_TRUE(SetVideoSettings::m_Registered);
    EXPECT_STREQ(SetVideoSettings::CommandName, "setvideosettings");
    EXPECT_EQ(created->getDescriptor()->getName(), "setvideosettings");
    EXPECT_EQ(created->getDescriptor()->getDescription(), "Sets the video settings");
    const CommandGUIDescriptor* gui = created->getGUIDescriptor();
    ASSERT_TRUE(gui);
    EXPECT_EQ(gui->getFlag(), 8);
    EXPECT_EQ(gui->getGroup(), "Grab");
    EXPECT_EQ(gui->getPosition().value(), 10);
    EXPECT_EQ(gui->getCommandName(), "setvideosettings");
    EXPECT_EQ(gui->getLabel(), "Video settings");
    EXPECT_EQ(gui->getIcon(), nullptr);
    ASSERT_EQ(created->getParameterSets().size(), 1u);
    const ParameterSet* set = created->getParameterSets()[0];
    EXPECT_EQ(set->getId(), 0);
    EXPECT_EQ(set->getTitle(), "Video");
    ASSERT_EQ(set->size(), 4u);
    const char* const names[4] = {"max. tempfile-size (MB)", "fps", "bitrate", "use memory buffer"};
    const char* const descriptions[4] = {
        "The max. filesize of a temp. encoding chunk", "Frames per second", "Target bitrate in kbps",
        "If enabled (1=true, 0=false) memory will be used first to buffer temporary data"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(set->at(i)->getName(), names[i]);
        EXPECT_EQ(set->at(i)->getDescription(), descriptions[i]);
        EXPECT_TRUE(set->at(i)->getDefaultText().isEmpty());
        EXPECT_TRUE(set->at(i)->isMandatory());
        EXPECT_TRUE(*set->at(i)->getType() == (i < 3 ? typeid(int) : typeid(bool)));
    }
}

TEST_F(SetVideoSettingsTest, AnEmptyStoreShowsTheDefaults)
{
    SetVideoSettings command;
    EXPECT_TRUE(guiDefault(command, 0).isNull());
    EXPECT_EQ(guiDefault(command, 1), "25");
    EXPECT_EQ(guiDefault(command, 2), "1200");
    EXPECT_EQ(guiDefault(command, 3), "1");
    std::unique_ptr<QSlider> slider(command.createTempFileSizeSlider());
    EXPECT_EQ(slider->value(), 50);
    EXPECT_EQ(slider->minimum(), 1);
    EXPECT_EQ(slider->maximum(), 1000);
    EXPECT_EQ(slider->orientation(), Qt::Horizontal);
    EXPECT_EQ(slider->parent(), nullptr);
}

TEST_F(SetVideoSettingsTest, ShowsWhatIsStored)
{
    tovSettings().setValue(QLatin1String(TempFileSize), 321);
    tovSettings().setValue(QLatin1String(Fps), 30);
    tovSettings().setValue(QLatin1String(Kbps), 4000);
    tovSettings().setValue(QLatin1String(UseMemory), false);
    SetVideoSettings command;
    EXPECT_EQ(guiDefault(command, 1), "30");
    EXPECT_EQ(guiDefault(command, 2), "4000");
    EXPECT_EQ(guiDefault(command, 3), "0");
    std::unique_ptr<QSlider> slider(command.createTempFileSizeSlider());
    EXPECT_EQ(slider->value(), 321);
}

TEST_F(SetVideoSettingsTest, TheSliderIsTheFirstParametersEditor)
{
    SetVideoSettings command;
    EXPECT_TRUE(command.getCurrentParameterSet()->at(0)->getParameterPanelFactory());
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_FALSE(command.getCurrentParameterSet()->at(i)->getParameterPanelFactory());
}

TEST_F(SetVideoSettingsTest, StoresFourValuesAndTheDefaultsFollow)
{
    SetVideoSettings command;
    ASSERT_TRUE(set(command, {"70", "30", "4000", "0"}));
    command.execute();
    EXPECT_EQ(stored(TempFileSize).toInt(), 70);
    EXPECT_EQ(stored(Fps).toInt(), 30);
    EXPECT_EQ(stored(Kbps).toInt(), 4000);
    EXPECT_EQ(stored(UseMemory).toBool(), false);
    EXPECT_EQ(guiDefault(command, 0), "70");
    EXPECT_EQ(guiDefault(command, 1), "30");
    EXPECT_EQ(guiDefault(command, 2), "4000");
    EXPECT_EQ(guiDefault(command, 3), "0");
    EXPECT_TRUE(m_Console.lines().isEmpty());
}

TEST_F(SetVideoSettingsTest, FrameRatesBelowOneBecomeOne)
{
    run({"50", "0", "1200", "1"});
    EXPECT_EQ(stored(Fps).toInt(), 1);
    run({"50", "25", "1200", "1"});
    EXPECT_EQ(stored(Fps).toInt(), 25);
    run({"50", "-5", "1200", "1"});
    EXPECT_EQ(stored(Fps).toInt(), 1);
}

TEST_F(SetVideoSettingsTest, BitRatesAreAtLeastAHundred)
{
    run({"50", "25", "99", "1"});
    EXPECT_EQ(stored(Kbps).toInt(), 100);
    run({"50", "25", "100", "1"});
    EXPECT_EQ(stored(Kbps).toInt(), 100);
    run({"50", "25", "101", "1"});
    EXPECT_EQ(stored(Kbps).toInt(), 101);
    run({"50", "25", "-2147483648", "1"});
    EXPECT_EQ(stored(Kbps).toInt(), 100);
}

TEST_F(SetVideoSettingsTest, ChunkSizesAreClampedAsymmetrically)
{
    const std::pair<const char*, int> cases[] = {{"0", 0}, {"-3", 1}, {"5000", 1000}, {"1000", 1000}, {"1", 1}};
    for (const auto& [given, kept] : cases) {
        SetVideoSettings command;
        ASSERT_TRUE(set(command, {given, "25", "1200", "1"}));
        command.execute();
        EXPECT_EQ(stored(TempFileSize).toInt(), kept) << given;
        EXPECT_EQ(guiDefault(command, 0), QString::number(kept));
    }
    // The minimum of the slider is larger than the smallest stored value.
    tovSettings().setValue(QLatin1String(TempFileSize), 0);
    SetVideoSettings command;
    std::unique_ptr<QSlider> slider(command.createTempFileSizeSlider());
    EXPECT_EQ(slider->value(), 1);
}

TEST_F(SetVideoSettingsTest, AFailingConversionWritesNothing)
{
    for (std::size_t missing = 0; missing < 4; ++missing) {
        SetVideoSettings command;
        ASSERT_TRUE(set(command, {"70", "30", "4000", "0"}));
        command.getCurrentParameterSet()->at(missing)->deleteValue();
        command.execute();
        EXPECT_EQ(m_Console.lines().size(), int(missing) + 1);
        EXPECT_EQ(m_Console.lines().value(int(missing)), "Parameter failure");
        for (const char* key : {TempFileSize, Fps, Kbps, UseMemory})
            EXPECT_FALSE(tovSettings().contains(QLatin1String(key))) << key << " with " << missing << " missing";
        EXPECT_EQ(guiDefault(command, 1), "25");
    }
}

TEST_F(SetVideoSettingsTest, AParameterErrorOfTheHostWritesNothing)
{
    SetVideoSettings command;
    ASSERT_TRUE(set(command, {"70", "30", "4000", "0"}));
    command.setErrorState(1);
    command.execute();
    EXPECT_EQ(m_Console.lines(), QStringList{"Parameter failure"});
    EXPECT_FALSE(tovSettings().contains(QLatin1String(TempFileSize)));
}

TEST_F(SetVideoSettingsTest, AnAbsentIndexIsARangeError)
{
    SetVideoSettings command;
    command.addParameterSet(new ParameterSet(7));
    command.setCurrentParameterSetId(7);
    EXPECT_THROW(command.execute(), std::out_of_range);
}

TEST_F(SetVideoSettingsTest, AnnouncesTheChangeAfterItWasStored)
{
    const auto type = tov::events::EventHandler::getInstance()->addEvent("Global", "SETTINGS_CHANGED");
    auto* events = tov::main::EventManager::getInstance();
    int count = 0;
    bool empty = false, storedBefore = false;
    const void* owner = &count;
    events->registerEventFunction(
        type,
        [&](const tov::main::Event* event) {
            ++count;
            empty = !event->getSender() && !event->getData();
            storedBefore = stored(UseMemory).isValid();
        },
        owner);
    SetVideoSettings command;
    ASSERT_TRUE(set(command, {"70", "30", "4000", "0"}));
    command.execute();
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(empty);
    EXPECT_TRUE(storedBefore);
    command.setAnnouncesChanges(false);
    command.execute();
    EXPECT_EQ(count, 1);
    command.setAnnouncesChanges(true);
    command.getCurrentParameterSet()->at(3)->deleteValue();
    command.execute();
    EXPECT_EQ(count, 1) << "nothing was changed";
    events->unregisterAllEventFunctionsOf(owner);
}
