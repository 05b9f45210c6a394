#pragma once

#include "app/viewer/pictureexport.h"

#include <QDialog>

class QCheckBox;
class QDialogButtonBox;
class QLabel;
class QSpinBox;

namespace tov::viewer {

class ExportPreview;
class OutputFileField;
class SizePicker;

/// Everything about a picture of a view in one place: size, background, look, quality, resolution, file, a preview of
/// the framing, and an estimate. It opens with the values used last and a file name that is free. Thread: application.
class ExportPictureDialog : public QDialog
{
    Q_OBJECT
public:
    /// `modelName` goes into the file name. `view` must outlive the dialog.
    ExportPictureDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent);

    PictureRequest getRequest() const;

private:
    void createFields();
    void arrange();
    void restore();
    void remember() const;
    void updatePresets();
    void validate();
    QString describe(const PictureRequest& request) const;
    void finish();

    tov::gui::ScenePanel* mp_View; ///< not owned
    ExportPreview* mp_Preview = nullptr;
    SizePicker* mp_Size = nullptr;
    QCheckBox* mp_Transparent = nullptr;
    QSpinBox* mp_Quality = nullptr;
    QSpinBox* mp_Dpi = nullptr;
    OutputFileField* mp_File = nullptr;
    QLabel* mp_Message = nullptr;
    QDialogButtonBox* mp_Buttons = nullptr;
};

} // namespace tov::viewer
