#include "app/common/straightalpha.h"

#include <QColor>
#include <QImage>

#include <algorithm>

namespace tov::app {

namespace {

/// One channel of the foreground: `blended` = front * alpha + background * (1 - alpha), all from 0 to 255; rounded.
int frontOf(int blended, int background, int alpha)
{
    const int front = blended * 255 - background * (255 - alpha);
    return std::clamp((front + alpha / 2) / alpha, 0, 255);
}

} // namespace

void removeBackground(QImage& image, const QColor& background)
{
    const QRgb behind = background.rgb();
    for (int y = 0; y < image.height(); ++y) {
        auto* pixel = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (const QRgb* const end = pixel + image.width(); pixel != end; ++pixel) {
            const int alpha = qAlpha(*pixel);
            if (alpha == 0)
                *pixel = 0;
            else if (alpha < 255)
                *pixel =
                    qRgba(frontOf(qRed(*pixel), qRed(behind), alpha), frontOf(qGreen(*pixel), qGreen(behind), alpha),
                          frontOf(qBlue(*pixel), qBlue(behind), alpha), alpha);
        }
    }
}

} // namespace tov::app
