#pragma once

#include "kernel/main/export.h"

#include <QObject>
#include <QString>

#include <memory>

namespace tov::trajectory {

class AdvancedTrajectoryInfo;
class TrajectoryInfo;

/// Which trajectory is selected. Both info objects live as long as the handler.
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

    static TrajectoryHandler* getInstance();

    /// A value of `Mode`; anything but 0 and 1 means that none is selected. Thread: any.
    int getSelectedMode() const;
    /// Thread: application.
    void selectMode(int mode);
    /// Never null. Thread: any.
    TrajectoryInfo* getTrajectoryInfo() const;
    AdvancedTrajectoryInfo* getAdvancedTrajectoryInfo() const;

    /// Number of positions of the selected trajectory, 0 when none is. Thread: any.
    unsigned long getCount() const;
    unsigned long getPosition() const;
    /// Moves the selected trajectory. Thread: any.
    void setPosition(unsigned long position);

    /// Reads a file and selects it at position 0. By suffix: csv = a point "x,y,z" a line; tum, txt = a camera pose
    /// "t x y z qx qy qz qw" a line (camera to scene; the camera looks along +z with y down); json = a list of objects,
    /// element name to 16 numbers row by row (element to scene), "camera" being eye to scene in OpenGL's axes. On
    /// failure false, one line with the file's line in `error`, and the selection stays. Thread: application.
    bool openFile(const QString& fileName, QString* error);
    /// Selects a trajectory that turns the camera once about the scene in `count` positions (at least 1), starting from
    /// the view of the active panel. Thread: application.
    bool selectTurntable(int count, QString* error);

signals:
    /// Selection or list changed. On the application thread.
    void trajectoryChanged();
    /// Position changed; queued to the application thread.
    void positionChanged(qulonglong position);

private:
    TrajectoryHandler();
    ~TrajectoryHandler() override;
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tov::trajectory
