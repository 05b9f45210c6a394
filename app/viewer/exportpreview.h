#pragma once

#include "kernel/math/matrix.h"

#include <QLabel>
#include <QSize>

#include <functional>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// A small picture of what an export will show, with the safe area for titles. Thread: application.
class ExportPreview : public QLabel
{
    Q_OBJECT
public:
    /// What is to be shown.
    struct Shot
    {
        QSize size;                   ///< of the result, pixels
        tov::math::Matrix4 transform; ///< scene to eye, under the projection of pictures
        bool isTransparent = false;   ///< without the background
    };
    /// `view` is the view that is exported; `shot` is called whenever a drawing begins. Both must outlive this object.
    ExportPreview(tov::gui::ScenePanel* view, std::function<Shot()> shot, QWidget* parent);

    /// Draws again, now or when the drawing under way has ended.
    void refresh();

signals:
    /// A drawing has ended.
    void drawn();

private:
    void show(const QImage& picture, bool isTransparent);

    tov::gui::ScenePanel* mp_View; ///< not owned
    std::function<Shot()> m_Shot;
    bool m_IsPending = false;
    bool m_IsOutdated = false;
};

} // namespace tov::viewer
