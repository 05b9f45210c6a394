#pragma once

#include "app/viewer/exportpreview.h"
#include "app/viewer/videoexport.h"

#include <QDialog>

#include <optional>

class QComboBox;
class QDialogButtonBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;

namespace tov::viewer {

class OutputFileField;
class SizePicker;

/// Everything about a video of a view in one place: what moves, format, size, rate, look, file, a preview of the first
/// frame, and an estimate. It opens with the values used last and a file name that is free. Thread: application.
class ExportVideoDialog : public QDialog
{
    Q_OBJECT
public:
    /// `modelName` goes into the file name. `view` must outlive the dialog.
    ExportVideoDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent);
    ~ExportVideoDialog() override;

    VideoRequest getRequest() const;

private:
    void createFields();
    void createRates();
    void createFile();
    void arrange();
    void restore();
    void remember() const;
    void applyFormat();
    void validate();
    QString findProblem(const VideoRequest& request) const;
    QString describe(const VideoRequest& request) const;
    ExportPreview::Shot firstFrame();
    void restorePosition();
    void finish();
    /// The preset in use; null when no encoder is installed.
    const VideoFormat* getFormat() const;

    tov::gui::ScenePanel* mp_View; ///< not owned
    std::vector<VideoFormat> m_Formats;
    QString m_ModelName;
    QComboBox* mp_Motion = nullptr;
    QDoubleSpinBox* mp_Seconds = nullptr;
    QComboBox* mp_Format = nullptr;
    SizePicker* mp_Size = nullptr;
    QSpinBox* mp_Fps = nullptr;
    QSpinBox* mp_Kbps = nullptr;
    OutputFileField* mp_File = nullptr;
    ExportPreview* mp_Preview = nullptr;
    QLabel* mp_Message = nullptr;
    QDialogButtonBox* mp_Buttons = nullptr;
    std::optional<unsigned long> m_Position; ///< of the trajectory, while the preview shows its first position
};

} // namespace tov::viewer
