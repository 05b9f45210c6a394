#pragma once

#include <QColor>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace tov::app {

class OptionReader;

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

/// How the scene is drawn.
struct LookRequest
{
    QString light; ///< a name or a file; empty = studio
    double exposure = 1;
    QString show; ///< empty = surface
    bool isFlat = false;
    bool hasFeatureEdges = false;
    std::optional<QColor> color;                       ///< one colour for everything
    std::vector<std::pair<QString, double>> opacities; ///< of parts, by name, 0 to 1
    std::optional<double> pointSize, lineWidth;        ///< percent of the picture's height
    Background background;
    std::optional<int> samples; ///< per pixel, 0 = off
};

/// Reads the options of the look; errors are kept in `reader`. Opens no file. Thread: any.
void readLook(OptionReader& reader, LookRequest& look);

} // namespace tov::app
