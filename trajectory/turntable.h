#pragma once

#include "scene/view/turningpoints.h"
#include "trajectory/motion.h"

#include <QString>

namespace tov::gui {
class ScenePanel;
}

namespace tov::trajectory {

/// The options of a turntable.
struct TurntableOptions
{
    unsigned long frames = 100; ///< at least 1; see `frameCountOf`
    double turns = 1;           ///< any number; integers close the loop
    bool reverse = false;       ///< the scene turns to the right instead of to the left
    tov::scene::Vector3 axis = {0, 1, 0};
    /// Degrees above the plane that is perpendicular to the axis; no value: that of the view.
    std::optional<double> elevation;
    /// Degrees of a swing back and forth about the starting view instead of turns; 0: no swing.
    double swing = 0;
    Ease ease = Ease::None;
    /// The camera moves back as far as needed to keep the scene in the picture at every angle. False: the distance of
    /// the view stays.
    bool keepInView = true;
    double aspect = 0; ///< of the picture, width divided by height; 0: of the panel
};

/// Whether a panel shows the whole scene, also in a picture of another aspect (width divided by height; 0: that of the
/// panel). Thread: application.
TOV_EXPORT bool showsWholeScene(const tov::gui::ScenePanel& panel, double aspect);

class Turntable;

/// The turntable about the visible scene that starts from what a panel shows. Null, with one line in `error`, for
/// invalid options. Thread: application.
TOV_EXPORT std::shared_ptr<const Turntable> turntableFrom(const tov::gui::ScenePanel& panel,
                                                          const TurntableOptions& options, QString* error);
/// The turntable, moved back until the scene is in the panel's view in every frame. Thread: application.
TOV_EXPORT std::shared_ptr<const Turntable> keptInView(const Turntable& turntable, const tov::gui::ScenePanel& panel);

/// The camera turns about the scene. With whole turns or a swing the last frame is followed by the first.
class TOV_EXPORT Turntable : public Motion
{
public:
    /// `view` is the view that the first frame starts from, `center` a point of the axis. Invalid options (no frames,
    /// an axis without length, numbers that are not finite) give null and one line in `error`.
    static std::shared_ptr<const Turntable> create(const TurntableOptions& options, const tov::scene::Camera& view,
                                                   const tov::scene::Vector3& center, QString* error);
    /// The same turntable from another view, which is that of `frame`; the distance of that view is kept.
    std::shared_ptr<const Turntable> fromView(const tov::scene::Camera& view, unsigned long frame) const;
    /// The same turntable, moved back until every point under `root` is in view in every frame. `aspect` is that of the
    /// panel. The caller must keep the scene from changing.
    std::shared_ptr<const Turntable> keptInView(const tov::scene::SceneElement* root, double aspect,
                                                double minimumDistance) const;

    unsigned long frameCount() const override { return m_Options.frames; }
    std::optional<tov::scene::Camera> cameraAt(unsigned long frame) const override;
    /// Degrees by which the camera has turned at a frame; frame `frameCount` is the one after the last.
    double angleAt(unsigned long frame) const;
    /// The options that `create` was given.
    const TurntableOptions& getOptions() const { return m_Options; }
    /// The view at angle 0.
    const tov::scene::Camera& getStart() const { return m_Start; }
    /// A point of the axis.
    const tov::scene::Vector3& getCenter() const { return m_Turning.center; }

private:
    Turntable(const TurntableOptions& options, const tov::scene::Camera& view, const tov::scene::Vector3& center);
    TurntableOptions m_Options;
    tov::scene::Camera m_Start;
    tov::scene::Turning m_Turning;
};

} // namespace tov::trajectory
