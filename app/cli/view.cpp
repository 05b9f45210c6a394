#include "app/cli/view.h"

#include "kernel/main/castclassmanager.h"
#include "scene/drawing/scenedrawer.h"
#include "scene/view/viewer.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace tov::app {

using tov::gui::ScenePanel;

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

} // namespace

bool readSize(const QString& text, QSize& size)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,5})[xX](\\d{1,5})$"));
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    const int width = match.captured(1).toInt(), height = match.captured(2).toInt();
    if (width < 1 || height < 1 || width > 65535 || height > 65535)
        return false;
    size = QSize(width, height);
    return true;
}

bool readViewOptions(const Options& options, ViewOptions& view, QString* error)
{
    if (options.has(QStringLiteral("panel")) && !readSize(options.value(QStringLiteral("panel")), view.panel)) {
        *error = tr("--panel: \"%1\" is no size; write it like 1280x720").arg(options.value(QStringLiteral("panel")));
        return false;
    }
    if (options.has(QStringLiteral("turntable"))) {
        bool ok = false;
        const QString text = options.value(QStringLiteral("turntable"));
        view.turntable = text.toInt(&ok);
        if (!ok || view.turntable < 1) {
            *error = tr("--turntable: \"%1\" is no number of positions (1 or more)").arg(text);
            return false;
        }
    }
    if (options.has(QStringLiteral("view"))) {
        typedef ScenePanel::StandardView View;
        static const std::pair<const char*, View> names[] = {
            {"front", View::Front}, {"back", View::Back},     {"left", View::Left},    {"right", View::Right},
            {"top", View::Top},     {"bottom", View::Bottom}, {"iso", View::Isometric}};
        bool known = false;
        for (const auto& [name, value] : names)
            if (options.value(QStringLiteral("view")) == QLatin1String(name)) {
                view.view = value;
                known = true;
            }
        if (!known) {
            *error = tr("--view: there is no view \"%1\"; there are front, back, left, right, top, bottom, iso")
                         .arg(options.value(QStringLiteral("view")));
            return false;
        }
    }
    if (options.has(QStringLiteral("background"))) {
        const QString text = options.value(QStringLiteral("background"));
        static const QRegularExpression form(QStringLiteral("^#[0-9a-fA-F]{6}$"));
        if (!form.match(text).hasMatch()) {
            *error = tr("--background: \"%1\" is no colour; write it like '#204060'").arg(text);
            return false;
        }
        view.background = QColor(text);
    }
    if (options.has(QStringLiteral("samples"))) {
        constexpr int Most = 16;
        const QString text = options.value(QStringLiteral("samples"));
        bool isNumber = false;
        view.samples = text.toInt(&isNumber);
        if (!isNumber || *view.samples < 0 || *view.samples > Most) {
            *error = tr("--samples: \"%1\" is no number from 0 to %2").arg(text).arg(Most);
            return false;
        }
    }
    if (options.has(QStringLiteral("transform"))) {
        const tov::util::ZPointer<tov::main::CastClass> cast(
            tov::main::CastClassManager::getInstance()->createCastClassForType(&typeid(tov::math::Matrix4)));
        try {
            auto* matrix =
                static_cast<tov::math::Matrix4*>(cast->fromString(options.value(QStringLiteral("transform"))));
            view.transform = *matrix;
            cast->deleteValue(matrix);
        } catch (const std::exception&) {
            *error = tr("--transform: 16 numbers are needed, row by row, in one argument");
            return false;
        }
    }
    return true;
}

ScenePanel* makePanel(const ViewOptions& view, bool turning)
{
    if (view.background)
        tov::scene::SceneDrawer::setBackgroundColor(*view.background);
    if (view.samples)
        tov::scene::SceneDrawer::setMultisampling(*view.samples);
    auto* panel = new ScenePanel;
    panel->resize(view.panel);
    panel->setStandardView(view.view);
    if (turning)
        panel->fitToTurn();
    if (view.transform)
        panel->setScaledTransformMatrix(*view.transform);
    tov::scene::Viewer::getInstance()->setActivePanel(panel);
    return panel;
}

} // namespace tov::app
