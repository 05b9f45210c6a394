#pragma once

#include "scene/sceneextent.h"

#include <QWidget>

class QPainter;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

class ViewMarks;

/// Draws the marks over one view. Thread: application.
class MarksOverlay : public QWidget
{
    Q_OBJECT
public:
    /// The overlay is a child of `panel`; `marks` must outlive it.
    MarksOverlay(tov::gui::ScenePanel* panel, const ViewMarks* marks);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void refresh();
    void drawBox(QPainter& painter) const;
    void drawBoxSizes(QPainter& painter) const;
    void drawMeasurement(QPainter& painter) const;
    void drawLine(QPainter& painter, const tov::scene::Vector3& from, const tov::scene::Vector3& to) const;
    void drawPoint(QPainter& painter, const tov::scene::Vector3& point) const;
    void drawLabel(QPainter& painter, const QPointF& position, const QString& text) const;

    tov::gui::ScenePanel* mp_Panel; ///< parent
    const ViewMarks* mp_Marks;      ///< not owned
};

} // namespace tov::viewer
