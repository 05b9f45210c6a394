#include "app/viewer/windowlayout.h"

#include "app/viewer/panelgrid.h"
#include "kernel/main/settings.h"

#include <QDockWidget>
#include <QGuiApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

namespace tov::viewer {

namespace {

constexpr int LayoutVersion = 2;
/// Initial size of the window, if it fits on the screen.
const QSize PreferredSize(1280, 860);
/// Space for the desktop's frame around the window, in pixels on each side and above.
constexpr int FrameWidth = 8;
constexpr int FrameHeight = 40;

const QString GeometryKey = QStringLiteral("window/geometry");
const QString StateKey = QStringLiteral("window/state");
const QString ViewsKey = QStringLiteral("window/panels");

} // namespace

WindowLayout::WindowLayout(QMainWindow* window, PanelGrid* grid) : QObject(window), mp_Window(window), mp_Grid(grid) {}

void WindowLayout::save() const
{
    if (m_FullScreen)
        return;
    auto& settings = tovSettings();
    settings.setValue(GeometryKey, mp_Window->saveGeometry());
    settings.setValue(StateKey, mp_Window->saveState(LayoutVersion));
    settings.setValue(ViewsKey, mp_Grid->saveState());
}

void WindowLayout::restore()
{
    auto& settings = tovSettings();
    if (!mp_Window->restoreGeometry(settings.value(GeometryKey).toByteArray()))
        placeOnScreen();
    mp_Window->restoreState(settings.value(StateKey).toByteArray(), LayoutVersion);
    mp_Grid->restoreState(settings.value(ViewsKey).toByteArray());
}

void WindowLayout::placeOnScreen()
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const QSize room = screen.size() - QSize(2 * FrameWidth, FrameHeight + FrameWidth);
    mp_Window->resize(PreferredSize.boundedTo(room));
    mp_Window->move(screen.topLeft());
}

void WindowLayout::setFullScreen(bool full)
{
    if (full == m_FullScreen)
        return;
    if (full) {
        save();
        m_WasMaximized = mp_Window->isMaximized();
        std::vector<QWidget*> bars = {mp_Window->statusBar()};
        for (auto* dock : mp_Window->findChildren<QDockWidget*>())
            bars.push_back(dock);
        for (auto* bar : mp_Window->findChildren<QToolBar*>())
            bars.push_back(bar);
        for (QWidget* bar : bars)
            if (!bar->isHidden()) {
                bar->hide();
                m_Hidden.push_back(bar);
            }
        // A menu bar of height 0 keeps its shortcuts; a hidden one loses them.
        mp_Window->menuBar()->setMaximumHeight(0);
        mp_Window->showFullScreen();
    } else {
        mp_Window->menuBar()->setMaximumHeight(QWIDGETSIZE_MAX);
        m_WasMaximized ? mp_Window->showMaximized() : mp_Window->showNormal();
        for (const auto& bar : m_Hidden)
            if (bar)
                bar->show();
        m_Hidden.clear();
    }
    m_FullScreen = full;
}

} // namespace tov::viewer
