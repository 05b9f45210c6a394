#pragma once

#include "kernel/commands/commandrun.h"
#include "kernel/math/matrix.h"

#include <QImage>
#include <QObject>
#include <QSize>

#include <functional>
#include <memory>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// Makes pictures of a panel's view in memory with the picture command's programmatic form, off the application thread.
/// Thread: application.
class ViewPicture : public QObject
{
    Q_OBJECT
public:
    /// False while no module offers pictures, or the machine cannot make any.
    static bool isAvailable();

    /// Draws what `panel` shows now into an image of `size` pixels and calls `done` with it from the event loop, unless
    /// `context` has been destroyed; with a null image when it could not be drawn. Returns the run; null, and nothing
    /// is called, when pictures are not available.
    static tov::main::CommandRunPointer take(tov::gui::ScenePanel* panel, const QSize& size, QObject* context,
                                             const std::function<void(const QImage&)>& done);
    /// The same through another matrix, scene to eye, than that of the panel.
    static tov::main::CommandRunPointer take(tov::gui::ScenePanel* panel, const tov::math::Matrix4& transform,
                                             const QSize& size, QObject* context,
                                             std::function<void(const QImage&)> done);
};

} // namespace tov::viewer
