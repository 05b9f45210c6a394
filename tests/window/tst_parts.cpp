// The tree of parts: visibility, colour, opacity and removal, with undo, by menu, mouse and keyboard.

#include "app/viewer/panelgrid.h"
#include "app/viewer/partedits.h"
#include "app/viewer/scenesession.h"
#include "app/viewer/scenetree.h"
#include "scene/geometryelement.h"
#include "scene/scene.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "tests/window/windowfixture.h"

#include <QColorDialog>
#include <QContextMenuEvent>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSpinBox>
#include <QUndoStack>

using namespace tov::test;
using tov::scene::GeometryElement;

namespace {

class WindowParts : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        // 19 plates in a row.
        QFile model(file("plates.obj"));
        ASSERT_TRUE(model.open(QIODevice::WriteOnly));
        for (int i = 0; i < Count; ++i)
            model.write(QStringLiteral("o plate%1\nv %2 0 0\nv %3 0 0\nv %3 9 0\nv %2 9 0\nf -4 -3 -2 -1\n")
                            .arg(QString::number(i), QString::number(2 * i), QString::number(2 * i + 1))
                            .toUtf8());
        model.close();
        window().openFiles({file("plates.obj")});
        ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    }
    tov::viewer::SceneTree* tree() { return window().getSceneTree(); }
    tov::gui::ScenePanel* panel() { return window().getPanelGrid()->getActivePanel(); }
    QTreeWidgetItem* item(int plate)
    {
        const auto found =
            tree()->findItems(QStringLiteral("plate%1").arg(plate), Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? nullptr : found.first();
    }
    GeometryElement* plate(int number)
    {
        auto* root = tov::scene::Viewer::getInstance()->getGlobalScene()->getRootNode();
        auto* element = root ? root->find(QStringLiteral("plate%1").arg(number)) : nullptr;
        while (element && !dynamic_cast<GeometryElement*>(element) && !element->getChildren().empty())
            element = element->getChildren().front();
        return dynamic_cast<GeometryElement*>(element);
    }
    int countVisible()
    {
        int count = 0;
        for (int i = 0; i < Count; ++i)
            count += item(i) && item(i)->checkState(0) == Qt::Checked;
        return count;
    }
    void select(const std::vector<int>& plates)
    {
        tree()->clearSelection();
        for (const int number : plates)
            item(number)->setSelected(true);
    }
    QAction* action(const char* name) { return window().findChild<QAction*>(QLatin1String(name)); }
    void key(int code, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        tree()->setFocus();
        QTest::keyClick(tree(), Qt::Key(code), modifiers);
    }
    /// Triggers an action and calls `use` with the dialog that it opens; `use` closes the dialog.
    void inDialog(const char* name, const char* dialog, const std::function<void(QDialog*)>& use)
    {
        bool isUsed = false;
        onDialog(QLatin1String(dialog), [&](QWidget* widget) {
            use(static_cast<QDialog*>(widget));
            isUsed = true;
        });
        action(name)->trigger();
        ASSERT_TRUE(processUntil([&] { return isUsed; }));
    }
    static constexpr int Count = 19;
};

} // namespace

TEST_F(WindowParts, TwoClicksIsolateOneOfNineteenParts)
{
    ASSERT_EQ(countVisible(), Count);
    ASSERT_NE(item(7), nullptr);
    tree()->scrollToItem(item(7));
    const QPoint place = tree()->visualItemRect(item(7)).center();
    // First click: the right button on the part. Second click: "Isolate" in the menu.
    QTest::mousePress(tree()->viewport(), Qt::RightButton, {}, place);
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, tree()->viewport()->mapToGlobal(place));
    QApplication::sendEvent(tree()->viewport(), &event);
    QTest::mouseRelease(tree()->viewport(), Qt::RightButton, {}, place);
    QMenu* menu = nullptr;
    ASSERT_TRUE(processUntil([&] { return (menu = tree()->findChild<QMenu*>("TreeMenu")) && menu->isVisible(); }));
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action("IsolateAction")).center());
    EXPECT_EQ(countVisible(), 1);
    EXPECT_EQ(item(7)->checkState(0), Qt::Checked);
    EXPECT_TRUE(showsSomething(panel()->grabFramebuffer()));
}

