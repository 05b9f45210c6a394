#include "app/cli/options/lookreader.h"

#include "app/cli/options/optionreader.h"

#include <QCoreApplication>

namespace tov::app {

namespace {

constexpr int MostSamples = 8;
constexpr double MostExposure = 1000;
constexpr double LeastExtent = 0.001, MostExtent = 50; ///< of points and lines, in percent of the height

QString tr(const char* text)
{
    return QCoreApplication::translate("tov::app", text);
}

void readBackground(OptionReader& reader, Background& background)
{
    if (!reader.has("background"))
        return;
    const QString text = reader.text("background");
    if (text == QLatin1String("transparent")) {
        background.kind = Background::Kind::Transparent;
        return;
    }
    const int dots = text.indexOf(QLatin1String(".."));
    background.kind = dots < 0 ? Background::Kind::Plain : Background::Kind::Gradient;
    background.top = QColor(dots < 0 ? text : text.left(dots));
    background.bottom = dots < 0 ? background.top : QColor(text.mid(dots + 2));
    if (!background.top.isValid() || !background.bottom.isValid())
        reader.fail(tr("--background: \"%1\" is not a colour; use e.g. white, '#204060', 'white..skyblue' or "
                       "transparent")
                        .arg(text));
}

void readColor(OptionReader& reader, std::optional<QColor>& color)
{
    if (!reader.has("color"))
        return;
    color = QColor(reader.text("color"));
    if (!color->isValid())
        reader.fail(tr("--color: \"%1\" is not a colour; use e.g. white or '#204060'").arg(reader.text("color")));
}

/// A percentage, with or without the percent sign.
void readPercent(OptionReader& reader, const char* option, std::optional<double>& value)
{
    if (!reader.has(option))
        return;
    double percent = 0;
    reader.readPercent(option, LeastExtent, MostExtent, percent);
    value = percent;
}

/// NAME=VALUE; names may contain further equals signs.
void readOpacities(OptionReader& reader, std::vector<std::pair<QString, double>>& opacities)
{
    for (const QString& text : reader.texts("opacity")) {
        const int equals = text.lastIndexOf(QLatin1Char('='));
        bool isNumber = false;
        const double value = text.mid(equals + 1).toDouble(&isNumber);
        if (equals < 1 || !isNumber || !(value >= 0 && value <= 1)) {
            reader.fail(tr("--opacity needs a part and a number from 0 to 1, e.g. glass=0.3 (got \"%1\")").arg(text));
            return;
        }
        opacities.emplace_back(text.left(equals), value);
    }
}

} // namespace

void readLook(OptionReader& reader, LookRequest& look)
{
    look.light = reader.text("light");
    if (reader.has("light") && !look.light.endsWith(QLatin1String(".hdr"), Qt::CaseInsensitive))
        reader.readWord("light", {"studio", "headlight", "none"}, look.light);
    if (reader.has("exposure")) {
        double exposure = 1;
        reader.readNumber("exposure", 0, MostExposure, exposure);
        look.exposure = exposure;
    }
    reader.readWord("show", {"surface", "edges", "wireframe", "points"}, look.show);
    look.isFlat = reader.has("flat");
    look.hasFeatureEdges = reader.has("feature-edges");
    readColor(reader, look.color);
    readOpacities(reader, look.opacities);
    readPercent(reader, "point-size", look.pointSize);
    readPercent(reader, "line-width", look.lineWidth);
    readBackground(reader, look.background);
    if (reader.has("samples")) {
        int samples = 0;
        reader.readInt("samples", 0, MostSamples, samples);
        look.samples = samples;
    }
}

} // namespace tov::app
