// Frames with transparency over a colour equal the picture that was drawn over that colour.

#include "tests/cli/clifixture.h"

#include <algorithm>
#include <cmath>
#include <map>

using namespace cli;

namespace {

const QString Glass = QStringLiteral(TOV_SOURCE_DIR "/samples/glass.gltf");
/// A camera path that stays at one place: a video of one frame with the lens and the view of the picture.
const char* const Path = R"({"version": 1, "keys": [{"time": 0, "position": [3, 2, 5], "target": [0, 0.5, 0]},
                                                    {"time": 1, "position": [3, 2, 5], "target": [0, 0.5, 0]}]})";

int difference(QRgb a, QRgb b)
{
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

QRgb composite(QRgb front, const QColor& behind)
{
    const double alpha = qAlpha(front) / 255.0;
    const auto over = [alpha](int colour, int background) {
        return int(std::lround(alpha * colour + (1 - alpha) * background));
    };
    return qRgb(over(qRed(front), behind.red()), over(qGreen(front), behind.green()),
                over(qBlue(front), behind.blue()));
}

/// The largest difference in any channel of any pixel.
int largestError(const QImage& straight, const QColor& background, const QImage& expected)
{
    int worst = 0;
    for (int y = 0; y < expected.height(); ++y)
        for (int x = 0; x < expected.width(); ++x)
            worst = std::max(worst, difference(composite(straight.pixel(x, y), background), expected.pixel(x, y)));
    return worst;
}

} // namespace

TEST_F(CliTest, FramesOverAColourEqualTheExactComposite)
{
    // ProRes stores YUV of 10 bits, which decoders round to 8 bits. The other formats with transparency lose more: VP9
    // halves the resolution of colours, and a gif has no half-transparent pixels.
    const std::pair<const char*, int> formats[] = {{"lossless.mkv", 2}, {"apng", 2}, {"alpha.mov", 3}};
    write("path.json", Path);
    for (const char* samples : {"0", "4", "8"}) {
        const QStringList common{"--size", "160x120", "--samples", samples, "--quiet"};
        std::map<QString, QImage> pictures;
        for (const char* colour : {"#ffffff", "#000000", "#00ff00"}) {
            runWell(QStringList{"image", Glass, "-o", "p.png", "--position", "3,2,5", "--target", "0,0.5,0",
                                "--background", colour} +
                    common);
            pictures[colour] = QImage(path("p.png"));
        }
        for (const auto& [format, limit] : formats) {
            const QByteArray name = QByteArray("v.") + format;
            runWell(QStringList{"video", Glass, "-o", QString(name), "--path", "path.json", "--duration", "1", "--fps",
                                "1"} +
                    common);
            run({}, "ffmpeg -v error -y -i " + name + " -frames:v 1 -pix_fmt rgba straight.png");
            const QImage straight(path("straight.png"));
            ASSERT_TRUE(straight.hasAlphaChannel()) << format;
            for (const auto& [colour, expected] : pictures)
                EXPECT_LE(largestError(straight, QColor(colour), expected), limit)
                    << format << " with " << samples << " samples over " << colour.toStdString();
        }
    }
}
