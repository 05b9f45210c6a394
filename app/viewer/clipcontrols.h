#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QSlider;

namespace tov::viewer {

/// A plane that cuts the scene open: its axis, its position and the side that stays. It is part of the look, so
/// pictures and videos show it, too. Thread: application.
class ClipControls : public QWidget
{
    Q_OBJECT
public:
    explicit ClipControls(QWidget* parent = nullptr);

    /// Shows the plane in use; the slider covers the visible scene.
    void refresh();

signals:
    /// The plane was changed here.
    void changed();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void createFields();
    void chooseAxis();
    void apply(double position);
    /// The extent of the visible scene along the chosen axis.
    void updateRange();
    void showPosition(double position);

    QComboBox* mp_Axis; ///< child, as the following
    QSlider* mp_Slider;
    QDoubleSpinBox* mp_Position;
    QCheckBox* mp_Flip;
    double m_Low = 0;
    double m_High = 1;
};

} // namespace tov::viewer
