#pragma once

#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>

namespace tov::gui {
class ScenePanel;
}

namespace tov::viewer {

/// The requested picture file of a view.
struct PictureRequest
{
    QString fileName; ///< its ending is the format
    QSize size = QSize(1920, 1080);
    bool transparent = false; ///< no background; needs a format with alpha
    int quality = -1;         ///< 0 to 100, -1 = the format's default
    int dpi = 0;              ///< stored in the file; 0 = nothing is stored
};

/// Removes the background colour from a picture of a view, whose colours are blended over it and whose alpha is 0 where
/// only the background is seen. The result has straight alpha. Thread: any.
QImage withoutBackground(const QImage& picture, const QColor& background);

/// Draws a view at any size and writes it to a file that appears only when it is complete. Thread: application.
class PictureExport : public QObject
{
    Q_OBJECT
public:
    explicit PictureExport(QObject* parent = nullptr);

    /// Suffixes of the formats that can be written, and whether one keeps transparency.
    static QStringList suffixes();
    static bool keepsTransparency(const QString& fileName);

    /// Begins; ends with `saved` or `failed`. False, with one line in `error`, when it cannot begin.
    bool start(tov::gui::ScenePanel* view, const PictureRequest& request, QString* error);

signals:
    void saved(const QString& fileName, const QSize& size);
    void failed(const QString& message);

private:
    void save(const QImage& drawn, const PictureRequest& request);
};

} // namespace tov::viewer
