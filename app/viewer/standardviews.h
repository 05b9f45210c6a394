#pragma once

#include "scene/view/scenepanel.h"

#include <QCoreApplication>
#include <QString>

#include <array>
#include <utility>

namespace tov::viewer {

/// The standard views of a panel in the order of menus and keys, with their names in the user's language.
inline std::array<std::pair<QString, tov::gui::ScenePanel::StandardView>, 7> standardViews()
{
    typedef tov::gui::ScenePanel::StandardView View;
    return {{{QCoreApplication::translate("StandardViews", "Front"), View::Front},
             {QCoreApplication::translate("StandardViews", "Back"), View::Back},
             {QCoreApplication::translate("StandardViews", "Left"), View::Left},
             {QCoreApplication::translate("StandardViews", "Right"), View::Right},
             {QCoreApplication::translate("StandardViews", "Top"), View::Top},
             {QCoreApplication::translate("StandardViews", "Bottom"), View::Bottom},
             {QCoreApplication::translate("StandardViews", "Isometric"), View::Isometric}}};
}

} // namespace tov::viewer
