#include "app/cli/viewsetup.h"

#include "kernel/main/settings.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/scenepanel.h"

#include <QCoreApplication>

namespace tov::app {

using tov::gui::ScenePanel;
using tov::scene::SceneDrawer;

namespace {

constexpr int DefaultSamples = 4;

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

} // namespace

void applyLook(const ViewRequest& view)
{
    const int setting = tovSettings().value(QStringLiteral("settings/multisampling"), DefaultSamples).toInt();
    SceneDrawer::setMultisampling(view.samples.value_or(setting));
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
