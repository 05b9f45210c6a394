#pragma once

#include "app/viewer/pictureexport.h"

#include <QDialog>

class QCheckBox;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QSpinBox;

namespace tov::viewer {

class SizePicker;

/// Everything about a picture of a view in one place: size, transparency, quality, file, and a preview of the framing.
/// It opens with the values used last and a file name that is free. Thread: application.
class ExportPictureDialog : public QDialog
{
    Q_OBJECT
public:
    /// `modelName` goes into the file name. `view` must outlive the dialog.
    ExportPictureDialog(tov::gui::ScenePanel* view, const QString& modelName, QWidget* parent);

    PictureRequest getRequest() const;

private:
    QWidget* createFileRow();
    void createFields();
    void restore();
    void remember() const;
    void chooseFile();
    void validate();
    void requestPreview();
    void showPreview(const QImage& drawn);
    bool agreesToReplace();
    void finish();

    tov::gui::ScenePanel* mp_View; ///< not owned
    SizePicker* mp_Size = nullptr;
    QCheckBox* mp_Transparent = nullptr;
    QSpinBox* mp_Quality = nullptr;
    QSpinBox* mp_Dpi = nullptr;
    QLineEdit* mp_File = nullptr;
    QLabel* mp_Preview = nullptr;
    QLabel* mp_Message = nullptr;
    QDialogButtonBox* mp_Buttons = nullptr;
    QString m_AgreedFile; ///< the user has agreed to replace this file
    bool m_PreviewPending = false;
    bool m_PreviewOutdated = false;
};

} // namespace tov::viewer
