// Everyday tasks from a fresh start with real mouse clicks, which are counted.

#include "app/viewer/mainwindow.h"
#include "app/viewer/quickcapture.h"
#include "app/viewer/scenetree.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"
#include "trajectory/trajectoryhandler.h"

#include <QImageReader>
#include <QMenu>
#include <QToolBar>
#include <QWindow>

using namespace tov::test;

namespace {

class WindowClicks : public WindowTest
{
protected:
    /// Clicks into the middle of a widget, as the window system does.
    void click(QWidget* widget, Qt::MouseButton button = Qt::LeftButton)
    {
        ASSERT_TRUE(widget && widget->isVisible());
        clickAt(widget, widget->rect().center(), button);
    }
    void clickAt(QWidget* widget, const QPoint& position, Qt::MouseButton button = Qt::LeftButton)
    {
        ++clicks;
        QWidget* top = widget->window();
        QTest::mouseClick(top->windowHandle(), button, {}, widget->mapTo(top, position));
    }
    /// The button of an action in a tool bar.
    QWidget* toolButton(const QAction* action)
    {
        for (auto* bar : window().findChildren<QToolBar*>())
            if (QWidget* found = bar->widgetForAction(const_cast<QAction*>(action)))
                return found;
        return nullptr;
    }
    QWidget* toolButton(const QString& action) { return toolButton(window().findChild<QAction*>(action)); }

    int clicks = 0;
};

} // namespace

TEST_F(WindowClicks, ATransparentPictureOf1920x1080TakesThree)
{
    openSample();
    onDialog("ExportPictureDialog", [this](QWidget* dialog) {
        auto* transparent = dialog->findChild<QWidget*>("Transparent");
        // A check box is as wide as its line, but only its text can be clicked.
        clickAt(transparent, QPoint(10, transparent->height() / 2));
        click(button(dialog, "Export"));
    });
    click(toolButton("ExportPictureAction"));
    ASSERT_TRUE(processUntil([this] { return noticeContains("crane-001.png: "); }, 60000));
    const QImage picture(file("crane-001.png"));
    EXPECT_EQ(picture.size(), QSize(1920, 1080));
    EXPECT_EQ(qAlpha(picture.pixel(2, 2)), 0);
    EXPECT_LE(clicks, 4);
}

TEST_F(WindowClicks, ATurntableVideoOfTenSecondsTakesTwo)
{
    openSample();
    onDialog("ExportVideoDialog", [this](QWidget* dialog) { click(button(dialog, "Record")); });
    click(toolButton("ExportVideoAction"));
    // A drawing of the preview may be under way, too.
    ASSERT_FALSE(runs().empty());
    const auto recording = runs().back();
    EXPECT_EQ(recording->getArgument("width"), QString("1920"));
    EXPECT_EQ(recording->getArgument("height"), QString("1080"));
    EXPECT_EQ(tov::trajectory::TrajectoryHandler::getInstance()->getCount(), 250u) << "10 s at 25 frames per second";
    EXPECT_LE(clicks, 4);
    // The rest takes its time.
    recording->stop();
    ASSERT_TRUE(waitForNoRuns());
}

TEST_F(WindowClicks, AFreeVideoTakesTwo)
{
    openSample();
    QWidget* record = toolButton(window().getCapture()->getRecordAction());
    click(record);
    ASSERT_TRUE(processUntil([this] { return QFileInfo(file("crane-001~partial.mp4")).size() > 0; }));
    click(record);
    ASSERT_TRUE(waitForNoRuns());
    EXPECT_GT(countFrames(file("crane-001.mp4")), 0);
    EXPECT_LE(clicks, 2);
}

TEST_F(WindowClicks, IsolatingAPartTakesTwo)
{
    openSample();
    auto* tree = window().getSceneTree();
    auto* model = tree->topLevelItem(0);
    ASSERT_TRUE(model && model->childCount() > 1);
    // The menu runs its own event loop.
    QTimer inMenu;
    bool isOpen = false;
    QObject::connect(&inMenu, &QTimer::timeout, &inMenu, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        inMenu.stop();
        isOpen = true;
        QPoint isolate;
        for (QAction* action : menu->actions())
            if (action->text().remove(QLatin1Char('&')) == "Isolate")
                isolate = menu->actionGeometry(action).center();
        // The menu is gone afterwards.
        clickAt(menu, isolate);
    });
    inMenu.start(10);
    clickAt(tree->viewport(), tree->visualItemRect(model->child(0)).center(), Qt::RightButton);
    ASSERT_TRUE(processUntil([&] { return isOpen; }));
    // The tree is made again.
    const auto isShown = [tree](int part) {
        const auto* item = tree->topLevelItem(0);
        return item && item->child(part) && item->child(part)->checkState(0) == Qt::Checked;
    };
    EXPECT_TRUE(processUntil([&] { return !isShown(1) && isShown(0); }));
    EXPECT_LE(clicks, 2);
}
