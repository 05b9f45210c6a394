#pragma once

#include "kernel/main/export.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace tov::gui {
class ScenePanel;
}

namespace tov::trajectory {

class AdvancedTrajectoryInfo;
class CameraPath;
class Motion;
class TrajectoryInfo;
class Turntable;
struct PlaybackOptions;
struct Selection;
struct TurntableOptions;

/// The selected trajectory. Both info objects live as long as the handler.
class TOV_EXPORT TrajectoryHandler : public QObject
{
    Q_OBJECT
public:
    enum Mode
    {
        ModeNone = -1,
        ModePlain = 0,    ///< `getTrajectoryInfo`
        ModeAdvanced = 1, ///< `getAdvancedTrajectoryInfo`
    };

    /// The handler of the process; never null. Thread: any.
    static TrajectoryHandler* getInstance();

    /// A value of `Mode`; any other value means that nothing is selected. Thread: any.
    int getSelectedMode() const;
    /// Thread: application.
    void selectMode(int mode);
    /// Never null. Thread: any.
    TrajectoryInfo* getTrajectoryInfo() const;
    /// Never null. Thread: any.
    AdvancedTrajectoryInfo* getAdvancedTrajectoryInfo() const;

    /// Number of positions of the selected trajectory, 0 without one. Thread: any.
    unsigned long getCount() const;
    /// The current position of the selected trajectory, from 0; 0 without a trajectory. Thread: any.
    unsigned long getPosition() const;
    /// Moves the selected trajectory. Thread: any.
    void setPosition(unsigned long position);

    /// Reads a file and selects it at position 0. By suffix: csv = a point "x,y,z" or "t,x,y,z" per line; tum, txt = a
    /// camera pose "t x y z qx qy qz qw" per line (camera to scene; the camera looks along +z with y down); json = a
    /// list of objects, element name to 16 numbers row by row (element to scene), "camera" being eye to scene in
    /// OpenGL's axes, with an optional "time"; a JSON object with "version" is a camera path. Files with times play at
    /// their own speed, sampled at `options.fps`, unless `options.everyPosition` is set. On failure false, with one
    /// line in `error` that names the line of the file, and the selection stays. Thread: application.
    bool openFile(const QString& fileName, const PlaybackOptions& options, QString* error);
    /// The same with every position of the file, one per frame; camera paths at 25 frames per second.
    bool openFile(const QString& fileName, QString* error);
    /// Selects a trajectory that turns the camera once about the scene in `count` positions (at least 1), starting from
    /// the view of the active panel. Thread: application.
    bool selectTurntable(int count, QString* error);
    /// Selects a turntable that starts from the view of the active panel. When the user moves the view of a panel that
    /// follows, the turntable continues from there. Thread: application.
    bool selectTurntable(const TurntableOptions& options, QString* error);
    /// Selects a camera path. Thread: application.
    bool selectPath(const CameraPath& path, const PlaybackOptions& options, QString* error);
    /// Selects a motion of the camera that the caller has made. Thread: application.
    void selectCameraMotion(std::shared_ptr<const Motion> motion);
    /// Selects an animation of a model in the global scene by its name (in any case; empty: the first one). Thread:
    /// application.
    bool selectAnimation(const QString& name, const PlaybackOptions& options, QString* error);
    /// Adds an animation to the turntable or the camera path that is selected: both run together. With nothing selected
    /// it is the same as `selectAnimation`. Thread: application.
    bool addAnimation(const QString& name, const PlaybackOptions& options, QString* error);
    /// What the selection was made from. Thread: application.
    Selection getSelection() const;
    /// Selects what `getSelection` returned, at position 0. Turntables start from the view that is stored in the
    /// selection. `Kind::None` without an animation deselects; `Kind::Other` cannot be repeated and fails. On failure
    /// false and one line in `error`, and nothing is selected. Thread: application.
    bool select(const Selection& selection, QString* error);
    /// The frames per second at which the selection was sampled; 0 when it has no times of its own (turntables, files
    /// without times). Thread: application.
    double getFrameRate() const;
    /// Samples a selection that has times again, so that it lasts as long at another frame rate; goes to the first
    /// position. Otherwise does nothing. On failure false and one line in `error`. Thread: application.
    bool setFrameRate(double fps, QString* error);
    /// The animations of the models in the global scene. Thread: application.
    QStringList getAnimationNames() const;
    /// Puts the scene and the following panels at the current position again: for a scene that was loaded, or a view
    /// that was fitted, after the trajectory was selected. Thread: application.
    void showPosition();

signals:
    /// Selection or list changed. Emitted on the application thread.
    void trajectoryChanged();
    /// Position changed; queued to the application thread.
    void positionChanged(qulonglong position);

private:
    TrajectoryHandler();
    ~TrajectoryHandler() override;
    void select(std::shared_ptr<const Motion> motion);
    void startTurntable(std::shared_ptr<const Turntable> turntable, tov::gui::ScenePanel* panel);
    bool selectCamera(const Selection& selection, QString* error);
    typedef std::function<bool(const PlaybackOptions& options, QString* error)> SelectAgain;
    void setTimed(const PlaybackOptions& options, SelectAgain selectAgain);
    void rebaseTurntable(const tov::gui::ScenePanel& panel, bool keepsInView);
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