TEST_F(WindowParts, EveryActionHasAKeyOrAMenuAndCanBeUndone)
{
    select({3, 5});
    key(Qt::Key_I);
    EXPECT_EQ(countVisible(), 2);
    key(Qt::Key_H, Qt::ShiftModifier);
    EXPECT_EQ(countVisible(), Count);
    key(Qt::Key_H);
    EXPECT_EQ(countVisible(), Count - 2);
    key(Qt::Key_Delete);
    ASSERT_TRUE(processUntil([this] { return !item(3) && !item(5); }));
    EXPECT_EQ(plate(3), nullptr);
    key(Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(processUntil([this] { return item(3) && item(5); }));
    EXPECT_EQ(countVisible(), Count - 2) << "the parts come back as they were: hidden";
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(countVisible(), Count);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(countVisible(), 2);
    key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(countVisible(), Count);
    EXPECT_FALSE(action("UndoAction")->isEnabled());
    key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(countVisible(), 2);
}

TEST_F(WindowParts, RemovedPartsComeBackInTheirPlace)
{
    const auto names = [this] {
        QStringList list;
        for (QTreeWidgetItemIterator it(tree()); *it; ++it)
            list << (*it)->text(0);
        return list;
    };
    const QStringList before = names();
    const QImage picture = panel()->grabFramebuffer();
    select({0, 1, 9});
    action("RemoveAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return !item(0) && !item(9); }));
    select({18});
    action("RemoveAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return !item(18); }));
    EXPECT_FALSE(panel()->grabFramebuffer() == picture);
    action("RestorePartsAction")->trigger();
    ASSERT_TRUE(processUntil([&] { return names() == before; }));
    tree()->clearSelection();
    EXPECT_TRUE(panel()->grabFramebuffer() == picture);
    action("UndoAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return !item(0) && !item(18); }));
    EXPECT_TRUE(action("RestorePartsAction")->isEnabled());
}

TEST_F(WindowParts, AColourIsShownLiveAndIsOneStep)
{
    select({2, 4});
    const auto own = plate(2)->getMaterial();
    inDialog("PartColorAction", "PartColorDialog", [this](QDialog* dialog) {
        auto* colors = static_cast<QColorDialog*>(dialog);
        colors->setCurrentColor(QColor(250, 10, 10));
        EXPECT_EQ(plate(2)->getColor(), QColor(250, 10, 10)) << "shown before the dialog is closed";
        colors->setCurrentColor(QColor(10, 10, 250));
        colors->accept();
    });
    EXPECT_EQ(plate(4)->getColor(), QColor(10, 10, 250));
    EXPECT_EQ(plate(2)->getColor(), QColor(10, 10, 250));
    EXPECT_EQ(plate(3)->getColor(), std::nullopt);
    action("UndoAction")->trigger();
    EXPECT_EQ(plate(2)->getColor(), std::nullopt);
    EXPECT_EQ(plate(2)->getMaterial(), own);
    inDialog("PartColorAction", "PartColorDialog", [](QDialog* dialog) {
        static_cast<QColorDialog*>(dialog)->setCurrentColor(Qt::green);
        dialog->reject();
    });
    EXPECT_EQ(plate(2)->getColor(), std::nullopt) << "cancelled";
    EXPECT_FALSE(action("UndoAction")->isEnabled());
}

TEST_F(WindowParts, AnOpacityIsShownLiveAndIsOneStep)
{
    select({2});
    inDialog("PartOpacityAction", "PartOpacityDialog", [this](QDialog* dialog) {
        auto* field = dialog->findChild<QSpinBox*>();
        ASSERT_NE(field, nullptr);
        for (const int percent : {80, 60, 40}) {
            field->setValue(percent);
            EXPECT_NEAR(plate(2)->getOpacity(), percent / 100.0, 1e-6);
        }
        dialog->accept();
    });
    EXPECT_NEAR(plate(2)->getOpacity(), 0.4, 1e-6);
    action("UndoAction")->trigger();
    EXPECT_EQ(plate(2)->getOpacity(), 1);
    action("RedoAction")->trigger();
    EXPECT_NEAR(plate(2)->getOpacity(), 0.4, 1e-6);
    action("PartResetAction")->trigger();
    EXPECT_EQ(plate(2)->getOpacity(), 1);
    action("UndoAction")->trigger();
    EXPECT_NEAR(plate(2)->getOpacity(), 0.4, 1e-6) << "colour and opacity are reset in one step";
}

TEST_F(WindowParts, ACheckBoxOfASelectedPartSwitchesAllSelectedParts)
{
    select({1, 2, 3});
    item(2)->setCheckState(0, Qt::Unchecked);
    EXPECT_EQ(countVisible(), Count - 3);
    item(5)->setCheckState(0, Qt::Unchecked);
    EXPECT_EQ(countVisible(), Count - 4);
}

TEST_F(WindowParts, TheTreeStaysFoldedAndFilteredWhenItIsReadAgain)
{
    auto* top = tree()->topLevelItem(0);
    ASSERT_GT(top->childCount(), 0);
    top->setExpanded(false);
    select({18});
    action("RemoveAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return !item(18); }));
    EXPECT_FALSE(tree()->topLevelItem(0)->isExpanded());
    window().findChild<QLineEdit*>("TreeSearch")->setText("plate1");
    action("UndoAction")->trigger();
    ASSERT_TRUE(processUntil([this] { return item(18); }));
    EXPECT_TRUE(item(2)->isHidden());
    EXPECT_FALSE(item(18)->isHidden());
}

TEST_F(WindowParts, ActionsOfPartsNeedASelection)
{
    tree()->clearSelection();
    for (const char* name : {"IsolateAction", "HideAction", "RemoveAction", "PartColorAction", "PartOpacityAction"})
        EXPECT_FALSE(action(name)->isEnabled()) << name;
    select({0});
    for (const char* name : {"IsolateAction", "HideAction", "RemoveAction", "PartColorAction", "PartOpacityAction"})
        EXPECT_TRUE(action(name)->isEnabled()) << name;
    EXPECT_NE(menuAction("Edit", "Isolate"), nullptr);
}
