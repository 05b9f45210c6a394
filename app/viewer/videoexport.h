#pragma once

#include "kernel/math/matrix.h"

#include <QSize>
#include <QString>

#include <vector>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class SafeRuns;

/// The requested video file of a view.
struct VideoRequest
{
    enum class Motion
    {
        Turntable,  ///< one turn about the scene in `seconds`
        Trajectory, ///< the trajectory that is open
        Free,       ///< the view as the user moves it, until the recording is stopped
    };
    QString fileName; ///< its ending is the format
    QSize size = QSize(1920, 1080);
    Motion motion = Motion::Turntable;
    double seconds = 10;
    int fps = 25;
    int kbps = 1200; ///< for formats with a bit rate
};

/// A preset of format and quality.
struct VideoFormat
{
    QString name;
    QString ending;  ///< without a dot
    bool hasBitRate; ///< uses the bit rate setting
    bool hasTransparency;
};

/// The presets whose encoders are installed. Thread: application.
std::vector<VideoFormat> videoFormats();
/// Frames that a request records; 0 when that is not known in advance.
int frameCount(const VideoRequest& request);

/// True when such a video can be recorded; otherwise `error` says why not, in one line. Thread: application.
bool checkVideo(const VideoRequest& request, QString* error);
/// Scene to eye for the first frame of a video, under the projection of pictures. Thread: application.
tov::math::Matrix4 firstFrameTransform(const tov::gui::ScenePanel& view, const VideoRequest& request);

/// Stores rate and bit rate as settings, prepares the motion and starts the recording of the active view. The file
/// appears when it is complete. False, with one line in `error`, when it cannot start. Thread: application.
bool startVideo(SafeRuns& outputs, tov::gui::ScenePanel* view, const VideoRequest& request, QString* error);

} // namespace tov::viewer
