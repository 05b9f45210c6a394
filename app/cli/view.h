#pragma once

#include "app/cli/options.h"
#include "kernel/math/matrix.h"
#include "scene/view/scenepanel.h"

#include <QColor>
#include <QSize>

#include <optional>

namespace tov::app {

/// What the options say of the view, checked before anything is started.
struct ViewOptions
{
    QSize panel = QSize(1280, 720);
    tov::gui::ScenePanel::StandardView view = tov::gui::ScenePanel::StandardView::Front;
    std::optional<QColor> background;
    std::optional<int> samples; ///< a pixel, 0 = off
    std::optional<tov::math::Matrix4> transform;
    int turntable = 0; ///< positions of one turn; 0 = none asked for
};

/// Reads the view's options; false and one line in `error` when one is wrong.
bool readViewOptions(const Options& options, ViewOptions& view, QString* error);

/// "WxH" with both from 1 to 65535.
bool readSize(const QString& text, QSize& size);

/// Makes the (hidden) panel that pictures and videos are taken of, and fits the scene into it; `turning` = with room
/// for a camera that turns about it. The active panel afterwards; the caller closes it through the viewer.
tov::gui::ScenePanel* makePanel(const ViewOptions& view, bool turning);

} // namespace tov::app
