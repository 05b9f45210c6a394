#pragma once

#include <QByteArray>
#include <QImage>

class QIODevice;

namespace tov::imageformats {

/// How a picture is written.
struct PngOptions
{
    int level = -1;      ///< zlib's, 0 to 9; -1 = the default
    QString description; ///< "Key: text" blocks separated by empty lines, added to the image's own texts
    double gamma = 0;    ///< 0 = not stated
};

/// Writes a regular PNG; strips of rows are compressed on all cores. The picture's format decides how pixels are
/// stored: palette, grey, RGB or RGBA, of 8 or 16 bits. Holds a few strips in memory beyond the image. False when the
/// image is null or a write to the device fails; the file is then incomplete. Thread: any.
bool writePng(QIODevice* device, const QImage& image, const PngOptions& options);

} // namespace tov::imageformats
