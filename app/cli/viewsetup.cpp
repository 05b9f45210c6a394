#include "app/cli/viewsetup.h"

#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"

namespace tov::app {

using tov::gui::ScenePanel;
using tov::scene::SceneDrawer;
typedef tov::scene::SceneLook Look;

namespace {

constexpr int DefaultSamples = 4;

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

Look::Show showNamed(const QString& name)
{
    if (name == QLatin1String("edges"))
        return Look::Show::SurfaceWithEdges;
    if (name == QLatin1String("wireframe"))
        return Look::Show::Wireframe;
    return name == QLatin1String("points") ? Look::Show::Points : Look::Show::Surface;
}

/// A name that is none of the known ones is a file.
Look::Light lightNamed(const QString& name)
{
    if (name.isEmpty() || name == QLatin1String("studio"))
        return Look::Light::Studio;
    if (name == QLatin1String("headlight"))
        return Look::Light::Headlight;
    return name == QLatin1String("none") ? Look::Light::None : Look::Light::Environment;
}

} // namespace

bool applyLook(const ViewRequest& view, QString* error)
{
    tov::scene::SceneLook look = SceneDrawer::getLook();
    look.samples = view.samples.value_or(
        tovSettings().value(QStringLiteral("settings/multisampling"), DefaultSamples).toInt());
    look.show = showNamed(view.show);
    look.environment.reset();
    look.light = lightNamed(view.light);
    if (look.light == Look::Light::Environment) {
        look.environment = tov::scene::Environment::read(view.light, error);
        if (!look.environment)
            return false;
    }
    SceneDrawer::setLook(look);
    return true;
}

bool applyView(ScenePanel& panel, const ViewRequest& view, const QString& name, bool isTurning, QString* error)
{
    Q_UNUSED(error)
    panel.setStandardView(standardView(name));
    if (isTurning)
        panel.fitToTurn();
    if (view.azimuth != 0 || view.elevation != 0)
        panel.orbit(view.azimuth, view.elevation);
    if (view.zoom != 1)
        panel.zoom(view.zoom);
    if (view.transform)
        panel.setScaledTransformMatrix(*view.transform);
    return true;
}

} // namespace tov::app
