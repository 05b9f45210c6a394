#pragma once

#include <QTimer>
#include <QToolBar>

class QAction;
class QLabel;
class QMenu;
class QSlider;

namespace tov::trajectory {
struct PlaybackOptions;
}

namespace tov::viewer {

/// Chooses, steps and plays a trajectory: a file, a turntable or an animation of the scene. Thread: application.
class TrajectoryBar : public QToolBar
{
    Q_OBJECT
public:
    explicit TrajectoryBar(QWidget* parent = nullptr);

    /// Opens a trajectory file; failures are shown to the user.
    bool openFile(const QString& fileName);
    void chooseFile();
    /// Plays the selected trajectory from its start.
    void play();
    /// How trajectories with times are sampled: at the rate of videos, so that a recording lasts as long as they do.
    static tov::trajectory::PlaybackOptions getPlayback();

signals:
    void failed(const QString& message);

private:
    void refresh();
    void addAnimationMenu();
    void addPathToggle();
    /// Draws the path of the selected trajectory in the views, if the user wants it.
    void showPath();
    /// Fills a menu with the animations of the scene; choosing one plays it.
    void listAnimations(QMenu* menu);
    void playAnimation(const QString& name);
    void step(int by);

    QAction* mp_Play;
    QAction* mp_Back;
    QAction* mp_Forward;
    QAction* mp_Loop;
    QAction* mp_Follow;
    QAction* mp_ShowPath = nullptr;
    QSlider* mp_Slider;
    QLabel* mp_Label;
    QTimer m_Clock;
};

} // namespace tov::viewer
