#pragma once

#include "scene/sceneextent.h"

#include <QWidget>

class QAction;
class QLabel;

namespace tov::viewer {

class ViewMarks;

double distanceBetween(const tov::scene::Vector3& from, const tov::scene::Vector3& to);

/// Starts measuring, and shows the distance of the two points and its parts along the axes, which can be copied.
/// Thread: application.
class MeasureControls : public QWidget
{
    Q_OBJECT
public:
    /// `measure` switches measuring on and off, `box` the bounding box. All must outlive the widget.
    MeasureControls(const ViewMarks* marks, QAction* measure, QAction* box, QWidget* parent = nullptr);

private:
    void refresh();
    void copy() const;

    const ViewMarks* mp_Marks; ///< not owned
    QLabel* mp_Hint;           ///< child, as the following
    QLabel* mp_Distance;
    QLabel* mp_Parts[3];
    QWidget* mp_Copy;
};

} // namespace tov::viewer
