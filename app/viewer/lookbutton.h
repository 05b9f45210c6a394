#pragma once

#include <QPushButton>

namespace tov::viewer {

class ExportPreview;

/// Opens the look of the scene from an export dialog; the preview follows. Thread: application.
class LookButton : public QPushButton
{
    Q_OBJECT
public:
    /// `preview` must outlive the button.
    LookButton(ExportPreview* preview, QWidget* parent);

private:
    void openLook();
    ExportPreview* mp_Preview; ///< not owned
};

} // namespace tov::viewer
