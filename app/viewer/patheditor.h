#pragma once

#include "trajectory/camerapath.h"

#include <QIcon>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// Makes a camera path from views: adds the active view, changes order and times, and opens and saves the file that
/// `--path` reads. With two views or more the path is the selected trajectory. Thread: application.
class PathEditor : public QWidget
{
    Q_OBJECT
public:
    /// `activeView` returns the view to add and to move; null when there is none.
    explicit PathEditor(std::function<tov::gui::ScenePanel*()> activeView, QWidget* parent = nullptr);

    /// Appends the active view, two seconds after the last one.
    void addView();
    /// Replaces the views by those of a file; on failure everything stays as it was.
    bool openFile(const QString& fileName);
    bool saveFile(const QString& fileName);
    const std::vector<tov::trajectory::CameraPath::Key>& getKeys() const { return m_Keys; }

signals:
    void failed(const QString& message);
    /// The selected trajectory is to be played from its start.
    void playRequested();

private:
    typedef tov::trajectory::CameraPath CameraPath;

    void createFields();
    void arrange();
    void updateView();
    void removeView();
    void moveView(int by);
    void takeOrder();
    void changeTime(double seconds);
    void goToView(int row);
    void chooseOpen();
    void chooseSave();
    void preview();
    bool makePath(CameraPath& path);
    void selectPath();
    void fill(int row);
    void showRow();
    QIcon pictureOf(tov::gui::ScenePanel* view) const;
    void drawPictures();

    std::function<tov::gui::ScenePanel*()> m_ActiveView;
    std::vector<CameraPath::Key> m_Keys; ///< in order of time
    std::vector<QIcon> m_Pictures;       ///< one for each key
    double m_LoopSeconds = 0;            ///< of the opened file, see `CameraPath::Options::duration`
    std::shared_ptr<const tov::trajectory::Motion> m_Motion; ///< the one selected last
    QListWidget* mp_List = nullptr;                          ///< child, as the following
    QDoubleSpinBox* mp_Time = nullptr;
    QComboBox* mp_Ease = nullptr;
    QCheckBox* mp_Loop = nullptr;
    QCheckBox* mp_ConstantSpeed = nullptr;
    QLabel* mp_Length = nullptr;
    QPushButton* mp_Update = nullptr;
    QPushButton* mp_Remove = nullptr;
    QPushButton* mp_Preview = nullptr;
    QPushButton* mp_Save = nullptr;
};

} // namespace tov::viewer
