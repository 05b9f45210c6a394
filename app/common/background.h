#pragma once

#include <QColor>

namespace tov::app {

/// The background of a picture or video.
struct Background
{
    enum class Kind
    {
        Default, ///< transparent where the format has transparency, otherwise the background from the settings
        Transparent,
        Plain,
        Gradient, ///< from `top` to `bottom`
    };
    Kind kind = Kind::Default;
    QColor top;
    QColor bottom;
};

} // namespace tov::app
