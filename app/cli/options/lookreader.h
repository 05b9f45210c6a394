#pragma once

#include "app/common/scenefile.h"

#include <QColor>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace tov::app {

class OptionReader;

/// How the scene is drawn.
struct LookRequest
{
    QString light;                  ///< a name or a file; empty = studio
    std::optional<double> exposure; ///< none = 1
    QString show;                   ///< empty = surface
    bool isFlat = false;
    bool hasFeatureEdges = false;
    std::optional<QColor> color;                       ///< one colour for everything
    std::vector<std::pair<QString, double>> opacities; ///< of parts, by name, 0 to 1
    std::optional<double> pointSize, lineWidth;        ///< percent of the picture's height
    std::optional<tov::scene::ClipPlane> clip;         ///< of a scene file
    Background background;
    std::optional<int> samples; ///< per pixel, 0 = off
};

/// Reads the options of the look; errors are kept in `reader`. Opens no file. Thread: any.
void readLook(OptionReader& reader, LookRequest& look);

} // namespace tov::app
