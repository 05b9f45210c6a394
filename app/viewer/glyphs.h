#pragma once

#include <QIcon>

namespace tov::viewer {

/// The icons of the window, drawn in the palette's text colour whenever they are painted: sharp at any scale, readable
/// in light and dark.
enum class Glyph
{
    Open,
    Turntable,
    Previous,
    Play,
    Pause,
    Next,
    Loop,
    Camera,
    Close,
    Warning,
    Done,
    Record,
    Snapshot,
    ExportPicture,
    ExportVideo,
};

/// Thread: application.
QIcon glyphIcon(Glyph glyph);

/// The program's own icon, a cube, drawn at the usual sizes.
QIcon applicationIcon();
/// The same, drawn into a square of a painter.
void paintApplicationIcon(QPainter& painter, const QRectF& square);

} // namespace tov::viewer
