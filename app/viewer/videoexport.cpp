#include "app/viewer/videoexport.h"

#include "app/common/checks.h"
#include "app/common/videoformats.h"
#include "app/common/spacewatch.h"
#include "app/viewer/saferuns.h"
#include "kernel/main/settings.h"
#include "scene/scene.h"
#include "scene/sceneview.h"
#include "scene/view/camera.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"
#include "trajectory/trajectoryhandler.h"
#include "trajectory/turntable.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::math::Matrix4;
using tov::trajectory::TrajectoryHandler;

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("VideoExport", source);
}

/// Players do not honour shorter delays than those of this rate, so a gif keeps its speed by leaving frames out.
bool leavesFramesOut(const QString& ending, int fps)
{
    constexpr int HighestGifFps = 50;
    return ending == QLatin1String("gif") && fps > HighestGifFps;
}

/// The settings that every recording reads when it begins.
void storeRates(const VideoRequest& request)
{
    auto& settings = tovSettings();
    settings.setValue(QStringLiteral("settings/grabvideofps"), QString::number(request.fps));
    settings.setValue(QStringLiteral("settings/grabvideokbps"), QString::number(request.kbps));
}

/// One turn that starts from what the view shows, in the shape of the video.
tov::trajectory::TurntableOptions turntableOptions(const tov::gui::ScenePanel& view, const VideoRequest& request)
{
    tov::trajectory::TurntableOptions options;
    options.frames = static_cast<unsigned long>(frameCount(request));
    if (request.size.height() > 0)
        options.aspect = double(request.size.width()) / request.size.height();
    // A user who has zoomed in wants to see only that part.
    options.keepInView = tov::trajectory::showsWholeScene(view, options.aspect);
    return options;
}

bool prepareMotion(tov::gui::ScenePanel* view, const VideoRequest& request, QString* error)
{
    auto* trajectory = TrajectoryHandler::getInstance();
    switch (request.motion) {
    case VideoRequest::Motion::Turntable:
        return trajectory->selectTurntable(turntableOptions(*view, request), error);
    case VideoRequest::Motion::Trajectory:
        if (trajectory->getCount() > 0) {
            if (!trajectory->setFrameRate(request.fps, error))
                return false;
            trajectory->setPosition(0);
            return true;
        }
        *error = text(QT_TRANSLATE_NOOP("VideoExport", "no trajectory is open"));
        return false;
    case VideoRequest::Motion::Free:
        break;
    }
    return true;
}

} // namespace

std::vector<VideoFormat> videoFormats()
{
    const VideoFormat all[] = {
        {text(QT_TRANSLATE_NOOP("VideoExport", "MP4, small")), QStringLiteral("mp4"), true, false},
        {text(QT_TRANSLATE_NOOP("VideoExport", "MP4, high quality")), QStringLiteral("hq.mp4"), false, false},
        {text(QT_TRANSLATE_NOOP("VideoExport", "WebM, transparent")), QStringLiteral("alpha.webm"), true, true},
        {text(QT_TRANSLATE_NOOP("VideoExport", "ProRes 4444, transparent")), QStringLiteral("alpha.mov"), false, true},
        {text(QT_TRANSLATE_NOOP("VideoExport", "Lossless")), QStringLiteral("lossless.mkv"), false, true},
        {text(QT_TRANSLATE_NOOP("VideoExport", "GIF")), QStringLiteral("gif"), false, false},
    };
    std::vector<VideoFormat> installed;
    const auto known = tov::app::knownVideoFormats();
    for (const VideoFormat& format : all)
        if (std::any_of(known.begin(), known.end(),
                        [&format](const auto& entry) { return entry.first == format.ending; }))
            installed.push_back(format);
    return installed;
}

int frameCount(const VideoRequest& request)
{
    switch (request.motion) {
    case VideoRequest::Motion::Turntable:
        return std::max(1, int(std::lround(request.seconds * request.fps)));
    case VideoRequest::Motion::Trajectory: {
        const auto* trajectory = TrajectoryHandler::getInstance();
        const double count = double(trajectory->getCount()), rate = trajectory->getFrameRate();
        return int(std::lround(rate > 0 ? count * request.fps / rate : count));
    }
    case VideoRequest::Motion::Free:
        break;
    }
    return 0;
}

bool checkVideo(const VideoRequest& request, QString* error)
{
    const QString ending = tov::app::longestEnding(request.fileName, tov::app::knownVideoEndings());
    return tov::app::checkOutput(request.fileName, error) && tov::app::SpaceWatch::hasRoom(request.fileName, error) &&
           tov::app::checkVideoSize(ending, request.size, request.fps, error);
}

Matrix4 firstFrameTransform(const tov::gui::ScenePanel& view, const VideoRequest& request)
{
    Matrix4 transform = view.getScaledTransformMatrix();
    QString error;
    if (request.motion == VideoRequest::Motion::Turntable)
        if (const auto turntable = tov::trajectory::turntableFrom(view, turntableOptions(view, request), &error))
            if (const auto camera = turntable->cameraAt(0))
                transform = camera->scaledMatrix(tov::scene::Viewer::getInstance()->getGlobalScene()->getExtent());
    // The projection of videos shows a little less than that of pictures.
    for (unsigned int column = 0; column < 4; ++column)
        for (unsigned int row = 0; row < 2; ++row)
            transform(row, column) *= tov::scene::PictureHalfHeight / tov::scene::VideoHalfHeight;
    return transform;
}

bool startVideo(SafeRuns& outputs, tov::gui::ScenePanel* view, const VideoRequest& request, QString* error)
{
    if (!checkVideo(request, error))
        return false;
    tov::scene::Viewer::getInstance()->setActivePanel(view);
    storeRates(request);
    if (!prepareMotion(view, request, error))
        return false;
    const bool free = request.motion == VideoRequest::Motion::Free;
    SafeRuns::Target target;
    target.fileName = request.fileName;
    target.ending = tov::app::longestEnding(request.fileName, tov::app::knownVideoEndings());
    if (!free && !leavesFramesOut(target.ending, request.fps))
        target.frames = qint64(TrajectoryHandler::getInstance()->getCount());
    tov::main::CommandArguments arguments;
    arguments.named = {{QStringLiteral("width"), QString::number(request.size.width())},
                       {QStringLiteral("height"), QString::number(request.size.height())},
                       {QStringLiteral("sync"), free ? QStringLiteral("0") : QStringLiteral("1")}};
    return outputs.start(QStringLiteral("grabvideo"), arguments, target, error) != nullptr;
}

} // namespace tov::viewer
