#pragma once

#include <QColor>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QPushButton;

namespace tov::viewer {

/// How the scene is drawn, changed live: light, exposure, show mode, edges, background and anti-aliasing. Pictures and
/// videos look the same. Thread: application.
class LookPanel : public QWidget
{
    Q_OBJECT
public:
    explicit LookPanel(QWidget* parent = nullptr);

    /// Shows the look in use.
    void refresh();

signals:
    /// The look was changed here.
    void changed();
    /// One line for the user.
    void failed(const QString& message);

private:
    void createFields();
    void arrange();
    void apply();
    void chooseLight(int index);
    void chooseBackground();
    void chooseColor();
    QDoubleSpinBox* createShare(const QString& name);
    void reset();

    QComboBox* mp_Light = nullptr;
    QDoubleSpinBox* mp_Exposure = nullptr;
    QComboBox* mp_Show = nullptr;
    QCheckBox* mp_Edges = nullptr;
    QCheckBox* mp_Flat = nullptr;
    QDoubleSpinBox* mp_PointSize = nullptr;
    QDoubleSpinBox* mp_LineWidth = nullptr;
    QCheckBox* mp_IsOneColor = nullptr;
    QPushButton* mp_Color = nullptr;
    QColor m_OneColor = QColor(176, 184, 192); ///< kept while it is not used
    QPushButton* mp_Background = nullptr;
    QComboBox* mp_Samples = nullptr;
};

} // namespace tov::viewer
