// The look of the scene and its figures.

#include "app/viewer/inspectpanel.h"
#include "app/viewer/lookpanel.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/scenetree.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"
#include "tests/support/pictures.h"
#include "tests/window/windowfixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QDoubleSpinBox>

using namespace tov::test;
using tov::scene::SceneDrawer;
using tov::scene::SceneLook;

namespace {

class WindowLook : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        m_Before = SceneDrawer::getLook();
    }
    void TearDown() override
    {
        SceneDrawer::setLook(m_Before);
        WindowTest::TearDown();
    }
    QImage shown() { return window().getPanelGrid()->getActivePanel()->grabFramebuffer(); }
    template <typename Widget>
    Widget* field(const char* name)
    {
        return window().getLookPanel()->findChild<Widget*>(QLatin1String(name));
    }

private:
    SceneLook m_Before;
};

} // namespace

TEST_F(WindowLook, EveryFieldChangesThePictureAtOnce)
{
    openSample();
    window().findChild<QDockWidget*>("LookDock")->show();
    QCoreApplication::processEvents();
    const auto differs = [this](const QImage& before) { return pictureDifference(before, shown()) != ""; };
    QImage before = shown();
    auto* show = field<QComboBox>("Show");
    show->setCurrentIndex(show->findData(int(SceneLook::Show::Wireframe)));
    EXPECT_TRUE(differs(before)) << "wireframe";
    show->setCurrentIndex(show->findData(int(SceneLook::Show::Surface)));
    EXPECT_FALSE(differs(before)) << "surface again";
    auto* light = field<QComboBox>("Light");
    light->setCurrentIndex(light->findData(int(SceneLook::Light::None)));
    emit light->activated(light->currentIndex());
    EXPECT_TRUE(differs(before)) << "no light";
    EXPECT_FALSE(field<QDoubleSpinBox>("Exposure")->isEnabled()) << "exposure has no effect without light";
    button(window().getLookPanel(), "Reset")->click();
    EXPECT_FALSE(differs(before)) << "reset";
    field<QDoubleSpinBox>("Exposure")->setValue(3);
    EXPECT_TRUE(differs(before)) << "exposure";
    button(window().getLookPanel(), "Reset")->click();
    field<QComboBox>("LookSamples")->setCurrentIndex(0);
    EXPECT_EQ(SceneDrawer::getMultisampling(), 0);
}

TEST_F(WindowLook, FiguresFollowTheSceneAndTheSelection)
{
    window().findChild<QDockWidget*>("InspectDock")->show();
    openSample();
    const auto number = [this](const char* name) {
        return QLocale().toLongLong(window().getInspectPanel()->findChild<QLabel*>(QLatin1String(name))->text());
    };
    ASSERT_TRUE(processUntil([&] { return number("SceneTriangles") > 0; }));
    EXPECT_GT(number("SceneParts"), 1);
    EXPECT_GT(number("SceneVertices"), 0);
    EXPECT_EQ(number("SelectionParts"), 0);
    auto* tree = window().getSceneTree();
    tree->selectAll();
    ASSERT_TRUE(processUntil([&] { return number("SelectionParts") == number("SceneParts"); }));
    tree->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
    EXPECT_TRUE(processUntil([&] { return number("SceneParts") == 0; }));
}
