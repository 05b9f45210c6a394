#include "tests/window/windowfixture.h"

#include "app/viewer/consolewidget.h"
#include "app/viewer/noticebar.h"
#include "app/viewer/panelgrid.h"
#include "app/viewer/saferuns.h"
#include "kernel/workers/overseer.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"

#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

namespace tov::test {

using tov::main::Overseer;
using tov::viewer::MainWindow;

void WindowTest::SetUp()
{
    tovSettings().clear();
    // Pictures and recordings without a dialog go into the test's own folder.
    tovSettings().setValue(QStringLiteral("window/capturefolder"), m_Folder.path());
    // Views change at once.
    tovSettings().setValue(QStringLiteral("window/flights"), false);
    // Small chunks, so that a recording's file exists soon.
    tovSettings().setValue(QStringLiteral("settings/grabvideotempfilesize"), QStringLiteral("1"));
    restart();
}

void WindowTest::restart()
{
    mp_Window.reset();
    mp_Window = std::make_unique<MainWindow>(nullptr);
    mp_Window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(mp_Window.get()));
    QApplication::setActiveWindow(mp_Window.get());
    tov::scene::Viewer::getInstance()->announceActivePanel();
    ASSERT_TRUE(processUntil([this] {
        auto* action = menuAction(QStringLiteral("Grab"), QStringLiteral("Image"));
        return action && action->isEnabled();
    })) << "the picture command is not enabled";
}

void WindowTest::TearDown()
{
    EXPECT_EQ(m_OpenDialogWaits, 0) << "an expected dialog did not open";
    Overseer::getInstance()->getCommandProcessor()->stopAll();
    EXPECT_TRUE(waitForNoRuns());
    mp_Window.reset();
    tov::scene::Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
    tov::trajectory::TrajectoryHandler::getInstance()->selectMode(tov::trajectory::TrajectoryHandler::ModeNone);
    QCoreApplication::processEvents();
    EXPECT_TRUE(tov::scene::Viewer::getInstance()->getPanels().empty());
}

void WindowTest::openSample(const QString& name)
{
    window().openFiles({QStringLiteral(TOV_SOURCE_DIR "/samples/") + name});
    ASSERT_TRUE(processUntil([this] { return !window().isOpening(); }));
    // The thumbnail for the list of recent files.
    ASSERT_TRUE(waitForNoRuns());
}

QAction* WindowTest::menuAction(const QString& menu, const QString& text) const
{
    const auto plain = [](QString label) { return label.remove(QLatin1Char('&')).section(QLatin1Char('\t'), 0, 0); };
    for (QAction* top : mp_Window->menuBar()->actions())
        if (top->menu() && plain(top->text()) == menu)
            for (QAction* action : top->menu()->actions())
                if (plain(action->text()).startsWith(text))
                    return action;
    return nullptr;
}

void WindowTest::onDialog(const QString& name, const std::function<void(QWidget*)>& inDialog)
{
    ++m_OpenDialogWaits;
    auto* timer = new QTimer(mp_Window.get());
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [=, this] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog || !dialog->isVisible() ||
            (dialog->objectName() != name && !dialog->inherits(name.toLatin1().constData())))
            return;
        timer->stop();
        timer->deleteLater();
        --m_OpenDialogWaits;
        inDialog(dialog);
    });
    timer->start();
}

void WindowTest::triggerWithDialog(QAction* action, const QString& dialog,
                                   const std::function<void(QWidget*)>& inDialog)
{
    ASSERT_NE(action, nullptr);
    ASSERT_TRUE(action->isEnabled()) << action->text().toStdString() << " is disabled";
    // A dialog that never opens must not block the test forever: after the limit every open dialog is closed.
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, [] {
        ADD_FAILURE() << "the dialog did not close in time";
        while (QWidget* open = QApplication::activeModalWidget())
            open->close();
    });
    limit.start(30000);
    onDialog(dialog, inDialog);
    action->trigger();
}

void WindowTest::type(QWidget* dialog, const QString& field, const QString& text)
{
    auto* widget = dialog->findChild<QWidget*>(field);
    ASSERT_NE(widget, nullptr) << "no field " << field.toStdString();
    auto* edit = qobject_cast<QLineEdit*>(widget);
    if (!edit)
        edit = widget->findChild<QLineEdit*>();
    ASSERT_NE(edit, nullptr) << field.toStdString() << " cannot be typed into";
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, text);
}

QPushButton* WindowTest::button(QWidget* dialog, const QString& text)
{
    for (auto* button : dialog->findChildren<QPushButton*>())
        if (button->text().remove(QLatin1Char('&')) == text)
            return button;
    return nullptr;
}

bool WindowTest::showsSomething(const QImage& image)
{
    const QRgb background = image.pixel(2, 2);
    for (int y = 0; y < image.height(); y += 3)
        for (int x = 0; x < image.width(); x += 3)
            if (image.pixel(x, y) != background)
                return true;
    return false;
}

void WindowTest::drag(QWidget* widget, Qt::MouseButton button, QPoint from, QPoint to)
{
    QTest::mousePress(widget, button, {}, from);
    // QTest::mouseMove does not hold a button down.
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, button, {});
    QApplication::sendEvent(widget, &move);
    QTest::mouseRelease(widget, button, {}, to);
}

std::vector<tov::main::CommandRunPointer> WindowTest::runs()
{
    return Overseer::getInstance()->getCommandProcessor()->getRuns();
}

bool WindowTest::record(const QString& fileName, const QString& rest)
{
    const std::size_t before = runs().size();
    window().getConsole()->submit(QStringLiteral("grabvideo filename=\"%1\"").arg(fileName) + rest);
    if (runs().size() != before + 1)
        return false;
    const auto run = runs().back();
    // The encoder creates the file when it gets the first full chunk.
    return processUntil([&] { return QFileInfo(fileName).size() > 0 || run->isFinished(); }) && !run->isFinished();
}

bool WindowTest::waitForNoRuns(int limitMs)
{
    const auto isIdle = [this] { return runs().empty() && (!mp_Window || !mp_Window->getOutputs()->isBusy()); };
    return processUntil(isIdle, limitMs) &&
           processUntil([done = std::make_shared<bool>(false), posted = false]() mutable {
               // The signal of the end is queued after it.
               if (!posted) {
                   posted = true;
                   QTimer::singleShot(0, qApp, [done] { *done = true; });
               }
               return *done;
           });
}

bool WindowTest::noticeContains(const QString& text) const
{
    for (const QString& notice : mp_Window->getNotices()->getTexts())
        if (notice.contains(text))
            return true;
    return false;
}

int WindowTest::countFrames(const QString& fileName)
{
    QProcess process;
    process.start(QStringLiteral("ffprobe"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
                   QStringLiteral("-select_streams"), QStringLiteral("v:0"), QStringLiteral("-show_entries"),
                   QStringLiteral("stream=nb_read_frames"), QStringLiteral("-of"),
                   QStringLiteral("default=nokey=1:noprint_wrappers=1"), fileName});
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return -1;
    bool ok = false;
    const int frames = process.readAllStandardOutput().trimmed().toInt(&ok);
    return ok ? frames : -1;
}

} // namespace tov::test
