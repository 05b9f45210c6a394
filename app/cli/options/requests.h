#pragma once

#include "app/cli/options/lookreader.h"
#include "app/cli/options/motionreader.h"
#include "app/cli/options/options.h"
#include "app/cli/options/partreader.h"
#include "app/common/safeoutput.h"
#include "app/common/scenefile.h"
#include "kernel/math/matrix.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>

namespace tov::app {

/// From where the scene is seen, and how it is drawn.
struct ViewRequest
{
    typedef std::array<double, 3> Vector;

    QStringList views;                           ///< standard views, each gives a result; empty = front
    QString camera;                              ///< a camera of the file, or empty
    QString like;                                ///< a picture whose stored view is used, or empty
    std::optional<tov::math::Matrix4> transform; ///< scene to eye, instead of everything else
    double azimuth = 0, elevation = 0, roll = 0; ///< degrees, relative to the view
    double zoom = 1;
    std::optional<Vector> position, target, up;
    std::optional<double> fieldOfView; ///< degrees
    bool isOrthographic = false;
    QString modelUp; ///< empty = auto
    LookRequest look;
    std::shared_ptr<const SceneFile> scene;        ///< null = none; its look is in `look` already, see `addScene`
    std::optional<tov::scene::Camera> sceneCamera; ///< the view of the scene file, unless options give another
    QString savedScene;                            ///< a scene file to write; empty = none
    QSize panel = QSize(1280, 720);                ///< shape of the view when no size is given
};

/// True when the view is fitted to the model, rather than given.
bool isFitted(const ViewRequest& view);

/// Where results go.
struct OutputRequest
{
    QString pattern;                                      ///< may hold {name}, {view}, {n}; "-" = standard output
    QString format;                                       ///< for standard output
    SafeOutput::Older older = SafeOutput::Older::Replace; ///< of an existing file
    bool skipsExisting = false;                           ///< an existing file counts as a finished result
    bool isEach = false;                                  ///< one result per model
    qint64 maxMemory = 0;                                 ///< bytes; 0 = what the system has available

    bool isStandardOutput() const { return pattern == QLatin1String("-"); }
};

struct ImageRequest
{
    QStringList models;
    ViewRequest view;
    MotionRequest motion; ///< an animation at a time, or nothing
    OutputRequest output;
    QSize size;       ///< pixels
    int dpi = 0;      ///< 0 = not stored
    int quality = -1; ///< -1 = the format's default
};

struct VideoRequest
{
    QStringList models;
    ViewRequest view;
    OutputRequest output;
    MotionRequest motion;
    PartRequest parts;
    QSize size;      ///< pixels; odd sizes of videos are rounded up
    int fps = 0;     ///< 0 = the setting
    int bitrate = 0; ///< kbit/s; 0 = from size and rate
};

struct RunRequest
{
    QStringList models;
    ViewRequest view;
    MotionRequest motion;
    int fps = 0;
    QString script;    ///< empty = `texts`
    QStringList texts; ///< command texts, in order
};

/// Each reads the options of a verb into a request and checks every value that can be checked by itself. On failure
/// returns false and sets `error` to one line. Opens no file. Thread: any.
bool readImageRequest(const Options& options, ImageRequest& request, QString* error);
bool readVideoRequest(const Options& options, VideoRequest& request, QString* error);
bool readRunRequest(const Options& options, RunRequest& request, QString* error);

} // namespace tov::app
