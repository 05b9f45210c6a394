#include "app/cli/setup/viewsetup.h"

#include "app/cli/outputs/picture.h"
#include "scene/model.h"
#include "scene/scene.h"
#include "scene/sceneelement.h"
#include "scene/view/scenepanel.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>

#include <vector>

namespace tov::app {

using tov::gui::ScenePanel;
using tov::scene::Camera;
using tov::scene::FileCamera;
using tov::scene::Vector3;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

ScenePanel::StandardView standardView(const QString& name)
{
    typedef ScenePanel::StandardView View;
    static const std::pair<const char*, View> names[] = {
        {"front", View::Front}, {"back", View::Back},     {"left", View::Left},    {"right", View::Right},
        {"top", View::Top},     {"bottom", View::Bottom}, {"iso", View::Isometric}};
    for (const auto& [known, view] : names)
        if (name == QLatin1String(known))
            return view;
    return View::Front;
}

/// The cameras of the files in the scene.
std::vector<FileCamera> fileCameras()
{
    std::vector<FileCamera> cameras;
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    if (const auto* root = scene->getRootNode())
        for (const auto* file : root->getChildren())
            if (const auto& data = file->getModelData())
                cameras.insert(cameras.end(), data->cameras.begin(), data->cameras.end());
    return cameras;
}

bool useFileCamera(ScenePanel& panel, const ViewRequest& view, QString* error)
{
    const auto file = findFileCamera(view.camera, error);
    if (!file)
        return false;
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    scene->lock();
    const auto camera = cameraOfFile(*file, view, scene->getExtent());
    scene->unlock();
    if (camera)
        panel.setCamera(*camera);
    else
        *error = tr("--camera: \"%1\" has no usable position").arg(view.camera);
    return camera.has_value();
}

/// Looks from a position at the target of the request, or else at the panel's.
bool lookFrom(ScenePanel& panel, const Vector3& position, const ViewRequest& view, QString* error)
{
    const Camera camera = panel.getCamera();
    Vector3 target = camera.target;
    if (view.target) {
        target = *view.target;
    } else if (view.position) {
        panel.fitToView();
        target = panel.getCamera().target;
    }
    if (panel.lookAt(position, target, view.up.value_or(view.position ? Vector3{0, 1, 0} : camera.up())))
        return true;
    *error = tr("the camera must not be at its target");
    return false;
}

/// Applies the relative options to a view that is not fitted.
void moveRelative(ScenePanel& panel, const ViewRequest& view)
{
    if (view.azimuth != 0 || view.elevation != 0 || view.roll != 0) {
        Camera camera = panel.getCamera();
        camera.orbit(view.azimuth, view.elevation, view.roll);
        panel.setCamera(camera);
    }
    if (view.zoom != 1)
        panel.zoom(view.zoom);
}

/// The view of the scene file, drawn exactly as it was unless options change it.
void showStoredView(ScenePanel& panel, const ViewRequest& view)
{
    if (view.scene->extent) {
        const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
        scene->lock();
        scene->setExtent(*view.scene->extent);
        scene->unlock();
    }
    panel.setCamera(*view.sceneCamera);
    if (view.fieldOfView)
        panel.setFieldOfView(*view.fieldOfView);
    if (view.isOrthographic)
        panel.setOrthographic(true);
    moveRelative(panel, view);
}

} // namespace

std::optional<FileCamera> findFileCamera(const QString& name, QString* error)
{
    QStringList names;
    for (const FileCamera& camera : fileCameras()) {
        if (camera.name == name)
            return camera;
        names << camera.name;
    }
    *error = names.isEmpty()
                 ? tr("--camera: the model has no cameras")
                 : tr("--camera: there is no camera \"%1\"; there are %2").arg(name, names.join(QStringLiteral(", ")));
    return std::nullopt;
}

std::optional<Camera> cameraOfFile(const FileCamera& file, const ViewRequest& view,
                                   const tov::scene::SceneExtent& extent)
{
    auto camera = tov::scene::cameraOfFile(file, extent);
    if (!camera)
        return std::nullopt;
    if (view.fieldOfView)
        camera->fieldOfView = *view.fieldOfView;
    camera->orthographic = camera->orthographic || view.isOrthographic;
    camera->orbit(view.azimuth, view.elevation, view.roll);
    camera->distance /= view.zoom;
    return camera;
}

bool applyView(ScenePanel& panel, const ViewRequest& view, const QString& name, bool isTurning, QString* error)
{
    if (view.sceneCamera) {
        showStoredView(panel, view);
        return true;
    }
    Camera lens;
    lens.fieldOfView = view.fieldOfView.value_or(Camera::DefaultFieldOfView);
    lens.orthographic = view.isOrthographic;
    panel.setCamera(lens);
    if (view.transform || !view.like.isEmpty()) {
        const auto matrix = view.transform ? view.transform : readStoredView(view.like, error);
        if (!matrix)
            return false;
        panel.setScaledTransformMatrix(*matrix);
        moveRelative(panel, view);
        return true;
    }
    if (!view.camera.isEmpty()) {
        return useFileCamera(panel, view, error);
    } else if (view.position) {
        if (!lookFrom(panel, *view.position, view, error))
            return false;
        moveRelative(panel, view);
    } else {
        panel.setStandardView(standardView(name), view.azimuth, view.elevation, view.roll);
        if (isTurning)
            panel.fitToTurn();
        if ((view.target || view.up) && !lookFrom(panel, panel.getCamera().position(), view, error))
            return false;
        if (view.zoom != 1)
            panel.zoom(view.zoom);
    }
    return true;
}

} // namespace tov::app
