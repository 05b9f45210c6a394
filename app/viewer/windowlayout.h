#pragma once

#include <QObject>
#include <QPointer>

#include <vector>

class QMainWindow;
class QWidget;

namespace tov::viewer {

class PanelGrid;

/// Size, docks and views of the window from one start to the next, and full screen. Thread: application.
class WindowLayout : public QObject
{
    Q_OBJECT
public:
    /// Both must outlive this object.
    WindowLayout(QMainWindow* window, PanelGrid* grid);

    void save() const;
    /// Without a stored layout the window gets a size that fits on the screen.
    void restore();
    /// Hides every bar and dock and fills the screen, or restores everything.
    void setFullScreen(bool full);
    bool isFullScreen() const { return m_FullScreen; }

private:
    void placeOnScreen();

    QMainWindow* mp_Window; ///< not owned
    PanelGrid* mp_Grid;     ///< not owned
    bool m_FullScreen = false;
    bool m_WasMaximized = false;
    std::vector<QPointer<QWidget>> m_Hidden; ///< hidden in full screen mode
};

} // namespace tov::viewer
