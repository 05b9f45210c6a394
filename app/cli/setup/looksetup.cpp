#include "app/cli/setup/looksetup.h"

#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/geometryelement.h"
#include "scene/import/environmentfile.h"
#include "scene/scene.h"
#include "scene/scenelocker.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace tov::app {

using tov::scene::GeometryElement;
using tov::scene::SceneDrawer;
using tov::scene::SceneElement;
typedef tov::scene::SceneLook Look;

namespace {

constexpr int DefaultSamples = 4;

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

Look::Show showNamed(const QString& name)
{
    if (name == QLatin1String("edges"))
        return Look::Show::SurfaceWithEdges;
    if (name == QLatin1String("wireframe"))
        return Look::Show::Wireframe;
    return name == QLatin1String("points") ? Look::Show::Points : Look::Show::Surface;
}

/// Any other name is a file.
Look::Light lightNamed(const QString& name)
{
    if (name.isEmpty() || name == QLatin1String("studio"))
        return Look::Light::Studio;
    if (name == QLatin1String("headlight"))
        return Look::Light::Headlight;
    return name == QLatin1String("none") ? Look::Light::None : Look::Light::Environment;
}

void setOpacityBelow(SceneElement* element, float opacity)
{
    if (auto* geometry = dynamic_cast<GeometryElement*>(element))
        geometry->setOpacity(opacity);
    for (SceneElement* child : element->getChildren())
        setOpacityBelow(child, opacity);
}

/// Sets the opacity of all elements of that name and below them. Returns false if there is none.
bool setOpacityOf(SceneElement* element, const QString& name, float opacity)
{
    if (element->getName().compare(name, Qt::CaseInsensitive) == 0) {
        setOpacityBelow(element, opacity);
        return true;
    }
    bool isFound = false;
    for (SceneElement* child : element->getChildren())
        isFound = setOpacityOf(child, name, opacity) || isFound;
    return isFound;
}

bool applyOpacities(const LookRequest& look, QString* error)
{
    const auto scene = tov::scene::Viewer::getInstance()->getGlobalScene();
    const tov::scene::SceneEdit edit(scene.get(), tov::scene::SceneLocker::LockData);
    SceneElement* root = scene->getRootNode();
    if (!root)
        return true;
    for (const auto& [name, opacity] : look.opacities)
        if (!setOpacityOf(root, name, float(opacity))) {
            *error = tr("--opacity: there is no part \"%1\"; tov info lists the parts").arg(name);
            return false;
        }
    return true;
}

} // namespace

int samplesOf(const LookRequest& look)
{
    return look.samples.value_or(tovSettings().value(QStringLiteral("settings/multisampling"), DefaultSamples).toInt());
}

bool applyLook(const LookRequest& request, QString* error)
{
    const Look usual;
    Look look = SceneDrawer::getLook();
    look.samples = samplesOf(request);
    look.show = showNamed(request.show);
    look.exposure = request.exposure.value_or(usual.exposure);
    look.isFlat = request.isFlat;
    look.hasFeatureEdges = request.hasFeatureEdges;
    look.color = request.color;
    look.clip = request.clip;
    look.pointSize = request.pointSize ? *request.pointSize / 100 : usual.pointSize;
    look.lineWidth = request.lineWidth ? *request.lineWidth / 100 : usual.lineWidth;
    look.environment.reset();
    look.environmentFile.clear();
    look.light = lightNamed(request.light);
    if (look.light == Look::Light::Environment) {
        look.environment = tov::scene::readEnvironment(request.light, error);
        look.environmentFile = QFileInfo(request.light).absoluteFilePath();
        if (!look.environment)
            return false;
    }
    if (!applyOpacities(request, error))
        return false;
    SceneDrawer::setLook(look);
    return true;
}

} // namespace tov::app
