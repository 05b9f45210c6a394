#pragma once

#include "app/viewer/videoexport.h"

#include <QDialog>

class QComboBox;
class QDialogButtonBox;
class QDoubleSpinBox;
class QImage;
class QLabel;
class QLineEdit;
class QSpinBox;

namespace tov::viewer {

class SizePicker;

/// Everything about a video of a view in one place: what moves, format, size, rate, file, a preview of the framing, and
/// an estimate. It opens with the values used last and a file name that is free. Thread: application.
class ExportVideoDialog : public QDialog
{
    Q_OBJECT
public:
    /// `modelName` goes into the file name. `view` must outlive the dialog.
    ExportVideoDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent);

    VideoRequest getRequest() const;

private:
    void createFields();
    void createRates();
    QWidget* createFileRow();
    void arrange();
    void restore();
    void remember() const;
    void chooseFile();
    void applyFormat();
    void validate();
    QString findProblem(const VideoRequest& request) const;
    QString describe(const VideoRequest& request) const;
    void requestPreview();
    void showPreview(const QImage& drawn);
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
    QLineEdit* mp_File = nullptr;
    QLabel* mp_Preview = nullptr;
    QLabel* mp_Message = nullptr;
    QDialogButtonBox* mp_Buttons = nullptr;
    QString m_AgreedFile; ///< the user has agreed to replace this file
    bool m_PreviewPending = false;
    bool m_PreviewOutdated = false;
};

} // namespace tov::viewer
