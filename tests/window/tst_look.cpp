// The look of the scene and its figures.

#include "app/viewer/inspectpanel.h"
#include "app/viewer/lookpanel.h"
#include "app/viewer/scenetree.h"
#include "scene/drawing/scenedrawer.h"
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
    template <typename Widget>
    Widget* field(const char* name)
    {
        return window().getLookPanel()->findChild<Widget*>(QLatin1String(name));
    }

private:
    SceneLook m_Before;
};

} // namespace

TEST_F(WindowLook, EveryFieldChangesTheLookAtOnce)
{
    openSample();
    window().findChild<QDockWidget*>("LookDock")->show();
    auto* show = field<QComboBox>("Show");
    show->setCurrentIndex(show->findData(int(SceneLook::Show::Wireframe)));
    EXPECT_EQ(SceneDrawer::getLook().show, SceneLook::Show::Wireframe);
    auto* light = field<QComboBox>("Light");
    light->setCurrentIndex(light->findData(int(SceneLook::Light::None)));
    emit light->activated(light->currentIndex());
    EXPECT_EQ(SceneDrawer::getLook().light, SceneLook::Light::None);
    EXPECT_FALSE(field<QDoubleSpinBox>("Exposure")->isEnabled()) << "exposure has no effect without light";
    field<QCheckBox>("Flat")->click();
    field<QCheckBox>("FeatureEdges")->click();
    EXPECT_TRUE(SceneDrawer::getLook().isFlat);
    EXPECT_TRUE(SceneDrawer::getLook().hasFeatureEdges);
    field<QDoubleSpinBox>("PointSize")->setValue(2.5);
    field<QDoubleSpinBox>("LineWidth")->setValue(0.5);
    field<QCheckBox>("IsOneColor")->click();
    EXPECT_DOUBLE_EQ(SceneDrawer::getLook().pointSize, 0.025);
    EXPECT_DOUBLE_EQ(SceneDrawer::getLook().lineWidth, 0.005);
    EXPECT_TRUE(SceneDrawer::getLook().color);
    button(window().getLookPanel(), "Reset")->click();
    const SceneLook standard = SceneDrawer::getLook();
    EXPECT_EQ(standard.show, SceneLook::Show::Surface);
    EXPECT_EQ(standard.light, SceneLook::Light::Studio);
    EXPECT_FALSE(standard.isFlat);
    EXPECT_FALSE(standard.color);
    EXPECT_DOUBLE_EQ(standard.pointSize, SceneLook().pointSize);
    EXPECT_FALSE(field<QCheckBox>("Flat")->isChecked()) << "the fields show what is in use";
    field<QDoubleSpinBox>("Exposure")->setValue(3);
    EXPECT_DOUBLE_EQ(SceneDrawer::getLook().pointSize, SceneLook().pointSize) << "not rounded by the field";
    EXPECT_DOUBLE_EQ(SceneDrawer::getLook().exposure, 3);
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
