#pragma once

#include <QSize>
#include <QWidget>

#include <vector>

class QComboBox;
class QSpinBox;

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// Chooses a size in pixels from presets or freely. Thread: application.
class SizePicker : public QWidget
{
    Q_OBJECT
public:
    struct Preset
    {
        QString name;
        QSize size;
    };
    static constexpr int DefaultDpi = 300;
    /// The size of a view on the screen, pixels.
    static QSize pixelsOf(const tov::gui::ScenePanel& view);
    /// Presets that suit pictures or videos; `viewSize` is the size of the view on the screen, `dpi` the resolution of
    /// a page.
    static std::vector<Preset> picturePresets(const QSize& viewSize, int dpi = DefaultDpi);
    static std::vector<Preset> videoPresets(const QSize& viewSize);

    /// `step`: 2 allows even sizes only.
    SizePicker(const std::vector<Preset>& presets, int step, int largest, QWidget* parent = nullptr);

    QSize getSize() const;
    void setSize(const QSize& size);
    /// Replaces the presets by as many others. If one of them is chosen, its new size is used.
    void setPresets(const std::vector<Preset>& presets);

signals:
    void sizeChanged(const QSize& size);

private:
    void showMatchingPreset();

    std::vector<Preset> m_Presets;
    QComboBox* mp_Preset; ///< child
    QSpinBox* mp_Width;   ///< child
    QSpinBox* mp_Height;  ///< child
};

} // namespace tov::viewer
